// SPDX-License-Identifier: MIT
#include "FakeService.h"
#include "KivctlProcess.h"
#include "TestMain.h"

#include <QFile>
#include <QTemporaryDir>

#include <memory>

using namespace KivTest;

namespace {

/** A service that answers as the protocol says, and calls the one client that it has. */
struct Scene
{
    explicit Scene(const QStringList& options)
    {
        service.Answer("openSession", R"({"sessionId":7})");
        service.Appear();
        process = std::make_unique<KivctlProcess>(QStringList{"stream", "--name", "N"} + options);
    }

    /** Has the service tell about the focus. */
    void Tell(const QString& method, const QString& focus)
    {
        service.CallClient(QString("com.quorvantel.audioclient.kivctl.p%1").arg(process->Id()),
                           "/com/quorvantel/audioclient/kivctl/ServiceProviderClient", method,
                           R"({"sessionId":7,"newFocus":")" + focus + R"("})");
    }

    bool Decide(const QString& decision)
    {
        const bool isAsked = service.WaitForCalls("requestAudioFocus", 1);
        Tell("onRequestAudioFocusResult", decision);
        return isAsked;
    }

    FakeService service;
    std::unique_ptr<KivctlProcess> process;
};

QString TextOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString("(no file)");
}

} // namespace

class tst_KivctlStream : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void registration_saysWhatTheOptionsSay_data();
    void registration_saysWhatTheOptionsSay();
    void query_changesNothing();
    void request_isGrantedAndGivenBack();
    void playing_isSaidAfterTheDecision();
    void hold_printsEveryChangeUntilTheFocusIsLost();
    void holdWithoutARequest_staysUntilStopped();
    void signal_givesTheFocusBack_data();
    void signal_givesTheFocusBack();
    void signal_serviceThatDoesNotAnswer_endsAllTheSame();
    void refusedAbandoning_isComplainedOf();
    void forSeconds_endsWithZeroAndGivesBack();
    void lostFocus_isNotGivenBack();
    void onLost_runsTheCommandWithTheFocus();
    void onLost_outputGoesToStandardError();
    void onLost_commandThatFails_isComplainedOf();
    void onLost_commandGetsSignals();
    void onLost_commandThatDoesNotEnd_isLeftRunning();
};

void tst_KivctlStream::registration_saysWhatTheOptionsSay_data()
{
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<QString>("session");
    QTest::addColumn<QString>("stream");
    const QString plain = R"({"focusType":"permanent","sessionId":7,"streamName":"N","streamType":"Media"})";
    QTest::newRow("default") << QStringList() << "" << plain;
    QTest::newRow("mode") << QStringList{"--mode-name", "My mode"} << ""
                          << R"({"focusType":"permanent","sessionId":7,"streamModeName":"My mode",)"
                             R"("streamName":"N","streamType":"Media"})";
    QTest::newRow("type") << QStringList{"--type", "Voice"} << "" << QString(plain).replace("Media", "Voice");
    QTest::newRow("transient") << QStringList{"--transient"} << ""
                               << QString(plain).replace("permanent", "transient");
    QTest::newRow("destination") << QStringList{"--destination", "Rear"} << R"("destination":"Rear",)"
                                 << plain;
}

void tst_KivctlStream::registration_saysWhatTheOptionsSay()
{
    QFETCH(QStringList, options);
    QFETCH(QString, session);
    QFETCH(QString, stream);
    const Scene scene(options);
    const qint64 id = scene.process->Id();
    QCOMPARE(scene.process->WaitForExit(), 0);
    QCOMPARE(
        scene.service.ArgumentsOf("openSession"),
        QStringList(QString(R"({"busName":"com.quorvantel.audioclient.kivctl.p%1",%2)"
                            R"("objectPath":"/com/quorvantel/audioclient/kivctl/ServiceProviderClient"})")
                        .arg(id)
                        .arg(session)));
    QCOMPARE(scene.service.ArgumentsOf("registerAudioStream"), QStringList(stream));
    QCOMPARE(scene.process->Output(), "registered N\n");
    QCOMPARE(scene.process->Errors(), QString());
}

void tst_KivctlStream::query_changesNothing()
{
    Scene scene({"--query"});
    QVERIFY(scene.Decide("wouldBeGranted"));
    QCOMPARE(scene.process->WaitForExit(), 0);
    QCOMPARE(scene.process->Output(), "registered N\ndecision wouldBeGranted\n");
    QCOMPARE(scene.service.ArgumentsOf("requestAudioFocus"),
             QStringList(R"({"requestType":"query","sessionId":7})"));
    QCOMPARE(scene.service.ArgumentsOf("abandonAudioFocus"), QStringList());
}

