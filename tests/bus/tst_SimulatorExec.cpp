// SPDX-License-Identifier: MIT
#include "FakeService.h"
#include "ForkedProcess.h"
#include "PreparedProcess.h"
#include "SimulatorProcess.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QTextStream>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <memory>
#include <vector>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

using namespace KivTest;
using namespace Audio::Utils::Kiv::QtDbus;

namespace {

const char* const kClientOption = "--print-modes";

/** What this program does as the command of a simulator: an HMI of the library prints the modes. */
int PrintModes(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    HmiClient client("/hmi");
    if (client.hmi.Initialize() != KivBaseClient::INIT_STATE_SUCCESS) {
        return 1;
    }
    QTextStream(stdout) << client.hmi.ModeList().join(' ') << '\n';
    client.hmi.Powerdown();
    return 0;
}

/** Opens a session as an HMI, once the service's answer is there. */
QStringList OpenSession()
{
    return {"dbus-send",
            "--system",
            "--print-reply=literal",
            QString("--dest=%1").arg(kServiceName),
            kHmiPath,
            QString("%1.Request").arg(kInterfaceName),
            "string:openSession",
            R"(string:{"busName":"","objectPath":"/x"})"};
}

QStringList Shell(const QString& script)
{
    return {"sh", "-c", script};
}

/** What /proc/PID/stat has behind the name: state, parent …; empty when there is no such process. */
QStringList StatusOf(const QString& pid)
{
    QFile file("/proc/" + pid + "/stat");
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    const QString line = QString::fromLocal8Bit(file.readAll());
    return line.mid(line.lastIndexOf(')') + 2).split(' ');
}

bool IsAlive(const QString& pid)
{
    const QString state = StatusOf(pid).value(0);
    return !state.isEmpty() && state != "Z" && state != "X";
}

QStringList ChildrenOf(qint64 parent)
{
    QStringList children;
    for (const QString& pid : QDir("/proc").entryList({"[0-9]*"}, QDir::Dirs)) {
        if (StatusOf(pid).value(1) == QString::number(parent)) {
            children.append(pid);
        }
    }
    return children;
}

QByteArray CommandLineOf(const QString& pid)
{
    QFile file("/proc/" + pid + "/cmdline");
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/** A program with a folder of its own for temporary files. */
class Run
{
public:
    Run()
    {
        environment.insert("TMPDIR", m_Folder.path());
        environment.remove("DBUS_SYSTEM_BUS_ADDRESS");
    }

    ~Run()
    {
        m_Process.kill();
        m_Process.waitForFinished();
    }

    void Start(const QString& program, const QStringList& arguments)
    {
        m_Process.setProcessEnvironment(environment);
        m_Process.start(program, arguments);
        QVERIFY(m_Process.waitForStarted(kPatience));
    }

    /** Starts the simulator with a command. */
    void Exec(const QStringList& command, const QStringList& options = {})
    {
        Start(KIV_SIMULATOR_PROGRAM, options + QStringList{"--exec"} + command);
    }

    bool WaitForOutput(const QByteArray& text)
    {
        return QTest::qWaitFor([&] { return Output() == text; }, kPatience);
    }

    bool WaitForErrors(const QByteArray& text)
    {
        return QTest::qWaitFor([&] { return Errors() == text; }, kPatience);
    }

    /** The exit code; -1 when it has crashed or does not end. */
    int Wait()
    {
        m_Process.closeWriteChannel();
        const bool hasEnded =
            m_Process.state() == QProcess::NotRunning || m_Process.waitForFinished(kPatience);
        return hasEnded && m_Process.exitStatus() == QProcess::NormalExit ? m_Process.exitCode() : -1;
    }

    void Write(const QByteArray& text) { m_Process.write(text); }

    void Signal(int number) { ::kill(static_cast<pid_t>(m_Process.processId()), number); }

    QStringList Children() const { return ChildrenOf(m_Process.processId()); }

    /** The child whose command line has this text. */
    QString Child(const QByteArray& text) const
    {
        for (const QString& pid : Children()) {
            if (CommandLineOf(pid).contains(text)) {
                return pid;
            }
        }
        return {};
    }

    bool KillChild(const QByteArray& text)
    {
        const QString pid = Child(text);
        return !pid.isEmpty() && ::kill(pid.toInt(), SIGKILL) == 0;
    }

    QByteArray Output() { return m_Output += m_Process.readAllStandardOutput(); }

    QByteArray Errors() { return m_Errors += m_Process.readAllStandardError(); }

    QStringList TemporaryFiles() const
    {
        return QDir(m_Folder.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }

    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();

private:
    QTemporaryDir m_Folder;
    ForkedProcess m_Process;
    QByteArray m_Output;
    QByteArray m_Errors;
};

/** A process whose standard streams are a terminal that it controls; what is written to it here was typed. */
class TerminalProcess : public Tools::PreparedProcess
{
public:
    TerminalProcess()
        : m_Keyboard(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK))
    {
        if (m_Keyboard < 0 || ::grantpt(m_Keyboard) != 0 || ::unlockpt(m_Keyboard) != 0) {
            qFatal("no pseudo-terminal");
        }
        m_Name = ::ptsname(m_Keyboard);
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("TMPDIR", m_Folder.path());
        setProcessEnvironment(environment);
    }

    ~TerminalProcess() override
    {
        kill();
        waitForFinished();
        ::close(m_Keyboard);
    }

    bool Type(const QByteArray& text)
    {
        return ::write(m_Keyboard, text.constData(), static_cast<size_t>(text.size())) == text.size();
    }

    void Signal(int number) { ::kill(static_cast<pid_t>(processId()), number); }

    bool WaitForScreen(const QByteArray& text)
    {
        return QTest::qWaitFor([&] { return Screen() == text; }, kPatience);
    }

    QByteArray Screen()
    {
        char buffer[1024];
        const ssize_t size = ::read(m_Keyboard, buffer, sizeof(buffer));
        return size > 0 ? m_Screen.append(buffer, static_cast<int>(size)) : m_Screen;
    }

protected:
    void Prepare() override
    {
        ::setsid();
        const int terminal = ::open(m_Name.constData(), O_RDWR);
        ::ioctl(terminal, TIOCSCTTY, 0);
        for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
            ::dup2(terminal, descriptor);
        }
        ::close(terminal);
    }

private:
    QTemporaryDir m_Folder;
    const int m_Keyboard;
    QByteArray m_Name;
    QByteArray m_Screen;
};

/** A folder with a program of this name in it. */
class FakeProgram
{
public:
    FakeProgram(const QString& name, const QByteArray& script)
    {
        QFile file(m_Folder.filePath(name));
        if (!file.open(QIODevice::WriteOnly) || file.write("#!/bin/sh\n" + script + "\n") < 0 ||
            !file.setPermissions(QFile::ReadOwner | QFile::ExeOwner)) {
            qFatal("cannot write %s", qPrintable(file.fileName()));
        }
    }

