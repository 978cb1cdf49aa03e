// SPDX-License-Identifier: MIT
#include "BusProbe.h"
#include "LogCapture.h"
#include "ServiceRegistrator.h"
#include "TestMain.h"

#include <QThread>

#include <atomic>
#include <memory>
#include <vector>

using namespace KivTest;
using Audio::Utils::Kiv::QtDbus::IServiceRegistrator;
using Audio::Utils::Kiv::QtDbus::ServiceRegistrator;

namespace {

/** A registrator with the counts of the process in the open. */
class OpenedRegistrator : public ServiceRegistrator
{
public:
    using ServiceRegistrator::ServiceRegistrator;
    using ServiceRegistrator::smCountLock;
    using ServiceRegistrator::smServiceRegisteredCount;
};

QMap<QString, int>& Counts()
{
    return OpenedRegistrator::smServiceRegisteredCount;
}

QString Quoted(const QString& text)
{
    return " \"" + text + "\"";
}

LogRecord Incremented(const QString& name, int count)
{
    return Debug("ServiceRegistrator::ServiceRegistorator -- Incremented register count for service:" +
                 Quoted(name) + " currentCount: " + QString::number(count));
}

LogRecord FailedToRegister(const QString& name)
{
    return Critical("ServiceRegistrator::ServiceRegistrator -- failed to register service:" + Quoted(name));
}

LogRecord LessThanOne(const QString& name)
{
    return Warning("ServiceRegistrator::ServiceRegistrator -- register count is less than 1 for service:" +
                   Quoted(name));
}

LogRecord Skipping(const QString& name)
{
    return Debug(
        "ServiceRegistrator::ServiceRegistrator -- service already registered, skipping for service:" +
        Quoted(name));
}

LogRecord Decremented(const QString& name, int count)
{
    return Debug("ServiceRegistrator::ServiceRegistorator -- Decremented register count for service:" +
                 Quoted(name) + " currentCount: " + QString::number(count));
}

LogRecord Unregistering(const QString& name)
{
    return Debug("ServiceRegistrator::~ServiceRegistrator -- Unregistering DBus service:" + Quoted(name));
}

LogRecord StillUsed(const QString& name)
{
    return Debug("ServiceRegistrator::~ServiceRegistrator -- service is still being used, delaying "
                 "unregister of service:" +
                 Quoted(name));
}

LogRecord Negative(const QString& name)
{
    return Warning("ServiceRegistrator::~ServiceRegistrator -- register count is negative for service:" +
                   Quoted(name));
}

using Records = QVector<LogRecord>;

// For a message handler: whether the lock was free when a record was written.
std::atomic<int> recordsWithLock{0};
std::atomic<int> recordsWithoutLock{0};

void CheckLock(QtMsgType, const QMessageLogContext&, const QString&)
{
    if (OpenedRegistrator::smCountLock.tryLock()) {
        OpenedRegistrator::smCountLock.unlock();
        ++recordsWithoutLock;
    } else {
        ++recordsWithLock;
    }
}

} // namespace

class tst_ServiceRegistrator : public QObject
{
    Q_OBJECT

private:
    QDBusConnection m_Bus = QDBusConnection::systemBus();
    std::unique_ptr<BusProbe> m_Probe;
    QString m_Name; // one for each test: the counts live as long as the process

    QString Owner() const { return m_Probe->Owner(m_Name); }

private Q_SLOTS:
    void init();

    void first_registersAndWarns();
    void second_isCountedOnly();
    void last_unregisters();
    void again_registersAnew();
    void names_areCountedApart();
    void names_areCaseSensitive();
    void emptyName_neitherCountsNorRegisters_data();
    void emptyName_neitherCountsNorRegisters();
    void serviceName_isACopy();

    void nameTaken_isCriticalAndCounted();
    void nameTaken_secondDoesNotRetry();
    void invalidName_isCriticalAndCounted();

    void countBelowOne_construction_data();
    void countBelowOne_construction();
    void countAtZero_destruction_isNegative();
    void countMissing_destruction_isNegativeAndLeavesTheName();
    void countRaised_destruction_keepsTheName();
    void count_isReadAnewEachTime();

