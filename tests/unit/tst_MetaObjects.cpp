// SPDX-License-Identifier: MIT
#include "AdaptorConnection.h"
#include "AudioManagerApp.h"
#include "AudioManagerHmi.h"
#include "ConcreteServiceProviderProxy.h"
#include "LogCapture.h"
#include "MethodKind.h"
#include "ServiceProviderAdaptor.h"
#include "ServiceProviderProxyAppFactory.h"
#include "ServiceProviderProxyHmiFactory.h"
#include "ServiceRegistrator.h"
#include "TestClients.h"
#include "TestMain.h"

#include <QMetaMethod>
#include <QSignalSpy>

#include <cstddef>
#include <cstring>

using namespace KivTest;
using namespace Audio::Utils::Kiv::QtDbus;

namespace {

// In the order of the lines; what a service sees when it asks a client's object.
const QByteArray kIntrospection = "  <interface name=\"com.quorvantel.ServiceProvider\">\n"
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

QString Described(const QMetaMethod& method)
{
    QStringList parameters;
    for (int i = 0; i < method.parameterCount(); ++i) {
        const QByteArray parameter = method.parameterTypes().at(i) + ' ' + method.parameterNames().at(i);
        parameters.append(QString::fromLatin1(parameter).trimmed());
    }
    const bool isCloned = (method.attributes() & QMetaMethod::Cloned) != 0;
    return QString("%1%2 %3 %4(%5)%6")
        .arg(method.access() == QMetaMethod::Public ? "" : "inaccessible ", KivAbi::KindOf(method),
             QString::fromLatin1(method.typeName()), QString::fromLatin1(method.name()),
             parameters.join(", "), isCloned ? " cloned" : "");
}

QStringList OwnMethods(const QMetaObject& metaObject)
{
    QStringList methods;
    for (int i = metaObject.methodOffset(); i < metaObject.methodCount(); ++i) {
        methods.append(Described(metaObject.method(i)));
    }
    return methods;
}

QVector<QByteArray> OwnClassInfos(const QMetaObject& metaObject)
{
    QVector<QByteArray> infos;
    for (int i = metaObject.classInfoOffset(); i < metaObject.classInfoCount(); ++i) {
        const QMetaClassInfo info = metaObject.classInfo(i);
        infos.append(QByteArray(info.name()) + '=' + info.value());
    }
    return infos;
}

// The slot that a virtual operation has in its class's table, by the layout of pointers to members that the
// platform's C++ ABI prescribes.
template <typename Member>
int SlotOf(Member member)
{
    static_assert(sizeof(member) == 2 * sizeof(std::ptrdiff_t), "not the Itanium C++ ABI");
    std::ptrdiff_t parts[2];
    std::memcpy(parts, &member, sizeof(member));
#if defined(__arm__) || defined(__aarch64__)
    const bool isVirtual = (parts[1] & 1) != 0;
    const std::ptrdiff_t offset = parts[0];
#else
    const bool isVirtual = (parts[0] & 1) != 0;
    const std::ptrdiff_t offset = parts[0] - 1;
#endif
    return isVirtual ? static_cast<int>(offset / static_cast<std::ptrdiff_t>(sizeof(void*))) : -1;
}

// A class that adds one virtual operation, which tells where those of its base end.
template <typename Base>
class Extended : public Base
{
public:
    using Base::Base;
    virtual void First() {}
};

const int kFirstAfterQObject = SlotOf(&Extended<QObject>::First);
const int kFirstAfterDestructor = 2;

} // namespace

Q_DECLARE_METATYPE(const QMetaObject*)

class tst_MetaObjects : public QObject
{
    Q_OBJECT

private:
    FakeSurroundings m_Fakes;

private Q_SLOTS:
    void initState_isRegisteredBeforeThereIsAClient(); // first, by intention
    void classes_data();
    void classes();
    void classes_ownNothingElse_data();
    void classes_ownNothingElse();
    void adaptor_introspectionHas420CharactersIn11Lines();
    void initCompleted_arrivesOverAQueuedConnection();
    void initState_valuesAndNames();
    void interface_name();
    void cast_proxyByName();
    void cast_clientsByName();
    void virtuals_areInTheirSlots_data();
    void virtuals_areInTheirSlots();
    void invokables_canBeInvokedByName();
};