    QString Path() const { return m_Folder.path() + ":" + QString::fromLocal8Bit(qgetenv("PATH")); }

private:
    QTemporaryDir m_Folder;
};

} // namespace

class tst_SimulatorExec : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // The command line
    void usageError_endsWithTwoAndSaysWhereTheBusIs_data();
    void usageError_endsWithTwoAndSaysWhereTheBusIs();
    void whatFollowsExec_belongsToTheCommand();
    void bytesThatAreNoText_reachTheCommand();

    // How it ends
    void end_isTheCommands_data();
    void end_isTheCommands();
    void commandThatCannotBeRun_endsAsInAShell_data();
    void commandThatCannotBeRun_endsAsInAShell();
    void noBusDaemon_endsWithThree();
    void busDaemonThatFails_endsWithThree();
    void serviceThatFails_endsWithFour();

    // What the command has
    void streams_areTheCommands();
    void environment_namesTheBusAlone();
    void descriptorsAndSignalMask_areAsWithoutIt();
    void service_answersTheCommand();
    void temporaryFolder_mayHaveAnyName_data();
    void temporaryFolder_mayHaveAnyName();
    void bus_letsTheCommandMonitor();
    void log_goesToStandardError();
    void parallelRuns_doNotMeet();

    // What happens meanwhile
    void serviceGone_isSaidAndTheCommandGoesOn();
    void busGone_isSaidAndTheCommandGoesOn();
    void signal_goesToTheCommand_data();
    void signal_goesToTheCommand();
    void signal_thatTheCommandIgnores_killsItLater();
    void interruptKey_reachesTheCommandOnceAndNothingElse();
    void killedSimulator_leavesNoProcess();
};