void tst_KivctlStream::request_isGrantedAndGivenBack()
{
    Scene scene({"--request"});
    QVERIFY(scene.Decide("granted"));
    QCOMPARE(scene.process->WaitForExit(), 0);
    QCOMPARE(scene.process->Output(), "registered N\ndecision granted\n");
    QCOMPARE(scene.service.ArgumentsOf("requestAudioFocus"),
             QStringList(R"({"requestType":"request","sessionId":7})"));
    QCOMPARE(scene.service.ArgumentsOf("abandonAudioFocus"),
             QStringList(R"({"reason":"kivctl has ended","sessionId":7})"));
    QCOMPARE(scene.service.Calls().last().methodName, QString("closeSession"));
}

void tst_KivctlStream::playing_isSaidAfterTheDecision()
{
    Scene scene({"--request", "--playing", "--hold"});
    QVERIFY(scene.service.WaitForCalls("requestAudioFocus", 1));
    QCOMPARE(scene.service.ArgumentsOf("audioActive"), QStringList());
    QVERIFY(scene.Decide("granted"));
    QVERIFY(scene.service.WaitForCalls("audioActive", 1));
    QCOMPARE(scene.service.ArgumentsOf("audioActive"), QStringList(R"({"playing":true,"sessionId":7})"));
    scene.Tell("onAudioFocusChange", "lost");
    QCOMPARE(scene.process->WaitForExit(), 0);
    QCOMPARE(scene.service.ArgumentsOf("audioActive"),
             QStringList({R"({"playing":true,"sessionId":7})", R"({"playing":false,"sessionId":7})"}));
}

void tst_KivctlStream::hold_printsEveryChangeUntilTheFocusIsLost()
{
    Scene scene({"--request", "--hold"});
    QVERIFY(scene.Decide("granted"));
    for (const char* focus : {"temporarilyLost", "gained", "lost"}) {
        scene.Tell("onAudioFocusChange", focus);
    }
    QCOMPARE(scene.process->WaitForExit(), 0);
    QCOMPARE(scene.process->Output(),
             "registered N\ndecision granted\nfocus temporarilyLost\nfocus gained\nfocus lost\n");
}

void tst_KivctlStream::holdWithoutARequest_staysUntilStopped()
{
    Scene scene({"--hold"});
    QCOMPARE(scene.process->WaitForOutput("registered N\n"), "registered N\n");
    scene.process->Signal(SIGTERM);
    QCOMPARE(scene.process->WaitForExit(), 143);
    QCOMPARE(scene.service.ArgumentsOf("abandonAudioFocus"), QStringList());
    QCOMPARE(scene.service.Calls().last().methodName, QString("closeSession"));
}

void tst_KivctlStream::signal_givesTheFocusBack_data()
{
    QTest::addColumn<int>("number");
    QTest::addColumn<int>("code");
    QTest::newRow("SIGINT") << SIGINT << 130;
    QTest::newRow("SIGTERM") << SIGTERM << 143;
}

void tst_KivctlStream::signal_givesTheFocusBack()
{
    QFETCH(int, number);
    QFETCH(int, code);
    Scene scene({"--request", "--hold"});
    QVERIFY(scene.Decide("granted"));
    scene.Tell("onAudioFocusChange",
               "temporarilyLost"); // it waits for its focus, which is given back as well
    scene.process->Signal(number);
    QCOMPARE(scene.process->WaitForExit(), code);
    QCOMPARE(scene.service.ArgumentsOf("abandonAudioFocus"),
             QStringList(R"({"reason":"kivctl was stopped","sessionId":7})"));
    QCOMPARE(scene.service.Calls().last().methodName, QString("closeSession"));
}

void tst_KivctlStream::signal_serviceThatDoesNotAnswer_endsAllTheSame()
{
    Scene scene({"--request", "--hold"});
    QVERIFY(scene.Decide("granted"));
    scene.service.Hold("abandonAudioFocus");
    scene.process->Signal(SIGINT);
    QCOMPARE(scene.process->WaitForExit(), 130);
    QCOMPARE(scene.service.ArgumentsOf("abandonAudioFocus").size(), 1);
}

