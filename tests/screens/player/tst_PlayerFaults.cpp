// SPDX-License-Identifier: MIT
#include "DeviceOutputs.h"
#include "PrivateBus.h"
#include "ScreenLog.h"
#include "WindowStage.h"

#include <QDir>
#include <QFile>
#include <QMediaPlayer>
#include <QTemporaryDir>

using namespace KivTest;

namespace {

using Failure = PlaybackOutput::Failure;

/** What a fault of a kind needs besides its kind. */
const QMap<QString, QString> kMembers{
    {"delay", R"("delay":50)"},
    {"sessionId", R"("value":4294967295)"},
    {"flood", R"("count":300,"to":"app")"},
    {"leave", R"("milliseconds":50)"},
    {"restart", R"("milliseconds":50)"},
    {"stopAnswering", R"("milliseconds":50)"},
    {"missingMember", R"("in":"events")"},
    {"wrongType", R"("in":"events")"},
    {"hugeAnswer", R"("bytes":100000)"},
};

QString Fault(const QString& kind, const QString& method)
{
    const QString members = kMembers.contains(kind) ? ',' + kMembers.value(kind) : QString();
    return QString(R"({"kind":"%1","method":"%2"%3})").arg(kind, method, members);
}

/** The kinds of faults that the simulator knows, as its document lists them. */
QStringList AllKinds()
{
    QFile file(KIV_SCENARIOS_DOCUMENT);
    const QString text = file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
    const QString table = text.section("| Kind | What goes wrong", 1).section("\n\n", 0, 0);
    static const QRegularExpression row("\n\\| `([a-zA-Z]+)` \\|");
    QStringList kinds;
    for (auto match = row.globalMatch(table); match.hasNext();) {
        kinds.append(match.next().captured(1));
    }
    return kinds;
}

/** A second of sound, as a WAV file. */
QByteArray Wave()
{
    constexpr quint32 rate = 8000;
    const QByteArray samples(int(rate), '\x80');
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out.setByteOrder(QDataStream::LittleEndian);
    out.writeRawData("RIFF", 4);
    out << quint32(36 + samples.size());
    out.writeRawData("WAVEfmt ", 8);
    out << quint32(16) << quint16(1) << quint16(1) << rate << rate << quint16(1) << quint16(8);
    out.writeRawData("data", 4);
    out << quint32(samples.size());
    out.writeRawData(samples.constData(), samples.size());
    return bytes;
}

void Write(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(bytes), bytes.size());
}

bool HasDecoders()
{
    return QMediaPlayer::hasSupport("audio/x-wav") != QMultimedia::NotSupported;
}

/** What becomes of an output that is loaded: "ready", or the failure. */
QString Loaded(PlaybackOutput& output)
{
    QString fate;
    QObject::connect(&output, &PlaybackOutput::Ready, &output, [&fate] { fate = "ready"; });
    QObject::connect(&output, &PlaybackOutput::Failed, &output, [&fate](Failure failure) {
        fate += QMetaEnum::fromType<Failure>().valueToKey(int(failure)); // once
    });
    output.Load();
    const bool isDecided = QTest::qWaitFor([&fate] { return !fate.isEmpty(); }, kPatience);
    return isDecided ? fate : "neither";
}

/** The program, in a process. */
class PlayerProcess
{
public:
    /** @param platform where it shows its window; "none" is no place. */
    explicit PlayerProcess(const QStringList& arguments, const QString& platform = "offscreen")
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("QT_QPA_PLATFORM", platform);
        environment.insert("XDG_RUNTIME_DIR",
                           m_Runtime.path()); // Qt complains about one that others may read
        m_Process.setProcessEnvironment(environment);
        m_Process.start(KIV_PLAYER_PROGRAM, arguments);
    }

    ~PlayerProcess()
    {
        m_Process.kill();
        m_Process.waitForFinished();
    }

    /** Its exit code, after it was sent a signal if there is one. -1: a crash, or no end. */
    int Exit(int signal = 0)
    {
        if (signal != 0) {
            ::kill(pid_t(m_Process.processId()), signal);
        }
        const bool hasEnded =
            m_Process.state() == QProcess::NotRunning || m_Process.waitForFinished(kPatience);
        return hasEnded && m_Process.exitStatus() == QProcess::NormalExit ? m_Process.exitCode() : -1;
    }

    QString Output() { return QString::fromUtf8(m_Process.readAllStandardOutput()); }
    QString Errors() { return QString::fromUtf8(m_Process.readAllStandardError()); }

