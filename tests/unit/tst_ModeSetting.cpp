// SPDX-License-Identifier: MIT
#include "HmiFixture.h"
#include "TestMain.h"

#include <QDBusError>

#include <functional>

using namespace KivTest;
using Audio::Utils::Kiv::QtDbus::AudioManagerHmi;

using Records = QVector<LogRecord>;
using Requests = QVector<RecordedRequest>;
using Parameters = QMap<QString, QVariant>;

namespace {

const QStringList kModes{"A", "B"};
const QString kSetA = R"({"newMode":"A","sessionId":7})";
const QString kSetB = R"({"newMode":"B","sessionId":7})";
const QString kSetX = R"({"newMode":"X","sessionId":7})";
const QString kClose = R"({"sessionId":7})";

const LogRecord kPending = Debug("AudioManagerHmi::SetModeAsync -- Request is pending");
const LogRecord kNotStarted = Debug("AudioManagerHmi::SetModeAsync -- Unable to start request");
const LogRecord kStoring =
    Debug("AudioManagerHmi::StartSetModeRequest -- Storing the requested mode so we can set it when it "
          "becomes available");
const LogRecord kNoSession = Critical("AudioManagerHmi::StartSetModeRequest -- Session is not open");
const LogRecord kReceivedError = Critical("KivBaseClient::HandleReply -- Received error: "
                                          "QDBusError(\"org.freedesktop.DBus.Error.Failed\", \"refused\")");

LogRecord NotListed(const QString& mode, const QStringList& modes = kModes)
{
    return Debug(Streamed("AudioManagerHmi::StartSetModeRequest -- Requested mode", mode,
                          "is not in the mode list:", modes));
}

LogRecord Keeping(quint32 requestId)
{
    return Debug(QString("AudioManagerHmi::StartSetModeRequest -- Keeping existing identical pending mode "
                         "set request with ID %1")
                     .arg(requestId));
}

LogRecord Canceling(quint32 requestId)
{
    return Debug(
        QString("AudioManagerHmi::StartSetModeRequest -- Canceling pending mode set request with ID %1")
            .arg(requestId));
}

LogRecord Failed(quint32 requestId, const QString& map = "QMap()")
{
    return Warning(QString("AudioManagerHmi::HandleSetModeReply -- Request %1 failed with reply %2")
                       .arg(requestId)
                       .arg(map));
}

/** The records of a blocking SetMode() that stores its mode. */
Records StoredBlocking(const QString& mode)
{
    return {Debug(Streamed("AudioManagerHmi::SetMode -- ", mode)),
            Debug(Streamed("AudioManagerHmi::SetMode -- Requested mode is not in the mode list:", mode)),
            Debug("Mode list: \"A\""), Debug("Mode list: \"B\""),
            Debug("AudioManagerHmi::SetMode -- Storing the requested mode so we can set it when it becomes "
                  "available.")};
}

/** The records of the service's call that adds X to the modes, without those of what it sets off. */
Records AddedX(const QStringList& modes)
{
    Records records{Debug("AudioManagerHmi::HandleModeListChanged -- add \"X\""),
                    Debug("+++++++++++Audio Manager Current Sources+++++++++++")};
    for (const QString& mode : modes) {
        records.append(Debug(Streamed(" +++++ Mode List:", mode)));
    }
    records.append(Debug("++++++++++++++++++++++++++++++++++++++++++++++++++"));
    return records;
}

/** A client with the modes A and B. */
struct Setting : HmiFixture
{
    explicit Setting(quint32 sessionId = 7)
        : HmiFixture(sessionId, kModes)
    {
    }

    /** Stores a request, with an identifier of its own, and forgets the records of that. */
    void Store(const QString& mode, quint32 requestId)
    {
        hmi->m_RequestId = requestId - 1;
        if (hmi->SetModeAsync(mode) != requestId) {
            qFatal("the request was not stored");
        }
        log.Clear();
    }

    void Change(const QString& action, const QString& mode)
    {
        hmi->HandleModeListChanged({{"action", action}, {"mode", mode}});
    }

    /** Runs something once, from a slot of the next SignalSetModeCompleted(). */
    void OnceCompleted(const std::function<void()>& action)
    {
        QObject::connect(hmi.data(), &AudioManagerHmi::SignalSetModeCompleted, [this, action] {
            if (!m_HasActed) {
                m_HasActed = true;
                action();
            }
        });
    }

private:
    bool m_HasActed = false;
};

} // namespace