void tst_KivctlStream::refusedAbandoning_isComplainedOf()
{
    Scene scene({"--request"});
    scene.service.Answer("abandonAudioFocus", R"({"errCode":13,"errMessage":"nothing to give"})");
    QVERIFY(scene.Decide("granted"));
    QCOMPARE(scene.process->WaitForExit(), 0);
    QCOMPARE(scene.process->Errors(),
             "kivctl: abandonAudioFocus: refused with errCode 13: nothing to give\n");
    QCOMPARE(scene.service.Calls().last().methodName, QString("closeSession"));
}

void tst_KivctlStream::forSeconds_endsWithZeroAndGivesBack()
{
    Scene scene({"--request", "--for", "0.2"});
    QVERIFY(scene.Decide("granted"));
    QCOMPARE(scene.process->WaitForExit(), 0);
    QCOMPARE(scene.service.ArgumentsOf("abandonAudioFocus").size(), 1);
}

void tst_KivctlStream::lostFocus_isNotGivenBack()
{
    Scene scene({"--request", "--hold"});
    QVERIFY(scene.Decide("granted"));
    scene.Tell("onAudioFocusChange", "lost");
    QCOMPARE(scene.process->WaitForExit(), 0);
    QCOMPARE(scene.service.ArgumentsOf("abandonAudioFocus"), QStringList());
}

void tst_KivctlStream::onLost_runsTheCommandWithTheFocus()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath("log");
    Scene scene({"--request", "--hold", "--on-lost", "echo \"$KIV_FOCUS\" >>" + path});
    QVERIFY(scene.Decide("granted"));
    scene.Tell("onAudioFocusChange", "temporarilyLost");
    QTRY_COMPARE_WITH_TIMEOUT(TextOf(path), "temporarilyLost\n", kPatience);
    scene.Tell("onAudioFocusChange", "gained");
    scene.Tell("onAudioFocusChange", "lost");
    QCOMPARE(scene.process->WaitForExit(), 0);
    QCOMPARE(TextOf(path), QString("temporarilyLost\nlost\n"));
}

void tst_KivctlStream::onLost_outputGoesToStandardError()
{
    Scene scene({"--request", "--hold", "--on-lost", "echo out; echo err >&2"});
    QVERIFY(scene.Decide("granted"));
    scene.Tell("onAudioFocusChange", "lost");
    QCOMPARE(scene.process->WaitForExit(), 0);
    QCOMPARE(scene.process->Output(), "registered N\ndecision granted\nfocus lost\n");
    QCOMPARE(scene.process->Errors(), "out\nerr\n");
}

void tst_KivctlStream::onLost_commandThatFails_isComplainedOf()
{
    Scene scene({"--request", "--hold", "--on-lost", "exit 3"});
    QVERIFY(scene.Decide("granted"));
    scene.Tell("onAudioFocusChange", "lost");
    QCOMPARE(scene.process->WaitForExit(), 0);
    QCOMPARE(scene.process->Errors(), "kivctl: --on-lost: the command has ended with 3\n");
}

void tst_KivctlStream::onLost_commandGetsSignals()
{
    Scene scene({"--request", "--hold", "--on-lost", "kill -TERM $$; echo still here"});
    QVERIFY(scene.Decide("granted"));
    scene.Tell("onAudioFocusChange", "lost");
    QCOMPARE(scene.process->WaitForExit(), 0);
    QCOMPARE(scene.process->Errors(), "kivctl: --on-lost: the command has ended with 15\n");
}

void tst_KivctlStream::onLost_commandThatDoesNotEnd_isLeftRunning()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath("pipe");
    QCOMPARE(QProcess::execute("mkfifo", {path}), 0);
    Scene scene({"--request", "--hold", "--on-lost",
                 "exec 2>/dev/null; read -r line <" + path + "; echo \"$line\" >" + path + ".out"});
    QVERIFY(scene.Decide("granted"));
    scene.Tell("onAudioFocusChange", "lost");
    QCOMPARE(scene.process->WaitForExit(), 0);
    QCOMPARE(QProcess::execute("/bin/sh", {"-c", "echo alive >" + path}), 0);
    QTRY_COMPARE_WITH_TIMEOUT(TextOf(path + ".out"), "alive\n", kPatience);
}

KIV_BUS_TEST_MAIN(tst_KivctlStream)
#include "tst_KivctlStream.moc"