void tst_SimulatorExec::usageError_endsWithTwoAndSaysWhereTheBusIs_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("message");
    const auto row = [](const char* name, const QStringList& arguments, const char* message) {
        QTest::newRow(name) << arguments << QByteArray(message);
    };
    row("no command", {"--exec"},
        "--exec: no command; it is started with DBUS_SYSTEM_BUS_ADDRESS set to a bus of its own");
    row("with an address", {"--address", "unix:path=/x", "--exec", "true"},
        "--address and --exec exclude each other: --exec starts a bus of its own, and "
        "DBUS_SYSTEM_BUS_ADDRESS "
        "tells the command where it is");
    row("joined with the command", {"--exec=true"}, "Unexpected value after '--exec'.");
    row("where a value is missing", {"--refuse", "--exec", "true"}, "Missing value after '--refuse'.");
    row("error before it", {"--modes", "Radio,", "--exec", "true"}, R"(--modes "Radio,": empty mode)");
}

void tst_SimulatorExec::usageError_endsWithTwoAndSaysWhereTheBusIs()
{
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, message);
    Run run;
    run.Start(KIV_SIMULATOR_PROGRAM, arguments);
    QCOMPARE(run.Wait(), 2);
    QCOMPARE(run.Errors(), "kiv-audio-simulator: " + message + "\n");
    QCOMPARE(run.Output(), QByteArray());
}

void tst_SimulatorExec::whatFollowsExec_belongsToTheCommand()
{
    Run run;
    run.Exec({"printf", "[%s]", "--help", "--exec", "", "a b", "-x", "--", "--address=x", "$HOME*"});
    QCOMPARE(run.Wait(), 0);
    QCOMPARE(run.Output(), QByteArray("[--help][--exec][][a b][-x][--][--address=x][$HOME*]"));
    QCOMPARE(run.Errors(), QByteArray());
}

void tst_SimulatorExec::bytesThatAreNoText_reachTheCommand()
{
    Run run;
    run.environment.insert("LC_ALL", "C");
    run.Start("sh", {"-c", R"-(exec "$0" --exec printf '[%s]' "$(printf '\303\244\377')")-",
                     KIV_SIMULATOR_PROGRAM});
    QCOMPARE(run.Wait(), 0);
    QCOMPARE(run.Output(), QByteArray("[\303\244\377]"));
}

void tst_SimulatorExec::end_isTheCommands_data()
{
    QTest::addColumn<QString>("script");
    QTest::addColumn<int>("exitCode");
    QTest::newRow("0") << "exit 0" << 0;
    QTest::newRow("7") << "exit 7" << 7;
    QTest::newRow("255") << "exit 255" << 255;
    QTest::newRow("SIGTERM") << "kill -TERM $$" << 128 + SIGTERM;
    QTest::newRow("SIGKILL") << "kill -KILL $$" << 128 + SIGKILL;
}

void tst_SimulatorExec::end_isTheCommands()
{
    QFETCH(QString, script);
    QFETCH(int, exitCode);
    Run run;
    run.Exec(Shell(script));
    QCOMPARE(run.Wait(), exitCode);
    QCOMPARE(run.Output(), QByteArray());
    QCOMPARE(run.Errors(), QByteArray());
    QCOMPARE(run.TemporaryFiles(), QStringList());
}