void tst_MetaObjects::initState_isRegisteredBeforeThereIsAClient()
{
    const int type = QMetaType::type("InitState");
    QVERIFY(type != QMetaType::UnknownType);
    QCOMPARE(type, qMetaTypeId<KivBaseClient::InitState>());
    const QMetaMethod signal = QMetaMethod::fromSignal(&KivBaseClient::SignalInitCompleted);
    QCOMPARE(signal.parameterType(0), type);
}

void tst_MetaObjects::classes_data()
{
    QTest::addColumn<const QMetaObject*>("metaObject");
    QTest::addColumn<QString>("superClass");
    QTest::addColumn<QVector<QByteArray>>("classInfos");
    QTest::addColumn<QStringList>("methods");

    QTest::newRow("ComQuorvantelServiceProviderInterface")
        << &ComQuorvantelServiceProviderInterface::staticMetaObject << "QDBusAbstractInterface"
        << QVector<QByteArray>{}
        << QStringList{"signal void Notify(QString signalName, QString payload)",
                       "slot QDBusPendingReply<QString> Request(QString methodName, QString arguments)"};
    QTest::newRow("ServiceProviderAdaptor")
        << &ServiceProviderAdaptor::staticMetaObject << "QDBusAbstractAdaptor"
        << QVector<QByteArray>{"D-Bus Interface=com.quorvantel.ServiceProvider",
                               "D-Bus Introspection=" + kIntrospection}
        << QStringList{"signal void Notify(QString signalName, QString payload)",
                       "slot QString Request(QString methodName, QString arguments)"};
    QTest::newRow("Audio::Utils::Kiv::QtDbus::ConcreteServiceProviderProxy")
        << &ConcreteServiceProviderProxy::staticMetaObject << "QObject" << QVector<QByteArray>{}
        << QStringList{"signal void Notify(QString a_SignalName, QString a_Payload)",
                       "slot void Notification(QString a_SignalName, QString a_Payload)"};
    QTest::newRow("Audio::Utils::Kiv::QtDbus::KivBaseClient")
        << &KivBaseClient::staticMetaObject << "QObject" << QVector<QByteArray>{}
        << QStringList{
               "signal void SignalInitCompleted(InitState)",
               "slot void Notification(QString a_SignalName, QString a_Payload)",
               "slot void OnOwnerChanged(QString a_ServiceName, QString a_OldOwner, QString a_NewOwner)"};
    QTest::newRow("Audio::Utils::Kiv::QtDbus::ServiceProviderClient")
        << &ServiceProviderClient::staticMetaObject << "Audio::Utils::Kiv::QtDbus::KivBaseClient"
        << QVector<QByteArray>{}
        << QStringList{"signal void SignalOpenSessionCompleted(uint aRequestId, bool aResult)",
                       "signal void SignalCloseSessionCompleted(uint aRequestId, bool aResult)",
                       "method uint OpenSessionAsync()", "method uint CloseSessionAsync()"};
    QTest::newRow("Audio::Utils::Kiv::QtDbus::AudioManagerHmi")
        << &AudioManagerHmi::staticMetaObject << "Audio::Utils::Kiv::QtDbus::ServiceProviderClient"
        << QVector<QByteArray>{}
        << QStringList{
               "signal void SignalSetModeCompleted(uint aRequestId, bool aResult)",
               "signal void SignalGetModeListCompleted(uint aRequestId, bool aResult)",
               "signal void SignalGetModeCompleted(uint aRequestId, bool aResult)",
               "signal void SignalModeChanged(QString a_ActiveMode)",
               "signal void SignalModeListChanged(bool a_Add, QString a_ModeName)",
               "signal void SignalAudioFocusChange(QString a_StreamName, QString a_StreamModename, "
               "QString a_FocusType, QString a_StreamType, QString a_Destination, QString a_NewFocus)",
               "method uint SetModeAsync(QString aModeName)",
               "method uint GetModeListAsync(QString aDestination)",
               "method uint GetModeAsync(QString aDestination)"};
    QTest::newRow("Audio::Utils::Kiv::QtDbus::AudioManagerApp")
        << &AudioManagerApp::staticMetaObject << "Audio::Utils::Kiv::QtDbus::ServiceProviderClient"
        << QVector<QByteArray>{}
        << QStringList{"signal void SignalRegisterAudioStreamCompleted(uint aRequestId, bool aResult)",
                       "signal void SignalRequestAudioFocusCompleted(uint aRequestId, bool aResult)",
                       "signal void SignalAudioActiveCompleted(uint aRequestId, bool aResult)",
                       "signal void SignalAbandonAudioFocusCompleted(uint aRequestId, bool aResult)",
                       "signal void SignalAudioFocusChanged(QString a_NewFocus)",
                       "signal void SignalResponseToAudioFocusRequest(QString a_FocusResponse)",
                       "method uint RegisterAudioStreamAsync()",
                       "method uint RequestAudioFocusAsync(bool aExecuteSwitch)",
                       "method uint RequestAudioFocusAsync() cloned",
                       "method uint AudioActiveAsync(bool aPlaying)",
                       "method uint AbandonAudioFocusAsync(QString aReason)"};
}

