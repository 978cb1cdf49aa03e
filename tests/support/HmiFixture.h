// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_HMIFIXTURE_H
#define KIV_TESTS_HMIFIXTURE_H

#include "HmiSignals.h"
#include "LogCapture.h"
#include "LogTexts.h"
#include "TestClients.h"

#include <QDBusPendingCallWatcher>
#include <QPointer>
#include <QSignalSpy>
#include <QStringList>
#include <QTest>

namespace KivTest {

/** What the fake proxy answers for a request that fails. */
const QString kFailure = "{ \"errCode\" : 0 }";

/** An HMI client without a bus, with what it says and asks. The test may delete the client. */
struct HmiFixture
{
    /** @param sessionId 0 for a client without a session, which has a proxy all the same. */
    explicit HmiFixture(quint32 sessionId = 7, const QStringList& modes = {}, const QString& destination = {},
                        bool getModesOnInitialize = false)
        : hmi(new OpenedHmi(fakes.registrator, kClientPath, fakes.connection, destination, fakes.factory,
                            getModesOnInitialize)),
          heard(hmi)
    {
        hmi->Open(sessionId);
        hmi->m_ModeList = modes;
        log.Clear();
    }

    ~HmiFixture()
    {
        if (!hmi.isNull()) {
            hmi->Powerdown();
            delete hmi.data();
        }
    }

    HmiFixture(const HmiFixture&) = delete;
    HmiFixture& operator=(const HmiFixture&) = delete;

    FakeExchange& Exchange() { return fakes.Exchange(); }
    QVector<RecordedRequest> Requests() { return Exchange().Requests(); }

    /** The records since the last call, without times. */
    QVector<LogRecord> TakeRecords()
    {
        const QVector<LogRecord> records = Timeless(log.Records());
        log.Clear();
        return records;
    }

    /** Waits until this many signals have been emitted, in all. */
    bool WaitForSignals(int count)
    {
        return QTest::qWaitFor([&] { return heard.List().size() >= count; }, 30000);
    }

    /** Waits until every answer that is on its way has been handled, by way of a request behind them. */
    bool WaitForSilence()
    {
        const QDBusPendingCallWatcher last(FakeServiceProviderProxy(Exchange()).AsyncRequest("last", "{}"));
        QSignalSpy finished(&last, &QDBusPendingCallWatcher::finished);
        return finished.wait(30000);
    }

    LogCapture log;
    FakeSurroundings fakes;
    QPointer<OpenedHmi> hmi;
    HmiSignals heard;
};

} // namespace KivTest

#endif // KIV_TESTS_HMIFIXTURE_H