class tst_ModeSetting : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void setMode_listedMode_isSent();
    void setMode_replyContent_isNotRead();
    void setMode_unlistedMode_isStoredAndSendsNothing();
    void setMode_emptyModeList_storesWithoutListing();
    void setMode_withoutSession_fails();
    void setMode_fails_data();
    void setMode_fails();
    void setMode_withoutProxy_failsAndDropsTheStored();
    void setMode_comparesCase();

    void start_withoutSession_fails();
    void start_listedMode_isSent();
    void start_listedMode_withoutProxy_isTrueWithAFailedReply();
    void start_unlistedMode_isStored();
    void start_identicalStoredMode_isKept();
    void start_otherStoredMode_isCancelled();
    void start_unlistedEmptyModeWithoutStored_isStored();

    void setModeAsync_listedMode_isSentAndCompletes();
    void setModeAsync_unlistedMode_isStored();
    void setModeAsync_withoutSession_returnsZero();
    void setModeAsync_withoutProxy_returnsZero();
    void setModeAsync_refused_returnsZero();
    void setModeAsync_error_completesWithFalse();
    void setModeAsync_errCode_completesWithFalse();
    void setModeAsync_replyIsNotJson_completesWithTrue();
    void setModeAsync_comparesCase();
    void setModeAsync_unlistedModes_giveGrowingIdentifiers();
    void setModeAsync_success_doesNotChangeTheCurrentMode();

    void handleReply_successOfTheStored_settlesIt();
    void handleReply_successOfAnother_changesNothing();
    void handleReply_error_changesNothing_data();
    void handleReply_error_changesNothing();

    void none_asyncUnlisted_stores();
    void none_blockingUnlisted_stores();
    void stored_asyncSameMode_keeps();
    void stored_asyncOtherUnlistedMode_cancelsAndStores();
    void stored_blockingOtherUnlistedMode_overwritesSilently();
    void stored_blockingSameUnlistedMode_overwritesSilently();
    void stored_itsModeIsAdded_isSentUnderItsIdentifier();
    void storedInFlight_success_settles();
    void storedInFlight_failure_staysStored();
    void any_blockingListed_dropsTheStoredSilently_data();
    void any_blockingListed_dropsTheStoredSilently();
    void stored_asyncOtherListedMode_isSentAndKeepsTheStored();

    void stored_otherModeIsAdded_staysStored();
    void stored_modesAreRemoved_staysStored();
    void stored_modeChanges_staysStored();
    void stored_refusedWhenSent_staysStored();
    void storedInFlight_failsTwiceThenSucceeds_completesEachTime();
    void storedInFlight_askedForAgain_completesTwice();
    void storedInFlight_replacedMeanwhile_completesAsWell();
    void storedInFlight_modeRemovedAgain_isKeptWhenAskedFor();
    void storedByBlocking_completesWhenAdded();

    void cancelSignal_slotDeletes_startReturnsFalse();
    void cancelSignal_slotDeletes_asyncReturnsZero();
    void cancelSignal_slotPowersDown_isStoredAllTheSame();
    void cancelSignal_slotSetsAnotherMode_outerModeWins();
    void cancelSignal_slotSetsAListedMode_bothAreCarriedOut();
    void completion_slotDeletes();
    void completion_slotPowersDown();

private:
    static void CheckStored(const OpenedHmi& hmi, const QString& mode, quint32 requestId);
    static void CheckNothingStored(const OpenedHmi& hmi);
};

void tst_ModeSetting::CheckStored(const OpenedHmi& hmi, const QString& mode, quint32 requestId)
{
    QCOMPARE(hmi.m_PendingMode, mode);
    QCOMPARE(hmi.m_PendingSetModeRequestId, requestId);
}

/** Nothing was ever stored, or what was is settled by a reply. */
void tst_ModeSetting::CheckNothingStored(const OpenedHmi& hmi)
{
    QVERIFY(hmi.m_PendingMode.isNull());
    QCOMPARE(hmi.m_PendingSetModeRequestId, 0u);
}

// SetMode, blocking

void tst_ModeSetting::setMode_listedMode_isSent()
{
    Setting f;
    f.hmi->m_CurrentMode = "B";
    QVERIFY(f.hmi->SetMode("A"));
    QCOMPARE(f.Requests(), (Requests{{true, "setMode", kSetA}}));
    QCOMPARE(f.TakeRecords(), (Records{Debug("AudioManagerHmi::SetMode --  \"A\""),
                                       RequestBegins("setMode", kSetA), RequestSucceeds("setMode")}));
    QCOMPARE(f.heard.List(), QStringList());
    QCOMPARE(f.hmi->m_CurrentMode, "B");
    QCOMPARE(f.hmi->m_ModeList, kModes);
    QCOMPARE(f.hmi->m_RequestId, 0u);
    QCOMPARE(f.hmi->m_PendingSetModeRequestId, 0u);
    QCOMPARE(f.hmi->m_PendingMode, "");
    QVERIFY(!f.hmi->m_PendingMode.isNull());
}

void tst_ModeSetting::setMode_replyContent_isNotRead()
{
    Setting f;
    f.Exchange().Answer("setMode", "not JSON at all");
    QVERIFY(f.hmi->SetMode("B"));
    QCOMPARE(f.Requests(), (Requests{{true, "setMode", kSetB}}));
    QCOMPARE(f.log.Complaints(), Records{});
}

void tst_ModeSetting::setMode_unlistedMode_isStoredAndSendsNothing()
{
    Setting f;
    QVERIFY(f.hmi->SetMode("X"));
    CheckStored(*f.hmi, "X", 1);
    QCOMPARE(f.Requests(), Requests{});
    QCOMPARE(f.TakeRecords(),
             (Records{Debug("AudioManagerHmi::SetMode --  \"X\""),
                      Debug("AudioManagerHmi::SetMode -- Requested mode is not in the mode list: \"X\""),
                      Debug("Mode list: \"A\""), Debug("Mode list: \"B\""),
                      Debug("AudioManagerHmi::SetMode -- Storing the requested mode so we can set it when it "
                            "becomes available.")}));
    QCOMPARE(f.heard.List(), QStringList());
    QCOMPARE(f.hmi->m_ModeList, kModes);
    QCOMPARE(f.hmi->m_RequestId, 1u);
}

void tst_ModeSetting::setMode_emptyModeList_storesWithoutListing()
{
    Setting f;
    f.hmi->m_ModeList.clear();
    QVERIFY(f.hmi->SetMode("A"));
    CheckStored(*f.hmi, "A", 1);
    QCOMPARE(f.TakeRecords(),
             (Records{Debug("AudioManagerHmi::SetMode --  \"A\""),
                      Debug("AudioManagerHmi::SetMode -- Requested mode is not in the mode list: \"A\""),
                      Debug("AudioManagerHmi::SetMode -- Storing the requested mode so we can set it when it "
                            "becomes available.")}));
}

void tst_ModeSetting::setMode_withoutSession_fails()
{
    Setting f(0);
    for (const QString& mode : {QString("A"), QString("X")}) {
        QVERIFY(!f.hmi->SetMode(mode));
        CheckNothingStored(*f.hmi);
        QCOMPARE(f.Requests(), Requests{});
        QCOMPARE(f.TakeRecords(), (Records{Debug(Streamed("AudioManagerHmi::SetMode -- ", mode)),
                                           Critical("AudioManagerHmi::SetMode -- Invalid session id")}));
    }
    QCOMPARE(f.heard.List(), QStringList());
    QCOMPARE(f.hmi->m_RequestId, 0u);
}

