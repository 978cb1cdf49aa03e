// SPDX-License-Identifier: MIT
#include "AdaptorConnection.h"
#include "LogCapture.h"
#include "TestClients.h"
#include "TestMain.h"

#include <QDBusConnection>
#include <QLoggingCategory>

#include <cstdlib>
#include <functional>
#include <new>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define KIV_HAS_SANITIZER
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) || __has_feature(memory_sanitizer)
#define KIV_HAS_SANITIZER
#endif
#endif

using namespace KivTest;
using namespace Audio::Utils::Kiv::QtDbus;

namespace {

// The allocations of this thread: to build the text of a record means to allocate.
thread_local int allocations = 0;

} // namespace

void* operator new(std::size_t size)
{
    ++allocations;
    void* const memory = std::malloc(size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}

#if defined(__GLIBC__) && !defined(KIV_HAS_SANITIZER)
// What Qt allocates does not go through operator new.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);

void* malloc(std::size_t size) noexcept
{
    ++allocations;
    return __libc_malloc(size);
}

void* realloc(void* memory, std::size_t size) noexcept
{
    ++allocations;
    return __libc_realloc(memory, size);
}
}
#endif

namespace {

// A client that neither does nor records anything.
class IdleClient : public ServiceProviderClient
{
public:
    using ServiceProviderClient::ServiceProviderClient;
    void HandleNotify(const QString&, const QString&) override {}
    void HandleRequest(const QString&, const QString&) override {}
    bool HandleInitialize() override { return true; }
};

struct Fixture
{
    FakeSurroundings fakes;
    QDBusConnection disconnected{"no such connection"};
    AdaptorConnection connection{disconnected};
    IdleClient client{fakes.registrator, "service", kClientPath, fakes.connection, QString(), fakes.factory};
    const QString first = "first";
    const QString second = "second";
    const QString nothing;

    Fixture()
    {
        connection.RegisterObject(first, second, &client); // from now on, nothing is stored anew
    }
};

using Operation = std::function<void(Fixture&)>;

} // namespace

Q_DECLARE_METATYPE(Operation)

class tst_LogGuard : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup();

    void counter_counts();
    void debugOff_nothingIsEvaluatedOrWritten_data();
    void debugOff_nothingIsEvaluatedOrWritten();
    void debugOn_recordIsWritten_data();
    void debugOn_recordIsWritten();
    void debugOff_warningsAreWritten();
    void warningsOff_criticalsAreWritten();

private:
    static void AddOperations();
};

void tst_LogGuard::cleanup()
{
    QLoggingCategory::defaultCategory()->setEnabled(QtDebugMsg, true);
    QLoggingCategory::defaultCategory()->setEnabled(QtWarningMsg, true);
}

void tst_LogGuard::AddOperations()
{
    QTest::addColumn<Operation>("operation");
    QTest::addColumn<QString>("record");
    QTest::newRow("RegisterObject") << Operation([](Fixture& f) {
        f.connection.RegisterObject(f.first, f.second, &f.client);
    }) << R"(AdaptorConnection::RegisterObject -- busname = "first" objpath = "second")";
    QTest::newRow("CloseSession") << Operation([](Fixture& f) {
        f.client.CloseSession();
    }) << R"(ServiceProviderClient::CloseSession "/com/quorvantel/audioclient/test/ServiceProviderClient" 0)";
    QTest::newRow("Notification") << Operation([](Fixture& f) { f.client.Notification(f.first, f.second); })
                                  << R"(KivBaseClient::Notification "first" "second")";
    QTest::newRow("Request") << Operation([](Fixture& f) {
        f.client.Request(f.first, f.second);
    }) << R"(ServiceProviderClient::Request "/com/quorvantel/audioclient/test/ServiceProviderClient" "first" "second")";
}

void tst_LogGuard::counter_counts()
{
    const int before = allocations;
    const QString text = QString("one").append("two");
    const QObject object;
    QVERIFY(allocations > before);
    QCOMPARE(text.size(), 6);
}

void tst_LogGuard::debugOff_nothingIsEvaluatedOrWritten_data()
{
    AddOperations();
}

void tst_LogGuard::debugOff_nothingIsEvaluatedOrWritten()
{
    QFETCH(const Operation, operation);
    LogCapture log;
    Fixture fixture;
    log.Clear();
    QLoggingCategory::defaultCategory()->setEnabled(QtDebugMsg, false);

    const int before = allocations;
    operation(fixture);
    const int after = allocations;

    QCOMPARE(after - before, 0);
    QCOMPARE(log.Records(), QVector<LogRecord>());
}

void tst_LogGuard::debugOn_recordIsWritten_data()
{
    AddOperations();
}

void tst_LogGuard::debugOn_recordIsWritten()
{
    QFETCH(const Operation, operation);
    QFETCH(const QString, record);
    LogCapture log;
    Fixture fixture;
    log.Clear();

    const int before = allocations;
    operation(fixture);

    QVERIFY(allocations > before);
    QCOMPARE(log.Records(), (QVector<LogRecord>{{QtDebugMsg, "default", record}}));
}

void tst_LogGuard::debugOff_warningsAreWritten()
{
    LogCapture log;
    Fixture fixture;
    log.Clear();
    QLoggingCategory::defaultCategory()->setEnabled(QtDebugMsg, false);
    fixture.client.OnOwnerChanged("other", QString(), "owner");
    QCOMPARE(log.Records(), QVector<LogRecord>{Warning(
                                R"(KivBaseClient::OnOwnerChanged -- Unexpected service name: "other")")});
}

void tst_LogGuard::warningsOff_criticalsAreWritten()
{
    LogCapture log;
    Fixture fixture;
    log.Clear();
    QLoggingCategory::defaultCategory()->setEnabled(QtDebugMsg, false);
    QLoggingCategory::defaultCategory()->setEnabled(QtWarningMsg, false);
    fixture.client.OnOwnerChanged("other", QString(), "owner");
    QCOMPARE(log.Records(), QVector<LogRecord>());

    fixture.client.StartCloseSessionRequest();
    QCOMPARE(log.Records(), QVector<LogRecord>{Critical(
                                "ServiceProviderClient::StartCloseSessionRequest -- Session is not open")});
}

KIV_UNIT_TEST_MAIN(tst_LogGuard)
#include "tst_LogGuard.moc"
