// SPDX-License-Identifier: MIT
#include "FakeService.h"
#include "LogCapture.h"
#include "SimulatorProcess.h"
#include "TestMain.h"

#include <QDBusConnectionInterface>
#include <QDBusReply>
#include <QDBusVirtualObject>
#include <QRegularExpression>
#include <QSignalSpy>

#include <csignal>
#include <memory>
#include <optional>

using namespace KivTest;
using namespace Audio::Utils::Kiv::QtDbus;

namespace {

/** A client without the library, on a connection of its own; it answers calls, or does not. */
class RawClient : public QDBusVirtualObject
{
public:
    explicit RawClient(bool isAnswering = true)
        : m_Name(QString("raw-%1").arg(++smCount)),
          m_Connection(
              QDBusConnection::connectToBus(QString::fromLatin1(qgetenv("DBUS_SYSTEM_BUS_ADDRESS")), m_Name)),
          m_IsAnswering(isAnswering)
    {
        m_Connection->registerVirtualObject("/raw", this);
    }

    ~RawClient() override { Leave(); }

    void Leave()
    {
        m_Connection.reset();
        QDBusConnection::disconnectFromBus(m_Name);
    }

    QString Send(const QString& path, const QString& method, const QString& arguments)
    {
        QDBusMessage call = QDBusMessage::createMethodCall(kServiceName, path, kInterfaceName, "Request");
        call.setArguments({method, arguments});
        return QDBusReply<QString>(m_Connection->call(call)).value();
    }

    /** Returns when the request has reached the bus. */
    void SendWithoutWaiting(const QString& path, const QString& method, const QString& arguments)
    {
        QDBusMessage call = QDBusMessage::createMethodCall(kServiceName, path, kInterfaceName, "Request");
        call.setArguments({method, arguments});
        m_Connection->asyncCall(call);
        m_Connection->interface()->isServiceRegistered(kServiceName); // the bus keeps the order
    }

    QString UniqueName() const { return m_Connection->baseService(); }

    QStringList Received() const { return m_Received; }

    QString introspect(const QString&) const override { return QString(); }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override
    {
        m_Received.append(message.arguments().value(0).toString() + " " +
                          message.arguments().value(1).toString());
        if (m_IsAnswering) {
            connection.send(message.createReply(m_Answer));
        }
        return true;
    }

    void AnswerWith(const QString& text) { m_Answer = text; }

private:
    inline static int smCount = 0;

    const QString m_Name;
    std::optional<QDBusConnection> m_Connection;
    const bool m_IsAnswering;
    QString m_Answer = "{}";
    QStringList m_Received;
};

QString OwnUniqueName()
{
    return QDBusConnection::systemBus().baseService();
}

QVariantList FocusEvent(const QString& stream, const QString& mode, const QString& type,
                        const QString& newFocus)
{
    return {stream, mode, type, "Media", "all", newFocus};
}

QList<QVariantList> Entries(const QSignalSpy& spy)
{
    return spy;
}

} // namespace

class tst_Simulator : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // The program
    void usageError_endsWithTwoAndAMessage_data();
    void usageError_endsWithTwoAndAMessage();
    void noAddress_isRefusedWithTwo();
    void help_tellsTheExitCodes();
    void version_isPrinted();
    void noBus_endsWithThree();
    void busGone_endsWithThree();
    void nameTaken_endsWithFour_data();
    void nameTaken_endsWithFour();
    void signal_endsWithZero_data();
    void signal_endsWithZero();
    void addressOption_goesBeforeTheEnvironment();
    void withoutLog_onlyReadyIsPrinted();
    void interface_isTheWholeIntrospection();

    // With the library's clients
    void hmi_learnsTheModes();
    void hmi_setsAMode();
    void hmi_modeNotListed_isRefused();
    void pendingMode_isSetByARegistration();
    void destinations_haveModesOfTheirOwn();
    void focus_isTakenLostGainedAndAbandoned();
    void focus_takenForGood_isLost();
    void query_switchesNothing();
    void refusedAndLockedStreams_failAndWouldFail();
    void foreignSession_isRefused();
    void sameObjectAgain_endsTheEarlierSession();
    void clientWithoutBusName_isCalledByItsUniqueName();
    void applicationObject_broadcastsNothing();

    // On the wire
    void log_showsEveryMessage();
    void log_showsOneLinePerMessage();
    void eventsFollowTheReply();
    void clientGone_givesUpWhatItHad();
    void clientGoneBeforeItWasWatched_isForgotten();
    void clientThatDoesNotAnswer_keepsNobodyWaiting();
    void clientThatAnswersOtherwise_isReported();
    void callWithoutReply_isHandled();
};