void tst_SimulatorExec::commandThatCannotBeRun_endsAsInAShell_data()
{
    QTest::addColumn<QString>("command");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QByteArray>("reason");
    QTest::newRow("not in PATH") << "no-such-command" << 127 << QByteArray("No such file or directory");
    QTest::newRow("no such path") << "/no/such" << 127 << QByteArray("No such file or directory");
    QTest::newRow("empty") << "" << 127 << QByteArray("No such file or directory");
    QTest::newRow("not executable") << "/etc/passwd" << 126 << QByteArray("Permission denied");
    QTest::newRow("folder") << "/tmp" << 126 << QByteArray("Permission denied");
}

void tst_SimulatorExec::commandThatCannotBeRun_endsAsInAShell()
{
    QFETCH(QString, command);
    QFETCH(int, exitCode);
    QFETCH(QByteArray, reason);
    Run run;
    run.Exec({command});
    QCOMPARE(run.Wait(), exitCode);
    QCOMPARE(run.Errors(),
             "kiv-audio-simulator: cannot run \"" + command.toLatin1() + "\": " + reason + "\n");
    QCOMPARE(run.TemporaryFiles(), QStringList());
}

void tst_SimulatorExec::noBusDaemon_endsWithThree()
{
    Run run;
    run.environment.insert("PATH", "/nonexistent");
    run.Exec({"/bin/echo", "run"});
    QCOMPARE(run.Wait(), 3);
    QCOMPARE(run.Errors(), QByteArray("kiv-audio-simulator: no bus: --exec needs the program dbus-daemon "
                                      "(on Debian from the package dbus-daemon); it could not be started: "
                                      "execvp: No such file or directory\n"));
    QCOMPARE(run.Output(), QByteArray());
    QCOMPARE(run.TemporaryFiles(), QStringList());
}

void tst_SimulatorExec::busDaemonThatFails_endsWithThree()
{
    const FakeProgram daemon("dbus-daemon", "echo because >&2; exit 9");
    Run run;
    run.environment.insert("PATH", daemon.Path());
    run.Exec({"echo", "run"});
    QCOMPARE(run.Wait(), 3);
    QCOMPARE(run.Errors(),
             QByteArray("kiv-audio-simulator: no bus: --exec needs the program dbus-daemon "
                        "(on Debian from the package dbus-daemon); it ended with exit code 9\nbecause\n"));
    QCOMPARE(run.Output(), QByteArray());
    QCOMPARE(run.TemporaryFiles(), QStringList());
}

void tst_SimulatorExec::serviceThatFails_endsWithFour()
{
    const FakeProgram daemon("dbus-daemon", "echo unix:path=/nonexistent/bus; exec sleep 1000");
    Run run;
    run.environment.insert("PATH", daemon.Path());
    run.Exec({"echo", "run"});
    QCOMPARE(run.Wait(), 4);
    QCOMPARE(run.Errors(),
             QByteArray("kiv-audio-simulator: no bus at \"unix:path=/nonexistent/bus\": Failed to connect to "
                        "socket /nonexistent/bus: No such file or directory\n"
                        "kiv-audio-simulator: the service did not get ready: it ended with exit code 3\n"));
    QCOMPARE(run.Output(), QByteArray());
    QCOMPARE(run.TemporaryFiles(), QStringList());
}

void tst_SimulatorExec::streams_areTheCommands()
{
    Run run;
    run.Exec(Shell("cat; echo complaint >&2"));
    run.Write("one\ntwo");
    QCOMPARE(run.Wait(), 0);
    QCOMPARE(run.Output(), QByteArray("one\ntwo"));
    QCOMPARE(run.Errors(), QByteArray("complaint\n"));
}