private:
    const QTemporaryDir m_Runtime;
    ForkedProcess m_Process;
};

} // namespace

/** Whatever goes wrong at the service, with files or on the command line is survived, and said. */
class tst_PlayerFaults : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { m_Log.End(); }
    void everyKindOfFault_isInTheDocument();
    void everyFault_isOvercome_data();
    void everyFault_isOvercome();
    void everyScenario_isOvercome_data();
    void everyScenario_isOvercome();
    void badFile_isToldApart_data();
    void badFile_isToldApart();
    void badFile_isSaidAndTheMelodyPlaysOn();
    void waveFile_isPlayedOrItIsSaidWhyNot();
    void melody_isHeardOrTheTimeIsKept();
    void program_sigterm_closesTheSession_data();
    void program_sigterm_closesTheSession();
    void program_options_reachTheService();
    void program_wrongArguments_data();
    void program_wrongArguments();
    void program_help_namesEveryOption();

private:
    void Recover(WindowStage& stage);

    ScreenLog m_Log;
};

void tst_PlayerFaults::init()
{
    m_Log.Begin();
    Wear({"en", "day"});
}

void tst_PlayerFaults::everyKindOfFault_isInTheDocument()
{
    QCOMPARE(AllKinds().size(), 20);
    for (const QString& kind : kMembers.keys()) {
        QVERIFY2(AllKinds().contains(kind), qPrintable(kind));
    }
}

// Without the fault it plays, is interrupted, plays on, and stops: as the service says.
void tst_PlayerFaults::Recover(WindowStage& stage)
{
    QVERIFY(stage.service.Reach([&] { return stage.service.control.Do(R"({"do":"disarmFaults"})"); }));
    QTRY_VERIFY_WITH_TIMEOUT(stage.stream.isAvailable(), kPatience);
    stage.player->Stop();
    stage.Click("play");
    QVERIFY(stage.Says("Playing."));
    QVERIFY(stage.service.control.Do(StartStep("another", "transient")));
    QVERIFY(stage.Says("Interrupted."));
    QVERIFY(stage.service.control.Do(StopStep("another")));
    QVERIFY(stage.Says("Playing."));
    QTest::keyClick(&stage.window, Qt::Key_S);
    QVERIFY(stage.Says("Stopped by you."));
    QCOMPARE(stage.wrongs, QStringList());
}

void tst_PlayerFaults::everyFault_isOvercome_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("method");
    for (const QString& kind : AllKinds()) {
        for (const char* const method : {"registerAudioStream", "requestAudioFocus", "abandonAudioFocus"}) {
            QTest::addRow("%s in %s", qPrintable(kind), method) << kind << QString(method);
        }
    }
}

void tst_PlayerFaults::everyFault_isOvercome()
{
    QFETCH(QString, kind);
    QFETCH(QString, method);
    WindowStage stage;
    stage.service.StartService();
    QVERIFY2(stage.service.control.Arm(Fault(kind, method)) != 0, qPrintable(stage.service.control.Error()));
    stage.stream.start();
    const auto hasBegun = [&] { return stage.stream.isAvailable() || !stage.service.IsServiceRunning(); };
    QVERIFY(QTest::qWaitFor(hasBegun, kPatience));
    stage.Click("play");
    stage.Settle();
    stage.Click("stop");
    stage.Settle();
    Recover(stage);
}

void tst_PlayerFaults::everyScenario_isOvercome_data()
{
    QTest::addColumn<QString>("name");
    const QStringList files = QDir(KIV_SCENARIOS_FOLDER).entryList(QDir::Files, QDir::Name);
    QCOMPARE(files.size(), 11);
    for (const QString& file : files) {
        QTest::newRow(qPrintable(file)) << QFileInfo(file).baseName();
    }
}