void tst_Simulator::usageError_endsWithTwoAndAMessage_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("message");
    const auto row = [](const char* name, const QStringList& arguments, const char* message) {
        QTest::newRow(name) << arguments << QString(message);
    };
    row("unknown option", {"--nonsense"}, "Unknown option 'nonsense'.");
    row("positional argument", {"now"}, R"(unexpected argument "now")");
    row("no modes", {"--modes", ""}, R"(--modes "": empty mode)");
    row("no modes of a destination", {"--modes", "Rear="}, R"(--modes "Rear=": empty mode)");
    row("empty mode between", {"--modes", "Radio,,Tape"}, R"(--modes "Radio,,Tape": empty mode)");
    row("empty mode at the end", {"--modes", "Radio,"}, R"(--modes "Radio,": empty mode)");
    row("empty destination", {"--modes", "=Radio"}, R"(--modes "=Radio": empty destination)");
    row("destination all", {"--modes", "all=Radio"}, R"(--modes "all=Radio": "all" cannot be a destination)");
    row("mode twice", {"--modes", "Radio", "--modes", "Radio"},
        R"(--modes: a mode of "Cabin" is given twice)");
    row("value missing", {"--refuse"}, "Missing value after '--refuse'.");
}

void tst_Simulator::usageError_endsWithTwoAndAMessage()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, message);
    SimulatorProcess simulator(arguments);
    QCOMPARE(simulator.WaitForExit(), 2);
    QCOMPARE(simulator.Errors(), "kiv-audio-simulator: " + message + "\n");
    QCOMPARE(simulator.Output(), QString());
}

void tst_Simulator::noAddress_isRefusedWithTwo()
{
    SimulatorProcess simulator({}, false);
    QCOMPARE(simulator.WaitForExit(), 2);
    QCOMPARE(
        simulator.Errors(),
        QString(
            "kiv-audio-simulator: no bus: set DBUS_SYSTEM_BUS_ADDRESS or give --address; the machine's own "
            "system bus is never taken by itself\n"));
    QCOMPARE(simulator.Output(), QString());
}

void tst_Simulator::help_tellsTheExitCodes()
{
    SimulatorProcess simulator({"--help"}, false);
    QCOMPARE(simulator.WaitForExit(), 0);
    const QString help = simulator.Output();
    QVERIFY(help.contains("Exit codes: 0 ended by a signal (or --help, --version), 2 wrong usage or\n"
                          "scenario, 3 no bus, or the bus has gone, 4 a bus name is taken."));
    for (const char* option : {"--address", "--scenario", "--seed", "--destinations", "--modes", "--refuse",
                               "--lock", "--delay", "--log", "--log-file", "--help", "--version"}) {
        QVERIFY2(help.contains(option), option);
    }
}

void tst_Simulator::version_isPrinted()
{
    SimulatorProcess simulator({"--version"}, false);
    QCOMPARE(simulator.WaitForExit(), 0);
    const QString version = simulator.Output();
    QVERIFY(QRegularExpression("\\Akiv-audio-simulator \\d+\\.\\d+\\.\\d+\n\\z").match(version).hasMatch());
}

void tst_Simulator::noBus_endsWithThree()
{
    SimulatorProcess simulator({"--address", "unix:path=/nonexistent/bus"});
    QCOMPARE(simulator.WaitForExit(), 3);
    QVERIFY(simulator.Errors().startsWith("kiv-audio-simulator: no bus at \"unix:path=/nonexistent/bus\": "));
    QCOMPARE(simulator.Output(), QString());
}

namespace {

/** A second bus, which leaves the first one in the environment. */
std::unique_ptr<PrivateBus> MakeOtherBus()
{
    const QByteArray address = qgetenv("DBUS_SYSTEM_BUS_ADDRESS");
    auto other = std::make_unique<PrivateBus>();
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", address);
    return other;
}

} // namespace

void tst_Simulator::busGone_endsWithThree()
{
    const auto other = MakeOtherBus();
    SimulatorProcess simulator({"--address", other->Address()});
    QVERIFY(simulator.WaitUntilReady());
    other->Kill();
    QCOMPARE(simulator.WaitForExit(), 3);
    QCOMPARE(simulator.Errors(), QString("kiv-audio-simulator: the bus has gone\n"));
}

void tst_Simulator::nameTaken_endsWithFour_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("complaint");

    QTest::newRow("a service is there")
        << "com.quorvantel.service.AudioManagement"
        << "kiv-audio-simulator: the service's bus name is taken, or not allowed\n";
    QTest::newRow("a simulator is there")
        << "com.kiv.AudioSimulator"
        << "kiv-audio-simulator: the simulator's bus name is taken, or not allowed\n";
}

