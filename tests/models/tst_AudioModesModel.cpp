// SPDX-License-Identifier: MIT
#include "ModesFixture.h"
#include "TestMain.h"

#include <QSignalSpy>

using namespace KivTest;

namespace {

const QStringList kModes{"Radio", "Bluetooth"};
const QString kNotSet = "The audio service has not set the mode \"%1\".";
const QString kUnreadable = "The audio service does not tell its modes.";

/** A service with two modes, and a model that has read them. */
struct Stage
{
    explicit Stage(const QStringList& modes = kModes)
        : service(std::make_unique<ModesService>(7, modes))
    {
        service->Appear();
        hmi.StartAndRead(modes);
    }

    /** The service leaves, and is there again as another one. */
    void Restart(const QStringList& modes)
    {
        service.reset();
        QTRY_VERIFY_WITH_TIMEOUT(!hmi.model.isAvailable(), 30000);
        service = std::make_unique<ModesService>(8, modes);
    }

    /** Comes, and has been asked for everything. */
    void Return()
    {
        service->Appear();
        QTRY_VERIFY_WITH_TIMEOUT(hmi.model.isAvailable(), 30000);
        QVERIFY(service->WaitForCalls("getMode", 1));
        Modes::Settle();
    }

    std::unique_ptr<ModesService> service;
    Modes hmi;
};

} // namespace

class tst_AudioModesModel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup();

    void rows_areThoseOfTheService();
    void start_listBeforeCurrentMode_tellsEachOnce();
    void start_serviceLate_becomesAvailable();
    void modeAdded_isOneInsert();
    void modeRemoved_isOneRemove();
    void modeListedTwice_hasTwoRows();
    void modeWithoutAName_isNeitherCurrentNorPending();
    void modeChanged_changesTwoRowsAndNothingElse();
    void sameModeAgain_tellsNothing();
    void requestMode_listed_isPendingUntilAnswered();
    void requestMode_refused_isOverWithAnError();
    void requestMode_twoOnTheirWay_theLatestIsPending();
    void requestMode_unlisted_isSentWhenAdded();
    void requestMode_unlistedAndRefused_isNotSentAgain();
    void requestMode_unlistedTwice_theLatestIsSent();
    void requestMode_listedAfterUnlisted_replacesIt();
    void requestMode_withoutWhatItNeeds_isRefused();
    void cancelPending_unlisted_sendsNothingLater();
    void cancelPending_onItsWay_isNotPossible();
    void lastError_isClearedByTheNextSuccess();
    void restart_sameModes_tellsAvailabilityOnly();
    void restart_otherModes_changesOnlyWhatIsDifferent();
    void restart_requestOnItsWay_endsWithAnError();
    void restart_unlistedRequest_isSentWhenListed();
    void restart_requestBeforeTheListIsRead_waitsForIt();
    void restart_modeAddedBeforeTheListIsRead_isInsertedOnce();
    void reading_refused_isTriedAgain();
    void handOver_lateAnswersOfTheOldOwner_areIgnored();
    void eventsWhileReading_listIsThatOfTheAnswer();
    void requestMode_fromASlot_isNotOverwritten();
};

void tst_AudioModesModel::cleanup()
{
    Modes::Settle();
}

void tst_AudioModesModel::rows_areThoseOfTheService()
{
    const Stage stage({"Radio", "Bluetooth", "USB"});
    const AudioModesModel& model = stage.hmi.model;
    QCOMPARE(model.roleNames(), (QHash<int, QByteArray>{{AudioModesModel::NameRole, "name"},
                                                        {AudioModesModel::ActiveRole, "active"},
                                                        {AudioModesModel::PendingRole, "pending"}}));
    QCOMPARE(stage.hmi.journal.Column(AudioModesModel::NameRole),
             (QVariantList{"Radio", "Bluetooth", "USB"}));
    QCOMPARE(stage.hmi.journal.Column(Qt::DisplayRole), (QVariantList{"Radio", "Bluetooth", "USB"}));
    QCOMPARE(stage.hmi.journal.Column(AudioModesModel::ActiveRole), (QVariantList{true, false, false}));
    QCOMPARE(stage.hmi.journal.Column(AudioModesModel::PendingRole), (QVariantList{false, false, false}));
    QCOMPARE(stage.hmi.journal.Column(Qt::DecorationRole),
             (QVariantList{QVariant(), QVariant(), QVariant()}));
    QCOMPARE(model.count(), 3);
    QCOMPARE(model.rowCount(model.index(0)), 0);
    QVERIFY(!model.data(QModelIndex(), AudioModesModel::NameRole).isValid());
    QCOMPARE(model.currentMode(), "Radio");
    QCOMPARE(model.pendingMode(), "");
    QCOMPARE(model.lastError(), "");
    QVERIFY(model.isAvailable() && !model.isBusy());
}

