// SPDX-License-Identifier: MIT
#include "AdaptorConnection.h"
#include "BusProbe.h"
#include "LogCapture.h"
#include "TestMain.h"

#include <QDBusAbstractAdaptor>

#include <memory>

using namespace KivTest;

namespace {

const QString kAdaptedInterface = "com.quorvantel.test.Adapted";
const QString kOwnInterface = "com.quorvantel.test.Own";

class OpenedAdaptorConnection : public Audio::Utils::Kiv::QtDbus::AdaptorConnection
{
public:
    using AdaptorConnection::AdaptorConnection;
    using AdaptorConnection::m_BusName;
    using AdaptorConnection::m_ObjectPath;
};

LogRecord RegisterRecord(const QString& busName, const QString& path)
{
    return Debug(
        QString(R"(AdaptorConnection::RegisterObject -- busname = "%1" objpath = "%2")").arg(busName, path));
}

} // namespace

/** An object with slots and signals of its own, which must not be seen on the bus. */
class Adaptable : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.quorvantel.test.Own")

public Q_SLOTS:
    Q_SCRIPTABLE QString Own() { return "own"; }
    QString OwnToo() { return "own"; }

Q_SIGNALS:
    Q_SCRIPTABLE void OwnSignal();
};

class Adaptor : public QDBusAbstractAdaptor
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.quorvantel.test.Adapted")

public:
    explicit Adaptor(QObject* object)
        : QDBusAbstractAdaptor(object)
    {
    }

public Q_SLOTS:
    QString Adapted() { return "adapted"; }
};

class tst_AdaptorConnection : public QObject
{
    Q_OBJECT

private:
    // What a test exports, and a look at it from outside.
    struct Fixture
    {
        Fixture() { new Adaptor(&object); }

        QDBusMessage Call(const QString& path, const QString& interfaceName, const QString& member) const
        {
            return probe.Call(bus.baseService(), path, interfaceName, member);
        }

        bool IsReachable(const QString& path) const
        {
            return Call(path, kAdaptedInterface, "Adapted").arguments() == QVariantList{"adapted"};
        }

        QDBusConnection bus = QDBusConnection::systemBus();
        BusProbe probe;
        Adaptable object;
        std::unique_ptr<OpenedAdaptorConnection> connection = std::make_unique<OpenedAdaptorConnection>(bus);
    };

private Q_SLOTS:
    void construction_storesNothing();
    void register_exportsTheAdaptors();
    void register_exportsNothingElse();
    void register_failure_isReturnedAndRecorded_data();
    void register_failure_isReturnedAndRecorded();
    void register_disconnected_isFalse();
    void register_busNameTakesNoPart();
    void destruction_removesTheExport();
    void destruction_afterTwoPaths_removesTheSecondOnly();
    void destruction_afterAFailure_removesThePathAllTheSame();
    void destruction_withoutExport_removesNothing();
    void destruction_leavesChildPaths();
    void destruction_afterTheObject_isHarmless();
};

void tst_AdaptorConnection::construction_storesNothing()
{
    const LogCapture log;
    const Fixture fixture;
    QCOMPARE(fixture.connection->m_BusName, QString());
    QCOMPARE(fixture.connection->m_ObjectPath, QString());
    QCOMPARE(log.Records(), QVector<LogRecord>());
}

void tst_AdaptorConnection::register_exportsTheAdaptors()
{
    const LogCapture log;
    Fixture fixture;
    QVERIFY(fixture.connection->RegisterObject(QString("bus name"), "/object", &fixture.object));
    QCOMPARE(log.Records(), QVector<LogRecord>{RegisterRecord("bus name", "/object")});
    QCOMPARE(fixture.connection->m_BusName, "bus name");
    QCOMPARE(fixture.connection->m_ObjectPath, "/object");
    QCOMPARE(fixture.bus.objectRegisteredAt("/object"), &fixture.object);
    QCOMPARE(fixture.Call("/object", kAdaptedInterface, "Adapted").arguments(), QVariantList{"adapted"});
}

void tst_AdaptorConnection::register_exportsNothingElse()
{
    Fixture fixture;
    QVERIFY(fixture.connection->RegisterObject("name", "/object", &fixture.object));
    QCOMPARE(fixture.probe.Interfaces(fixture.bus.baseService(), "/object"),
             (QStringList{kAdaptedInterface, "org.freedesktop.DBus.Properties",
                          "org.freedesktop.DBus.Introspectable", "org.freedesktop.DBus.Peer"}));
    QCOMPARE(fixture.Call("/object", kOwnInterface, "Own").type(), QDBusMessage::ErrorMessage);
    QCOMPARE(fixture.Call("/object", kOwnInterface, "OwnToo").type(), QDBusMessage::ErrorMessage);
    QCOMPARE(fixture.Call("/object", "", "Own").type(), QDBusMessage::ErrorMessage);
}

void tst_AdaptorConnection::register_failure_isReturnedAndRecorded_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("path taken") << "/taken";
    QTest::newRow("no path") << "";
    QTest::newRow("not absolute") << "object";
    QTest::newRow("bad characters") << "/ob-ject";
    QTest::newRow("trailing slash") << "/object/";
}