void tst_PlayerFaults::everyScenario_isOvercome()
{
    QFETCH(QString, name);
    WindowStage stage({"--scenario", name});
    stage.service.StartService();
    stage.stream.start();
    stage.Click("play");
    QVERIFY(!stage.Find<QLabel>("sentence")->text().isEmpty());
    QCOMPARE(stage.outputs.Sounding() > 0, stage.stream.isPlaying() && stage.stream.hasFocus());
    // Another scenario, in which nothing goes wrong, plays from here on.
    const auto reload = [&] {
        if (!stage.service.IsServiceRunning()) {
            stage.service.StartService();
        }
        return stage.service.control.Tell("LoadScenario", {QString("{}")});
    };
    QTRY_VERIFY_WITH_TIMEOUT(reload(), kPatience); // it may be busy with what it was told to do
    QVERIFY(stage.service.control.Do(R"({"do":"restart","milliseconds":10})"));
    const auto registrations = [&] { return stage.service.control.CallCount("registerAudioStream"); };
    QTRY_COMPARE_WITH_TIMEOUT(registrations(), 1u, kPatience);
    QTRY_VERIFY_WITH_TIMEOUT(stage.stream.isAvailable(), kPatience);
    Recover(stage);
}

void tst_PlayerFaults::badFile_isToldApart_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("fate");
    QTest::newRow("missing") << "missing.wav"
                             << "NotThere";
    QTest::newRow("folder") << "."
                            << "Folder";
    QTest::newRow("empty") << "empty.wav"
                           << "NotAudio";
    QTest::newRow("text") << "text.wav" << (HasDecoders() ? "NotAudio" : "NoDecoders");
    QTest::newRow("broken link") << "link.wav"
                                 << "NotThere";
}

void tst_PlayerFaults::badFile_isToldApart()
{
    QFETCH(QString, name);
    QFETCH(QString, fate);
    const QTemporaryDir folder;
    Write(folder.filePath("empty.wav"), QByteArray());
    Write(folder.filePath("text.wav"), "This is no sound.\n");
    QVERIFY(QFile::link(folder.filePath("nowhere"), folder.filePath("link.wav")));
    const auto output = DeviceOutputs().MakeFile(folder.filePath(name));
    QCOMPARE(Loaded(*output), fate);
}

void tst_PlayerFaults::badFile_isSaidAndTheMelodyPlaysOn()
{
    DeviceOutputs outputs;
    AudioStream stream;
    Player player(stream, outputs);
    PlayerWindow window(player);
    const qint64 duration = player.Output().Duration();
    player.Seek(5000);
    player.Open("/no/such/file.mp3");
    QCOMPARE(window.findChild<QLabel*>("detail")->text(), "“file.mp3” is not there.");
    QCOMPARE(window.findChild<QLabel*>("title")->accessibleName(), "Evening melody");
    QCOMPARE(player.Output().Duration(), duration);
    QCOMPARE(player.Output().Position(), 5000);
}

// Both are right: what is heard depends on what the machine can decode.
void tst_PlayerFaults::waveFile_isPlayedOrItIsSaidWhyNot()
{
    const QTemporaryDir folder;
    Write(folder.filePath("tone.wav"), Wave());
    const auto output = DeviceOutputs().MakeFile(folder.filePath("tone.wav"));
    QCOMPARE(Loaded(*output), HasDecoders() ? "ready" : "NoDecoders");
    int ends = 0;
    connect(output.get(), &PlaybackOutput::Finished, output.get(), [&] {
        ++ends;
        output->Stop(); // as a player does
    });
    for (int round = 1; HasDecoders() && round <= 2; ++round) { // also again
        QTRY_COMPARE_WITH_TIMEOUT(output->Duration(), 1000, kPatience);
        output->Start();
        QTRY_COMPARE_WITH_TIMEOUT(ends, round, kPatience);
        QTRY_COMPARE_WITH_TIMEOUT(output->Position(), 0, kPatience);
    }
    output->Pause();
    QCOMPARE(output->Position(), 0);
}

// With a device it is heard; without one, or with one that does not work, the time is kept.
void tst_PlayerFaults::melody_isHeardOrTheTimeIsKept()
{
    PlayerStage stage;
    stage.Begin();
    DeviceOutputs outputs;
    Player player(stage.stream, outputs);
    QCOMPARE(player.Output().Position(), 0);
    player.Play();
    QTRY_VERIFY_WITH_TIMEOUT(player.Output().Position() > 100, kPatience);
    player.Pause();
    player.Stop();
    QTRY_COMPARE_WITH_TIMEOUT(player.Output().Position(), 0, kPatience);
}