void tst_AudioModesModel::start_listBeforeCurrentMode_tellsEachOnce()
{
    ModesService service(7, kModes);
    service.Hold("getModeList");
    service.Hold("getMode");
    service.Appear();
    Modes hmi;
    hmi.model.start();
    QCOMPARE(hmi.journal.Take(), QStringList{"available=true"});
    QVERIFY(service.WaitForCalls("getMode", 1));
    service.Release("getModeList");
    QTRY_COMPARE_WITH_TIMEOUT(hmi.journal.Entries(), (QStringList{"+0..1", "count=2"}), 30000);
    service.Release("getMode");
    QTRY_COMPARE_WITH_TIMEOUT(hmi.journal.Entries(),
                              (QStringList{"+0..1", "count=2", "currentMode=Radio", "0: active"}), 30000);
    hmi.model.start();
    Modes::Settle();
    QCOMPARE(hmi.journal.Entries().size(), 4);
    QCOMPARE(service.ArgumentsOf("openSession"),
             QStringList{R"({"busName":"com.quorvantel.audioclient.test",)"
                         R"("objectPath":"/com/quorvantel/audioclient/test/ServiceProviderClient"})"});
    QCOMPARE(service.ArgumentsOf("getModeList"), QStringList{R"({"destination":"all","sessionId":7})"});
    QCOMPARE(service.ArgumentsOf("getMode"), QStringList{R"({"destination":"all","sessionId":7})"});
}

void tst_AudioModesModel::start_serviceLate_becomesAvailable()
{
    ModesService service(7, kModes);
    Modes hmi;
    hmi.model.setDestination("Rear");
    hmi.model.start();
    Modes::Settle();
    QCOMPARE(hmi.journal.Take(), QStringList{});
    QVERIFY(!hmi.model.isAvailable());
    service.Appear();
    QTRY_COMPARE_WITH_TIMEOUT(hmi.Names(), kModes, 30000);
    QVERIFY(hmi.model.isAvailable());
    QCOMPARE(service.ArgumentsOf("getModeList"), QStringList{R"({"destination":"Rear","sessionId":7})"});
    QVERIFY(service.ArgumentsOf("openSession").value(0).contains(R"("destination":"Rear")"));
}

void tst_AudioModesModel::modeAdded_isOneInsert()
{
    Stage stage;
    stage.service->Add("Tape");
    QTRY_COMPARE_WITH_TIMEOUT(stage.hmi.journal.Entries(), (QStringList{"+2..2", "count=3"}), 30000);
    QCOMPARE(stage.hmi.Names(), (QStringList{"Radio", "Bluetooth", "Tape"}));
}

void tst_AudioModesModel::modeRemoved_isOneRemove()
{
    Stage stage({"Radio", "Bluetooth", "Tape"});
    stage.service->Remove("Bluetooth");
    QTRY_COMPARE_WITH_TIMEOUT(stage.hmi.journal.Entries(), (QStringList{"-1..1", "count=2"}), 30000);
    stage.service->Remove("Phone"); // not there
    Modes::Settle();
    QCOMPARE(stage.hmi.journal.Entries().size(), 2);
    QCOMPARE(stage.hmi.Names(), (QStringList{"Radio", "Tape"}));
}