void tst_AdaptorConnection::register_failure_isReturnedAndRecorded()
{
    QFETCH(const QString, path);
    Fixture fixture;
    QObject other;
    QVERIFY(fixture.bus.registerObject("/taken", &other));
    const LogCapture log;

    QVERIFY(!fixture.connection->RegisterObject("name", path, &fixture.object));

    QCOMPARE(log.Texts(QtDebugMsg), QStringList(RegisterRecord("name", path).text));
    QCOMPARE(fixture.connection->m_BusName, "name");
    QCOMPARE(fixture.connection->m_ObjectPath, path);
    QCOMPARE(fixture.bus.objectRegisteredAt("/taken"), &other);
    fixture.bus.unregisterObject("/taken");
}

void tst_AdaptorConnection::register_disconnected_isFalse()
{
    QDBusConnection nowhere("no such connection");
    const LogCapture log;
    QObject object;
    {
        OpenedAdaptorConnection connection(nowhere);
        QVERIFY(!connection.RegisterObject("name", "/object", &object));
        QCOMPARE(connection.m_ObjectPath, "/object");
    }
    QCOMPARE(log.Records(), QVector<LogRecord>{RegisterRecord("name", "/object")});
}

void tst_AdaptorConnection::register_busNameTakesNoPart()
{
    Fixture fixture;
    QVERIFY(fixture.connection->RegisterObject(QString(), "/object", &fixture.object));
    QVERIFY(fixture.IsReachable("/object"));
    QCOMPARE(fixture.connection->m_BusName, QString());

    QVERIFY(fixture.connection->RegisterObject("com.quorvantel.test.not.taken", "/other", &fixture.object));
    QCOMPARE(fixture.probe.Owner("com.quorvantel.test.not.taken"), QString());
    fixture.bus.unregisterObject("/object");
}

void tst_AdaptorConnection::destruction_removesTheExport()
{
    Fixture fixture;
    QVERIFY(fixture.connection->RegisterObject("name", "/object", &fixture.object));
    QVERIFY(fixture.IsReachable("/object"));
    const LogCapture log;
    fixture.connection.reset();
    QCOMPARE(fixture.bus.objectRegisteredAt("/object"), nullptr);
    QVERIFY(!fixture.IsReachable("/object"));
    QCOMPARE(log.Records(), QVector<LogRecord>());
}

void tst_AdaptorConnection::destruction_afterTwoPaths_removesTheSecondOnly()
{
    Fixture fixture;
    const LogCapture log;
    QVERIFY(fixture.connection->RegisterObject("first", "/first", &fixture.object));
    QVERIFY(fixture.connection->RegisterObject("second", "/second", &fixture.object));
    QCOMPARE(log.Records(),
             (QVector<LogRecord>{RegisterRecord("first", "/first"), RegisterRecord("second", "/second")}));
    QCOMPARE(fixture.connection->m_BusName, "second");
    QCOMPARE(fixture.connection->m_ObjectPath, "/second");
    QVERIFY(fixture.IsReachable("/first"));
    QVERIFY(fixture.IsReachable("/second"));

    fixture.connection.reset();
    QVERIFY(fixture.IsReachable("/first"));
    QVERIFY(!fixture.IsReachable("/second"));
    fixture.bus.unregisterObject("/first");
}

void tst_AdaptorConnection::destruction_afterAFailure_removesThePathAllTheSame()
{
    Fixture fixture;
    QObject other;
    QVERIFY(fixture.bus.registerObject("/taken", &other));
    QVERIFY(!fixture.connection->RegisterObject("name", "/taken", &fixture.object));
    fixture.connection.reset();
    QCOMPARE(fixture.bus.objectRegisteredAt("/taken"), nullptr);
}

void tst_AdaptorConnection::destruction_withoutExport_removesNothing()
{
    Fixture fixture;
    const LogCapture log;
    QVERIFY(fixture.bus.registerObject("/", &fixture.object, QDBusConnection::ExportAdaptors));
    fixture.connection.reset();
    QCOMPARE(fixture.bus.objectRegisteredAt("/"), &fixture.object);
    QVERIFY(fixture.IsReachable("/"));
    QCOMPARE(log.Records(), QVector<LogRecord>());
    fixture.bus.unregisterObject("/");
}

void tst_AdaptorConnection::destruction_leavesChildPaths()
{
    Fixture fixture;
    QVERIFY(fixture.connection->RegisterObject("name", "/parent", &fixture.object));
    QVERIFY(fixture.bus.registerObject("/parent/child", &fixture.object, QDBusConnection::ExportAdaptors));
    fixture.connection.reset();
    QVERIFY(!fixture.IsReachable("/parent"));
    QVERIFY(fixture.IsReachable("/parent/child"));
    fixture.bus.unregisterObject("/parent/child");
}

void tst_AdaptorConnection::destruction_afterTheObject_isHarmless()
{
    const LogCapture log;
    QDBusConnection bus = QDBusConnection::systemBus();
    {
        OpenedAdaptorConnection connection(bus);
        QObject object;
        QVERIFY(connection.RegisterObject("name", "/object", &object));
    }
    QCOMPARE(bus.objectRegisteredAt("/object"), nullptr);
    QCOMPARE(log.Records(), QVector<LogRecord>{RegisterRecord("name", "/object")});
}

KIV_BUS_TEST_MAIN(tst_AdaptorConnection)
#include "tst_AdaptorConnection.moc"