void tst_ModeSetting::setMode_fails_data()
{
    QTest::addColumn<QString>("reply");
    QTest::newRow("D-Bus error") << kFailure;
    QTest::newRow("errCode") << R"({"errCode":5})";
}

void tst_ModeSetting::setMode_fails()
{
    QFETCH(QString, reply);
    Setting f;
    f.Store("X", 4);
    f.Exchange().Answer("setMode", reply);
    QVERIFY(!f.hmi->SetMode("A"));
    QCOMPARE(f.Requests(), (Requests{{true, "setMode", kSetA}}));
    QCOMPARE(f.TakeRecords(),
             (Records{Debug("AudioManagerHmi::SetMode --  \"A\""), RequestBegins("setMode", kSetA),
                      RequestFails("setMode", kSetA, reply)}));
    QCOMPARE(f.heard.List(), QStringList());
    CheckStored(*f.hmi, "", 0);
    QVERIFY(!f.hmi->m_PendingMode.isNull());
}

void tst_ModeSetting::setMode_withoutProxy_failsAndDropsTheStored()
{
    Setting f;
    f.Store("X", 4);
    f.hmi->Powerdown();
    f.hmi->m_SessionId = 7;
    f.log.Clear();
    QVERIFY(!f.hmi->SetMode("A"));
    QCOMPARE(f.TakeRecords(),
             (Records{Debug("AudioManagerHmi::SetMode --  \"A\""), RequestBegins("setMode", kSetA),
                      Critical("KivBaseClient::ServiceRequest -- Invalid Kiv Audio manager service proxy "
                               "object!")}));
    CheckStored(*f.hmi, "", 0);
    QCOMPARE(f.heard.List(), QStringList());
}

void tst_ModeSetting::setMode_comparesCase()
{
    Setting f;
    QVERIFY(f.hmi->SetMode("a"));
    QCOMPARE(f.Requests(), Requests{});
    CheckStored(*f.hmi, "a", 1);
}

// StartSetModeRequest

void tst_ModeSetting::start_withoutSession_fails()
{
    Setting f(0);
    for (const bool pending : {true, false}) {
        QDBusPendingReply<QString> reply;
        bool isPending = pending;
        QVERIFY(!f.hmi->StartSetModeRequest("A", reply, isPending));
        QCOMPARE(isPending, pending);
        QVERIFY(reply.isFinished());
        QVERIFY(reply.isError());
        QCOMPARE(reply.error().type(), QDBusError::Other);
        QCOMPARE(reply.error().message(), "Session is already open");
        QCOMPARE(f.TakeRecords(), Records{kNoSession});
    }
    QCOMPARE(f.Requests(), Requests{});
    QCOMPARE(f.heard.List(), QStringList());
    CheckNothingStored(*f.hmi);
}

void tst_ModeSetting::start_listedMode_isSent()
{
    Setting f;
    f.Store("X", 4);
    f.Exchange().Answer("setMode", R"({"done":true})");
    QDBusPendingReply<QString> reply;
    bool isPending = true;

    QVERIFY(f.hmi->StartSetModeRequest("A", reply, isPending));
    QVERIFY(!isPending);
    QTRY_VERIFY(reply.isFinished());

    QCOMPARE(reply.value(), R"({"done":true})");
    QCOMPARE(f.Requests(), (Requests{{false, "setMode", kSetA}}));
    QCOMPARE(f.TakeRecords(), Records{});
    QCOMPARE(f.heard.List(), QStringList());
    CheckStored(*f.hmi, "X", 4);
    QCOMPARE(f.hmi->m_RequestId, 4u);
}

void tst_ModeSetting::start_listedMode_withoutProxy_isTrueWithAFailedReply()
{
    Setting f;
    f.hmi->Powerdown();
    f.hmi->m_SessionId = 7;
    f.log.Clear();
    QDBusPendingReply<QString> reply;
    bool isPending = true;
    QVERIFY(f.hmi->StartSetModeRequest("A", reply, isPending));
    QVERIFY(!isPending);
    QVERIFY(reply.isError());
    QCOMPARE(reply.error().message(), "Missing KIv service proxy");
    QCOMPARE(f.TakeRecords(), Records{Critical("KivBaseClient::StartRequest -- Missing KIv service proxy")});
}

void tst_ModeSetting::start_unlistedMode_isStored()
{
    Setting f;
    QDBusPendingReply<QString> reply;
    bool isPending = false;
    QVERIFY(f.hmi->StartSetModeRequest("X", reply, isPending));
    QVERIFY(isPending);
    CheckStored(*f.hmi, "X", 1);
    QCOMPARE(f.Requests(), Requests{});
    QCOMPARE(f.TakeRecords(),
             (Records{Debug("AudioManagerHmi::StartSetModeRequest -- Requested mode \"X\" is not in the mode "
                            "list: (\"A\", \"B\")"),
                      kStoring}));
    QCOMPARE(f.heard.List(), QStringList());
}

void tst_ModeSetting::start_identicalStoredMode_isKept()
{
    Setting f;
    f.Store("X", 4);
    QDBusPendingReply<QString> reply;
    bool isPending = false;
    QVERIFY(f.hmi->StartSetModeRequest("X", reply, isPending));
    QVERIFY(isPending);
    CheckStored(*f.hmi, "X", 4);
    QCOMPARE(f.hmi->m_RequestId, 4u);
    QCOMPARE(f.TakeRecords(), (Records{NotListed("X"), Keeping(4)}));
    QCOMPARE(f.heard.List(), QStringList());
    QCOMPARE(f.Requests(), Requests{});
}