void tst_AudioModesModel::modeListedTwice_hasTwoRows()
{
    Stage stage({"Radio", "Tape", "Radio"});
    QCOMPARE(stage.hmi.journal.Column(AudioModesModel::ActiveRole), (QVariantList{true, false, true}));
    stage.service->Add("Tape");
    KIV_TRY_JOURNAL(stage.hmi.journal, (QStringList{"+3..3", "count=4"}));
    stage.service->Switch("Tape");
    KIV_TRY_JOURNAL(stage.hmi.journal,
                    (QStringList{"currentMode=Tape", "0: active", "1: active", "2: active", "3: active"}));
    stage.service->Remove("Radio"); // the client removes the first
    KIV_TRY_JOURNAL(stage.hmi.journal, (QStringList{"-0..0", "count=3"}));
    QCOMPARE(stage.hmi.Names(), (QStringList{"Tape", "Radio", "Tape"}));
}

void tst_AudioModesModel::modeWithoutAName_isNeitherCurrentNorPending()
{
    Stage stage({"Radio", ""});
    QCOMPARE(stage.hmi.journal.Column(AudioModesModel::PendingRole), (QVariantList{false, false}));
    QVERIFY(stage.hmi.model.requestMode("Tape")); // waits to be offered
    QVERIFY(stage.hmi.model.cancelPending());
    QCOMPARE(stage.hmi.journal.Take(), (QStringList{"pendingMode=Tape", "pendingMode="}));
    stage.service->Switch("");
    KIV_TRY_JOURNAL(stage.hmi.journal, (QStringList{"currentMode=", "0: active"}));
    QCOMPARE(stage.hmi.journal.Column(AudioModesModel::ActiveRole), (QVariantList{false, false}));
}

void tst_AudioModesModel::modeChanged_changesTwoRowsAndNothingElse()
{
    Stage stage({"Radio", "Bluetooth", "Tape"});
    stage.service->Switch("Tape");
    KIV_TRY_JOURNAL(stage.hmi.journal, (QStringList{"currentMode=Tape", "0: active", "2: active"}));
    stage.service->Switch("Phone"); // not listed
    KIV_TRY_JOURNAL(stage.hmi.journal, (QStringList{"currentMode=Phone", "2: active"}));
}

void tst_AudioModesModel::sameModeAgain_tellsNothing()
{
    Stage stage;
    stage.service->Switch("Radio");
    Modes::Settle();
    QCOMPARE(stage.hmi.journal.Entries(), QStringList());
}

void tst_AudioModesModel::requestMode_listed_isPendingUntilAnswered()
{
    Stage stage;
    stage.service->Hold("setMode");
    QVERIFY(stage.hmi.model.requestMode("Bluetooth"));
    QCOMPARE(stage.hmi.journal.Take(), (QStringList{"pendingMode=Bluetooth", "1: pending", "busy=true"}));
    QCOMPARE(stage.hmi.journal.Column(AudioModesModel::PendingRole), (QVariantList{false, true}));
    QVERIFY(stage.service->WaitForCalls("setMode", 1));
    Modes::Settle();
    QCOMPARE(stage.hmi.journal.Take(), QStringList());
    stage.service->Release("setMode");
    KIV_TRY_JOURNAL(stage.hmi.journal, (QStringList{"pendingMode=", "1: pending", "busy=false"}));
    QCOMPARE(stage.hmi.model.currentMode(), "Radio");
    stage.service->Switch("Bluetooth");
    KIV_TRY_JOURNAL(stage.hmi.journal, (QStringList{"currentMode=Bluetooth", "0: active", "1: active"}));
    QCOMPARE(stage.service->ArgumentsOf("setMode"), QStringList{R"({"newMode":"Bluetooth","sessionId":7})"});
}

void tst_AudioModesModel::requestMode_refused_isOverWithAnError()
{
    Stage stage;
    stage.service->Answer("setMode", R"({"errCode":10})");
    QVERIFY(stage.hmi.model.requestMode("Bluetooth"));
    stage.hmi.journal.Take();
    KIV_TRY_JOURNAL(stage.hmi.journal, (QStringList{"pendingMode=", "1: pending", "busy=false",
                                                    "lastError=" + kNotSet.arg("Bluetooth")}));
}

