// SPDX-License-Identifier: MIT
#include "FakeService.h"
#include "KivctlProcess.h"
#include "TestMain.h"

#include <QDBusError>
#include <QElapsedTimer>

#include <memory>

using namespace KivTest;

namespace {

const QString kHint = "kivctl: see kivctl --help, or kivctl help COMMAND\n";

/** A service that accepts everything, unless told otherwise. */
std::unique_ptr<FakeService> MakeService()
{
    auto service = std::make_unique<FakeService>();
    service->Answer("openSession", R"({"sessionId":7})");
    service->Answer("getModeList", R"({"modeList":["Radio","Bluetooth"]})");
    service->Answer("getMode", R"({"currentMode":["Radio"]})");
    service->Appear();
    return service;
}

QStringList Words(const QString& line)
{
    return line.split(' ', Qt::SkipEmptyParts);
}

/** The methods that were requested, in order. */
QStringList MethodsOf(const FakeService& service)
{
    QStringList methods;
    for (const ServiceCall& call : service.Calls()) {
        methods.append(call.methodName);
    }
    return methods;
}

} // namespace

class tst_KivctlExitCodes : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // 0 and 2: without a bus
    void helpAndVersion_endWithZero_data();
    void helpAndVersion_endWithZero();
    void usageError_endsWithTwoAndPrintsNoData_data();
    void usageError_endsWithTwoAndPrintsNoData();

    // 0: the whole conversation of a command
    void done_endsWithZeroAndCloses_data();
    void done_endsWithZeroAndCloses();
    void refusedClosing_changesNothing();
    void verbose_printsTheLogOnStandardErrorOnly();
    void loggingRulesOfTheUser_goBeforeTheDefault();

    // 1
    void refusal_endsWithOne_data();
    void refusal_endsWithOne();
    void errorReply_endsWithOne();
    void modeThatIsNotOffered_sendsNothingAndEndsWithOne();
    void decisionAgainstTheStream_endsWithOne_data();
    void decisionAgainstTheStream_endsWithOne();

    // 3
    void noBus_endsWithThree_data();
    void noBus_endsWithThree();
    void busGone_endsWithThree_data();
    void busGone_endsWithThree();
    void accessDenied_endsWithThree();

    // 4
    void noService_endsWithFour_data();
    void noService_endsWithFour();
    void serviceThatLeaves_endsWithFour();
    void streamThatHolds_endsWithFourWhenTheServiceLeaves();

    // 5
    void silentService_endsWithFiveInTime_data();
    void silentService_endsWithFiveInTime();
    void missingDecision_endsWithFive();
    void waitBoundedByTheUser_endsWithFive_data();
    void waitBoundedByTheUser_endsWithFive();
    void silentClosing_keepsTheExitCode();

    // 6
    void answerAgainstTheProtocol_endsWithSix_data();
    void answerAgainstTheProtocol_endsWithSix();
    void answerOfAnotherType_endsWithSix();
    void unknownObject_endsWithSix();

    // 130 and 143
    void signal_endsWithItsCode_data();
    void signal_endsWithItsCode();
    void signalWhileTheServiceIsSilent_endsWithItsCode();
    void secondSignal_endsAtOnce();
};

void tst_KivctlExitCodes::helpAndVersion_endWithZero_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("firstLine");
    const QString help = "Usage: kivctl [OPTION...] COMMAND [ARGUMENT...]";
    QTest::newRow("--help") << "--help" << help;
    QTest::newRow("help") << "help" << help;
    QTest::newRow("help of a command") << "help stream"
                                       << "Usage: kivctl stream [OPTION...]";
    QTest::newRow("command's help") << "set-mode --help"
                                    << "Usage: kivctl set-mode NAME [OPTION...]";
    QTest::newRow("--version") << "--version"
                               << "kivctl " KIV_CTL_VERSION;
}

void tst_KivctlExitCodes::helpAndVersion_endWithZero()
{
    QFETCH(QString, line);
    QFETCH(QString, firstLine);
    KivctlProcess process(Words(line));
    QCOMPARE(process.WaitForExit(), 0);
    QCOMPARE(process.Lines().value(0), firstLine);
    QCOMPARE(process.Errors(), QString());
}