void tst_SimulatorExec::environment_namesTheBusAlone()
{
    Run run;
    run.environment.insert("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/another");
    run.environment.insert("DBUS_SESSION_BUS_ADDRESS", "unix:path=/session");
    run.environment.insert("DBUS_STARTER_ADDRESS", "unix:path=/starter");
    run.environment.insert("DBUS_STARTER_BUS_TYPE", "system");
    run.Exec(
        Shell("echo $DBUS_SESSION_BUS_ADDRESS ${DBUS_STARTER_ADDRESS-unset} ${DBUS_STARTER_BUS_TYPE-unset};"
              "echo $DBUS_SYSTEM_BUS_ADDRESS"));
    QCOMPARE(run.Wait(), 0);
    const QByteArrayList lines = run.Output().split('\n');
    QCOMPARE(lines.value(0), QByteArray("unix:path=/session unset unset"));
    const QByteArray folder = run.environment.value("TMPDIR").toLatin1();
    QVERIFY2(lines.value(1).startsWith("unix:path=" + folder + "/kiv-"), lines.value(1).constData());
}

void tst_SimulatorExec::descriptorsAndSignalMask_areAsWithoutIt()
{
    const QStringList command = Shell("ls /proc/$$/fd; grep SigBlk /proc/self/status");
    Run plain;
    plain.Start(command.first(), command.mid(1));
    QCOMPARE(plain.Wait(), 0);
    Run run;
    run.Exec(command);
    QCOMPARE(run.Wait(), 0);
    QCOMPARE(run.Output(), plain.Output());
    QVERIFY(run.Output().startsWith("0\n1\n"));
    QVERIFY(run.Output().endsWith("SigBlk:\t0000000000000000\n"));
}

void tst_SimulatorExec::service_answersTheCommand()
{
    Run run;
    run.Exec(OpenSession());
    QCOMPARE(run.Wait(), 0);
    QCOMPARE(run.Output().trimmed(), QByteArray(R"({"sessionId":1})"));
    QCOMPARE(run.Errors(), QByteArray());
}

void tst_SimulatorExec::temporaryFolder_mayHaveAnyName_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("special in XML and addresses") << "a b&<~,;=%1\"";
    QTest::newRow("too long for a socket") << QString(120, 'x');
}

void tst_SimulatorExec::temporaryFolder_mayHaveAnyName()
{
    QFETCH(QString, name);
    Run run;
    const QDir parent(run.environment.value("TMPDIR"));
    QVERIFY(parent.mkdir(name));
    run.environment.insert("TMPDIR", parent.filePath(name));
    run.Exec(OpenSession());
    QCOMPARE(run.Wait(), 0);
    QCOMPARE(run.Output().trimmed(), QByteArray(R"({"sessionId":1})"));
    QCOMPARE(run.Errors(), QByteArray());
    QVERIFY(QDir(parent.filePath(name)).isEmpty());
}

void tst_SimulatorExec::bus_letsTheCommandMonitor()
{
    Run run;
    run.Exec({"dbus-send", "--system", "--print-reply=literal", "--dest=org.freedesktop.DBus",
              "/org/freedesktop/DBus", "org.freedesktop.DBus.Monitoring.BecomeMonitor",
              "array:string:", "uint32:0"});
    QCOMPARE(run.Wait(), 0);
    QCOMPARE(run.Errors(), QByteArray());
}

void tst_SimulatorExec::log_goesToStandardError()
{
    Run run;
    run.Exec(OpenSession(), {"--log", "text"});
    QCOMPARE(run.Wait(), 0);
    QCOMPARE(run.Output().trimmed(), QByteArray(R"({"sessionId":1})"));
    QByteArray log = run.Errors();
    log.replace("-- bus  left  [:1.2]\n", ""); // the service may have been stopped before it knew
    QCOMPARE(log, QByteArray("<- hmi  openSession {\"busName\":\"\",\"objectPath\":\"/x\"}  [:1.2]\n"
                             "-> hmi  {\"sessionId\":1}  [:1.2]\n"));
}