void tst_AudioModesModel::requestMode_twoOnTheirWay_theLatestIsPending()
{
    Stage stage({"Radio", "Bluetooth", "Tape"});
    stage.service->Hold("setMode");
    QVERIFY(stage.hmi.model.requestMode("Bluetooth"));
    QVERIFY(stage.hmi.model.requestMode("Tape"));
    QCOMPARE(stage.hmi.journal.Take(), (QStringList{"pendingMode=Bluetooth", "1: pending", "busy=true",
                                                    "pendingMode=Tape", "1: pending", "2: pending"}));
    QVERIFY(stage.service->WaitForCalls("setMode", 2));
    stage.service->Release("setMode");
    QTRY_COMPARE_WITH_TIMEOUT(stage.hmi.model.isBusy(), false, 30000);
    QCOMPARE(stage.hmi.journal.Take(), (QStringList{"pendingMode=", "2: pending", "busy=false"}));
    QCOMPARE(stage.service->ArgumentsOf("setMode"), (QStringList{R"({"newMode":"Bluetooth","sessionId":7})",
                                                                 R"({"newMode":"Tape","sessionId":7})"}));
}

void tst_AudioModesModel::requestMode_unlisted_isSentWhenAdded()
{
    Stage stage;
    stage.service->Hold("setMode");
    QVERIFY(stage.hmi.model.requestMode("Tape"));
    QCOMPARE(stage.hmi.journal.Take(), QStringList{"pendingMode=Tape"});
    Modes::Settle();
    QCOMPARE(stage.service->Count("setMode"), 0);
    stage.service->Add("Tape");
    KIV_TRY_JOURNAL(stage.hmi.journal, (QStringList{"+2..2", "count=3", "busy=true"}));
    QCOMPARE(stage.hmi.journal.Column(AudioModesModel::PendingRole), (QVariantList{false, false, true}));
    QVERIFY(stage.service->WaitForCalls("setMode", 1));
    stage.service->Release("setMode");
    KIV_TRY_JOURNAL(stage.hmi.journal, (QStringList{"pendingMode=", "2: pending", "busy=false"}));
    QCOMPARE(stage.service->ArgumentsOf("setMode"), QStringList{R"({"newMode":"Tape","sessionId":7})"});
}

void tst_AudioModesModel::requestMode_unlistedAndRefused_isNotSentAgain()
{
    Stage stage;
    stage.service->Answer("setMode", R"({"errCode":10})");
    QVERIFY(stage.hmi.model.requestMode("Tape"));
    stage.service->Add("Tape");
    QTRY_COMPARE_WITH_TIMEOUT(stage.hmi.model.lastError(), kNotSet.arg("Tape"), 30000);
    QCOMPARE(stage.hmi.model.pendingMode(), "");
    stage.service->Remove("Tape");
    stage.service->Add("Tape");
    Modes::Settle();
    QCOMPARE(stage.service->Count("setMode"), 1);
    QVERIFY(!stage.hmi.model.isBusy());
}

void tst_AudioModesModel::requestMode_unlistedTwice_theLatestIsSent()
{
    Stage stage;
    QVERIFY(stage.hmi.model.requestMode("Tape"));
    QVERIFY(stage.hmi.model.requestMode("CD"));
    QCOMPARE(stage.hmi.journal.Take(), (QStringList{"pendingMode=Tape", "pendingMode=CD"}));
    stage.service->Add("Tape");
    stage.service->Add("CD");
    QVERIFY(stage.service->WaitForCalls("setMode", 1));
    QTRY_COMPARE_WITH_TIMEOUT(stage.hmi.model.isBusy(), false, 30000);
    QCOMPARE(stage.service->ArgumentsOf("setMode"), QStringList{R"({"newMode":"CD","sessionId":7})"});
    QCOMPARE(stage.hmi.model.lastError(), "");
}

// The device is not to jump to the earlier choice later.
void tst_AudioModesModel::requestMode_listedAfterUnlisted_replacesIt()
{
    Stage stage;
    QVERIFY(stage.hmi.model.requestMode("Tape"));
    QVERIFY(stage.hmi.model.requestMode("Bluetooth"));
    QCOMPARE(stage.hmi.model.pendingMode(), "Bluetooth");
    QTRY_COMPARE_WITH_TIMEOUT(stage.hmi.model.isBusy(), false, 30000);
    QCOMPARE(stage.hmi.model.pendingMode(), "");
    stage.service->Add("Tape");
    Modes::Settle();
    QCOMPARE(stage.service->ArgumentsOf("setMode"), QStringList{R"({"newMode":"Bluetooth","sessionId":7})"});
}