void tst_Simulator::nameTaken_endsWithFour()
{
    QFETCH(QString, name);
    QFETCH(QString, complaint);
    QVERIFY(QDBusConnection::systemBus().registerService(name));
    SimulatorProcess simulator({});
    QCOMPARE(simulator.WaitForExit(), 4);
    QCOMPARE(simulator.Errors(), complaint);
    QCOMPARE(simulator.Output(), QString());
    QVERIFY(QDBusConnection::systemBus().unregisterService(name));
}

void tst_Simulator::signal_endsWithZero_data()
{
    QTest::addColumn<int>("number");
    QTest::newRow("SIGINT") << SIGINT;
    QTest::newRow("SIGTERM") << SIGTERM;
}

void tst_Simulator::signal_endsWithZero()
{
    QFETCH(int, number);
    SimulatorProcess simulator({});
    QVERIFY(simulator.WaitUntilReady());
    QVERIFY(QDBusConnection::systemBus().interface()->isServiceRegistered(kServiceName));
    simulator.Signal(number);
    QCOMPARE(simulator.WaitForExit(), 0);
    QCOMPARE(simulator.Errors(), QString());
    QVERIFY(!QDBusConnection::systemBus().interface()->isServiceRegistered(kServiceName));
}

void tst_Simulator::addressOption_goesBeforeTheEnvironment()
{
    const auto other = MakeOtherBus();
    SimulatorProcess simulator({"--address", other->Address()});
    QVERIFY(simulator.WaitUntilReady());
    QVERIFY(!QDBusConnection::systemBus().interface()->isServiceRegistered(kServiceName));
}

void tst_Simulator::withoutLog_onlyReadyIsPrinted()
{
    SimulatorProcess simulator({});
    QVERIFY(simulator.WaitUntilReady());
    RawClient client;
    QCOMPARE(client.Send(kHmiPath, "openSession", R"({"busName":"","objectPath":"/raw"})"),
             QString(R"({"sessionId":1})"));
    simulator.Signal(SIGTERM);
    QCOMPARE(simulator.WaitForExit(), 0);
    QCOMPARE(simulator.Output(), QString("ready\n"));
}

void tst_Simulator::interface_isTheWholeIntrospection()
{
    SimulatorProcess simulator({});
    QVERIFY(simulator.WaitUntilReady());
    const QString expected = R"(  <interface name="com.quorvantel.ServiceProvider">
    <method name="Request">
      <arg direction="in" type="s" name="methodName"/>
      <arg direction="in" type="s" name="arguments"/>
      <arg direction="out" type="s" name="result"/>
    </method>
    <signal name="Notify">
      <arg direction="out" type="s" name="signalName"/>
      <arg direction="out" type="s" name="payload"/>
    </signal>
  </interface>
)";
    for (const QString& path : {kHmiPath, kAppPath}) {
        const QDBusReply<QString> text = QDBusConnection::systemBus().call(QDBusMessage::createMethodCall(
            kServiceName, path, "org.freedesktop.DBus.Introspectable", "Introspect"));
        QVERIFY2(text.value().contains(expected), qPrintable(text.value()));
        QCOMPARE(text.value().count("com.quorvantel"), 1);
    }
}

void tst_Simulator::hmi_learnsTheModes()
{
    SimulatorProcess simulator({});
    QVERIFY(simulator.WaitUntilReady());
    HmiClient client("/hmi");
    QCOMPARE(client.hmi.Initialize(), KivBaseClient::INIT_STATE_SUCCESS);
    QCOMPARE(client.hmi.SessionId(), 1u);
    QCOMPARE(client.hmi.ModeList(), (QStringList{"Radio", "Bluetooth"}));
    QCOMPARE(client.hmi.CurrentMode(), QString("Radio"));
    client.hmi.Powerdown();
}

void tst_Simulator::hmi_setsAMode()
{
    SimulatorProcess simulator({});
    QVERIFY(simulator.WaitUntilReady());
    HmiClient client("/hmi");
    HmiClient other("/other");
    QCOMPARE(client.hmi.Initialize(), KivBaseClient::INIT_STATE_SUCCESS);
    QCOMPARE(other.hmi.Initialize(), KivBaseClient::INIT_STATE_SUCCESS);

    const quint32 request = client.hmi.SetModeAsync("Bluetooth");
    QVERIFY(other.modeChanged.wait());
    QTRY_COMPARE(Entries(client.setModeCompleted), (QList<QVariantList>{{request, true}}));
    QTRY_COMPARE(Entries(client.modeChanged), (QList<QVariantList>{{"Bluetooth"}}));
    QCOMPARE(Entries(other.modeChanged), (QList<QVariantList>{{"Bluetooth"}}));
    QCOMPARE(client.hmi.CurrentMode(), QString("Bluetooth"));
    QVERIFY(client.modeListChanged.isEmpty());
    client.hmi.Powerdown();
    other.hmi.Powerdown();
}