void tst_ModeSetting::start_otherStoredMode_isCancelled()
{
    Setting f;
    f.Store("X", 4);
    QDBusPendingReply<QString> reply;
    bool isPending = false;
    QVERIFY(f.hmi->StartSetModeRequest("Y", reply, isPending));
    QVERIFY(isPending);
    CheckStored(*f.hmi, "Y", 5);
    QCOMPARE(f.TakeRecords(), (Records{NotListed("Y"), Canceling(4), kStoring}));
    QCOMPARE(f.heard.List(), QStringList{"SignalSetModeCompleted 4 false"});
    QCOMPARE(f.Requests(), Requests{});
}

void tst_ModeSetting::start_unlistedEmptyModeWithoutStored_isStored()
{
    Setting f;
    QDBusPendingReply<QString> reply;
    bool isPending = false;
    QVERIFY(f.hmi->StartSetModeRequest("", reply, isPending));
    QVERIFY(isPending);
    CheckStored(*f.hmi, "", 1);
    QCOMPARE(f.TakeRecords(), (Records{NotListed(""), kStoring}));
}

// SetModeAsync

void tst_ModeSetting::setModeAsync_listedMode_isSentAndCompletes()
{
    Setting f;
    QCOMPARE(f.hmi->SetModeAsync("A"), 1u);
    QCOMPARE(f.hmi->SetModeAsync("B"), 2u);
    QCOMPARE(f.heard.List(), QStringList());
    QVERIFY(f.WaitForSignals(2));
    QCOMPARE(f.heard.List(), (QStringList{"SignalSetModeCompleted 1 true", "SignalSetModeCompleted 2 true"}));
    QCOMPARE(f.Requests(), (Requests{{false, "setMode", kSetA}, {false, "setMode", kSetB}}));
    QCOMPARE(f.TakeRecords(), Records{});
    CheckNothingStored(*f.hmi);
}

void tst_ModeSetting::setModeAsync_unlistedMode_isStored()
{
    Setting f;
    f.hmi->m_RequestId = 40;
    QCOMPARE(f.hmi->SetModeAsync("X"), 41u);
    CheckStored(*f.hmi, "X", 41);
    QVERIFY(f.WaitForSilence());
    QCOMPARE(f.heard.List(), QStringList());
    QCOMPARE(f.Requests(), (Requests{{false, "last", "{}"}}));
    QCOMPARE(f.TakeRecords(), (Records{NotListed("X"), kStoring, kPending}));
}

void tst_ModeSetting::setModeAsync_withoutSession_returnsZero()
{
    Setting f(0);
    QCOMPARE(f.hmi->SetModeAsync("A"), 0u);
    QCOMPARE(f.hmi->SetModeAsync("X"), 0u);
    QVERIFY(f.WaitForSilence());
    QCOMPARE(f.heard.List(), QStringList());
    QCOMPARE(f.Requests(), (Requests{{false, "last", "{}"}}));
    QCOMPARE(f.TakeRecords(), (Records{kNoSession, kNotStarted, kNoSession, kNotStarted}));
    CheckNothingStored(*f.hmi);
    QCOMPARE(f.hmi->m_RequestId, 0u);
}

void tst_ModeSetting::setModeAsync_withoutProxy_returnsZero()
{
    Setting f;
    f.hmi->Powerdown();
    f.hmi->m_SessionId = 7;
    f.log.Clear();
    QCOMPARE(f.hmi->SetModeAsync("A"), 0u);
    QCOMPARE(f.TakeRecords(), Records{Critical("KivBaseClient::StartRequest -- Missing KIv service proxy")});
    QCOMPARE(f.hmi->SetModeAsync("X"), 1u);
    QCOMPARE(f.TakeRecords(), (Records{NotListed("X"), kStoring, kPending}));
    QCOMPARE(f.heard.List(), QStringList());
}

void tst_ModeSetting::setModeAsync_refused_returnsZero()
{
    Setting f;
    f.Exchange().Refuse("setMode", "not now");
    QCOMPARE(f.hmi->SetModeAsync("A"), 0u);
    QVERIFY(f.WaitForSilence());
    QCOMPARE(f.heard.List(), QStringList());
    QCOMPARE(f.Requests(), (Requests{{false, "setMode", kSetA}, {false, "last", "{}"}}));
    QCOMPARE(f.TakeRecords(), Records{});
    QCOMPARE(f.hmi->m_RequestId, 0u);
    CheckNothingStored(*f.hmi);
}

void tst_ModeSetting::setModeAsync_error_completesWithFalse()
{
    Setting f;
    f.Exchange().Fail("setMode", "refused");
    QCOMPARE(f.hmi->SetModeAsync("A"), 1u);
    QVERIFY(f.WaitForSignals(1));
    QCOMPARE(f.heard.List(), QStringList{"SignalSetModeCompleted 1 false"});
    QCOMPARE(f.TakeRecords(), (Records{kReceivedError, Failed(1)}));
    CheckNothingStored(*f.hmi);
}

void tst_ModeSetting::setModeAsync_errCode_completesWithFalse()
{
    Setting f;
    f.Exchange().Answer("setMode", R"({"errCode":0,"text":"no"})");
    QCOMPARE(f.hmi->SetModeAsync("A"), 1u);
    QVERIFY(f.WaitForSignals(1));
    QCOMPARE(f.heard.List(), QStringList{"SignalSetModeCompleted 1 false"});
    QCOMPARE(
        f.TakeRecords(),
        (Records{Critical("KivBaseClient::HandleReply -- Received error code: QVariant(int, 0)"),
                 Failed(1, "QMap((\"errCode\", QVariant(int, 0))(\"text\", QVariant(QString, \"no\")))")}));
    CheckNothingStored(*f.hmi);
}

