// SPDX-License-Identifier: MIT
#include "AdaptorConnection.h"
#include "BusProbe.h"
#include "FakeService.h"
#include "LogCapture.h"
#include "MediaApp.h"
#include "ServiceProviderProxyAppFactory.h"
#include "ServiceRegistrator.h"
#include "TestMain.h"

#include <QMap>
#include <QSet>
#include <QSignalSpy>

#include <algorithm>

using namespace KivTest;
using namespace Audio::Utils::Kiv::QtDbus;

namespace {

constexpr int limit = 128; // of a system bus that nobody has configured
constexpr int refused = 172;

/** An application client with the session 7, whose service keeps the answers to "audioActive" back. */
struct Surroundings
{
    Surroundings()
    {
        service.Answer("openSession", R"({"sessionId":7})");
        service.Hold("audioActive");
        service.Appear();
        QCOMPARE(app.Initialize(), KivBaseClient::INIT_STATE_SUCCESS);
        QObject::connect(&app, &AudioManagerApp::SignalAudioActiveCompleted,
                         [this](quint32 id, bool result) { results[id].append(result); });
    }

    ~Surroundings() { app.Powerdown(); }

    /** Starts so many requests, and tells how many have an identifier of their own. */
    int Start(int count)
    {
        QSet<quint32> ids;
        for (int i = 0; i < count; ++i) {
            ids.insert(app.AudioActiveAsync(true));
        }
        ids.remove(0);
        return int(ids.size());
    }

    /** How many requests have completed exactly once, and with this result. */
    int CompletedOnceWith(bool result) const
    {
        const QList<QVector<bool>> all = results.values();
        return int(std::count(all.cbegin(), all.cend(), QVector<bool>{result}));
    }

    LogCapture log;
    FakeService service;
    QDBusConnection bus = QDBusConnection::systemBus();
    ServiceRegistrator registrator{bus, kClientName};
    AdaptorConnection connection{bus};
    ServiceProviderProxyAppFactory factory;
    OpenedApp app{registrator, kClientPath, "Player", connection, QString(), true, QString(), factory, false};
    QMap<quint32, QVector<bool>> results;
};

} // namespace

/** What happens beyond the number of unanswered requests that a system bus allows to a connection. */
class tst_PendingCallLimit : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void async_beyondLimit_eachRefusedRequestCompletesOnceWithFalse();
    void async_beyondLimit_theOthersAreAnswered();
    void async_afterLimitWasReached_worksAgain();
    void async_atLimit_noneIsRefused();
    void blocking_beyondLimit_failsAtOnceAndWorksAgain();
    void inboundCall_whileLimitIsReached_isHandled();
};

void tst_PendingCallLimit::async_beyondLimit_eachRefusedRequestCompletesOnceWithFalse()
{
    Surroundings with;
    QCOMPARE(with.Start(limit + refused), limit + refused);
    QTRY_COMPARE_WITH_TIMEOUT(with.results.size(), refused, 30000);
    QVERIFY(HandleArrivedEvents(with.bus));
    QCOMPARE(with.results.size(), refused);
    QCOMPARE(with.CompletedOnceWith(false), refused);
    const QStringList complaints = with.log.Texts(QtCriticalMsg);
    QCOMPARE(complaints.size(), refused);
    QCOMPARE(complaints.filter("org.freedesktop.DBus.Error.LimitsExceeded").size(), refused);
}

void tst_PendingCallLimit::async_beyondLimit_theOthersAreAnswered()
{
    Surroundings with;
    with.Start(limit + refused);
    QTRY_COMPARE_WITH_TIMEOUT(with.results.size(), refused, 30000);
    QCOMPARE(with.service.ArgumentsOf("audioActive").size(), limit);
    with.service.Release("audioActive");
    QTRY_COMPARE_WITH_TIMEOUT(with.results.size(), limit + refused, 30000);
    QVERIFY(HandleArrivedEvents(with.bus));
    QCOMPARE(with.CompletedOnceWith(true), limit);
    QCOMPARE(with.CompletedOnceWith(false), refused);
    QCOMPARE(with.log.Texts(QtCriticalMsg).size(), refused);
}

void tst_PendingCallLimit::async_afterLimitWasReached_worksAgain()
{
    Surroundings with;
    with.Start(limit + 1);
    QTRY_COMPARE_WITH_TIMEOUT(with.results.size(), 1, 30000);
    with.service.Release("audioActive");
    QTRY_COMPARE_WITH_TIMEOUT(with.results.size(), limit + 1, 30000);
    QCOMPARE(with.Start(limit), limit);
    QTRY_COMPARE_WITH_TIMEOUT(with.results.size(), 2 * limit + 1, 30000);
    QCOMPARE(with.CompletedOnceWith(true), 2 * limit);
    QCOMPARE(with.CompletedOnceWith(false), 1);
}

void tst_PendingCallLimit::async_atLimit_noneIsRefused()
{
    Surroundings with;
    QCOMPARE(with.Start(limit), limit);
    QVERIFY(with.service.WaitForCalls("audioActive", limit));
    QVERIFY(HandleArrivedEvents(with.bus));
    QVERIFY(with.results.isEmpty());
    with.service.Release("audioActive");
    QTRY_COMPARE_WITH_TIMEOUT(with.CompletedOnceWith(true), limit, 30000);
    QCOMPARE(with.log.Texts(QtCriticalMsg), QStringList());
}

void tst_PendingCallLimit::blocking_beyondLimit_failsAtOnceAndWorksAgain()
{
    Surroundings with;
    with.Start(limit);
    QVERIFY(with.service.WaitForCalls("audioActive", limit));
    QVERIFY(!with.app.RequestAudioFocus());
    QCOMPARE(with.service.ArgumentsOf("requestAudioFocus"), QStringList());
    with.service.Release("audioActive");
    QTRY_COMPARE_WITH_TIMEOUT(with.CompletedOnceWith(true), limit, 30000);
    QVERIFY(with.app.RequestAudioFocus());
}

void tst_PendingCallLimit::inboundCall_whileLimitIsReached_isHandled()
{
    Surroundings with;
    with.Start(limit + refused);
    QTRY_COMPARE_WITH_TIMEOUT(with.results.size(), refused, 30000);
    QSignalSpy changed(&with.app, &AudioManagerApp::SignalAudioFocusChanged);
    const QDBusMessage answer =
        with.service.CallClient(kClientName, kClientPath + "/ServiceProviderClient", "onAudioFocusChange",
                                R"({"sessionId":7,"newFocus":"lost"})");
    QCOMPARE(answer.arguments(), QVariantList{"{}"});
    QCOMPARE(changed, QList<QVariantList>{{"lost"}});
    with.service.Release("audioActive");
    QTRY_COMPARE_WITH_TIMEOUT(with.CompletedOnceWith(true), limit, 30000);
}

int main(int argc, char** argv)
{
    const PrivateBus bus(QString(R"(<limit name="max_replies_per_connection">%1</limit>)").arg(limit));
    const QCoreApplication application(argc, argv);
    tst_PendingCallLimit test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_PendingCallLimit.moc"