void tst_Simulator::hmi_modeNotListed_isRefused()
{
    SimulatorProcess simulator({});
    QVERIFY(simulator.WaitUntilReady());
    HmiClient client("/hmi");
    QCOMPARE(client.hmi.Initialize(), KivBaseClient::INIT_STATE_SUCCESS);
    client.hmi.m_ModeList.append("Tape"); // the client only believes so

    QVERIFY(!client.hmi.SetMode("Tape"));
    QVERIFY(client.hmi.SetMode("Bluetooth"));
    QTRY_COMPARE(Entries(client.modeChanged), (QList<QVariantList>{{"Bluetooth"}}));
    client.hmi.Powerdown();
}

void tst_Simulator::pendingMode_isSetByARegistration()
{
    SimulatorProcess simulator({});
    QVERIFY(simulator.WaitUntilReady());
    HmiClient client("/hmi");
    QCOMPARE(client.hmi.Initialize(), KivBaseClient::INIT_STATE_SUCCESS);
    const quint32 request = client.hmi.SetModeAsync("/player");
    QVERIFY(request != 0);

    AppClient player("/player", "Player", true);
    QVERIFY(player.Initialize());
    QTRY_COMPARE(Entries(client.setModeCompleted), (QList<QVariantList>{{request, true}}));
    QTRY_COMPARE(Entries(client.modeChanged), (QList<QVariantList>{{"/player"}}));
    QCOMPARE(Entries(client.modeListChanged), (QList<QVariantList>{{true, "/player"}}));
    QCOMPARE(client.hmi.ModeList(), (QStringList{"Radio", "Bluetooth", "/player"}));

    player.app.Powerdown();
    QTRY_COMPARE(Entries(client.modeChanged), (QList<QVariantList>{{"/player"}, {"Radio"}}));
    QCOMPARE(Entries(client.modeListChanged), (QList<QVariantList>{{true, "/player"}, {false, "/player"}}));
    QCOMPARE(client.hmi.ModeList(), (QStringList{"Radio", "Bluetooth"}));
    client.hmi.Powerdown();
}

void tst_Simulator::destinations_haveModesOfTheirOwn()
{
    SimulatorProcess simulator({"--modes", "FM,AM", "--modes", "Rear=Video=HD,FM", "--modes", "Cabin=Tape"});
    QVERIFY(simulator.WaitUntilReady());
    HmiClient everywhere("/hmi");
    HmiClient rear("/rear", "Rear");
    QCOMPARE(everywhere.hmi.Initialize(), KivBaseClient::INIT_STATE_SUCCESS);
    QCOMPARE(rear.hmi.Initialize(), KivBaseClient::INIT_STATE_SUCCESS);

    QCOMPARE(everywhere.hmi.ModeList(), (QStringList{"FM", "AM", "Tape", "Video=HD"}));
    QCOMPARE(everywhere.hmi.m_CurrentModeList, (QStringList{"FM", "Video=HD"}));
    QCOMPARE(rear.hmi.ModeList(), (QStringList{"Video=HD", "FM"}));
    QCOMPARE(rear.hmi.m_CurrentModeList, QStringList{"Video=HD"});
    everywhere.hmi.Powerdown();
    rear.hmi.Powerdown();
}

void tst_Simulator::focus_isTakenLostGainedAndAbandoned()
{
    SimulatorProcess simulator({});
    QVERIFY(simulator.WaitUntilReady());
    HmiClient screen("/hmi");
    AppClient music("/music", "Music", true);
    AppClient chime("/chime", "Chime", false);
    QCOMPARE(screen.hmi.Initialize(), KivBaseClient::INIT_STATE_SUCCESS);
    QVERIFY(music.Initialize());
    QVERIFY(chime.Initialize());

    QVERIFY(music.app.RequestAudioFocus());
    QTRY_COMPARE(music.heard, QStringList{"result granted"});
    QVERIFY(music.app.AudioActive(true));
    QVERIFY(chime.app.RequestAudioFocus());
    QTRY_COMPARE(music.heard, (QStringList{"result granted", "changed temporarilyLost"}));
    QTRY_COMPARE(chime.heard, QStringList{"result granted"});
    QVERIFY(chime.app.AbandonAudioFocus("done"));
    QTRY_COMPARE(music.heard, (QStringList{"result granted", "changed temporarilyLost", "changed gained"}));
    QTRY_COMPARE(chime.heard, (QStringList{"result granted", "result abandoned"}));
    QVERIFY(!chime.app.AbandonAudioFocus("again"));

    const QList<QVariantList> events{FocusEvent("Music", "/music", "permanent", "gained"),
                                     FocusEvent("Music", "/music", "permanent", "temporarilyLost"),
                                     FocusEvent("Chime", "", "transient", "gained"),
                                     FocusEvent("Chime", "", "transient", "lost"),
                                     FocusEvent("Music", "/music", "permanent", "gained")};
    QTRY_COMPARE(Entries(screen.focusChange), events);
    chime.app.Powerdown();
    music.app.Powerdown();
    screen.hmi.Powerdown();
}