void tst_KivctlExitCodes::usageError_endsWithTwoAndPrintsNoData_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("text");
    const auto row = [](const QString& line, const QString& text) {
        QTest::newRow(qPrintable(line)) << Words(line) << text;
    };
    row("", "no command given");
    row("play", R"(unknown command "play")");
    row("help play", R"(unknown command "play")");
    row("modes --wait", "Unknown option 'wait'.");
    row("--wait set-mode Radio", "Unknown option 'wait'.");
    row("modes Radio", R"(modes: unexpected argument "Radio")");
    row("set-mode", "set-mode: missing argument NAME");
    row("call getMode", "call: missing argument JSON");
    row("call getMode []", R"(call: expected a JSON object, not "[]")");
    row("call getMode {", R"(call: expected a JSON object, but "{": unterminated object)");
    row("call --hmi --app getMode {}", "give only one of --hmi and --app");
    row("modes --timeout soon", R"(--timeout "soon": expected seconds between 0.001 and 1000000)");
    row("modes --timeout 0", R"(--timeout "0": expected seconds between 0.001 and 1000000)");
    row("modes --timeout nan", R"(--timeout "nan": expected seconds between 0.001 and 1000000)");
    row("modes --timeout", "Missing value after '--timeout'.");
    row("modes --system --session", "give only one of --address, --system and --session");
    row("modes --system --address unix:path=/x", "give only one of --address, --system and --session");
    row("modes --address=", "--address: expected the address of a bus");
    row("stream", "stream: --name NAME is required");
    row("stream --name=", "--name: expected a text");
    row("stream --name N --query --request", "give only one of --query and --request");
    row("stream --name N --hold --for 1", "give only one of --hold and --for");
    row("stream --name N --transient --mode-name M", "give only one of --transient and --mode-name");
    row("stream --name N --for -1", R"(--for "-1": expected seconds between 0.001 and 1000000)");
    QTest::newRow("empty mode") << QStringList{"set-mode", ""} << "set-mode: expected the name of a mode";
}

void tst_KivctlExitCodes::usageError_endsWithTwoAndPrintsNoData()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, text);
    KivctlProcess process(arguments);
    QCOMPARE(process.WaitForExit(), 2);
    QCOMPARE(process.Output(), QString());
    QCOMPARE(process.Errors(), "kivctl: " + text + "\n" + kHint);
}

void tst_KivctlExitCodes::done_endsWithZeroAndCloses_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("output");
    QTest::addColumn<QStringList>("methods");
    const auto row = [](const QString& line, const QString& output, const QString& methods) {
        QTest::newRow(qPrintable(line))
            << line << output << Words("openSession " + methods + " closeSession");
    };
    row("modes", "Radio\nBluetooth\n", "getModeList");
    row("mode", "Radio\n", "getMode");
    row("set-mode Bluetooth", "Bluetooth\n", "getModeList setMode");
    row("set-mode Bluetooth --wait", "Bluetooth\n", "getModeList setMode");
    row("stream --name N", "registered N\n", "registerAudioStream");
    row("stream --name N --playing", "registered N\n", "registerAudioStream audioActive audioActive");
    row("call anything {}", "{}\n", "anything");
    row("call anything {} --app", "{}\n", "anything");
}

void tst_KivctlExitCodes::done_endsWithZeroAndCloses()
{
    QFETCH(QString, line);
    QFETCH(QString, output);
    QFETCH(QStringList, methods);
    const auto service = MakeService();
    KivctlProcess process(Words(line));
    QCOMPARE(process.WaitForExit(), 0);
    QCOMPARE(process.Output(), output);
    QCOMPARE(process.Errors(), QString());
    QCOMPARE(MethodsOf(*service), methods);
    QCOMPARE(service->ArgumentsOf("closeSession"), QStringList(R"({"sessionId":7})"));
}

void tst_KivctlExitCodes::refusedClosing_changesNothing()
{
    const auto service = MakeService();
    service->Answer("closeSession", R"({"errCode":1})");
    KivctlProcess process({"mode"});
    QCOMPARE(process.WaitForExit(), 0);
    QCOMPARE(process.Output(), "Radio\n");
    QCOMPARE(process.Errors(), QString());
    QCOMPARE(MethodsOf(*service), QStringList({"openSession", "getMode", "closeSession"}));
}