    void records_areWrittenWhileTheLockIsHeld();
    void eightThreads_nameIsOnTheBusWhileOneLives();
};

void tst_ServiceRegistrator::init()
{
    m_Probe = std::make_unique<BusProbe>();
    m_Name = "com.quorvantel.test." + QString::fromLatin1(QTest::currentTestFunction());
    if (QTest::currentDataTag() != nullptr) {
        m_Name += "." + QString::fromLatin1(QTest::currentDataTag());
    }
}

void tst_ServiceRegistrator::first_registersAndWarns()
{
    const LogCapture log;
    QVERIFY(!Counts().contains(m_Name));
    const OpenedRegistrator registrator(m_Bus, m_Name);
    QCOMPARE(log.Records(), (Records{Incremented(m_Name, 1), LessThanOne(m_Name)}));
    QCOMPARE(Owner(), m_Bus.baseService());
    QCOMPARE(Counts().value(m_Name), 1);
    QCOMPARE(static_cast<const IServiceRegistrator&>(registrator).GetServiceName(), m_Name);
}

void tst_ServiceRegistrator::second_isCountedOnly()
{
    const OpenedRegistrator first(m_Bus, m_Name);
    const LogCapture log;
    {
        const OpenedRegistrator second(m_Bus, m_Name);
        QCOMPARE(log.Records(), (Records{Incremented(m_Name, 2), Skipping(m_Name)}));
        QCOMPARE(Counts().value(m_Name), 2);
        QCOMPARE(second.GetServiceName(), m_Name);
    }
    QCOMPARE(log.Records().mid(2), (Records{Decremented(m_Name, 1), StillUsed(m_Name)}));
    QCOMPARE(Counts().value(m_Name), 1);
    QCOMPARE(Owner(), m_Bus.baseService());
}

void tst_ServiceRegistrator::last_unregisters()
{
    auto first = std::make_unique<OpenedRegistrator>(m_Bus, m_Name);
    auto second = std::make_unique<OpenedRegistrator>(m_Bus, m_Name);
    LogCapture log;

    first.reset(); // it is the number that counts, not who was first
    QCOMPARE(log.Records(), (Records{Decremented(m_Name, 1), StillUsed(m_Name)}));
    QCOMPARE(Owner(), m_Bus.baseService());

    log.Clear();
    second.reset();
    QCOMPARE(log.Records(), (Records{Decremented(m_Name, 0), Unregistering(m_Name)}));
    QCOMPARE(Owner(), QString());
    QVERIFY(Counts().contains(m_Name));
    QCOMPARE(Counts().value(m_Name), 0);
}

void tst_ServiceRegistrator::again_registersAnew()
{
    const LogCapture log;
    for (int i = 0; i < 2; ++i) {
        const OpenedRegistrator registrator(m_Bus, m_Name);
        QCOMPARE(Owner(), m_Bus.baseService());
    }
    const Records once{Incremented(m_Name, 1), LessThanOne(m_Name), Decremented(m_Name, 0),
                       Unregistering(m_Name)};
    QCOMPARE(log.Records(), once + once);
    QCOMPARE(Owner(), QString());
}

void tst_ServiceRegistrator::names_areCountedApart()
{
    const QString other = m_Name + ".other";
    const LogCapture log;
    const OpenedRegistrator first(m_Bus, m_Name);
    {
        const OpenedRegistrator second(m_Bus, other);
        QCOMPARE(m_Probe->Owner(other), m_Bus.baseService());
    }
    QCOMPARE(log.Records(), (Records{Incremented(m_Name, 1), LessThanOne(m_Name), Incremented(other, 1),
                                     LessThanOne(other), Decremented(other, 0), Unregistering(other)}));
    QCOMPARE(m_Probe->Owner(other), QString());
    QCOMPARE(Owner(), m_Bus.baseService());
}

void tst_ServiceRegistrator::names_areCaseSensitive()
{
    const OpenedRegistrator first(m_Bus, m_Name);
    const LogCapture log;
    const OpenedRegistrator second(m_Bus, m_Name.toUpper());
    QCOMPARE(log.Records(), (Records{Incremented(m_Name.toUpper(), 1), LessThanOne(m_Name.toUpper())}));
}