void tst_Simulator::focus_takenForGood_isLost()
{
    SimulatorProcess simulator({});
    QVERIFY(simulator.WaitUntilReady());
    AppClient music("/music", "Music", true);
    AppClient radio("/radio", "Radio", true);
    QVERIFY(music.Initialize());
    QVERIFY(radio.Initialize());

    QVERIFY(music.app.RequestAudioFocus());
    QVERIFY(radio.app.RequestAudioFocus());
    QTRY_COMPARE(music.heard, (QStringList{"result granted", "changed lost"}));
    QTRY_COMPARE(radio.heard, QStringList{"result granted"});
    QCOMPARE(music.app.LastFocus(), QString("lost"));
    music.app.Powerdown();
    radio.app.Powerdown();
}

void tst_Simulator::query_switchesNothing()
{
    SimulatorProcess simulator({});
    QVERIFY(simulator.WaitUntilReady());
    AppClient music("/music", "Music", true);
    AppClient radio("/radio", "Radio", true);
    QVERIFY(music.Initialize());
    QVERIFY(radio.Initialize());

    QVERIFY(music.app.RequestAudioFocus());
    QVERIFY(radio.app.RequestAudioFocus(false));
    QTRY_COMPARE(radio.heard, QStringList{"result wouldBeGranted"});
    QVERIFY(music.app.AbandonAudioFocus("done")); // so it still held it
    QTRY_COMPARE(music.heard, (QStringList{"result granted", "result abandoned"}));
    music.app.Powerdown();
    radio.app.Powerdown();
}

void tst_Simulator::refusedAndLockedStreams_failAndWouldFail()
{
    SimulatorProcess simulator({"--refuse", "Spam", "--refuse", "Ads", "--lock", "Call"});
    QVERIFY(simulator.WaitUntilReady());
    AppClient ads("/ads", "Ads", true);
    AppClient call("/call", "Call", false);
    AppClient music("/music", "Music", true);
    QVERIFY(ads.Initialize());
    QVERIFY(call.Initialize());
    QVERIFY(music.Initialize());

    QVERIFY(ads.app.RequestAudioFocus());
    QVERIFY(ads.app.RequestAudioFocus(false));
    QTRY_COMPARE(ads.heard, (QStringList{"result failed", "result wouldFail"}));
    QVERIFY(call.app.RequestAudioFocus());
    QVERIFY(music.app.RequestAudioFocus(false));
    QVERIFY(music.app.RequestAudioFocus());
    QTRY_COMPARE(music.heard, (QStringList{"result wouldFail", "result failed"}));
    QTRY_COMPARE(call.heard, QStringList{"result granted"});
    ads.app.Powerdown();
    call.app.Powerdown();
    music.app.Powerdown();
}

void tst_Simulator::foreignSession_isRefused()
{
    SimulatorProcess simulator({});
    QVERIFY(simulator.WaitUntilReady());
    HmiClient screen("/hmi");
    AppClient music("/music", "Music", true);
    QCOMPARE(screen.hmi.Initialize(), KivBaseClient::INIT_STATE_SUCCESS);
    QVERIFY(music.Initialize());
    const quint32 own = music.app.SessionId();
    QCOMPARE(own, 2u);

    music.app.m_SessionId = screen.hmi.SessionId();
    QVERIFY(!music.app.RequestAudioFocus());
    music.app.m_SessionId = 99;
    QVERIFY(!music.app.RequestAudioFocus());
    music.app.m_SessionId = own;
    QVERIFY(music.app.RequestAudioFocus());

    RawClient stranger;
    QCOMPARE(stranger.Send(kAppPath, "closeSession", R"({"sessionId":2})"),
             QString("{\"errCode\":8,\"errMessage\":\"session 2 is another client's\"}"));
    music.app.Powerdown();
    screen.hmi.Powerdown();
}