void tst_KivctlExitCodes::verbose_printsTheLogOnStandardErrorOnly()
{
    const auto service = MakeService();
    KivctlProcess process({"mode", "--verbose"});
    QCOMPARE(process.WaitForExit(), 0);
    QCOMPARE(process.Output(), "Radio\n");
    QVERIFY(process.Errors().contains("ServiceProviderClient::CloseSession"));
}

void tst_KivctlExitCodes::loggingRulesOfTheUser_goBeforeTheDefault()
{
    const auto service = MakeService();
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("QT_LOGGING_RULES", "default.debug=true");
    KivctlProcess process({"mode"}, environment);
    QCOMPARE(process.WaitForExit(), 0);
    QVERIFY(process.Errors().contains("ServiceProviderClient::CloseSession"));
}

void tst_KivctlExitCodes::refusal_endsWithOne_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("method");
    QTest::addColumn<QString>("output");
    QTest::newRow("openSession") << "modes"
                                 << "openSession"
                                 << "";
    QTest::newRow("getModeList") << "modes"
                                 << "getModeList"
                                 << "";
    QTest::newRow("getMode") << "mode"
                             << "getMode"
                             << "";
    QTest::newRow("setMode") << "set-mode Radio"
                             << "setMode"
                             << "";
    QTest::newRow("setMode, waiting") << "set-mode Radio --wait"
                                      << "setMode"
                                      << "";
    QTest::newRow("monitor") << "monitor"
                             << "getMode"
                             << "service running\nmodes Radio, Bluetooth\n";
    QTest::newRow("registerAudioStream") << "stream --name N"
                                         << "registerAudioStream"
                                         << "";
    QTest::newRow("requestAudioFocus") << "stream --name N --request"
                                       << "requestAudioFocus"
                                       << "registered N\n";
    QTest::newRow("audioActive") << "stream --name N --playing"
                                 << "audioActive"
                                 << "registered N\n";
    QTest::newRow("call") << "call anything {}"
                          << "anything"
                          << R"({"errCode":99,"errMessage":"not today"})"
                             "\n";
}

void tst_KivctlExitCodes::refusal_endsWithOne()
{
    QFETCH(QString, line);
    QFETCH(QString, method);
    QFETCH(QString, output);
    const auto service = MakeService();
    service->Answer(method, R"({"errCode":99,"errMessage":"not today"})");
    KivctlProcess process(Words(line));
    QCOMPARE(process.WaitForExit(), 1);
    QCOMPARE(process.Output(), output);
    QCOMPARE(process.Errors(), "kivctl: " + method + ": refused with errCode 99: not today\n");
    QCOMPARE(service->ArgumentsOf("closeSession").size(), method == "openSession" ? 0 : 1);
}

void tst_KivctlExitCodes::errorReply_endsWithOne()
{
    const auto service = MakeService();
    service->Fail("getMode", "com.example.Busy", "try again");
    KivctlProcess process({"mode"});
    QCOMPARE(process.WaitForExit(), 1);
    QCOMPARE(process.Output(), QString());
    QCOMPARE(process.Errors(), "kivctl: getMode: com.example.Busy: try again\n");
}

void tst_KivctlExitCodes::modeThatIsNotOffered_sendsNothingAndEndsWithOne()
{
    const auto service = MakeService();
    KivctlProcess process({"set-mode", "Phone"});
    QCOMPARE(process.WaitForExit(), 1);
    QCOMPARE(process.Output(), QString());
    QCOMPARE(process.Errors(), "kivctl: the mode \"Phone\" is not offered; offered: Radio, Bluetooth\n");
    QCOMPARE(MethodsOf(*service), QStringList({"openSession", "getModeList", "closeSession"}));
}

void tst_KivctlExitCodes::decisionAgainstTheStream_endsWithOne_data()
{
    QTest::addColumn<QString>("option");
    QTest::addColumn<QString>("decision");
    QTest::newRow("request") << "--request"
                             << "failed";
    QTest::newRow("query") << "--query"
                           << "wouldFail";
}

void tst_KivctlExitCodes::decisionAgainstTheStream_endsWithOne()
{
    QFETCH(QString, option);
    QFETCH(QString, decision);
    const auto service = MakeService();
    KivctlProcess process({"stream", "--name", "N", option, "--hold"});
    QVERIFY(service->WaitForCalls("requestAudioFocus", 1));
    service->CallClient(QString("com.quorvantel.audioclient.kivctl.p%1").arg(process.Id()),
                        "/com/quorvantel/audioclient/kivctl/ServiceProviderClient",
                        "onRequestAudioFocusResult", R"({"sessionId":7,"newFocus":")" + decision + R"("})");
    QCOMPARE(process.WaitForExit(), 1);
    QCOMPARE(process.Output(), "registered N\ndecision " + decision + "\n");
    QCOMPARE(process.Errors(), "kivctl: the service's decision on the focus is \"" + decision + "\"\n");
    QCOMPARE(service->ArgumentsOf("abandonAudioFocus"), QStringList());
}

