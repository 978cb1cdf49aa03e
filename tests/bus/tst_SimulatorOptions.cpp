// SPDX-License-Identifier: MIT
#include "FakeService.h"
#include "SimulatorControl.h"
#include "SimulatorProcess.h"
#include "TestMain.h"

#include <QDBusReply>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <csignal>

using namespace KivTest;
using namespace Audio::Utils::Kiv::QtDbus;

/** The simulator's options for scenarios, modes and the log. */
class tst_SimulatorOptions : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void badValue_endsWithTwoAndAMessage_data();
    void badValue_endsWithTwoAndAMessage();
    void scenarioOfTheLibrary_unknown_isToldWithThoseThereAre();
    void scenarioFile_thatIsWrong_isToldWithItsLine_data();
    void scenarioFile_thatIsWrong_isToldWithItsLine();
    void scenarioFile_isPlayed_optionsGoBefore();
    void seed_decidesWhatIsDrawn();
    void modesAndDestinations_areCombined_data();
    void modesAndDestinations_areCombined();
    void delay_isOfEveryAnswer();
    void log_goesWhereAndHowItIsTold_data();
    void log_goesWhereAndHowItIsTold();
    void log_thatCannotBeWritten_isComplainedAboutOnce();
    void documentation_hasTheOptionsOfTheHelp();

private:
    QString Path(const QString& name) const { return m_Folder.filePath(name); }
    QString Write(const QString& name, const QByteArray& text) const;
    static QString Send(const QString& method, const QString& arguments);
    static QString Read(const QString& path);

    QTemporaryDir m_Folder;
};

QString tst_SimulatorOptions::Write(const QString& name, const QByteArray& text) const
{
    QFile file(Path(name));
    return file.open(QIODevice::WriteOnly) && file.write(text) == text.size() ? Path(name) : QString();
}

QString tst_SimulatorOptions::Read(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

QString tst_SimulatorOptions::Send(const QString& method, const QString& arguments)
{
    QDBusMessage call = QDBusMessage::createMethodCall(kServiceName, kHmiPath, kInterfaceName, "Request");
    call.setArguments({method, arguments});
    return QDBusReply<QString>(QDBusConnection::systemBus().call(call)).value();
}

void tst_SimulatorOptions::badValue_endsWithTwoAndAMessage_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("message");
    const auto row = [](const char* name, const QStringList& arguments, const char* message) {
        QTest::newRow(name) << arguments << QString(message);
    };
    row("seed that is none", {"--seed", "x"}, R"(--seed "x": expected a whole number from 0 to 4294967295)");
    row("seed too great", {"--seed", "4294967296"},
        R"(--seed "4294967296": expected a whole number from 0 to 4294967295)");
    row("negative seed", {"--seed=-1"}, R"(--seed "-1": expected a whole number from 0 to 4294967295)");
    row("delay that is none", {"--delay", "1.5"},
        R"(--delay "1.5": expected a whole number from 0 to 600000)");
    row("delay too long", {"--delay", "600001"},
        R"(--delay "600001": expected a whole number from 0 to 600000)");
    row("empty delay", {"--delay", ""}, R"(--delay "": expected a whole number from 0 to 600000)");
    row("format of the log", {"--log", "xml"}, R"(--log "xml": expected "text", "json" or "off")");
    row("destination twice", {"--destinations", "Cabin,Cabin"}, "--destinations: one is given twice");
    row("destination twice, in two options", {"--destinations", "Cabin", "--destinations", "Cabin"},
        "--destinations: one is given twice");
    row("empty destination", {"--destinations", "Cabin,"}, R"(--destinations "Cabin,": empty destination)");
    row("destination all", {"--destinations", "all"},
        R"(--destinations "all": "all" cannot be a destination)");
    row("log file in a folder that is not there", {"--log-file", "/nonexistent/log"},
        "/nonexistent/log: No such file or directory");
    row("scenario file that is not there", {"--scenario", "/nonexistent/x.json"},
        "/nonexistent/x.json: No such file or directory");
    row("option without a value", {"--scenario"}, "Missing value after '--scenario'.");
}

void tst_SimulatorOptions::badValue_endsWithTwoAndAMessage()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, message);
    SimulatorProcess simulator(arguments);
    QCOMPARE(simulator.WaitForExit(), 2);
    QCOMPARE(simulator.Errors(), "kiv-audio-simulator: " + message + "\n");
    QCOMPARE(simulator.Output(), QString());
}

void tst_SimulatorOptions::scenarioOfTheLibrary_unknown_isToldWithThoseThereAre()
{
    SimulatorProcess simulator({"--scenario", "no-such-scenario"});
    QCOMPARE(simulator.WaitForExit(), 2);
    const QString errors = simulator.Errors();
    QRegularExpression expected("\\Akiv-audio-simulator: no scenario \"no-such-scenario\" in the library; "
                                "there are: (none|[a-z0-9-]+(, [a-z0-9-]+)*)\n\\z");
    QVERIFY2(expected.match(errors).hasMatch(), qPrintable(errors));
}