void tst_AudioModesModel::requestMode_withoutWhatItNeeds_isRefused()
{
    ModesService service(7, kModes);
    Modes hmi;
    QVERIFY(!hmi.model.requestMode("Radio"));
    QVERIFY(!hmi.model.cancelPending());
    QCOMPARE(hmi.journal.Take(), QStringList{"lastError=The model has not been started."});
    hmi.model.start();
    QCOMPARE(hmi.journal.Take(), QStringList{"lastError="});
    QVERIFY(!hmi.model.requestMode("Radio"));
    QCOMPARE(hmi.journal.Take(), QStringList{"lastError=The audio service is not available."});
    QVERIFY(!hmi.model.requestMode(""));
    QCOMPARE(hmi.journal.Take(), QStringList{"lastError=A mode has to have a name."});
    QVERIFY(!hmi.model.cancelPending());
    service.Appear();
    QTRY_COMPARE_WITH_TIMEOUT(hmi.model.lastError(), "", 30000);
    Modes::Settle();
    QCOMPARE(service.Count("setMode"), 0);
}

void tst_AudioModesModel::cancelPending_unlisted_sendsNothingLater()
{
    Stage stage;
    QVERIFY(stage.hmi.model.requestMode("Tape"));
    QVERIFY(stage.hmi.model.cancelPending());
    QCOMPARE(stage.hmi.journal.Take(), (QStringList{"pendingMode=Tape", "pendingMode="}));
    QVERIFY(!stage.hmi.model.cancelPending());
    stage.service->Add("Tape");
    Modes::Settle();
    QCOMPARE(stage.service->Count("setMode"), 0);
}

void tst_AudioModesModel::cancelPending_onItsWay_isNotPossible()
{
    Stage stage;
    stage.service->Hold("setMode");
    QVERIFY(stage.hmi.model.requestMode("Bluetooth"));
    QVERIFY(!stage.hmi.model.cancelPending());
    QCOMPARE(stage.hmi.model.pendingMode(), "Bluetooth");
    QVERIFY(stage.service->WaitForCalls("setMode", 1));
    stage.service->Release("setMode");
    QTRY_COMPARE_WITH_TIMEOUT(stage.hmi.model.pendingMode(), "", 30000);
}

void tst_AudioModesModel::lastError_isClearedByTheNextSuccess()
{
    Stage stage;
    QVERIFY(!stage.hmi.model.requestMode(""));
    QVERIFY(stage.hmi.model.requestMode("Bluetooth"));
    QCOMPARE(stage.hmi.model.lastError(), "A mode has to have a name.");
    QTRY_COMPARE_WITH_TIMEOUT(stage.hmi.model.lastError(), "", 30000);
    QCOMPARE(stage.service->Count("setMode"), 1);
}

void tst_AudioModesModel::restart_sameModes_tellsAvailabilityOnly()
{
    Stage stage;
    stage.Restart(kModes);
    Modes::Settle();
    QCOMPARE(stage.hmi.journal.Take(), QStringList{"available=false"});
    QCOMPARE(stage.hmi.Names(), kModes);
    QCOMPARE(stage.hmi.model.currentMode(), "Radio");
    stage.Return();
    QCOMPARE(stage.hmi.journal.Take(), QStringList{"available=true"});
    QCOMPARE(stage.service->Count("getModeList"), 1);
    stage.service->Add("Tape"); // in the new session
    KIV_TRY_JOURNAL(stage.hmi.journal, (QStringList{"+2..2", "count=3"}));
}

void tst_AudioModesModel::restart_otherModes_changesOnlyWhatIsDifferent()
{
    Stage stage({"Radio", "Bluetooth", "USB", "Tape"});
    stage.Restart({"Bluetooth", "USB", "CD", "AUX", "Tape"});
    stage.service->Hold("getMode");
    stage.Return();
    stage.service->Release("getMode");
    QTRY_COMPARE_WITH_TIMEOUT(stage.hmi.model.currentMode(), "Bluetooth", 30000);
    QCOMPARE(stage.hmi.journal.Take(), (QStringList{"available=false", "available=true", "-0..0", "+2..3",
                                                    "count=5", "currentMode=Bluetooth", "0: active"}));
    QCOMPARE(stage.hmi.Names(), (QStringList{"Bluetooth", "USB", "CD", "AUX", "Tape"}));
}