void tst_KivctlExitCodes::noBus_endsWithThree_data()
{
    QTest::addColumn<QString>("line");
    for (const char* line :
         {"modes", "mode", "set-mode Radio --wait", "monitor", "stream --name N --hold", "call m {}"}) {
        QTest::newRow(line) << line;
    }
}

void tst_KivctlExitCodes::noBus_endsWithThree()
{
    QFETCH(QString, line);
    KivctlProcess process(Words(line) + QStringList{"--address", "unix:path=/nonexistent/bus"});
    QCOMPARE(process.WaitForExit(), 3);
    QCOMPARE(process.Output(), QString());
    QCOMPARE(process.Errors(),
             "kivctl: no bus at \"unix:path=/nonexistent/bus\": Failed to connect to socket "
             "/nonexistent/bus: No such file or directory\n");
}

void tst_KivctlExitCodes::busGone_endsWithThree_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("waiting");
    QTest::newRow("monitor") << "monitor"
                             << "kivctl: waiting for the service\n";
    QTest::newRow("set-mode") << "set-mode Phone --wait"
                              << "kivctl: waiting for the service\n";
}

void tst_KivctlExitCodes::busGone_endsWithThree()
{
    QFETCH(QString, line);
    QFETCH(QString, waiting);
    const QByteArray address = qgetenv("DBUS_SYSTEM_BUS_ADDRESS");
    PrivateBus other; // becomes the system bus of this process's children
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", address);
    KivctlProcess process(Words(line) + QStringList{"--address", other.Address()});
    QCOMPARE(process.WaitForErrors(waiting), waiting);
    other.Kill();
    QCOMPARE(process.WaitForExit(), 3);
    QCOMPARE(process.Output(), QString());
    QCOMPARE(process.Errors(), waiting + "kivctl: the bus has gone\n");
}

void tst_KivctlExitCodes::accessDenied_endsWithThree()
{
    const auto service = MakeService();
    service->Fail("getMode", "org.freedesktop.DBus.Error.AccessDenied", "not for you");
    KivctlProcess process({"mode"});
    QCOMPARE(process.WaitForExit(), 3);
    QCOMPARE(process.Errors(), "kivctl: getMode: org.freedesktop.DBus.Error.AccessDenied: not for you\n");
}

void tst_KivctlExitCodes::noService_endsWithFour_data()
{
    QTest::addColumn<QString>("line");
    for (const char* line : {"modes", "mode", "set-mode Radio", "stream --name N --hold", "call m {}"}) {
        QTest::newRow(line) << line;
    }
}

void tst_KivctlExitCodes::noService_endsWithFour()
{
    QFETCH(QString, line);
    KivctlProcess process(Words(line));
    QCOMPARE(process.WaitForExit(), 4);
    QCOMPARE(process.Output(), QString());
    QCOMPARE(process.Errors(), "kivctl: nobody owns the service's bus name " + kServiceName + "\n");
}

void tst_KivctlExitCodes::serviceThatLeaves_endsWithFour()
{
    auto service = MakeService();
    service->Hold("getMode");
    KivctlProcess process({"mode"});
    QVERIFY(service->WaitForCalls("getMode", 1));
    service.reset();
    QCOMPARE(process.WaitForExit(), 4);
    QCOMPARE(process.Output(), QString());
    QVERIFY(!process.Errors().isEmpty());
}

void tst_KivctlExitCodes::streamThatHolds_endsWithFourWhenTheServiceLeaves()
{
    const auto service = MakeService();
    KivctlProcess process({"stream", "--name", "N", "--hold"});
    QCOMPARE(process.WaitForOutput("registered N\n"), "registered N\n");
    service->Leave();
    QCOMPARE(process.WaitForExit(), 4);
    QCOMPARE(process.Errors(), "kivctl: the service has left the bus\n");
}

