// SPDX-License-Identifier: MIT
#include "AdaptorConnection.h"
#include "BusProbe.h"
#include "ComQuorvantelServiceProviderInterface.h"
#include "FakeService.h"
#include "LogCapture.h"
#include "ServiceProviderAdaptor.h"
#include "TestClients.h"
#include "TestMain.h"

#include <QDBusVirtualObject>
#include <QPointer>
#include <QSignalSpy>

#include <memory>

using namespace KivTest;
using namespace Audio::Utils::Kiv::QtDbus;

namespace {

using Interface = ComQuorvantelServiceProviderInterface;

const QString kIntrospection = "  <interface name=\"com.quorvantel.ServiceProvider\">\n"
                               "    <method name=\"Request\">\n"
                               "      <arg direction=\"in\" type=\"s\" name=\"methodName\"/>\n"
                               "      <arg direction=\"in\" type=\"s\" name=\"arguments\"/>\n"
                               "      <arg direction=\"out\" type=\"s\" name=\"result\"/>\n"
                               "    </method>\n"
                               "    <signal name=\"Notify\">\n"
                               "      <arg direction=\"out\" type=\"s\" name=\"signalName\"/>\n"
                               "      <arg direction=\"out\" type=\"s\" name=\"payload\"/>\n"
                               "    </signal>\n"
                               "  </interface>\n";

bool WaitFor(const QDBusPendingReply<QString>& reply)
{
    QDBusPendingCallWatcher watcher(reply);
    QSignalSpy finished(&watcher, &QDBusPendingCallWatcher::finished);
    return watcher.isFinished() || finished.wait(30000);
}

} // namespace

/** Receives messages as they are on the wire. */
class WireRecorder : public QDBusVirtualObject
{
public:
    QString introspect(const QString&) const override { return QString(); }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override
    {
        m_Messages.append(QStringList{message.path(), message.interface(), message.member(),
                                      message.signature(), message.arguments().value(0).toString(),
                                      message.arguments().value(1).toString()}
                              .join(' '));
        connection.send(message.createReply(QString("reply")));
        return true;
    }

    QStringList m_Messages;
};

/** A client that answers for itself and has a signal that its adaptor relays. */
class NotifyingClient : public OpenedSessionClient
{
    Q_OBJECT

public:
    using OpenedSessionClient::OpenedSessionClient;

    QString Request(const QString& methodName, const QString& arguments) override
    {
        return "<" + methodName + "|" + arguments + ">";
    }

Q_SIGNALS:
    void Notify(const QString& signalName, const QString& payload);
};

/** Receives the signals "Notify" of this process, and one that marks their end. */
class NotifyReceiver : public QObject
{
    Q_OBJECT

public:
    explicit NotifyReceiver(QDBusConnection connection)
    {
        const QString sender = QDBusConnection::systemBus().baseService();
        connection.connect(sender, QString(), kInterfaceName, "Notify", this,
                           SLOT(OnNotify(const QDBusMessage&)));
        connection.connect(sender, "/end", "test.End", "End", this, SLOT(OnEnd()));
    }

    /** Waits until everything that this process has sent so far has arrived. */
    bool WaitForEnd()
    {
        m_HasEnded = false;
        QDBusConnection::systemBus().send(QDBusMessage::createSignal("/end", "test.End", "End"));
        return QTest::qWaitFor([this] { return m_HasEnded; }, 30000);
    }

    QStringList m_Received;

public Q_SLOTS:
    void OnNotify(const QDBusMessage& message)
    {
        m_Received.append(QStringList{message.path(), message.signature(),
                                      message.arguments().value(0).toString(),
                                      message.arguments().value(1).toString()}
                              .join(' '));
    }

    void OnEnd() { m_HasEnded = true; }

private:
    bool m_HasEnded = false;
};

/** A client of the given class, exported with its adaptor as an initialisation would do it. */
template <typename Client>
struct Exported
{
    FakeSurroundings fakes;
    QDBusConnection bus = QDBusConnection::systemBus();
    AdaptorConnection connection{bus};
    Client client{fakes.registrator, kServiceName, kClientPath, fakes.connection, QString(), fakes.factory};
    QPointer<ServiceProviderAdaptor> adaptor = new ServiceProviderAdaptor(&client);
    bool isExported = connection.RegisterObject(kClientName, kClientPath, &client);
};