void tst_ModeSetting::setModeAsync_replyIsNotJson_completesWithTrue()
{
    Setting f;
    f.Exchange().Answer("setMode", "errCode? no");
    QCOMPARE(f.hmi->SetModeAsync("A"), 1u);
    QVERIFY(f.WaitForSignals(1));
    QCOMPARE(f.heard.List(), QStringList{"SignalSetModeCompleted 1 true"});
    QCOMPARE(f.TakeRecords(), Records{});
}

void tst_ModeSetting::setModeAsync_comparesCase()
{
    Setting f;
    f.hmi->m_ModeList = QStringList{"Media"};
    QCOMPARE(f.hmi->SetModeAsync("media"), 1u);
    CheckStored(*f.hmi, "media", 1);
    QCOMPARE(f.hmi->SetModeAsync("MEDIA"), 2u);
    CheckStored(*f.hmi, "MEDIA", 2);
    QCOMPARE(f.heard.List(), QStringList{"SignalSetModeCompleted 1 false"});
    QCOMPARE(f.Requests(), Requests{});
}

void tst_ModeSetting::setModeAsync_unlistedModes_giveGrowingIdentifiers()
{
    Setting f;
    QCOMPARE(f.hmi->SetModeAsync("X"), 1u);
    QCOMPARE(f.hmi->SetModeAsync("X"), 1u);
    QCOMPARE(f.heard.List(), QStringList());
    QCOMPARE(f.hmi->SetModeAsync("Y"), 2u);
    QCOMPARE(f.heard.List(), QStringList{"SignalSetModeCompleted 1 false"});
    QCOMPARE(f.hmi->GetModeAsync(""), 3u);
    QCOMPARE(f.hmi->SetModeAsync("X"), 4u);
    QCOMPARE(f.heard.List(),
             (QStringList{"SignalSetModeCompleted 1 false", "SignalSetModeCompleted 2 false"}));
    CheckStored(*f.hmi, "X", 4);
}

void tst_ModeSetting::setModeAsync_success_doesNotChangeTheCurrentMode()
{
    Setting f;
    f.hmi->m_CurrentMode = "B";
    f.hmi->m_CurrentModeList = QStringList{"B"};
    f.Exchange().Answer("setMode", R"({"currentMode":"A"})");
    QCOMPARE(f.hmi->SetModeAsync("A"), 1u);
    QVERIFY(f.WaitForSignals(1));
    QCOMPARE(f.hmi->m_CurrentMode, "B");
    QCOMPARE(f.hmi->m_CurrentModeList, QStringList{"B"});
    QCOMPARE(f.hmi->m_ModeList, kModes);
}

// HandleSetModeReply

void tst_ModeSetting::handleReply_successOfTheStored_settlesIt()
{
    Setting f;
    f.Store("X", 4);
    QVERIFY(f.hmi->HandleSetModeReply(false, {{"newMode", "Y"}}, 4));
    CheckNothingStored(*f.hmi);
    QCOMPARE(f.TakeRecords(), Records{});
    QCOMPARE(f.heard.List(), QStringList());
}

void tst_ModeSetting::handleReply_successOfAnother_changesNothing()
{
    Setting f;
    f.Store("X", 4);
    QVERIFY(f.hmi->HandleSetModeReply(false, {{"newMode", "X"}}, 5));
    CheckStored(*f.hmi, "X", 4);
    QVERIFY(f.hmi->HandleSetModeReply(false, {}, 0));
    CheckStored(*f.hmi, "X", 4);
    QCOMPARE(f.TakeRecords(), Records{});
    QCOMPARE(f.heard.List(), QStringList());
}

void tst_ModeSetting::handleReply_error_changesNothing_data()
{
    QTest::addColumn<quint32>("requestId");
    QTest::newRow("the stored request") << 4u;
    QTest::newRow("another request") << 5u;
}

void tst_ModeSetting::handleReply_error_changesNothing()
{
    QFETCH(quint32, requestId);
    Setting f;
    f.Store("X", 4);
    QVERIFY(!f.hmi->HandleSetModeReply(true, {{"k", 5}}, requestId));
    CheckStored(*f.hmi, "X", 4);
    QCOMPARE(f.TakeRecords(), Records{Failed(requestId, "QMap((\"k\", QVariant(int, 5)))")});
    QCOMPARE(f.heard.List(), QStringList());
}

// The states of the stored request

void tst_ModeSetting::none_asyncUnlisted_stores()
{
    Setting f;
    const quint32 requestId = f.hmi->SetModeAsync("X");
    QCOMPARE(requestId, 1u);
    CheckStored(*f.hmi, "X", requestId);
    QCOMPARE(f.heard.List(), QStringList());
    QCOMPARE(f.Requests(), Requests{});
}

void tst_ModeSetting::none_blockingUnlisted_stores()
{
    Setting f;
    f.hmi->m_RequestId = 8;
    QVERIFY(f.hmi->SetMode("X"));
    CheckStored(*f.hmi, "X", 9);
    QCOMPARE(f.heard.List(), QStringList());
    QCOMPARE(f.Requests(), Requests{});
}

void tst_ModeSetting::stored_asyncSameMode_keeps()
{
    Setting f;
    f.Store("X", 4);
    f.hmi->m_RequestId = 9;
    QCOMPARE(f.hmi->SetModeAsync("X"), 4u);
    CheckStored(*f.hmi, "X", 4);
    QCOMPARE(f.hmi->m_RequestId, 9u);
    QCOMPARE(f.heard.List(), QStringList());
    QCOMPARE(f.Requests(), Requests{});
    QCOMPARE(f.TakeRecords(), (Records{NotListed("X"), Keeping(4), kPending}));
}