void tst_ServiceRegistrator::emptyName_neitherCountsNorRegisters_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("null") << QString();
    QTest::newRow("empty") << "";
}

void tst_ServiceRegistrator::emptyName_neitherCountsNorRegisters()
{
    QFETCH(const QString, name);
    const QMap<QString, int> before = Counts();
    const LogCapture log;
    {
        const OpenedRegistrator registrator(m_Bus, name);
        QCOMPARE(registrator.GetServiceName(), "");
        QCOMPARE(Counts(), before);
    }
    QCOMPARE(Counts(), before);
    QCOMPARE(log.Records(), Records());
}

void tst_ServiceRegistrator::serviceName_isACopy()
{
    QString name = m_Name;
    const OpenedRegistrator registrator(m_Bus, name);
    name = "changed";
    QCOMPARE(registrator.GetServiceName(), m_Name);
    QCOMPARE(&registrator.GetServiceName(), &registrator.GetServiceName());
}

void tst_ServiceRegistrator::nameTaken_isCriticalAndCounted()
{
    QVERIFY(m_Probe->Connection().registerService(m_Name));
    const LogCapture log;
    {
        const OpenedRegistrator registrator(m_Bus, m_Name);
        QCOMPARE(Counts().value(m_Name), 1);
        QCOMPARE(registrator.GetServiceName(), m_Name);
    }
    QCOMPARE(log.Records(), (Records{Incremented(m_Name, 1), FailedToRegister(m_Name), Decremented(m_Name, 0),
                                     Unregistering(m_Name)}));
    QCOMPARE(Counts().value(m_Name), 0);
    QCOMPARE(Owner(), m_Probe->Connection().baseService());
}

void tst_ServiceRegistrator::nameTaken_secondDoesNotRetry()
{
    QVERIFY(m_Probe->Connection().registerService(m_Name));
    const LogCapture log;
    {
        const OpenedRegistrator first(m_Bus, m_Name);
        QVERIFY(m_Probe->Connection().unregisterService(m_Name));
        const OpenedRegistrator second(m_Bus, m_Name);
        QCOMPARE(Counts().value(m_Name), 2);
        QCOMPARE(Owner(), QString());
    }
    QCOMPARE(log.Records(), (Records{Incremented(m_Name, 1), FailedToRegister(m_Name), Incremented(m_Name, 2),
                                     Skipping(m_Name), Decremented(m_Name, 1), StillUsed(m_Name),
                                     Decremented(m_Name, 0), Unregistering(m_Name)}));
    QCOMPARE(Owner(), QString());
}

void tst_ServiceRegistrator::invalidName_isCriticalAndCounted()
{
    const QString name = "not a bus name";
    const LogCapture log;
    {
        const OpenedRegistrator registrator(m_Bus, name);
        QCOMPARE(registrator.GetServiceName(), name);
    }
    QCOMPARE(log.Records(), (Records{Incremented(name, 1), FailedToRegister(name), Decremented(name, 0),
                                     Unregistering(name)}));
}

void tst_ServiceRegistrator::countBelowOne_construction_data()
{
    QTest::addColumn<int>("before");
    QTest::newRow("zero") << -1;
    QTest::newRow("negative") << -5;
}

void tst_ServiceRegistrator::countBelowOne_construction()
{
    QFETCH(const int, before);
    Counts()[m_Name] = before;
    const LogCapture log;
    {
        const OpenedRegistrator registrator(m_Bus, m_Name);
        QCOMPARE(log.Records(), (Records{Incremented(m_Name, before + 1), LessThanOne(m_Name)}));
        QCOMPARE(Owner(), QString());
    }
    QCOMPARE(log.Records().mid(2), (Records{Decremented(m_Name, before), Negative(m_Name)}));
    QCOMPARE(Counts().value(m_Name), before);
}

void tst_ServiceRegistrator::countAtZero_destruction_isNegative()
{
    auto registrator = std::make_unique<OpenedRegistrator>(m_Bus, m_Name);
    Counts()[m_Name] = 0;
    const LogCapture log;
    registrator.reset();
    QCOMPARE(log.Records(), (Records{Decremented(m_Name, -1), Negative(m_Name)}));
    QCOMPARE(Owner(), m_Bus.baseService());
    QVERIFY(m_Bus.unregisterService(m_Name));
}