void tst_MetaObjects::classes()
{
    QFETCH(const QMetaObject* const, metaObject);
    QFETCH(const QString, superClass);
    QFETCH(const QVector<QByteArray>, classInfos);
    QFETCH(const QStringList, methods);
    QCOMPARE(metaObject->className(), QTest::currentDataTag());
    QCOMPARE(QString::fromLatin1(metaObject->superClass()->className()), superClass);
    QCOMPARE(OwnClassInfos(*metaObject), classInfos);
    QCOMPARE(OwnMethods(*metaObject), methods);
}

void tst_MetaObjects::classes_ownNothingElse_data()
{
    QTest::addColumn<const QMetaObject*>("metaObject");
    QTest::newRow("interface") << &ComQuorvantelServiceProviderInterface::staticMetaObject;
    QTest::newRow("adaptor") << &ServiceProviderAdaptor::staticMetaObject;
    QTest::newRow("proxy") << &ConcreteServiceProviderProxy::staticMetaObject;
    QTest::newRow("base client") << &KivBaseClient::staticMetaObject;
    QTest::newRow("session client") << &ServiceProviderClient::staticMetaObject;
    QTest::newRow("HMI") << &AudioManagerHmi::staticMetaObject;
    QTest::newRow("application") << &AudioManagerApp::staticMetaObject;
}

void tst_MetaObjects::classes_ownNothingElse()
{
    QFETCH(const QMetaObject* const, metaObject);
    QCOMPARE(metaObject->propertyCount(), metaObject->propertyOffset());
    QCOMPARE(metaObject->enumeratorCount(), metaObject->enumeratorOffset());
    QCOMPARE(metaObject->constructorCount(), 0);
}

void tst_MetaObjects::adaptor_introspectionHas420CharactersIn11Lines()
{
    const QMetaObject& metaObject = ServiceProviderAdaptor::staticMetaObject;
    const QByteArray text = metaObject.classInfo(metaObject.indexOfClassInfo("D-Bus Introspection")).value();
    QCOMPARE(text, kIntrospection);
    QCOMPARE(text.size(), 420);
    QCOMPARE(text.count('\n'), 11);
}