void tst_ModeSetting::stored_asyncOtherUnlistedMode_cancelsAndStores()
{
    Setting f;
    f.Store("X", 4);
    QCOMPARE(f.hmi->SetModeAsync("Y"), 5u);
    CheckStored(*f.hmi, "Y", 5);
    QCOMPARE(f.heard.List(), QStringList{"SignalSetModeCompleted 4 false"});
    QCOMPARE(f.Requests(), Requests{});
    QCOMPARE(f.TakeRecords(), (Records{NotListed("Y"), Canceling(4), kStoring, kPending}));
}

void tst_ModeSetting::stored_blockingOtherUnlistedMode_overwritesSilently()
{
    Setting f;
    f.Store("X", 4);
    QVERIFY(f.hmi->SetMode("Y"));
    CheckStored(*f.hmi, "Y", 5);
    QCOMPARE(f.heard.List(), QStringList());
    QCOMPARE(f.Requests(), Requests{});
    QCOMPARE(f.TakeRecords(), StoredBlocking("Y"));
}

void tst_ModeSetting::stored_blockingSameUnlistedMode_overwritesSilently()
{
    Setting f;
    f.Store("X", 4);
    QVERIFY(f.hmi->SetMode("X"));
    CheckStored(*f.hmi, "X", 5);
    QCOMPARE(f.heard.List(), QStringList());
    QCOMPARE(f.Requests(), Requests{});
    QCOMPARE(f.TakeRecords(), StoredBlocking("X"));
}

void tst_ModeSetting::stored_itsModeIsAdded_isSentUnderItsIdentifier()
{
    Setting f;
    f.Store("X", 4);
    f.hmi->m_RequestId = 9;
    f.Exchange().Hold();
    f.Change("add", "X");
    CheckStored(*f.hmi, "X", 4);
    QCOMPARE(f.heard.List(), QStringList{"SignalModeListChanged true \"X\""});
    QCOMPARE(f.Requests(), (Requests{{false, "setMode", kSetX}}));
    QCOMPARE(f.TakeRecords(), AddedX({"A", "B", "X"}));
    QCOMPARE(f.hmi->m_RequestId, 9u);
}

void tst_ModeSetting::storedInFlight_success_settles()
{
    Setting f;
    f.Store("X", 4);
    f.Change("add", "X");
    f.log.Clear();
    QVERIFY(f.WaitForSignals(2));
    QVERIFY(f.WaitForSilence());
    QCOMPARE(f.heard.List(),
             (QStringList{"SignalModeListChanged true \"X\"", "SignalSetModeCompleted 4 true"}));
    CheckNothingStored(*f.hmi);
    QCOMPARE(f.TakeRecords(), Records{});
    QCOMPARE(f.hmi->SetModeAsync("X"), 5u);
}

void tst_ModeSetting::storedInFlight_failure_staysStored()
{
    Setting f;
    f.Store("X", 4);
    f.Exchange().Fail("setMode", "refused");
    f.Change("add", "X");
    f.log.Clear();
    QVERIFY(f.WaitForSignals(2));
    QCOMPARE(f.heard.List(),
             (QStringList{"SignalModeListChanged true \"X\"", "SignalSetModeCompleted 4 false"}));
    CheckStored(*f.hmi, "X", 4);
    QCOMPARE(f.TakeRecords(), (Records{kReceivedError, Failed(4)}));
}

void tst_ModeSetting::any_blockingListed_dropsTheStoredSilently_data()
{
    QTest::addColumn<QString>("stored");
    QTest::addColumn<bool>("isAccepted");
    QTest::newRow("none, accepted") << "" << true;
    QTest::newRow("none, failed") << "" << false;
    QTest::newRow("stored, accepted") << "X" << true;
    QTest::newRow("stored, failed") << "X" << false;
}

void tst_ModeSetting::any_blockingListed_dropsTheStoredSilently()
{
    QFETCH(QString, stored);
    QFETCH(bool, isAccepted);
    Setting f;
    if (!stored.isEmpty()) {
        f.Store(stored, 4);
    }
    if (!isAccepted) {
        f.Exchange().Fail("setMode", "refused");
    }
    QCOMPARE(f.hmi->SetMode("A"), isAccepted);
    CheckStored(*f.hmi, "", 0);
    QVERIFY(!f.hmi->m_PendingMode.isNull());
    QCOMPARE(f.Requests(), (Requests{{true, "setMode", kSetA}}));
    f.Change("add", "X");
    QVERIFY(f.WaitForSilence());
    QCOMPARE(f.heard.List(), QStringList{"SignalModeListChanged true \"X\""});
    QCOMPARE(f.Requests(), (Requests{{true, "setMode", kSetA}, {false, "last", "{}"}}));
}

void tst_ModeSetting::stored_asyncOtherListedMode_isSentAndKeepsTheStored()
{
    Setting f;
    f.Store("X", 4);
    QCOMPARE(f.hmi->SetModeAsync("A"), 5u);
    CheckStored(*f.hmi, "X", 4);
    QVERIFY(f.WaitForSignals(1));
    QCOMPARE(f.heard.List(), QStringList{"SignalSetModeCompleted 5 true"});
    CheckStored(*f.hmi, "X", 4);
    QCOMPARE(f.Requests(), (Requests{{false, "setMode", kSetA}}));
    QCOMPARE(f.TakeRecords(), Records{});
}

// What a stored request lives through

void tst_ModeSetting::stored_otherModeIsAdded_staysStored()
{
    Setting f;
    f.Store("X", 4);
    f.Change("add", "x");
    QVERIFY(f.WaitForSilence());
    CheckStored(*f.hmi, "X", 4);
    QCOMPARE(f.heard.List(), QStringList{"SignalModeListChanged true \"x\""});
    QCOMPARE(f.Requests(), (Requests{{false, "last", "{}"}}));
}