// All commands run before the first asks for its modes.
void tst_SimulatorExec::parallelRuns_doNotMeet()
{
    std::vector<std::unique_ptr<Run>> runs(10);
    for (std::size_t i = 0; i < runs.size(); ++i) {
        runs[i] = std::make_unique<Run>();
        runs[i]->Exec({"sh", "-c", R"(echo started; read line; exec "$0" "$1")",
                       QCoreApplication::applicationFilePath(), kClientOption},
                      {"--modes", QString("Mode%1,Common").arg(i)});
    }
    for (const auto& run : runs) {
        QVERIFY(run->WaitForOutput("started\n"));
    }
    for (const auto& run : runs) {
        run->Write("go\n");
    }
    for (std::size_t i = 0; i < runs.size(); ++i) {
        QCOMPARE(runs[i]->Wait(), 0);
        QCOMPARE(runs[i]->Output(), "started\nMode" + QByteArray::number(quint64(i)) + " Common\n");
    }
}

void tst_SimulatorExec::serviceGone_isSaidAndTheCommandGoesOn()
{
    Run run;
    run.Exec(Shell("echo started; read line; echo $line; exit 5"));
    QVERIFY(run.WaitForOutput("started\n"));
    QVERIFY(run.KillChild("--address"));
    QVERIFY(
        run.WaitForErrors("kiv-audio-simulator: the service has ended before the command: it was killed by "
                          "signal 9 (Killed)\n"));
    run.Write("on\n");
    QCOMPARE(run.Wait(), 5);
    QCOMPARE(run.Output(), QByteArray("started\non\n"));
    QCOMPARE(run.TemporaryFiles(), QStringList());
}

void tst_SimulatorExec::busGone_isSaidAndTheCommandGoesOn()
{
    Run run;
    run.Exec(Shell("echo started; read line; echo $line; exit 5"));
    QVERIFY(run.WaitForOutput("started\n"));
    QVERIFY(run.KillChild("dbus-daemon"));
    const auto ownErrors = [&run] {
        QByteArrayList lines = run.Errors().split('\n');
        const auto isTheDaemons = [](const QByteArray& line) { return line.startsWith("dbus-daemon["); };
        lines.erase(std::remove_if(lines.begin(), lines.end(), isTheDaemons), lines.end());
        std::sort(lines.begin(), lines.end());
        return lines;
    };
    const QByteArrayList expected{
        "",
        "kiv-audio-simulator: the bus daemon has ended before the command: it was killed by signal 9 "
        "(Killed)",
        "kiv-audio-simulator: the bus has gone",
        "kiv-audio-simulator: the service has ended before the command: it ended with exit code 3"};
    QTRY_COMPARE(ownErrors(), expected);
    run.Write("on\n");
    QCOMPARE(run.Wait(), 5);
    QCOMPARE(run.Output(), QByteArray("started\non\n"));
    QCOMPARE(run.TemporaryFiles(), QStringList());
}

void tst_SimulatorExec::signal_goesToTheCommand_data()
{
    QTest::addColumn<int>("number");
    QTest::addColumn<QString>("script");
    QTest::addColumn<QByteArray>("output");
    QTest::addColumn<int>("exitCode");
    const std::pair<const char*, int> signalsOfTerminals[] = {
        {"INT", SIGINT}, {"TERM", SIGTERM}, {"HUP", SIGHUP}, {"QUIT", SIGQUIT}};
    for (const auto& [name, number] : signalsOfTerminals) {
        const QString trap = QString("trap 'echo got %1; exit 3' %1; echo started; read line").arg(name);
        QTest::addRow("%s, handled", name) << number << trap << "started\ngot " + QByteArray(name) + "\n"
                                           << 3;
    }
    QTest::newRow("TERM") << SIGTERM << "echo started; exec sleep 1000" << QByteArray("started\n") << 143;
    QTest::newRow("INT") << SIGINT << "echo started; exec sleep 1000" << QByteArray("started\n") << 130;
}