void tst_Simulator::sameObjectAgain_endsTheEarlierSession()
{
    SimulatorProcess simulator({});
    QVERIFY(simulator.WaitUntilReady());
    HmiClient screen("/hmi");
    AppClient music("/music", "Music", true);
    QCOMPARE(screen.hmi.Initialize(), KivBaseClient::INIT_STATE_SUCCESS);
    QVERIFY(music.Initialize());
    QVERIFY(music.app.RequestAudioFocus());

    music.app.m_SessionId = 0; // as a program that has started again on the same connection
    QVERIFY(music.app.OpenSession());
    QCOMPARE(music.app.SessionId(), 3u);
    QVERIFY(music.app.RegisterAudioStream());
    QTRY_COMPARE(Entries(screen.modeListChanged),
                 (QList<QVariantList>{{true, "/music"}, {false, "/music"}, {true, "/music"}}));
    QTRY_COMPARE(Entries(screen.focusChange),
                 (QList<QVariantList>{FocusEvent("Music", "/music", "permanent", "gained"),
                                      FocusEvent("Music", "/music", "permanent", "lost")}));
    music.app.Powerdown();
    screen.hmi.Powerdown();
}

void tst_Simulator::clientWithoutBusName_isCalledByItsUniqueName()
{
    SimulatorProcess simulator({});
    QVERIFY(simulator.WaitUntilReady());
    AppClient music("/music", "Music", true, QString());
    QVERIFY(music.Initialize());
    QVERIFY(music.app.RequestAudioFocus());
    QTRY_COMPARE(music.heard, QStringList{"result granted"});
    music.app.Powerdown();
}

void tst_Simulator::applicationObject_broadcastsNothing()
{
    SimulatorProcess simulator({});
    QVERIFY(simulator.WaitUntilReady());
    LogCapture log;
    AppClient music("/music", "Music", true);
    QVERIFY(music.Initialize());
    log.Clear();
    QVERIFY(music.app.RequestAudioFocus());
    QTRY_COMPARE(music.heard, QStringList{"result granted"});
    QVERIFY(music.app.AbandonAudioFocus("done")); // its answer comes after the broadcast
    QTRY_COMPARE(music.heard, (QStringList{"result granted", "result abandoned"}));
    QCOMPARE(log.Complaints(), QVector<LogRecord>());
    music.app.Powerdown();
}

void tst_Simulator::log_showsEveryMessage()
{
    SimulatorProcess simulator({"--log", "text"});
    QVERIFY(simulator.WaitUntilReady());
    HmiClient screen("/hmi");
    AppClient music("/music", "Music", true);
    QCOMPARE(screen.hmi.Initialize(), KivBaseClient::INIT_STATE_SUCCESS);
    QVERIFY(music.Initialize());
    QVERIFY(music.app.RequestAudioFocus());
    screen.hmi.Powerdown();
    QVERIFY(music.app.AbandonAudioFocus("done"));
    QVERIFY(music.app.RequestAudioFocus());
    music.app.Powerdown();

    const QString expected = R"(ready
<- hmi  openSession {"busName":"NAME","objectPath":"/hmi/ServiceProviderClient"}  [ME]
-> hmi  {"sessionId":1}  [ME]
<- hmi  getModeList {"destination":"all","sessionId":1}  [ME]
-> hmi  {"modeList":["Radio","Bluetooth"]}  [ME]
<- hmi  getMode {"destination":"all","sessionId":1}  [ME]
-> hmi  {"currentMode":["Radio"]}  [ME]
<- app  openSession {"busName":"NAME","objectPath":"/music/ServiceProviderClient"}  [ME]
-> app  {"sessionId":2}  [ME]
<- app  registerAudioStream {"focusType":"permanent","sessionId":2,"streamModeName":"/music","streamName":"Music","streamType":"Media"}  [ME]
-> app  {}  [ME]
-> hmi  onModeListChange {"action":"add","mode":"/music","sessionId":1}  [ME /hmi/ServiceProviderClient]
<- app  requestAudioFocus {"requestType":"request","sessionId":2}  [ME]
-> app  {}  [ME]
-> app  onRequestAudioFocusResult {"newFocus":"granted","sessionId":2}  [ME /music/ServiceProviderClient]
=> all  audioFocusChangeEvent {"destination":"all","focusType":"permanent","newFocus":"gained","streamModeName":"/music","streamName":"Music","streamType":"Media"}
<- hmi  closeSession {"sessionId":1}  [ME]
-> hmi  {}  [ME]
<- app  abandonAudioFocus {"reason":"done","sessionId":2}  [ME]
-> app  {}  [ME]
-> app  onRequestAudioFocusResult {"newFocus":"abandoned","sessionId":2}  [ME /music/ServiceProviderClient]
=> all  audioFocusChangeEvent {"destination":"all","focusType":"permanent","newFocus":"lost","streamModeName":"/music","streamName":"Music","streamType":"Media"}
<- app  requestAudioFocus {"requestType":"request","sessionId":2}  [ME]
-> app  {}  [ME]
-> app  onRequestAudioFocusResult {"newFocus":"granted","sessionId":2}  [ME /music/ServiceProviderClient]
=> all  audioFocusChangeEvent {"destination":"all","focusType":"permanent","newFocus":"gained","streamModeName":"/music","streamName":"Music","streamType":"Media"}
<- app  closeSession {"sessionId":2}  [ME]
-> app  {}  [ME]
=> all  audioFocusChangeEvent {"destination":"all","focusType":"permanent","newFocus":"lost","streamModeName":"/music","streamName":"Music","streamType":"Media"}
)";
    const QString text = QString(expected)
                             .replace("ME]", OwnUniqueName() + "]")
                             .replace("[ME ", "[" + OwnUniqueName() + " ")
                             .replace("NAME", kClientName);
    QTRY_COMPARE(simulator.Output(), text);
}