void tst_MetaObjects::initCompleted_arrivesOverAQueuedConnection()
{
    OpenedSessionClient client(m_Fakes.registrator, "service", kClientPath, m_Fakes.connection, QString(),
                               m_Fakes.factory);
    const LogCapture log;
    QSignalSpy spy(&client, &KivBaseClient::SignalInitCompleted);
    QVERIFY(spy.isValid());
    QVector<int> received;
    const auto record = [&received](KivBaseClient::InitState state) { received.append(state); };
    connect(&client, &KivBaseClient::SignalInitCompleted, this, record, Qt::QueuedConnection);

    Q_EMIT client.SignalInitCompleted(KivBaseClient::INIT_STATE_FAILED);
    QCOMPARE(received, QVector<int>());
    QCOMPARE(spy.size(), 1);
    QCOMPARE(spy.first().first().value<KivBaseClient::InitState>(), KivBaseClient::INIT_STATE_FAILED);

    QCoreApplication::sendPostedEvents(this);
    QCOMPARE(received, QVector<int>{KivBaseClient::INIT_STATE_FAILED});
    QCOMPARE(log.Complaints(), QVector<LogRecord>());
}

void tst_MetaObjects::initState_valuesAndNames()
{
    QCOMPARE(static_cast<int>(KivBaseClient::INIT_STATE_NOT_CALLED), 0);
    QCOMPARE(static_cast<int>(KivBaseClient::INIT_STATE_WAITING_FOR_KIV), 1);
    QCOMPARE(static_cast<int>(KivBaseClient::INIT_STATE_FAILED), 2);
    QCOMPARE(static_cast<int>(KivBaseClient::INIT_STATE_SUCCESS), 3);
    QCOMPARE(static_cast<int>(KivBaseClient::INIT_STATE_MAX), 4);
}

void tst_MetaObjects::interface_name()
{
    QCOMPARE(ComQuorvantelServiceProviderInterface::staticInterfaceName(), "com.quorvantel.ServiceProvider");
}

void tst_MetaObjects::cast_proxyByName()
{
    ConcreteServiceProviderProxy proxy("com.quorvantel.nobody", "/path");
    void* const interfacePart = static_cast<IServiceProviderProxy*>(&proxy);
    void* const itself = &proxy;
    void* const qobject = static_cast<QObject*>(&proxy);
    QVERIFY(interfacePart != itself);
    QCOMPARE(proxy.qt_metacast("IServiceProviderProxy"), interfacePart);
    QCOMPARE(proxy.qt_metacast("Audio::Utils::Kiv::QtDbus::ConcreteServiceProviderProxy"), itself);
    QCOMPARE(proxy.qt_metacast("QObject"), qobject);
    QCOMPARE(proxy.qt_metacast("ConcreteServiceProviderProxy"), nullptr);
    QCOMPARE(proxy.qt_metacast("KivBaseClient"), nullptr);
    QCOMPARE(proxy.qt_metacast(nullptr), nullptr);
}

void tst_MetaObjects::cast_clientsByName()
{
    OpenedHmi hmi(m_Fakes.registrator, kClientPath, m_Fakes.connection, QString(), m_Fakes.factory, false);
    OpenedApp app(m_Fakes.registrator, kClientPath, "stream", m_Fakes.connection, QString(), true, QString(),
                  m_Fakes.factory, false);
    void* const hmiItself = static_cast<AudioManagerHmi*>(&hmi);
    void* const appItself = static_cast<AudioManagerApp*>(&app);
    for (const char* base : {"Audio::Utils::Kiv::QtDbus::ServiceProviderClient",
                             "Audio::Utils::Kiv::QtDbus::KivBaseClient", "QObject"}) {
        QCOMPARE(hmi.qt_metacast(base), hmiItself);
        QCOMPARE(app.qt_metacast(base), appItself);
    }
    QCOMPARE(hmi.qt_metacast("Audio::Utils::Kiv::QtDbus::AudioManagerHmi"), hmiItself);
    QCOMPARE(app.qt_metacast("Audio::Utils::Kiv::QtDbus::AudioManagerApp"), appItself);
    QCOMPARE(hmi.qt_metacast("Audio::Utils::Kiv::QtDbus::AudioManagerApp"), nullptr);
    QCOMPARE(app.qt_metacast("Audio::Utils::Kiv::QtDbus::AudioManagerHmi"), nullptr);
}