void tst_SimulatorExec::signal_goesToTheCommand()
{
    QFETCH(int, number);
    QFETCH(QString, script);
    QFETCH(QByteArray, output);
    QFETCH(int, exitCode);
    Run run;
    run.Exec(Shell(script));
    QVERIFY(run.WaitForOutput("started\n"));
    run.Signal(number);
    QVERIFY(run.WaitForOutput(output));
    QCOMPARE(run.Wait(), exitCode);
    QCOMPARE(run.Errors(), QByteArray());
    QCOMPARE(run.TemporaryFiles(), QStringList());
}

void tst_SimulatorExec::signal_thatTheCommandIgnores_killsItLater()
{
    Run run;
    run.Exec(Shell("trap '' TERM; echo started; exec sleep 1000"));
    QVERIFY(run.WaitForOutput("started\n"));
    QElapsedTimer time;
    time.start();
    run.Signal(SIGTERM);
    QCOMPARE(run.Wait(), 128 + SIGKILL);
    QVERIFY(time.elapsed() > 4000);
    QCOMPARE(run.TemporaryFiles(), QStringList());
}

// The command handles the key, goes on to read the terminal, and still has its service. The simulator, stopped
// meanwhile, finds the interruption before the termination that was sent to it alone.
void tst_SimulatorExec::interruptKey_reachesTheCommandOnceAndNothingElse()
{
    const QString script = R"(trap 'echo interrupted' INT; trap 'echo terminated' TERM; echo started;)"
                           R"(read a; read b; read c; echo got $c; "$@"; echo; exit 6)";
    TerminalProcess terminal;
    terminal.start(KIV_SIMULATOR_PROGRAM, QStringList{"--exec", "sh", "-c", script, "sh"} + OpenSession());
    QByteArray screen = "started\r\n";
    QVERIFY2(terminal.WaitForScreen(screen), terminal.Screen().constData());
    terminal.Signal(SIGSTOP);
    QVERIFY(terminal.Type("\x03"));
    screen += "^Cinterrupted\r\n";
    QVERIFY2(terminal.WaitForScreen(screen), terminal.Screen().constData());
    terminal.Signal(SIGTERM);
    terminal.Signal(SIGCONT);
    screen += "terminated\r\n";
    QVERIFY2(terminal.WaitForScreen(screen), terminal.Screen().constData());
    QVERIFY(terminal.Type("word\n"));
    screen += "word\r\ngot word\r\n   {\"sessionId\":1}\r\n";
    QVERIFY2(terminal.WaitForScreen(screen), terminal.Screen().constData());
    QTRY_COMPARE_WITH_TIMEOUT(terminal.state(), QProcess::NotRunning, kPatience);
    QCOMPARE(terminal.exitCode(), 6);
}

void tst_SimulatorExec::killedSimulator_leavesNoProcess()
{
    Run run;
    run.Exec(Shell("trap '' TERM HUP; echo started; exec sleep 1000"));
    QVERIFY(run.WaitForOutput("started\n"));
    const QStringList children = run.Children();
    QCOMPARE(children.size(), 3); // bus daemon, service, command
    run.Signal(SIGKILL);
    QCOMPARE(run.Wait(), -1);
    for (const QString& pid : children) {
        QTRY_VERIFY_WITH_TIMEOUT(!IsAlive(pid), kPatience);
    }
}

int main(int argc, char** argv)
{
    if (argc == 2 && qstrcmp(argv[1], kClientOption) == 0) {
        return PrintModes(argc, argv);
    }
    for (const int number : {SIGHUP, SIGINT, SIGQUIT, SIGTERM}) {
        std::signal(number, SIG_DFL); // nohup, for instance, would have all children ignore one
    }
    const QCoreApplication application(argc, argv);
    tst_SimulatorExec test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_SimulatorExec.moc"