class tst_ServiceInterface : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void interface_addressesWhatItWasGiven();
    void interface_constructionSendsNothing();
    void request_returnsBeforeTheReply();
    void request_onTheWire_methodNameThenArguments();
    void request_textsArriveUnchanged();
    void request_nobodyOwnsTheName_endsInAnError();
    void request_dbusError_isTheReplysError();
    void request_wrongSignature_isAnError();
    void notify_arrivesFromTheObject();
    void notify_otherObjectsOrMembers_doNotArrive();

    void adaptor_isAChildOfItsClient();
    void adaptor_introspection_showsTheElevenLines();
    void adaptor_request_returnsWhatTheClientReturns();
    void adaptor_request_defaultAnswerIsTheEmptyObject();
    void adaptor_request_wrongArguments_areRefused();
    void adaptor_requestWritesNoRecordOfItsOwn();
    void adaptor_clientWithoutNotify_sendsNone();
    void adaptor_clientWithNotify_isRelayed();
    void adaptor_ownNotify_isSent();
};

void tst_ServiceInterface::interface_addressesWhatItWasGiven()
{
    QObject parent;
    const QDBusConnection bus = QDBusConnection::systemBus();
    const Interface interface("com.quorvantel.some.name", "/some/path", bus, &parent);
    QCOMPARE(interface.service(), "com.quorvantel.some.name");
    QCOMPARE(interface.path(), "/some/path");
    QCOMPARE(interface.interface(), kInterfaceName);
    QCOMPARE(interface.connection().name(), bus.name());
    QCOMPARE(interface.parent(), &parent);
    QCOMPARE(interface.timeout(), -1);
}

void tst_ServiceInterface::interface_constructionSendsNothing()
{
    FakeService service;
    service.Appear();
    const Interface interface(kServiceName, kHmiPath, QDBusConnection::systemBus());
    Interface other(kServiceName, kHmiPath, QDBusConnection::systemBus());
    QCOMPARE(other.Request("last", "").value(), "{}");
    QCOMPARE(service.Calls().size(), 1);
}

void tst_ServiceInterface::request_returnsBeforeTheReply()
{
    FakeService service;
    service.Appear();
    service.Hold("method");
    service.Answer("method", R"({"a":1})");
    Interface interface(kServiceName, kHmiPath, QDBusConnection::systemBus());

    const QDBusPendingReply<QString> reply = interface.Request("method", "{}");
    QVERIFY(service.WaitForCalls("method", 1));
    QVERIFY(!reply.isFinished());
    service.Release("method");
    QVERIFY(WaitFor(reply));

    QVERIFY(reply.isValid());
    QCOMPARE(reply.value(), R"({"a":1})");
}

void tst_ServiceInterface::request_onTheWire_methodNameThenArguments()
{
    BusProbe probe;
    WireRecorder recorder;
    QVERIFY(probe.Connection().registerVirtualObject("/wire", &recorder));
    Interface interface(probe.Connection().baseService(), "/wire", QDBusConnection::systemBus());

    const QDBusPendingReply<QString> reply = interface.Request("first", "second");
    QVERIFY(WaitFor(reply));

    QCOMPARE(reply.value(), "reply");
    QCOMPARE(recorder.m_Messages,
             QStringList("/wire com.quorvantel.ServiceProvider Request ss first second"));
}

void tst_ServiceInterface::request_textsArriveUnchanged()
{
    FakeService service;
    service.Appear();
    const QString method = "Methode ö 音";
    const QString arguments = "not JSON: \"\\\n😀";
    const QString answer = "neither is this: ä\t\"";
    service.Answer(method, answer);
    Interface interface(kServiceName, kAppPath, QDBusConnection::systemBus());

    QDBusPendingReply<QString> reply = interface.Request(method, arguments);
    reply.waitForFinished();

    QCOMPARE(reply.value(), answer);
    QCOMPARE(interface.Request("", "").value(), "{}");
    QCOMPARE(service.Calls().size(), 2);
    QCOMPARE(service.Calls().at(0).path, kAppPath);
    QCOMPARE(service.Calls().at(0).methodName, method);
    QCOMPARE(service.Calls().at(0).arguments, arguments);
    QCOMPARE(service.Calls().at(1).methodName, "");
    QCOMPARE(service.Calls().at(1).arguments, "");
}