void tst_ServiceRegistrator::countMissing_destruction_isNegativeAndLeavesTheName()
{
    auto registrator = std::make_unique<OpenedRegistrator>(m_Bus, m_Name);
    QCOMPARE(Counts().remove(m_Name), 1);
    const LogCapture log;
    registrator.reset();
    QCOMPARE(log.Records(), (Records{Decremented(m_Name, -1), Negative(m_Name)}));
    QCOMPARE(Counts().value(m_Name), -1);
    QCOMPARE(Owner(), m_Bus.baseService());
    QVERIFY(m_Bus.unregisterService(m_Name));
}

void tst_ServiceRegistrator::countRaised_destruction_keepsTheName()
{
    auto registrator = std::make_unique<OpenedRegistrator>(m_Bus, m_Name);
    Counts()[m_Name] = 7;
    const LogCapture log;
    registrator.reset();
    QCOMPARE(log.Records(), (Records{Decremented(m_Name, 6), StillUsed(m_Name)}));
    QCOMPARE(Owner(), m_Bus.baseService());
    QVERIFY(m_Bus.unregisterService(m_Name));
}

void tst_ServiceRegistrator::count_isReadAnewEachTime()
{
    Counts()[m_Name] = 1; // as if somebody else held it
    const LogCapture log;
    {
        const OpenedRegistrator registrator(m_Bus, m_Name);
        QCOMPARE(Owner(), QString());
    }
    QCOMPARE(log.Records(),
             (Records{Incremented(m_Name, 2), Skipping(m_Name), Decremented(m_Name, 1), StillUsed(m_Name)}));
}

void tst_ServiceRegistrator::records_areWrittenWhileTheLockIsHeld()
{
    recordsWithLock = 0;
    recordsWithoutLock = 0;
    const LogCapture log; // switches debug output on
    const QtMessageHandler previous = qInstallMessageHandler(&CheckLock);
    {
        const OpenedRegistrator first(m_Bus, m_Name);
        const OpenedRegistrator second(m_Bus, m_Name);
        const OpenedRegistrator nameless(m_Bus, QString());
    }
    qInstallMessageHandler(previous);
    QCOMPARE(recordsWithLock.load(), 8);
    QCOMPARE(recordsWithoutLock.load(), 0);
    QVERIFY(OpenedRegistrator::smCountLock.tryLock());
    OpenedRegistrator::smCountLock.unlock();
}

void tst_ServiceRegistrator::eightThreads_nameIsOnTheBusWhileOneLives()
{
    const int threadCount = 8;
    const int rounds = 25;
    const QString self = m_Bus.baseService();
    std::atomic<int> strangers{0};
    const LogCapture log;

    const auto work = [&] {
        for (int i = 0; i < rounds; ++i) {
            const OpenedRegistrator registrator(m_Bus, m_Name);
            strangers += Owner() == self ? 0 : 1;
        }
    };
    std::vector<std::unique_ptr<QThread>> threads;
    for (int i = 0; i < threadCount; ++i) {
        threads.emplace_back(QThread::create(work));
        threads.back()->start();
    }
    for (const auto& thread : threads) {
        QVERIFY(thread->wait(60000));
    }

    QCOMPARE(strangers.load(), 0);
    QCOMPARE(Owner(), QString());
    QCOMPARE(Counts().value(m_Name), 0);

    // The steps of the threads follow one another: each pair of records as if there were no other thread.
    Records expected;
    int count = 0;
    for (const LogRecord& record : log.Records()) {
        if (record.text.contains("Incremented")) {
            ++count;
            expected += {Incremented(m_Name, count), count == 1 ? LessThanOne(m_Name) : Skipping(m_Name)};
        } else if (record.text.contains("Decremented")) {
            --count;
            expected += {Decremented(m_Name, count), count == 0 ? Unregistering(m_Name) : StillUsed(m_Name)};
        }
    }
    QCOMPARE(log.Records(), expected);
    QCOMPARE(expected.size(), threadCount * rounds * 4);
}

KIV_BUS_TEST_MAIN(tst_ServiceRegistrator)
#include "tst_ServiceRegistrator.moc"