void tst_MetaObjects::virtuals_areInTheirSlots_data()
{
    QTest::addColumn<int>("found");
    QTest::addColumn<int>("slot");
    const int client = kFirstAfterQObject;

    QTest::newRow("IServiceProviderProxy::AsyncRequest")
        << SlotOf(&IServiceProviderProxy::AsyncRequest) << kFirstAfterDestructor;
    QTest::newRow("IServiceProviderProxy::Request")
        << SlotOf(&IServiceProviderProxy::Request) << kFirstAfterDestructor + 1;
    QTest::newRow("IServiceProviderProxy end")
        << SlotOf(&Extended<IServiceProviderProxy>::First) << kFirstAfterDestructor + 2;
    QTest::newRow("IServiceProviderProxyFactory::CreateProxy")
        << SlotOf(&IServiceProviderProxyFactory::CreateProxy) << kFirstAfterDestructor;
    QTest::newRow("IServiceProviderProxyFactory end")
        << SlotOf(&Extended<IServiceProviderProxyFactory>::First) << kFirstAfterDestructor + 1;
    QTest::newRow("IServiceRegistrator::GetServiceName")
        << SlotOf(&IServiceRegistrator::GetServiceName) << kFirstAfterDestructor;
    QTest::newRow("IServiceRegistrator end")
        << SlotOf(&Extended<IServiceRegistrator>::First) << kFirstAfterDestructor + 1;
    QTest::newRow("IAdaptorConnection::RegisterObject")
        << SlotOf(&IAdaptorConnection::RegisterObject) << kFirstAfterDestructor;
    QTest::newRow("IAdaptorConnection end")
        << SlotOf(&Extended<IAdaptorConnection>::First) << kFirstAfterDestructor + 1;

    QTest::newRow("ServiceRegistrator::GetServiceName")
        << SlotOf(&ServiceRegistrator::GetServiceName) << kFirstAfterDestructor;
    QTest::newRow("ServiceRegistrator end")
        << SlotOf(&Extended<ServiceRegistrator>::First) << kFirstAfterDestructor + 1;
    QTest::newRow("AdaptorConnection::RegisterObject")
        << SlotOf(&AdaptorConnection::RegisterObject) << kFirstAfterDestructor;
    QTest::newRow("AdaptorConnection end")
        << SlotOf(&Extended<AdaptorConnection>::First) << kFirstAfterDestructor + 1;
    QTest::newRow("ServiceProviderProxyHmiFactory end")
        << SlotOf(&Extended<ServiceProviderProxyHmiFactory>::First) << kFirstAfterDestructor + 1;
    QTest::newRow("ServiceProviderProxyAppFactory end")
        << SlotOf(&Extended<ServiceProviderProxyAppFactory>::First) << kFirstAfterDestructor + 1;

    QTest::newRow("ConcreteServiceProviderProxy::AsyncRequest")
        << SlotOf(&ConcreteServiceProviderProxy::AsyncRequest) << client;
    QTest::newRow("ConcreteServiceProviderProxy::Request")
        << SlotOf(&ConcreteServiceProviderProxy::Request) << client + 1;
    QTest::newRow("ConcreteServiceProviderProxy end")
        << SlotOf(&Extended<ConcreteServiceProviderProxy>::First) << client + 2;
    QTest::newRow("ComQuorvantelServiceProviderInterface end")
        << SlotOf(&Extended<ComQuorvantelServiceProviderInterface>::First)
        << SlotOf(&Extended<QDBusAbstractInterface>::First);
    QTest::newRow("ServiceProviderAdaptor end")
        << SlotOf(&Extended<ServiceProviderAdaptor>::First) << SlotOf(&Extended<QDBusAbstractAdaptor>::First);

    QTest::newRow("KivBaseClient::Initialize") << SlotOf(&KivBaseClient::Initialize) << client;
    QTest::newRow("KivBaseClient::Powerdown") << SlotOf(&KivBaseClient::Powerdown) << client + 1;
    QTest::newRow("KivBaseClient::HandleNotify") << SlotOf(&KivBaseClient::HandleNotify) << client + 2;
    QTest::newRow("KivBaseClient::HandleInitializeProxy")
        << SlotOf(&KivBaseClient::HandleInitializeProxy) << client + 3;
    QTest::newRow("KivBaseClient::HandlePowerdown") << SlotOf(&KivBaseClient::HandlePowerdown) << client + 4;
    QTest::newRow("KivBaseClient end") << SlotOf(&Extended<KivBaseClient>::First) << client + 5;
    QTest::newRow("ServiceProviderClient::Initialize")
        << SlotOf(&ServiceProviderClient::Initialize) << client;
    QTest::newRow("ServiceProviderClient::HandleInitializeProxy")
        << SlotOf(&ServiceProviderClient::HandleInitializeProxy) << client + 3;
    QTest::newRow("ServiceProviderClient::HandlePowerdown")
        << SlotOf(&ServiceProviderClient::HandlePowerdown) << client + 4;
    QTest::newRow("ServiceProviderClient::Request") << SlotOf(&ServiceProviderClient::Request) << client + 5;
    QTest::newRow("ServiceProviderClient::HandleRequest")
        << SlotOf(&ServiceProviderClient::HandleRequest) << client + 6;
    QTest::newRow("ServiceProviderClient::HandleInitialize")
        << SlotOf(&ServiceProviderClient::HandleInitialize) << client + 7;
    QTest::newRow("ServiceProviderClient end")
        << SlotOf(&Extended<ServiceProviderClient>::First) << client + 8;
    QTest::newRow("AudioManagerHmi::SetMode") << SlotOf(&AudioManagerHmi::SetMode) << client + 8;
    QTest::newRow("AudioManagerHmi end") << SlotOf(&Extended<AudioManagerHmi>::First) << client + 9;
    QTest::newRow("AudioManagerApp end") << SlotOf(&Extended<AudioManagerApp>::First) << client + 8;
}