void tst_AudioModesModel::restart_requestOnItsWay_endsWithAnError()
{
    Stage stage;
    stage.service->Hold("setMode");
    QVERIFY(stage.hmi.model.requestMode("Tape")); // waits
    stage.service->Add("Tape");                   // and is sent
    QVERIFY(stage.service->WaitForCalls("setMode", 1));
    Modes::Settle();
    stage.hmi.journal.Take();
    stage.Restart({"Radio", "Bluetooth", "Tape"});
    QTRY_COMPARE_WITH_TIMEOUT(stage.hmi.model.lastError(), kNotSet.arg("Tape"), 30000);
    Modes::Settle();
    QCOMPARE(stage.hmi.journal.Entries().filter("lastError").size(), 1);
    QVERIFY(!stage.hmi.model.isBusy());
    QCOMPARE(stage.hmi.model.pendingMode(), "");
    stage.Return();
    QCOMPARE(stage.hmi.model.lastError(), "");
    QCOMPARE(stage.service->Count("setMode"), 0); // not asked for again
}

void tst_AudioModesModel::restart_unlistedRequest_isSentWhenListed()
{
    Stage stage;
    QVERIFY(stage.hmi.model.requestMode("Tape"));
    stage.Restart({"Radio", "Tape"});
    QCOMPARE(stage.hmi.model.pendingMode(), "Tape");
    stage.Return();
    QVERIFY(stage.service->WaitForCalls("setMode", 1));
    QTRY_COMPARE_WITH_TIMEOUT(stage.hmi.model.pendingMode(), "", 30000);
    QCOMPARE(stage.service->ArgumentsOf("setMode"), QStringList{R"({"newMode":"Tape","sessionId":8})"});
    QCOMPARE(stage.hmi.model.lastError(), "");
}

// What the former session offered may be gone: the service would refuse it.
void tst_AudioModesModel::restart_requestBeforeTheListIsRead_waitsForIt()
{
    Stage stage;
    stage.Restart({"Radio", "Tape"});
    stage.service->Hold("getModeList");
    stage.Return();
    QVERIFY(stage.hmi.model.requestMode("Bluetooth")); // was offered
    stage.service->Release("getModeList");
    QTRY_COMPARE_WITH_TIMEOUT(stage.hmi.Names(), (QStringList{"Radio", "Tape"}), 30000);
    Modes::Settle();
    QCOMPARE(stage.service->Count("setMode"), 0);
    QCOMPARE(stage.hmi.model.pendingMode(), "Bluetooth");
    stage.service->Add("Bluetooth");
    QVERIFY(stage.service->WaitForCalls("setMode", 1));
    QTRY_COMPARE_WITH_TIMEOUT(stage.hmi.model.isBusy(), false, 30000);
    QCOMPARE(stage.hmi.model.lastError(), "");
}

void tst_AudioModesModel::restart_modeAddedBeforeTheListIsRead_isInsertedOnce()
{
    Stage stage;
    stage.Restart({"Radio", "Bluetooth", "Tape"});
    stage.service->Hold("getModeList");
    stage.Return();
    stage.hmi.journal.Take();
    stage.service->Add("Tape");
    Modes::Settle();
    QCOMPARE(stage.hmi.journal.Entries(), QStringList());
    stage.service->Release("getModeList");
    KIV_TRY_JOURNAL(stage.hmi.journal, (QStringList{"+2..2", "count=3"}));
}