void tst_ServiceInterface::request_nobodyOwnsTheName_endsInAnError()
{
    Interface interface("com.quorvantel.nobody", kHmiPath, QDBusConnection::systemBus());
    const QDBusPendingReply<QString> reply = interface.Request("method", "{}");
    QVERIFY(WaitFor(reply));
    QVERIFY(reply.isError());
    QCOMPARE(reply.error().type(), QDBusError::ServiceUnknown);
}

void tst_ServiceInterface::request_dbusError_isTheReplysError()
{
    FakeService service;
    service.Appear();
    service.Fail("method", "com.quorvantel.Error.Test", "does not work");
    Interface interface(kServiceName, kHmiPath, QDBusConnection::systemBus());
    const QDBusPendingReply<QString> reply = interface.Request("method", "{}");
    QVERIFY(WaitFor(reply));
    QVERIFY(reply.isError());
    QCOMPARE(reply.error().name(), "com.quorvantel.Error.Test");
    QCOMPARE(reply.error().message(), "does not work");
}

void tst_ServiceInterface::request_wrongSignature_isAnError()
{
    FakeService service;
    service.Appear();
    service.AnswerWithWrongSignature("method");
    Interface interface(kServiceName, kHmiPath, QDBusConnection::systemBus());
    QDBusPendingReply<QString> reply = interface.Request("method", "{}");
    reply.waitForFinished();
    QVERIFY(reply.isError());
    QCOMPARE(reply.error().type(), QDBusError::InvalidSignature);
}

void tst_ServiceInterface::notify_arrivesFromTheObject()
{
    FakeService service;
    service.Appear();
    const Interface interface(kServiceName, kHmiPath, QDBusConnection::systemBus());
    QSignalSpy notified(&interface, &Interface::Notify);

    service.Notify(kHmiPath, "Ereignis ö", R"({"k":"音"})");
    service.Notify(kHmiPath, "", "");
    QTRY_COMPARE(notified.size(), 2);

    QCOMPARE(notified.at(0), (QVariantList{"Ereignis ö", R"({"k":"音"})"}));
    QCOMPARE(notified.at(1), (QVariantList{"", ""}));
}

void tst_ServiceInterface::notify_otherObjectsOrMembers_doNotArrive()
{
    FakeService service;
    service.Appear();
    BusProbe stranger;
    const Interface interface(kServiceName, kHmiPath, QDBusConnection::systemBus());
    QSignalSpy notified(&interface, &Interface::Notify);

    QDBusMessage foreign = QDBusMessage::createSignal(kHmiPath, kInterfaceName, "Notify");
    foreign.setArguments({"foreign", ""});
    QVERIFY(stranger.Connection().send(foreign));
    QCOMPARE(stranger.Owner(kServiceName), service.UniqueName()); // the bus has seen the foreign signal now
    service.Notify(kAppPath, "other object", "");
    service.Notify(kHmiPath, "the one", "");
    QTRY_COMPARE(notified.size(), 1);

    QCOMPARE(notified.at(0), (QVariantList{"the one", ""}));
}

void tst_ServiceInterface::adaptor_isAChildOfItsClient()
{
    auto exported = std::make_unique<Exported<OpenedSessionClient>>();
    QVERIFY(exported->isExported);
    const QPointer<ServiceProviderAdaptor> adaptor = exported->adaptor;
    QCOMPARE(adaptor->parent(), &exported->client);
    exported.reset();
    QVERIFY(adaptor.isNull());
}