void tst_MetaObjects::virtuals_areInTheirSlots()
{
    QFETCH(const int, found);
    QFETCH(const int, slot);
    QCOMPARE(found, slot);
}

void tst_MetaObjects::invokables_canBeInvokedByName()
{
    OpenedApp app(m_Fakes.registrator, kClientPath, "stream", m_Fakes.connection, QString(), true, QString(),
                  m_Fakes.factory, false);
    app.Open(7);
    QSignalSpy completed(&app, &AudioManagerApp::SignalRequestAudioFocusCompleted);
    quint32 id = 0;
    QVERIFY(QMetaObject::invokeMethod(&app, "RequestAudioFocusAsync", Q_RETURN_ARG(quint32, id)));
    QCOMPARE(id, 1u);
    QVERIFY(QMetaObject::invokeMethod(&app, "RequestAudioFocusAsync", Q_RETURN_ARG(quint32, id),
                                      Q_ARG(bool, false)));
    QCOMPARE(id, 2u);
    QCOMPARE(
        m_Fakes.Exchange().Requests(),
        (QVector<RecordedRequest>{{false, "requestAudioFocus", R"({"requestType":"request","sessionId":7})"},
                                  {false, "requestAudioFocus", R"({"requestType":"query","sessionId":7})"}}));
    QTRY_COMPARE(completed.size(), 2);
    QCOMPARE(completed.at(0), (QVariantList{1u, true}));
    QCOMPARE(completed.at(1), (QVariantList{2u, true}));
    app.Powerdown();
}

KIV_UNIT_TEST_MAIN(tst_MetaObjects)
#include "tst_MetaObjects.moc"