void tst_AudioModesModel::reading_refused_isTriedAgain()
{
    ModesService service(7, kModes);
    service.Answer("getModeList", R"({"errCode":1})");
    service.Appear();
    Modes hmi;
    hmi.model.start();
    QTRY_COMPARE_WITH_TIMEOUT(hmi.model.lastError(), kUnreadable, 30000);
    QVERIFY(service.WaitForCalls("getModeList", 3));
    QCOMPARE(hmi.model.lastError(), kUnreadable);
    service.Answer("getModeList", ListText("modeList", kModes));
    QTRY_COMPARE_WITH_TIMEOUT(hmi.Names(), kModes, 30000);
    QTRY_COMPARE_WITH_TIMEOUT(hmi.model.lastError(), "", 30000);
    QCOMPARE(hmi.journal.Entries().filter("lastError"),
             (QStringList{"lastError=" + kUnreadable, "lastError="}));
    const int calls = service.Count("getModeList");
    hmi.journal.Take();
    service.Add("Tape");
    QTRY_COMPARE_WITH_TIMEOUT(hmi.Names().size(), 3, 30000);
    QCOMPARE(service.Count("getModeList"), calls);
}

void tst_AudioModesModel::handOver_lateAnswersOfTheOldOwner_areIgnored()
{
    ModesService first(7, kModes);
    ModesService second(8, {"Tape", "CD"});
    for (const char* const method : {"getModeList", "getMode"}) {
        first.Hold(method);
    }
    first.AppearReplaceable();
    Modes hmi;
    hmi.model.start();
    QVERIFY(first.WaitForCalls("getMode", 1));
    second.TakeOver();
    QTRY_COMPARE_WITH_TIMEOUT(hmi.Names(), (QStringList{"Tape", "CD"}), 30000);
    QTRY_COMPARE_WITH_TIMEOUT(hmi.model.currentMode(), "Tape", 30000);
    hmi.journal.Take();
    hmi.log.Clear();
    first.Release("getModeList");
    first.Release("getMode");
    QTRY_VERIFY_WITH_TIMEOUT(hmi.log.Texts(QtDebugMsg).filter("\"Radio\"").size() >= 2, 30000);
    Modes::Settle();
    QCOMPARE(hmi.journal.Entries(), QStringList());
    QVERIFY(hmi.model.requestMode("CD")); // still listed
    QVERIFY(second.WaitForCalls("setMode", 1));
    second.Add("AUX"); // to the list that is shown
    QTRY_COMPARE_WITH_TIMEOUT(hmi.Names(), (QStringList{"Tape", "CD", "AUX"}), 30000);
}

void tst_AudioModesModel::eventsWhileReading_listIsThatOfTheAnswer()
{
    ModesService service(7, {"Radio", "Tape"});
    service.Hold("getModeList");
    service.Appear();
    Modes hmi;
    hmi.model.start();
    QVERIFY(service.WaitForCalls("getMode", 1));
    QVERIFY(hmi.model.requestMode("Tape"));
    service.Add("Tape"); // in the answer, too
    QVERIFY(service.WaitForCalls("setMode", 1));
    service.Release("getModeList");
    QTRY_COMPARE_WITH_TIMEOUT(hmi.Names(), (QStringList{"Radio", "Tape"}), 30000);
    Modes::Settle();
    QCOMPARE(service.Count("setMode"), 1);
    QCOMPARE(hmi.model.pendingMode(), "");
}

void tst_AudioModesModel::requestMode_fromASlot_isNotOverwritten()
{
    Stage stage({"Radio", "Bluetooth", "Tape"});
    stage.service->Hold("setMode");
    connect(&stage.hmi.model, &AudioModesModel::currentModeChanged, &stage.hmi.model,
            [&stage] { stage.hmi.model.requestMode("Radio"); });
    stage.service->Switch("Tape");
    QTRY_COMPARE_WITH_TIMEOUT(stage.hmi.model.pendingMode(), "Radio", 30000);
    Modes::Settle();
    QCOMPARE(stage.hmi.journal.Entries().filter("pendingMode"), QStringList{"pendingMode=Radio"});
    QCOMPARE(stage.hmi.journal.Column(AudioModesModel::PendingRole), (QVariantList{true, false, false}));
    QCOMPARE(stage.hmi.journal.Column(AudioModesModel::ActiveRole), (QVariantList{false, false, true}));
    QVERIFY(stage.hmi.model.isBusy());
}

KIV_BUS_TEST_MAIN(tst_AudioModesModel)
#include "tst_AudioModesModel.moc"