void tst_ModeSetting::stored_modesAreRemoved_staysStored()
{
    Setting f;
    f.Store("X", 4);
    f.Change("remove", "X");
    f.Change("remove", "A");
    QVERIFY(f.WaitForSilence());
    CheckStored(*f.hmi, "X", 4);
    QCOMPARE(f.heard.List(),
             (QStringList{"SignalModeListChanged false \"X\"", "SignalModeListChanged false \"A\""}));
    QCOMPARE(f.Requests(), (Requests{{false, "last", "{}"}}));
}

void tst_ModeSetting::stored_modeChanges_staysStored()
{
    Setting f;
    f.Store("X", 4);
    f.hmi->HandleModeChanged({{"activeMode", "X"}});
    QVERIFY(f.hmi->GetModeList(""));
    QVERIFY(f.hmi->GetMode(""));
    CheckStored(*f.hmi, "X", 4);
    QCOMPARE(f.heard.List(), QStringList{"SignalModeChanged \"X\""});
}

void tst_ModeSetting::stored_refusedWhenSent_staysStored()
{
    Setting f;
    f.Store("X", 4);
    f.Exchange().Refuse("setMode", "not now");
    f.Change("add", "X");
    QVERIFY(f.WaitForSilence());
    CheckStored(*f.hmi, "X", 4);
    QCOMPARE(f.heard.List(), QStringList{"SignalModeListChanged true \"X\""});
    QCOMPARE(f.TakeRecords(), AddedX({"A", "B", "X"}));

    f.Exchange().Answer("setMode", "{}");
    QCOMPARE(f.hmi->SetModeAsync("X"), 4u);
    QVERIFY(f.WaitForSignals(2));
    QCOMPARE(f.heard.List().last(), "SignalSetModeCompleted 4 true");
    CheckNothingStored(*f.hmi);
}

void tst_ModeSetting::storedInFlight_failsTwiceThenSucceeds_completesEachTime()
{
    Setting f;
    f.Store("X", 4);
    f.Exchange().Fail("setMode", "refused");
    f.Change("add", "X");
    QVERIFY(f.WaitForSignals(2));
    f.Change("remove", "X");
    f.Change("add", "X");
    QVERIFY(f.WaitForSignals(5));
    CheckStored(*f.hmi, "X", 4);
    f.Exchange().Answer("setMode", "{}");
    f.Change("add", "X");
    QVERIFY(f.WaitForSignals(7));
    CheckNothingStored(*f.hmi);
    f.Change("add", "X");
    QVERIFY(f.WaitForSilence());

    QCOMPARE(f.heard.List(),
             (QStringList{"SignalModeListChanged true \"X\"", "SignalSetModeCompleted 4 false",
                          "SignalModeListChanged false \"X\"", "SignalModeListChanged true \"X\"",
                          "SignalSetModeCompleted 4 false", "SignalModeListChanged true \"X\"",
                          "SignalSetModeCompleted 4 true", "SignalModeListChanged true \"X\""}));
    QCOMPARE(f.Requests(), (Requests{{false, "setMode", kSetX},
                                     {false, "setMode", kSetX},
                                     {false, "setMode", kSetX},
                                     {false, "last", "{}"}}));
    QCOMPARE(f.hmi->m_RequestId, 4u);
}

void tst_ModeSetting::storedInFlight_askedForAgain_completesTwice()
{
    Setting f;
    f.Store("X", 4);
    f.Exchange().Hold();
    f.Change("add", "X");
    QCOMPARE(f.hmi->SetModeAsync("X"), 4u);
    QCOMPARE(f.Requests(), (Requests{{false, "setMode", kSetX}, {false, "setMode", kSetX}}));
    f.Exchange().Release();
    QVERIFY(f.WaitForSignals(3));
    QCOMPARE(f.heard.List(), (QStringList{"SignalModeListChanged true \"X\"", "SignalSetModeCompleted 4 true",
                                          "SignalSetModeCompleted 4 true"}));
    CheckNothingStored(*f.hmi);
}

void tst_ModeSetting::storedInFlight_replacedMeanwhile_completesAsWell()
{
    Setting f;
    f.Store("X", 4);
    f.Exchange().Hold();
    f.Change("add", "X");
    QCOMPARE(f.hmi->SetModeAsync("Y"), 5u);
    f.Exchange().Release();
    QVERIFY(f.WaitForSignals(3));
    QCOMPARE(f.heard.List(),
             (QStringList{"SignalModeListChanged true \"X\"", "SignalSetModeCompleted 4 false",
                          "SignalSetModeCompleted 4 true"}));
    CheckStored(*f.hmi, "Y", 5);
}

void tst_ModeSetting::storedInFlight_modeRemovedAgain_isKeptWhenAskedFor()
{
    Setting f;
    f.Store("X", 4);
    f.Exchange().Hold();
    f.Change("add", "X");
    f.Change("remove", "X");
    f.log.Clear();
    QCOMPARE(f.hmi->SetModeAsync("X"), 4u);
    QCOMPARE(f.TakeRecords(), (Records{NotListed("X"), Keeping(4), kPending}));
    QCOMPARE(f.Requests(), (Requests{{false, "setMode", kSetX}}));
    CheckStored(*f.hmi, "X", 4);
}

void tst_ModeSetting::storedByBlocking_completesWhenAdded()
{
    Setting f;
    QVERIFY(f.hmi->SetMode("X"));
    f.Change("add", "X");
    QVERIFY(f.WaitForSignals(2));
    QCOMPARE(f.heard.List(),
             (QStringList{"SignalModeListChanged true \"X\"", "SignalSetModeCompleted 1 true"}));
    QCOMPARE(f.Requests(), (Requests{{false, "setMode", kSetX}}));
    CheckNothingStored(*f.hmi);
}

// Slots that do more than listen