void tst_Simulator::log_showsOneLinePerMessage()
{
    SimulatorProcess simulator({"--log", "text"});
    QVERIFY(simulator.WaitUntilReady());
    RawClient client;
    client.Send(kAppPath, "openSession", "{\r\n\"busName\": \"\",\n\"objectPath\": \"/raw\"}");
    const QString me = client.UniqueName();
    const QStringList lines{
        "ready", "<- app  openSession {\\r\\n\"busName\": \"\",\\n\"objectPath\": \"/raw\"}  [" + me + "]",
        "-> app  {\"sessionId\":1}  [" + me + "]"};
    QTRY_COMPARE(simulator.Lines(), lines);
    client.Leave();
    QTRY_COMPARE(simulator.Lines(), lines + QStringList{"-- bus  left  [" + me + "]"});
}

// A reply that arrives before it is watched is told late; so the simulator is stopped until then.
void tst_Simulator::eventsFollowTheReply()
{
    SimulatorProcess simulator({});
    QVERIFY(simulator.WaitUntilReady());
    AppClient music("/music", "Music", true);
    QVERIFY(music.Initialize());
    QStringList order;
    connect(&music.app, &AudioManagerApp::SignalRequestAudioFocusCompleted, this,
            [&order](quint32, bool result) { order.append(result ? "reply" : "refused"); });
    connect(&music.app, &AudioManagerApp::SignalResponseToAudioFocusRequest, this,
            [&order](const QString& result) { order.append(result); });

    QStringList expected;
    for (int i = 0; i < 20; ++i) {
        expected += QStringList{"reply", "granted"};
        simulator.Signal(SIGSTOP);
        QVERIFY(music.app.RequestAudioFocusAsync() != 0);
        simulator.Signal(SIGCONT);
        QTRY_COMPARE(order, expected);
    }
    music.app.Powerdown();
}

void tst_Simulator::clientGone_givesUpWhatItHad()
{
    SimulatorProcess simulator({"--log", "text"});
    QVERIFY(simulator.WaitUntilReady());
    HmiClient screen("/hmi");
    AppClient music("/music", "Music", true);
    QCOMPARE(screen.hmi.Initialize(), KivBaseClient::INIT_STATE_SUCCESS);
    QVERIFY(music.Initialize());
    QVERIFY(music.app.RequestAudioFocus());
    RawClient chime;
    chime.Send(kAppPath, "openSession", R"({"busName":"","objectPath":"/raw"})");
    chime.Send(kAppPath, "registerAudioStream",
               R"({"sessionId":3,"streamName":"Chime","streamType":"Media","focusType":"transient"})");
    chime.Send(kAppPath, "requestAudioFocus", R"({"sessionId":3,"requestType":"request"})");
    QTRY_COMPARE(music.heard, (QStringList{"result granted", "changed temporarilyLost"}));
    QTRY_COMPARE(chime.Received(),
                 QStringList{R"(onRequestAudioFocusResult {"newFocus":"granted","sessionId":3})"});

    const QString name = chime.UniqueName();
    chime.Leave();
    QTRY_COMPARE(music.heard, (QStringList{"result granted", "changed temporarilyLost", "changed gained"}));
    QTRY_COMPARE(screen.focusChange.size(), 5);
    QCOMPARE(Entries(screen.focusChange).mid(3),
             (QList<QVariantList>{FocusEvent("Chime", "", "transient", "lost"),
                                  FocusEvent("Music", "/music", "permanent", "gained")}));
    QTRY_COMPARE(simulator.Lines().count("-- bus  left  [" + name + "]"), 1);
    music.app.Powerdown();
    screen.hmi.Powerdown();
}