void tst_SimulatorOptions::scenarioFile_thatIsWrong_isToldWithItsLine_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("complaint");
    QTest::newRow("not JSON") << QByteArray("{\n\"delay\": 5,\n}")
                              << "3: not JSON: Missing a name for object member.";
    QTest::newRow("a member's type")
        << QByteArray("{\n\"delay\":\n\"soon\"}")
        << R"(3: "delay": expected a whole number from 0 to 600000, found "soon")";
    QTest::newRow("an unknown member")
        << QByteArray("{\n\"fault\": []}")
        << QString(R"(2: a scenario: there is no member "fault"; expected some of "$schema", "delay", )"
                   R"("description", "faults", "lock", "modes", "present", "refuse", "steps")");
    QTest::newRow("not an object") << QByteArray("[]") << "1: expected a scenario (an object), found a list";
}

void tst_SimulatorOptions::scenarioFile_thatIsWrong_isToldWithItsLine()
{
    QFETCH(QByteArray, text);
    QFETCH(QString, complaint);
    const QString path = Write("wrong.json", text);
    SimulatorProcess simulator({"--scenario", path});
    QCOMPARE(simulator.WaitForExit(), 2);
    QCOMPARE(simulator.Errors(), "kiv-audio-simulator: " + path + ":" + complaint + "\n");
}

void tst_SimulatorOptions::scenarioFile_isPlayed_optionsGoBefore()
{
    const QString path = Write("modes", R"({"modes":{"Rear":["Video"]},"delay":600000})"); // by the slash
    SimulatorProcess simulator({"--scenario", path, "--delay", "0"});
    QVERIFY(simulator.WaitUntilReady());
    Send("openSession", R"({"busName":"","objectPath":"/x"})");
    QCOMPARE(Send("getModeList", R"({"destination":"all","sessionId":1})"),
             QString(R"({"modeList":["Video"]})"));

    SimulatorControl control;
    QVERIFY(control.Do(R"({"do":"leave"})"));
    QVERIFY(control.Do(R"({"do":"return"})"));
    QCOMPARE(Send("getModeList", R"({"destination":"all","sessionId":1})"),
             QString(R"({"modeList":["Video"]})"));
}

void tst_SimulatorOptions::seed_decidesWhatIsDrawn()
{
    const auto draw = [this](const QString& seed) {
        const QString fault = R"({"kind":"errCode","times":"always","probability":0.5})";
        const QString path = Write("chance.json", "{\"faults\":[" + fault.toUtf8() + "]}");
        SimulatorProcess simulator({"--scenario", path, "--seed", seed});
        QString drawn;
        for (int i = 0; simulator.WaitUntilReady() && i < 64; ++i) {
            drawn += Send("nothing", "{}").contains("99") ? 'x' : '.';
        }
        return drawn;
    };
    const QString first = draw("7");
    QCOMPARE(first.size(), 64);
    QCOMPARE(draw("7"), first);
    QVERIFY(draw("8") != first);
}

void tst_SimulatorOptions::modesAndDestinations_areCombined_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QStringList>("lists"); // of Cabin, Rear, Front; empty: there is no such destination
    QTest::newRow("nothing") << QStringList() << QStringList{"\"Radio\",\"Bluetooth\"", "", ""};
    QTest::newRow("destinations only")
        << QStringList{"--destinations", "Rear,Front"}
        << QStringList{"", "\"Radio\",\"Bluetooth\"", "\"Radio\",\"Bluetooth\""};
    QTest::newRow("modes for named destinations")
        << QStringList{"--destinations", "Cabin,Rear", "--modes", "Tape,CD"}
        << QStringList{"\"Tape\",\"CD\"", "\"Tape\",\"CD\"", ""};
    QTest::newRow("one destination has its own")
        << QStringList{"--modes", "Rear=Video", "--destinations", "Cabin,Rear"}
        << QStringList{"\"Radio\",\"Bluetooth\"", "\"Video\"", ""};
    QTest::newRow("a further one") << QStringList{"--modes", "Front=Phone",    "--modes",
                                                  "Tape",    "--destinations", "Rear"}
                                   << QStringList{"", "\"Tape\"", "\"Phone\""};
    QTest::newRow("modes that add up")
        << QStringList{"--modes", "Tape", "--modes", "Rear=Video", "--modes", "Rear=Film"}
        << QStringList{"\"Tape\"", "\"Video\",\"Film\"", ""};
}

void tst_SimulatorOptions::modesAndDestinations_areCombined()
{
    QFETCH(QStringList, arguments);
    QFETCH(QStringList, lists);
    SimulatorProcess simulator(arguments);
    QVERIFY(simulator.WaitUntilReady());
    Send("openSession", R"({"busName":"","objectPath":"/x"})");
    QStringList found;
    for (const char* const destination : {"Cabin", "Rear", "Front"}) {
        const QString answer =
            Send("getModeList", QStringLiteral(R"({"sessionId":1,"destination":"%1"})").arg(destination));
        found.append(answer.contains("errCode") ? QString() : answer.section('[', 1).section(']', 0, 0));
    }
    QCOMPARE(found, lists);
}