void tst_KivctlExitCodes::silentService_endsWithFiveInTime_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("method");
    QTest::newRow("blocked while opening") << "modes"
                                           << "openSession";
    QTest::newRow("modes") << "modes"
                           << "getModeList";
    QTest::newRow("mode") << "mode"
                          << "getMode";
    QTest::newRow("set-mode") << "set-mode Radio"
                              << "setMode";
    QTest::newRow("stream") << "stream --name N --hold"
                            << "registerAudioStream";
    QTest::newRow("call") << "call anything {}"
                          << "anything";
}

void tst_KivctlExitCodes::silentService_endsWithFiveInTime()
{
    QFETCH(QString, line);
    QFETCH(QString, method);
    const auto service = MakeService();
    service->Hold(method);
    QElapsedTimer timer;
    timer.start();
    KivctlProcess process(Words(line) + QStringList{"--timeout", "0.5"});
    QCOMPARE(process.WaitForExit(), 5);
    QVERIFY(timer.elapsed() < 20000); // sooner than the library's requests give up
    QCOMPARE(process.Output(), QString());
    QCOMPARE(process.Errors(), "kivctl: not done within 0.5 s\n");
    QCOMPARE(service->ArgumentsOf("closeSession").size(), method == "openSession" ? 0 : 1);
}

void tst_KivctlExitCodes::missingDecision_endsWithFive()
{
    const auto service = MakeService();
    KivctlProcess process({"stream", "--name", "N", "--request", "--timeout", "0.5"});
    QCOMPARE(process.WaitForExit(), 5);
    QCOMPARE(process.Output(), "registered N\n");
    QCOMPARE(process.Errors(), "kivctl: not done within 0.5 s\n");
}

void tst_KivctlExitCodes::waitBoundedByTheUser_endsWithFive_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("output");
    QTest::addColumn<QString>("waiting");
    QTest::newRow("monitor") << "monitor"
                             << "service running\nmodes Radio, Bluetooth\nmode Radio\n"
                             << "";
    QTest::newRow("set-mode") << "set-mode Phone --wait"
                              << ""
                              << "kivctl: waiting for the mode \"Phone\"\n";
    QTest::newRow("stream") << "stream --name N --hold"
                            << "registered N\n"
                            << "";
    QTest::newRow("stream for a time") << "stream --name N --for 100"
                                       << "registered N\n"
                                       << "";
}

void tst_KivctlExitCodes::waitBoundedByTheUser_endsWithFive()
{
    QFETCH(QString, line);
    QFETCH(QString, output);
    QFETCH(QString, waiting);
    const auto service = MakeService();
    KivctlProcess process(Words(line) + QStringList{"--timeout", "1"});
    QCOMPARE(process.WaitForExit(), 5);
    QCOMPARE(process.Output(), output);
    QCOMPARE(process.Errors(), waiting + "kivctl: not done within 1 s\n");
    QCOMPARE(service->ArgumentsOf("closeSession").size(), 1);
}

void tst_KivctlExitCodes::silentClosing_keepsTheExitCode()
{
    const auto service = MakeService();
    service->Hold("closeSession");
    KivctlProcess process({"mode"});
    QCOMPARE(process.WaitForExit(), 0);
    QCOMPARE(process.Output(), "Radio\n");
    QCOMPARE(process.Errors(), QString());
}

void tst_KivctlExitCodes::answerAgainstTheProtocol_endsWithSix_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("method");
    QTest::addColumn<QString>("answer");
    QTest::addColumn<QString>("text");
    const QString noObject = "the answer is no JSON object";
    const QString noSession = "no usable sessionId in the answer";
    const QString noList = "no list in the answer";
    QTest::newRow("no sessionId") << "modes"
                                  << "openSession"
                                  << "{}" << noSession;
    QTest::newRow("sessionId 0") << "modes"
                                 << "openSession"
                                 << R"({"sessionId":0})" << noSession;
    QTest::newRow("sessionId a text") << "modes"
                                      << "openSession"
                                      << R"({"sessionId":"x"})" << noSession;
    QTest::newRow("no JSON") << "modes"
                             << "openSession"
                             << "hello" << noObject;
    QTest::newRow("no mode list") << "modes"
                                  << "getModeList"
                                  << "{}" << noList;
    QTest::newRow("mode list a text") << "modes"
                                      << "getModeList"
                                      << R"({"modeList":"Radio"})" << noList;
    QTest::newRow("no current mode") << "mode"
                                     << "getMode"
                                     << R"({"x":1})" << noList;
    QTest::newRow("mode no object") << "mode"
                                    << "getMode"
                                    << R"(["Radio"])" << noObject;
    QTest::newRow("set-mode") << "set-mode Radio"
                              << "setMode"
                              << "" << noObject;
    QTest::newRow("monitor") << "monitor"
                             << "getModeList"
                             << "null" << noObject;
    QTest::newRow("stream") << "stream --name N"
                            << "registerAudioStream"
                            << "yes" << noObject;
}