// The simulator is stopped while the client comes and goes.
void tst_Simulator::clientGoneBeforeItWasWatched_isForgotten()
{
    SimulatorProcess simulator({"--log", "text"});
    QVERIFY(simulator.WaitUntilReady());
    RawClient client;
    const QString me = "  [" + client.UniqueName() + "]";
    simulator.Signal(SIGSTOP);
    client.SendWithoutWaiting(kAppPath, "openSession", R"({"busName":"","objectPath":"/raw"})");
    client.Leave();
    simulator.Signal(SIGCONT);

    QTRY_COMPARE(simulator.Lines(),
                 (QStringList{"ready", R"(<- app  openSession {"busName":"","objectPath":"/raw"})" + me,
                              R"(-> app  {"sessionId":1})" + me, "-- bus  left" + me}));
}

// The silent client is called before the others are; they must not wait for its answer.
void tst_Simulator::clientThatDoesNotAnswer_keepsNobodyWaiting()
{
    SimulatorProcess simulator({"--log", "text"});
    QVERIFY(simulator.WaitUntilReady());
    RawClient silent(false);
    silent.Send(kHmiPath, "openSession", R"({"busName":"","objectPath":"/raw"})");
    HmiClient screen("/hmi");
    QCOMPARE(screen.hmi.Initialize(), KivBaseClient::INIT_STATE_SUCCESS);

    QVERIFY(screen.hmi.SetModeAsync("Bluetooth") != 0);
    QVERIFY(screen.hmi.SetModeAsync("Radio") != 0);
    QTRY_COMPARE(Entries(screen.modeChanged), (QList<QVariantList>{{"Bluetooth"}, {"Radio"}}));
    QCOMPARE(silent.Received(), (QStringList{R"(onModeChange {"activeMode":"Bluetooth","sessionId":1})",
                                             R"(onModeChange {"activeMode":"Radio","sessionId":1})"}));

    // The two calls are given up, one by one, after everything else.
    const QString complaint =
        "!! hmi  onModeChange failed: Did not receive a reply. Possible causes include: the "
        "remote application did not send a reply, the message bus security policy blocked "
        "the reply, the reply timeout expired, or the network connection was broken.  [" +
        silent.UniqueName() + " /raw]";
    QTRY_COMPARE_WITH_TIMEOUT(simulator.Lines().count(complaint), 2, kPatience);
    const QStringList lines = simulator.Lines();
    QCOMPARE(lines.mid(lines.size() - 2), (QStringList{complaint, complaint}));
    screen.hmi.Powerdown();
}

void tst_Simulator::clientThatAnswersOtherwise_isReported()
{
    SimulatorProcess simulator({"--log", "text"});
    QVERIFY(simulator.WaitUntilReady());
    RawClient client;
    client.AnswerWith("[]");
    client.Send(kHmiPath, "openSession", R"({"busName":"","objectPath":"/raw"})");
    client.Send(kHmiPath, "setMode", R"({"sessionId":1,"newMode":"Radio"})");
    const QString complaint = "!! hmi  onModeChange failed: answer []  [" + client.UniqueName() + " /raw]";
    QTRY_COMPARE(simulator.Lines().value(6), complaint);
    QCOMPARE(client.Received(), QStringList{R"(onModeChange {"activeMode":"Radio","sessionId":1})"});
}

void tst_Simulator::callWithoutReply_isHandled()
{
    SimulatorProcess simulator({});
    QVERIFY(simulator.WaitUntilReady());
    HmiClient screen("/hmi");
    QCOMPARE(screen.hmi.Initialize(), KivBaseClient::INIT_STATE_SUCCESS);
    QDBusMessage call = QDBusMessage::createMethodCall(kServiceName, kHmiPath, kInterfaceName, "Request");
    call.setArguments({"setMode", R"({"sessionId":1,"newMode":"Bluetooth"})"});
    QVERIFY(screen.bus.send(call)); // marked as wanting no answer
    QTRY_COMPARE(Entries(screen.modeChanged), (QList<QVariantList>{{"Bluetooth"}}));
    screen.hmi.Powerdown();
}

KIV_BUS_TEST_MAIN(tst_Simulator)
#include "tst_Simulator.moc"