void tst_ModeSetting::cancelSignal_slotDeletes_startReturnsFalse()
{
    Setting f;
    f.Store("X", 4);
    f.OnceCompleted([&f] { delete f.hmi.data(); });
    QDBusPendingReply<QString> reply;
    bool isPending = false;
    QVERIFY(!f.hmi->StartSetModeRequest("Y", reply, isPending));
    QVERIFY(f.hmi.isNull());
    QVERIFY(!isPending);
    QCOMPARE(f.heard.List(), QStringList{"SignalSetModeCompleted 4 false"});
    QCOMPARE(f.TakeRecords(), (Records{NotListed("Y"), Canceling(4),
                                       Debug("KivBaseClient::Powerdown was not called before destructor!")}));
    QCOMPARE(f.Requests(), Requests{});
}

void tst_ModeSetting::cancelSignal_slotDeletes_asyncReturnsZero()
{
    Setting f;
    f.Store("X", 4);
    f.OnceCompleted([&f] { delete f.hmi.data(); });
    QCOMPARE(f.hmi->SetModeAsync("Y"), 0u);
    QVERIFY(f.hmi.isNull());
    QCOMPARE(f.heard.List(), QStringList{"SignalSetModeCompleted 4 false"});
    QCOMPARE(f.TakeRecords(),
             (Records{NotListed("Y"), Canceling(4),
                      Debug("KivBaseClient::Powerdown was not called before destructor!"), kNotStarted}));
    QCOMPARE(f.Requests(), Requests{});
}

void tst_ModeSetting::cancelSignal_slotPowersDown_isStoredAllTheSame()
{
    Setting f;
    f.Store("X", 4);
    f.OnceCompleted([&f] { f.hmi->Powerdown(); });
    QCOMPARE(f.hmi->SetModeAsync("Y"), 5u);
    CheckStored(*f.hmi, "Y", 5);
    QCOMPARE(f.hmi->m_SessionId, 0u);
    QCOMPARE(f.heard.List(), QStringList{"SignalSetModeCompleted 4 false"});
    QCOMPARE(f.Requests(), (Requests{{true, "closeSession", kClose}}));
    const LogRecord closing = Debug(
        "ServiceProviderClient::CloseSession \"/com/quorvantel/audioclient/test/ServiceProviderClient\" 7");
    QCOMPARE(f.TakeRecords(),
             (Records{NotListed("Y"), Canceling(4), closing, RequestBegins("closeSession", kClose),
                      RequestSucceeds("closeSession"), kStoring, kPending}));
}

void tst_ModeSetting::cancelSignal_slotSetsAnotherMode_outerModeWins()
{
    Setting f;
    f.Store("X", 4);
    quint32 nestedId = 0;
    f.OnceCompleted([&] { nestedId = f.hmi->SetModeAsync("Z"); });
    QCOMPARE(f.hmi->SetModeAsync("Y"), 6u);
    QCOMPARE(nestedId, 5u);
    CheckStored(*f.hmi, "Y", 6);
    // The nested call finds the old request stored still, and cancels it as well; nothing is said of 5.
    QCOMPARE(f.heard.List(),
             (QStringList{"SignalSetModeCompleted 4 false", "SignalSetModeCompleted 4 false"}));
    QCOMPARE(f.TakeRecords(), (Records{NotListed("Y"), Canceling(4), NotListed("Z"), Canceling(4), kStoring,
                                       kPending, kStoring, kPending}));
    f.Change("add", "Z");
    f.Change("add", "Y");
    QVERIFY(f.WaitForSignals(5));
    QVERIFY(f.WaitForSilence());
    QCOMPARE(f.heard.List().mid(2),
             (QStringList{"SignalModeListChanged true \"Z\"", "SignalModeListChanged true \"Y\"",
                          "SignalSetModeCompleted 6 true"}));
}

void tst_ModeSetting::cancelSignal_slotSetsAListedMode_bothAreCarriedOut()
{
    Setting f;
    f.Store("X", 4);
    quint32 nestedId = 0;
    f.OnceCompleted([&] { nestedId = f.hmi->SetModeAsync("A"); });
    QCOMPARE(f.hmi->SetModeAsync("Y"), 6u);
    QCOMPARE(nestedId, 5u);
    CheckStored(*f.hmi, "Y", 6);
    QVERIFY(f.WaitForSignals(2));
    QCOMPARE(f.heard.List(),
             (QStringList{"SignalSetModeCompleted 4 false", "SignalSetModeCompleted 5 true"}));
    CheckStored(*f.hmi, "Y", 6);
}

void tst_ModeSetting::completion_slotDeletes()
{
    Setting f;
    f.OnceCompleted([&f] { delete f.hmi.data(); });
    QCOMPARE(f.hmi->SetModeAsync("A"), 1u);
    QCOMPARE(f.hmi->SetModeAsync("B"), 2u);
    QVERIFY(f.WaitForSignals(1));
    QVERIFY(f.hmi.isNull());
    QVERIFY(f.WaitForSilence());
    QCOMPARE(f.heard.List(), QStringList{"SignalSetModeCompleted 1 true"});
    QCOMPARE(f.TakeRecords(), Records{Debug("KivBaseClient::Powerdown was not called before destructor!")});
}

void tst_ModeSetting::completion_slotPowersDown()
{
    Setting f;
    f.OnceCompleted([&f] { f.hmi->Powerdown(); });
    QCOMPARE(f.hmi->SetModeAsync("A"), 1u);
    QCOMPARE(f.hmi->SetModeAsync("B"), 2u);
    QVERIFY(f.WaitForSignals(2));
    QCOMPARE(f.heard.List(), (QStringList{"SignalSetModeCompleted 1 true", "SignalSetModeCompleted 2 true"}));
    QCOMPARE(f.hmi->m_SessionId, 0u);
    QCOMPARE(
        f.Requests(),
        (Requests{{false, "setMode", kSetA}, {false, "setMode", kSetB}, {true, "closeSession", kClose}}));
    QCOMPARE(f.log.Complaints(), Records{});
}

KIV_UNIT_TEST_MAIN(tst_ModeSetting)
#include "tst_ModeSetting.moc"