void tst_KivctlExitCodes::answerAgainstTheProtocol_endsWithSix()
{
    QFETCH(QString, line);
    QFETCH(QString, method);
    QFETCH(QString, answer);
    QFETCH(QString, text);
    const auto service = MakeService();
    service->Answer(method, answer);
    KivctlProcess process(Words(line));
    QCOMPARE(process.WaitForExit(), 6);
    QCOMPARE(process.Output(), QString(line == "monitor" ? "service running\n" : ""));
    QCOMPARE(process.Errors(), "kivctl: " + method + ": " + text + ": " + answer + "\n");
}

void tst_KivctlExitCodes::answerOfAnotherType_endsWithSix()
{
    const auto service = MakeService();
    service->AnswerWithWrongSignature("getMode");
    KivctlProcess process({"mode"});
    QCOMPARE(process.WaitForExit(), 6);
    QVERIFY(process.Errors().startsWith("kivctl: getMode: org.freedesktop.DBus.Error.InvalidSignature: "));
}

void tst_KivctlExitCodes::unknownObject_endsWithSix()
{
    const auto service = MakeService();
    service->Fail("openSession", "org.freedesktop.DBus.Error.UnknownObject", "no such object");
    KivctlProcess process({"mode"});
    QCOMPARE(process.WaitForExit(), 6);
    QCOMPARE(process.Errors(),
             "kivctl: openSession: org.freedesktop.DBus.Error.UnknownObject: no such object\n");
}

void tst_KivctlExitCodes::signal_endsWithItsCode_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("lastMethod");
    QTest::addColumn<int>("number");
    QTest::addColumn<int>("code");
    const auto rows = [](const QString& line, const QString& lastMethod) {
        QTest::newRow(qPrintable("SIGINT " + line)) << line << lastMethod << SIGINT << 130;
        QTest::newRow(qPrintable("SIGTERM " + line)) << line << lastMethod << SIGTERM << 143;
    };
    rows("monitor", "getMode");
    rows("set-mode Phone --wait", "getModeList");
    rows("stream --name N --hold", "registerAudioStream");
}

void tst_KivctlExitCodes::signal_endsWithItsCode()
{
    QFETCH(QString, line);
    QFETCH(QString, lastMethod);
    QFETCH(int, number);
    QFETCH(int, code);
    const auto service = MakeService();
    KivctlProcess process(Words(line));
    QVERIFY(service->WaitForCalls(lastMethod, 1));
    process.Signal(number);
    QCOMPARE(process.WaitForExit(), code);
    QCOMPARE(MethodsOf(*service).last(), QString("closeSession"));
}

void tst_KivctlExitCodes::signalWhileTheServiceIsSilent_endsWithItsCode()
{
    const auto service = MakeService();
    service->Hold("openSession");
    KivctlProcess process({"modes"});
    QVERIFY(service->WaitForCalls("openSession", 1));
    QElapsedTimer timer;
    timer.start();
    process.Signal(SIGTERM);
    QCOMPARE(process.WaitForExit(), 143);
    QVERIFY(timer.elapsed() < 20000);
    QCOMPARE(process.Output(), QString());
}

void tst_KivctlExitCodes::secondSignal_endsAtOnce()
{
    const auto service = MakeService();
    service->Hold("closeSession");
    KivctlProcess process({"monitor"});
    QVERIFY(service->WaitForCalls("getMode", 1));
    process.Signal(SIGINT);
    QVERIFY(service->WaitForCalls("closeSession", 1));
    QVERIFY(process.IsRunning());
    process.Signal(SIGTERM);
    QCOMPARE(process.WaitForExit(), 130);
}

KIV_BUS_TEST_MAIN(tst_KivctlExitCodes)
#include "tst_KivctlExitCodes.moc"
