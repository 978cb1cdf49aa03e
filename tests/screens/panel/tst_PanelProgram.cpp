// SPDX-License-Identifier: MIT
#include "PrivateBus.h"
#include "ScreenStage.h"

#include <QCoreApplication>

using namespace KivTest;

namespace {

/** The program as a process. */
class Panel
{
public:
    explicit Panel(const QStringList& arguments, const QHash<QString, QString>& variables = {})
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        for (auto variable = variables.cbegin(); variable != variables.cend(); ++variable) {
            environment.insert(variable.key(), variable.value());
        }
        m_Process.setProcessEnvironment(environment);
        m_Process.start(KIV_PANEL_PROGRAM, arguments, QIODevice::ReadOnly);
    }

    ~Panel()
    {
        m_Process.kill();
        m_Process.waitForFinished();
    }

    /** The exit code; -1 when it has crashed or does not end. */
    int WaitForExit()
    {
        const bool hasEnded =
            m_Process.state() == QProcess::NotRunning || m_Process.waitForFinished(kPatience);
        return hasEnded && m_Process.exitStatus() == QProcess::NormalExit ? m_Process.exitCode() : -1;
    }

    void Signal(int number) { ::kill(static_cast<pid_t>(m_Process.processId()), number); }

    QString Output() { return QString::fromUtf8(m_Process.readAllStandardOutput()); }
    QString Errors() { return QString::fromUtf8(m_Process.readAllStandardError()); }

private:
    ForkedProcess m_Process;
};

QString Complaint(const QString& text)
{
    return "hmi-panel: " + text + "\n";
}

const QString kSize =
    "--size: expected WIDTHxHEIGHT, each from 480 to 7680 pixels, as 1280x480, found \"%1\"";

} // namespace

/** The program hmi-panel as its user starts and ends it. */
class tst_PanelProgram : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void signal_endsTheProgramAndItsSession_data();
    void signal_endsTheProgramAndItsSession();
    void signal_endsTheProgramWithoutAService();
    void noOpenGl_isDrawnAllTheSame();
    void wrongUsage_isComplainedAbout_data();
    void wrongUsage_isComplainedAbout();
    void missingModule_endsTheProgram();
    void help_namesEveryOption();
    void version_isPrinted();
};

void tst_PanelProgram::signal_endsTheProgramAndItsSession_data()
{
    QTest::addColumn<int>("number");
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("asked");
    QTest::newRow("SIGTERM") << SIGTERM << QStringList() << "all";
    QTest::newRow("SIGINT, all options")
        << SIGINT << QStringList{"--size=480x800", "--theme",       "night", "--language", "de",
                                 "--full-screen",  "--destination", "Rear"}
        << "Rear";
}

void tst_PanelProgram::signal_endsTheProgramAndItsSession()
{
    QFETCH(int, number);
    QFETCH(QStringList, arguments);
    QFETCH(QString, asked);
    ScreenStage stage({"--modes", "Radio", "--modes", "Rear=Video"});
    stage.StartService();
    Panel panel(arguments);
    QVERIFY(stage.control.WaitForCalls("getMode", 1));
    QVERIFY(
        Gist(stage.control.Log())
            .contains(QString(R"(request hmi getModeList {"destination":"%1","sessionId":1})").arg(asked)));
    QCOMPARE(stage.control.CallCount("openSession"), 1u);
    panel.Signal(number);
    QCOMPARE(panel.WaitForExit(), 0);
    QVERIFY(stage.control.WaitForCalls("closeSession", 1));
    QCOMPARE(Gist(stage.control.Log()).last(), "answer hmi closeSession {}");
}

void tst_PanelProgram::signal_endsTheProgramWithoutAService()
{
    Panel panel({});
    BusProbe probe;
    QVERIFY(QTest::qWaitFor([&] { return !probe.Owner("com.quorvantel.audioclient.hmi-panel").isEmpty(); },
                            kPatience));
    panel.Signal(SIGTERM);
    QCOMPARE(panel.WaitForExit(), 0);
    QCOMPARE(probe.Owner("com.quorvantel.audioclient.hmi-panel"), QString());
}

void tst_PanelProgram::noOpenGl_isDrawnAllTheSame()
{
    Panel panel({}, {{"QT_QUICK_BACKEND", ""}}); // the offscreen platform has none
    BusProbe probe;
    QVERIFY(QTest::qWaitFor([&] { return !probe.Owner("com.quorvantel.audioclient.hmi-panel").isEmpty(); },
                            kPatience));
    panel.Signal(SIGTERM);
    QCOMPARE(panel.WaitForExit(), 0);
}

void tst_PanelProgram::wrongUsage_isComplainedAbout_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("complaint");
    for (const char* const size :
         {"1280", "1280x", "x480", "-1x480", "479x480", "480x7681", "1280x480x1", ""}) {
        QTest::addRow("size %s", size) << QStringList{QString("--size=") + size} << kSize.arg(size);
    }
    QTest::newRow("theme") << QStringList{"--theme", "dusk"}
                           << "--theme: expected day or night, found \"dusk\"";
    QTest::newRow("language") << QStringList{"--language", "fr"}
                              << "--language: expected en or de, found \"fr\"";
    QTest::newRow("unknown option") << QStringList{"--colour"}
                                    << "there is no option \"colour\"; --help lists them";
    QTest::newRow("argument") << QStringList{"Radio"}
                              << "expected options only, found \"Radio\"; --help lists them";
    QTest::newRow("no value") << QStringList{"--theme"} << "Missing value after '--theme'.";
    QTest::newRow("the first mistake counts") << QStringList{"--language", "fr", "--theme", "dusk"}
                                              << "--theme: expected day or night, found \"dusk\"";
}

void tst_PanelProgram::wrongUsage_isComplainedAbout()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, complaint);
    Panel panel(arguments, {{"QT_QPA_PLATFORM", "none"}}); // it needs no screen to complain
    QCOMPARE(panel.WaitForExit(), 2);
    QCOMPARE(panel.Errors(), Complaint(complaint));
    QCOMPARE(panel.Output(), QString());
}

void tst_PanelProgram::missingModule_endsTheProgram()
{
    Panel panel({}, {{"QML2_IMPORT_PATH", "/nonexistent"}});
    QCOMPARE(panel.WaitForExit(), 1);
    const QString errors = panel.Errors();
    QVERIFY2(errors.contains("module \"Kiv.Audio\" is not installed"), qPrintable(errors));
    QVERIFY2(errors.endsWith(
                 Complaint("the screen cannot be loaded. It needs the QML module Kiv.Audio, in Qt's own "
                           "folder or in one that QML2_IMPORT_PATH names.")),
             qPrintable(errors));
}

void tst_PanelProgram::help_namesEveryOption()
{
    Panel panel({"--help"}, {{"QT_QPA_PLATFORM", "none"}});
    QCOMPARE(panel.WaitForExit(), 0);
    const QString help = panel.Output();
    for (const char* const option : {"--size", "--theme", "--language", "--destination", "--mode",
                                     "--full-screen", "--help", "--version"}) {
        QVERIFY2(help.contains(option), option);
    }
}

void tst_PanelProgram::version_isPrinted()
{
    Panel panel({"--version"}, {{"QT_QPA_PLATFORM", "none"}});
    QCOMPARE(panel.WaitForExit(), 0);
    QCOMPARE(panel.Output(), "hmi-panel " KIV_EXAMPLE_VERSION "\n");
}

int main(int argc, char** argv)
{
    const PrivateBus bus;
    const QCoreApplication application(argc, argv);
    tst_PanelProgram test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_PanelProgram.moc"