void tst_SimulatorOptions::delay_isOfEveryAnswer()
{
    SimulatorProcess simulator({"--delay", "200", "--log", "json"});
    QVERIFY(simulator.WaitUntilReady());
    Send("openSession", R"({"busName":"","objectPath":"/x"})");
    Send("getMode", R"({"destination":"all","sessionId":1})");
    QTRY_COMPARE_WITH_TIMEOUT(simulator.Lines().size(), 5, kPatience);
    const QStringList lines = simulator.Lines().mid(1);
    for (int i = 0; i < 4; i += 2) {
        const double waited = LogObject(lines.at(i + 1)).value("time").toDouble() -
                              LogObject(lines.at(i)).value("time").toDouble();
        QVERIFY2(waited >= 200, qPrintable(lines.join('\n')));
    }
}

void tst_SimulatorOptions::log_goesWhereAndHowItIsTold_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("output");
    QTest::addColumn<QString>("file");
    const QString text =
        "<- hmi  nothing {}  [ME]\n-> hmi  {\"errCode\":2,\"errMessage\":\"there is no method "
        "\\\"nothing\\\"\"}  [ME]\n";
    const QString json =
        R"({"kind":"request","name":"nothing","payload":"{}","peer":"ME","role":"hmi","time":T})"
        "\n"
        R"({"kind":"answer","name":"nothing","payload":"{\"errCode\":2,\"errMessage\":\"there is no method )"
        R"(\\\"nothing\\\"\"}","peer":"ME","role":"hmi","time":T})"
        "\n";
    const QString file = Path("log");
    QTest::newRow("no log") << QStringList() << ""
                            << "";
    QTest::newRow("off") << QStringList{"--log", "off"} << ""
                         << "";
    QTest::newRow("text") << QStringList{"--log", "text"} << text << "";
    QTest::newRow("json") << QStringList{"--log", "json"} << json << "";
    QTest::newRow("file alone is text") << QStringList{"--log-file", file} << "" << text;
    QTest::newRow("json in a file") << QStringList{"--log-file", file, "--log", "json"} << "" << json;
    QTest::newRow("off in a file") << QStringList{"--log-file", file, "--log", "off"} << ""
                                   << "";
}

void tst_SimulatorOptions::log_goesWhereAndHowItIsTold()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, output);
    QFETCH(QString, file);
    Write("log", "what was there before");
    SimulatorProcess simulator(arguments);
    QVERIFY(simulator.WaitUntilReady());
    Send("nothing", "{}");
    simulator.Signal(SIGTERM);
    QCOMPARE(simulator.WaitForExit(), 0);
    const auto normal = [](QString text) {
        return text.replace(QDBusConnection::systemBus().baseService(), "ME")
            .replace(QRegularExpression("\"time\":\\d+"), "\"time\":T");
    };
    QCOMPARE(normal(simulator.Output()), "ready\n" + output);
    QCOMPARE(normal(Read(Path("log"))), arguments.contains("--log-file") ? file : "what was there before");
}

void tst_SimulatorOptions::log_thatCannotBeWritten_isComplainedAboutOnce()
{
    SimulatorProcess simulator({"--log-file", "/dev/full"});
    QVERIFY(simulator.WaitUntilReady());
    for (int number = 0; number < 3; ++number) {
        QVERIFY(Send("nothing", "{}").contains("errCode")); // the service goes on
    }
    simulator.Signal(SIGTERM);
    QCOMPARE(simulator.WaitForExit(), 0);
    QCOMPARE(simulator.Output(), QString("ready\n"));
    QCOMPARE(simulator.Errors(),
             QString("kiv-audio-simulator: the log cannot be written: No space left on device\n"));
}

void tst_SimulatorOptions::documentation_hasTheOptionsOfTheHelp()
{
    const auto options = [](const QString& text, const QString& pattern) {
        QStringList found;
        auto matches = QRegularExpression(pattern, QRegularExpression::MultilineOption).globalMatch(text);
        while (matches.hasNext()) {
            found.append(matches.next().captured(1));
        }
        found.sort();
        return found;
    };
    SimulatorProcess simulator({"--help"});
    QCOMPARE(simulator.WaitForExit(), 0);
    const QStringList helps = options(simulator.Output(), "^  (?:-\\w, )?(--[a-z-]+)");
    const QString document = Read(KIV_SIMULATOR_DOCUMENT);
    QVERIFY2(helps.size() >= 12, qPrintable(helps.join(' ')));
    QCOMPARE(options(document, "^\\| `(--[a-z-]+)"), helps);
}

KIV_BUS_TEST_MAIN(tst_SimulatorOptions)
#include "tst_SimulatorOptions.moc"