void tst_ServiceInterface::adaptor_introspection_showsTheElevenLines()
{
    const Exported<OpenedSessionClient> exported;
    QVERIFY(exported.isExported);
    const BusProbe probe;
    const QString text = probe.Introspect(exported.bus.baseService(), kClientPath);

    const QString opening = "  <interface name=\"com.quorvantel.ServiceProvider\">\n";
    QCOMPARE(text.count(opening), 1);
    const QString ending = "  </interface>\n";
    const auto start = text.indexOf(opening);
    const auto end = text.indexOf(ending, start) + ending.size();
    QCOMPARE(text.mid(start, end - start), kIntrospection);
    QCOMPARE(kIntrospection.size(), 420);
    QCOMPARE(probe.Interfaces(exported.bus.baseService(), kClientPath),
             (QStringList{kInterfaceName, "org.freedesktop.DBus.Properties",
                          "org.freedesktop.DBus.Introspectable", "org.freedesktop.DBus.Peer"}));
}

void tst_ServiceInterface::adaptor_request_returnsWhatTheClientReturns()
{
    const Exported<NotifyingClient> exported;
    const BusProbe probe;
    const QDBusMessage reply =
        probe.Call(exported.bus.baseService(), kClientPath, kInterfaceName, "Request", {"mö", "音 \"\\"});
    QCOMPARE(reply.type(), QDBusMessage::ReplyMessage);
    QCOMPARE(reply.signature(), "s");
    QCOMPARE(reply.arguments(), QVariantList{"<mö|音 \"\\>"});
}

void tst_ServiceInterface::adaptor_request_defaultAnswerIsTheEmptyObject()
{
    const Exported<OpenedSessionClient> exported;
    const BusProbe probe;
    const QDBusMessage reply = probe.Call(exported.bus.baseService(), kClientPath, kInterfaceName, "Request",
                                          {"unknown", R"({"a":1})"});
    QCOMPARE(reply.type(), QDBusMessage::ReplyMessage);
    QCOMPARE(reply.arguments(), QVariantList{"{}"});
    QCOMPARE(exported.client.m_Requests, QStringList(R"(unknown {"a":1})"));
}

void tst_ServiceInterface::adaptor_request_wrongArguments_areRefused()
{
    const Exported<OpenedSessionClient> exported;
    const BusProbe probe;
    const QString name = exported.bus.baseService();
    const QDBusMessage reply = probe.Call(name, kClientPath, kInterfaceName, "Request", {"one", 2});
    QCOMPARE(reply.type(), QDBusMessage::ErrorMessage);
    QCOMPARE(QDBusError(reply).type(), QDBusError::UnknownMethod);
    QCOMPARE(exported.client.m_Requests, QStringList());
}

void tst_ServiceInterface::adaptor_requestWritesNoRecordOfItsOwn()
{
    const Exported<NotifyingClient> exported;
    const BusProbe probe;
    const LogCapture log;
    probe.Call(exported.bus.baseService(), kClientPath, kInterfaceName, "Request", {"method", "{}"});
    QCOMPARE(log.Records(), QVector<LogRecord>());
}

void tst_ServiceInterface::adaptor_clientWithoutNotify_sendsNone()
{
    Exported<OpenedSessionClient> exported;
    BusProbe probe;
    NotifyReceiver receiver(probe.Connection());
    exported.client.Notification("signal", "payload");
    Q_EMIT exported.client.SignalOpenSessionCompleted(1, true);
    Q_EMIT exported.client.SignalInitCompleted(KivBaseClient::INIT_STATE_SUCCESS);
    QVERIFY(receiver.WaitForEnd());
    QCOMPARE(receiver.m_Received, QStringList());
}

void tst_ServiceInterface::adaptor_clientWithNotify_isRelayed()
{
    Exported<NotifyingClient> exported;
    BusProbe probe;
    NotifyReceiver receiver(probe.Connection());
    Q_EMIT exported.client.Notify("ö signal", "音");
    QVERIFY(receiver.WaitForEnd());
    QCOMPARE(receiver.m_Received, QStringList(kClientPath + " ss ö signal 音"));
}

void tst_ServiceInterface::adaptor_ownNotify_isSent()
{
    Exported<OpenedSessionClient> exported;
    BusProbe probe;
    NotifyReceiver receiver(probe.Connection());
    Q_EMIT exported.adaptor->Notify("signal", "payload");
    QVERIFY(receiver.WaitForEnd());
    QCOMPARE(receiver.m_Received, QStringList(kClientPath + " ss signal payload"));
}

KIV_BUS_TEST_MAIN(tst_ServiceInterface)
#include "tst_ServiceInterface.moc"