void tst_PlayerFaults::program_sigterm_closesTheSession_data()
{
    QTest::addColumn<int>("signal");
    QTest::newRow("SIGTERM") << SIGTERM;
    QTest::newRow("SIGINT") << SIGINT;
}

void tst_PlayerFaults::program_sigterm_closesTheSession()
{
    QFETCH(int, signal);
    ScreenStage service;
    service.StartService();
    PlayerProcess program({});
    QTRY_COMPARE_WITH_TIMEOUT(service.control.CallCount("registerAudioStream"), 1u, kPatience);
    QCOMPARE(program.Exit(signal), 0);
    QTRY_COMPARE_WITH_TIMEOUT(service.control.CallCount("closeSession"), 1u, kPatience);
}

void tst_PlayerFaults::program_options_reachTheService()
{
    ScreenStage service({"--destinations", "Cabin,Rear"});
    service.StartService();
    PlayerProcess one({"--name", "News of today", "--type", "News", "--transient", "--destination", "Rear",
                       "--language", "de", "--theme", "night", "/no/such/file"});
    QTRY_COMPARE_WITH_TIMEOUT(service.control.CallCount("registerAudioStream"), 1u, kPatience);
    PlayerProcess other({}); // beside it
    QTRY_COMPARE_WITH_TIMEOUT(service.control.CallCount("registerAudioStream"), 2u, kPatience);
    QStringList told;
    for (const QString& line : Gist(service.control.Log()).filter(QRegularExpression("^request app"))) {
        told.append(line.section(' ', 2));
    }
    const QString path = "/com/quorvantel/audioclient/player_";
    const QString bus = "com.quorvantel.audioclient.player_";
    const QString open = R"(openSession {"busName":"%1",%2"objectPath":"%3/ServiceProviderClient"})";
    const QString isIn = R"("destination":"Rear",)";
    QCOMPARE(told,
             (QStringList{
                 open.arg(bus + "News_of_today", isIn, path + "News_of_today"),
                 R"(registerAudioStream {"focusType":"transient","sessionId":1,"streamName":"News of today",)"
                 R"("streamType":"News"})",
                 open.arg(bus + "Media_player", "", path + "Media_player"),
                 R"(registerAudioStream {"focusType":"permanent","sessionId":2,"streamModeName":")" + path +
                     R"(Media_player","streamName":"Media player","streamType":"Media"})",
             }));
}

void tst_PlayerFaults::program_wrongArguments_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("complaint");
    QTest::newRow("option") << QStringList{"--loud"} << "Unknown option 'loud'.";
    QTest::newRow("two files") << QStringList{"a", "b"} << R"(expected one file, found "b" as well)";
    QTest::newRow("language") << QStringList{"--language", "fr"}
                              << R"(--language: expected en or de, found "fr")";
    QTest::newRow("theme") << QStringList{"--theme", ""} << R"(--theme: expected day or night, found "")";
    QTest::newRow("name") << QStringList{"--name", ""} << R"(--name: expected a name, found "")";
    QTest::newRow("no value") << QStringList{"--type"} << "Missing value after '--type'.";
}

void tst_PlayerFaults::program_wrongArguments()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, complaint);
    PlayerProcess program(arguments, "none"); // it needs no screen to complain
    QCOMPARE(program.Exit(), 2);
    QCOMPARE(program.Errors(), "media-player: " + complaint + "\nTry media-player --help\n");
    QCOMPARE(program.Output(), "");
}

void tst_PlayerFaults::program_help_namesEveryOption()
{
    PlayerProcess help({"--help"}, "none");
    QCOMPARE(help.Exit(), 0);
    const QString text = help.Output();
    for (const char* const option :
         {"--name <STREAM>", "--type <TYPE>", "--destination <D>", "--transient", "--language <LANGUAGE>",
          "--theme <THEME>", "--help", "--version", "[FILE]"}) {
        QVERIFY2(text.contains(option), option);
    }
    PlayerProcess version({"--version"}, "none");
    QCOMPARE(version.Exit(), 0);
    QCOMPARE(version.Output(), "media-player " KIV_EXAMPLE_VERSION "\n");
}

int main(int argc, char** argv)
{
    const PrivateBus bus(R"(<limit name="reply_timeout">1000</limit>)"); // for requests without an answer
    const QApplication application(argc, argv);
    Q_INIT_RESOURCE(player);
    tst_PlayerFaults test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_PlayerFaults.moc"
