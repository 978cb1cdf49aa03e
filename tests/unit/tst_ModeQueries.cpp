// SPDX-License-Identifier: MIT
#include "HmiFixture.h"
#include "TestMain.h"

#include <QDBusError>

using namespace KivTest;
using Audio::Utils::Kiv::QtDbus::AudioManagerHmi;

using Records = QVector<LogRecord>;
using Requests = QVector<RecordedRequest>;
using Parameters = QMap<QString, QVariant>;

namespace {

const QString kAll = R"({"destination":"all","sessionId":7})";
const QString kKitchen = R"({"destination":"kitchen","sessionId":7})";

QString MethodName(bool isList)
{
    return isList ? QStringLiteral("getModeList") : QStringLiteral("getMode");
}

/** One of the two queries, in each of its forms. */
struct Query
{
    explicit Query(AudioManagerHmi* client)
        : hmi(client)
    {
        QFETCH(bool, isList);
        m_IsList = isList;
    }

    bool Blocking(const QString& destination) const
    {
        return m_IsList ? hmi->GetModeList(destination) : hmi->GetMode(destination);
    }

    QDBusPendingReply<QString> Start(const QString& destination) const
    {
        return m_IsList ? hmi->StartGetModeListRequest(destination) : hmi->StartGetModeRequest(destination);
    }

    quint32 Async(const QString& destination) const
    {
        return m_IsList ? hmi->GetModeListAsync(destination) : hmi->GetModeAsync(destination);
    }

    bool HandleReply(bool isError, const Parameters& parameters) const
    {
        return m_IsList ? hmi->HandleGetModeListReply(isError, parameters)
                        : hmi->HandleGetModeReply(isError, parameters);
    }

    QString Method() const { return MethodName(m_IsList); }

    QString Completed() const
    {
        return m_IsList ? QStringLiteral("SignalGetModeListCompleted")
                        : QStringLiteral("SignalGetModeCompleted");
    }

    QString StartFunction() const
    {
        return m_IsList ? QStringLiteral("AudioManagerHmi::StartGetModeListRequest")
                        : QStringLiteral("AudioManagerHmi::StartGetModeRequest");
    }

    AudioManagerHmi* hmi;

private:
    bool m_IsList = false;
};

/** The records of a blocking GetModeList() that learns these lists. */
Records ListRecords(const QString& destination, const QString& arguments, const QVector<QStringList>& lists)
{
    Records records{Debug(Streamed("AudioManagerHmi::GetModeList --", destination)),
                    RequestBegins("getModeList", arguments), RequestSucceeds("getModeList")};
    for (const QStringList& modes : lists) {
        records.append(Debug(Streamed("AudioManagerHmi::GetModeList -- Mode list:", modes)));
    }
    return records;
}

/** The records of a successful blocking GetMode(). */
Records ModeRecords(const QString& destination, const QString& arguments, const Parameters& reply,
                    const QString& currentMode)
{
    return {Debug(Streamed("AudioManagerHmi::GetMode --", destination)), RequestBegins("getMode", arguments),
            RequestSucceeds("getMode"),
            Debug(Streamed("AudioManagerHmi::GetMode -- Got Result:", reply.size(), reply)),
            Debug(Streamed("AudioManagerHmi::GetMode -- Using first mode as current mode:", currentMode))};
}

/** Gives a client something to lose. */
void Teach(OpenedHmi& hmi)
{
    hmi.m_ModeList = QStringList{"Old", "Older"};
    hmi.m_CurrentModeList = QStringList{"Now", "Then"};
    hmi.m_CurrentMode = "Now";
}

void AddQueries()
{
    QTest::addColumn<bool>("isList");
    QTest::newRow("mode list") << true;
    QTest::newRow("mode") << false;
}

/** Replies, and the modes that the values of their members give in key order. */
void AddReplies()
{
    QTest::addColumn<QString>("reply");
    QTest::addColumn<QVector<QStringList>>("lists");
    using Lists = QVector<QStringList>;
    QTest::newRow("one list") << R"({"modeList":["A","B"]})" << Lists{{"A", "B"}};
    QTest::newRow("any key") << R"({"whatever":["A"]})" << Lists{{"A"}};
    QTest::newRow("several keys, in key order")
        << R"({"b":["3"],"c":["4","5"],"a":["1","2"]})" << Lists{{"1", "2"}, {"3"}, {"4", "5"}};
    QTest::newRow("duplicates") << R"({"l":["A","A"],"m":["A"]})" << Lists{{"A", "A"}, {"A"}};
    QTest::newRow("empty list") << R"({"modeList":[]})" << Lists{QStringList()};
    QTest::newRow("empty object") << "{}" << Lists{};
    QTest::newRow("not JSON") << "modes? none" << Lists{};
    QTest::newRow("empty text") << "" << Lists{};
    QTest::newRow("text") << R"({"mode":"A"})" << Lists{{"A"}};
    QTest::newRow("number and flag") << R"({"a":5,"b":true,"c":["A"]})"
                                     << Lists{QStringList(), QStringList(), {"A"}};
    QTest::newRow("null") << R"({"a":null})" << Lists{{""}};
    QTest::newRow("elements that are no texts") << R"({"l":["A",1,null]})" << Lists{{"A", "", ""}};
}

QStringList Joined(const QVector<QStringList>& lists)
{
    QStringList all;
    for (const QStringList& modes : lists) {
        all += modes;
    }
    return all;
}

} // namespace

class tst_ModeQueries : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void constructor_passesItsArgumentsOn();
    void constructor_hasLearnedNothing();
    void constructor_logsWhatItsBasesLog();
    void accessors_giveTheState();

    void handleInitialize_withoutModes_sendsNothing();
    void handleInitialize_withModes_asksForListAndMode_data();
    void handleInitialize_withModes_asksForListAndMode();
    void handleInitialize_listFails_doesNotAskForTheMode();
    void handleInitialize_modeFails_fails();
    void handleInitialize_withoutSession_fails();

    void getModeList_replacesTheList_data() { AddReplies(); }
    void getModeList_replacesTheList();
    void getModeList_sendsItsDestination();
    void getModeList_withoutSession_emptiesTheList();
    void getModeList_fails_emptiesTheList_data();
    void getModeList_fails_emptiesTheList();
    void getModeList_withoutProxy_fails();

    void getMode_takesTheFirstMode_data() { AddReplies(); }
    void getMode_takesTheFirstMode();
    void getMode_sendsItsDestination();
    void getMode_emptyList_givesAnEmptyMode();
    void getMode_repeated_accumulates();
    void getMode_afterAsync_accumulatesOnItsReply();
    void getMode_withoutSession_changesNothing();
    void getMode_fails_changesNothing_data();
    void getMode_fails_changesNothing();
    void getMode_withoutProxy_fails();

    void start_sendsTheRequest_data() { AddQueries(); }
    void start_sendsTheRequest();
    void start_withoutSession_hasFailed_data() { AddQueries(); }
    void start_withoutSession_hasFailed();
    void start_withoutProxy_hasFailed_data() { AddQueries(); }
    void start_withoutProxy_hasFailed();

    void async_sendsItsDestination_data() { AddQueries(); }
    void async_sendsItsDestination();
    void getModeListAsync_completesWithTheModes_data() { AddReplies(); }
    void getModeListAsync_completesWithTheModes();
    void getModeAsync_completesWithTheMode_data() { AddReplies(); }
    void getModeAsync_completesWithTheMode();
    void getModeAsync_repeated_doesNotAccumulate();
    void async_numbersItsRequests_data() { AddQueries(); }
    void async_numbersItsRequests();
    void async_error_completesWithFalse_data() { AddQueries(); }
    void async_error_completesWithFalse();
    void async_errCode_completesWithFalse_data() { AddQueries(); }
    void async_errCode_completesWithFalse();
    void async_withoutSession_returnsZero_data() { AddQueries(); }
    void async_withoutSession_returnsZero();
    void async_withoutProxy_returnsZero_data() { AddQueries(); }
    void async_withoutProxy_returnsZero();
    void async_refused_returnsZero_data() { AddQueries(); }
    void async_refused_returnsZero();

    void handleGetModeListReply_success_replacesTheList();
    void handleGetModeReply_success_replacesModeAndList();
    void handleGetModeReply_emptyReply_givesAnEmptyMode();
    void handleReply_error_changesNothing_data() { AddQueries(); }
    void handleReply_error_changesNothing();

private:
    static void CheckTaught(const OpenedHmi& hmi);
};

/** The client has kept what Teach() gave it. */
void tst_ModeQueries::CheckTaught(const OpenedHmi& hmi)
{
    QCOMPARE(hmi.m_ModeList, (QStringList{"Old", "Older"}));
    QCOMPARE(hmi.m_CurrentModeList, (QStringList{"Now", "Then"}));
    QCOMPARE(hmi.m_CurrentMode, "Now");
}

// Construction

void tst_ModeQueries::constructor_passesItsArgumentsOn()
{
    FakeSurroundings fakes;
    QObject parent;
    for (const bool getModes : {true, false}) {
        const OpenedHmi hmi(fakes.registrator, "/prefix", fakes.connection, "kitchen", fakes.factory,
                            getModes, &parent);
        QCOMPARE(hmi.m_ServiceName, "com.quorvantel.service.AudioManagement");
        QCOMPARE(hmi.m_DbusName, kClientName);
        QCOMPARE(hmi.m_ObjPath, "/prefix/ServiceProviderClient");
        QCOMPARE(hmi.m_Destination, "kitchen");
        QCOMPARE(hmi.m_GetModesOnInitialize, getModes);
        QCOMPARE(hmi.parent(), &parent);
        QCOMPARE(hmi.metaObject()->className(), "Audio::Utils::Kiv::QtDbus::AudioManagerHmi");
    }
    QVERIFY(fakes.factory.Parents().isEmpty());
    QVERIFY(fakes.connection.Exports().isEmpty());
}

void tst_ModeQueries::constructor_hasLearnedNothing()
{
    FakeSurroundings fakes;
    const OpenedHmi hmi(fakes.registrator, kClientPath, fakes.connection, "", fakes.factory, true);
    QVERIFY(hmi.m_CurrentMode.isNull());
    QVERIFY(hmi.m_CurrentModeList.isEmpty());
    QVERIFY(hmi.m_ModeList.isEmpty());
    QCOMPARE(hmi.m_PendingSetModeRequestId, 0u);
    QVERIFY(hmi.m_PendingMode.isNull());
    QCOMPARE(hmi.m_SessionId, 0u);
    QCOMPARE(hmi.m_RequestId, 0u);
    QCOMPARE(hmi.m_InitState, AudioManagerHmi::INIT_STATE_NOT_CALLED);
    QVERIFY(hmi.m_ServiceProxy == nullptr);
    QVERIFY(hmi.parent() == nullptr);
}

void tst_ModeQueries::constructor_logsWhatItsBasesLog()
{
    FakeSurroundings fakes;
    const LogCapture log;
    const OpenedHmi hmi(fakes.registrator, kClientPath, fakes.connection, "kitchen", fakes.factory, true);
    QCOMPARE(log.Records(),
             (Records{Debug("KivBaseClient::KivBaseClient --  \n   m_ServiceName: "
                            "\"com.quorvantel.service.AudioManagement\""),
                      Debug("ServiceProviderClient::ServiceProviderClient --  "
                            "\n   m_DbusName: \"com.quorvantel.audioclient.test\" "
                            "\n   m_ObjPath: \"/com/quorvantel/audioclient/test/ServiceProviderClient\" "
                            "\n   m_Destination: \"kitchen\" "
                            "\n   m_SessionId: 0")}));
}

void tst_ModeQueries::accessors_giveTheState()
{
    const HmiFixture f;
    Teach(*f.hmi);
    f.hmi->m_PendingMode = "Later";
    f.hmi->m_PendingSetModeRequestId = 11;
    QCOMPARE(f.hmi->ModeList(), (QStringList{"Old", "Older"}));
    QCOMPARE(f.hmi->CurrentMode(), "Now");
    QCOMPARE(f.hmi->PendingMode(), "Later");
    QCOMPARE(f.hmi->PendingSetModeRequestId(), 11u);
    QCOMPARE(f.hmi->SessionId(), 7u);
    QVERIFY(f.log.Records().isEmpty());
}

// Initialisation

void tst_ModeQueries::handleInitialize_withoutModes_sendsNothing()
{
    HmiFixture f;
    Teach(*f.hmi);
    QVERIFY(f.hmi->HandleInitialize());
    QCOMPARE(f.Requests(), Requests{});
    QCOMPARE(f.TakeRecords(), Records{Debug("AudioManagerHmi::HandleInitialize")});
    QCOMPARE(f.heard.List(), QStringList());
    CheckTaught(*f.hmi);
}

void tst_ModeQueries::handleInitialize_withModes_asksForListAndMode_data()
{
    QTest::addColumn<QString>("destination");
    QTest::addColumn<QString>("arguments");
    QTest::newRow("all") << "" << kAll;
    QTest::newRow("one") << "kitchen" << kKitchen;
}

void tst_ModeQueries::handleInitialize_withModes_asksForListAndMode()
{
    QFETCH(QString, destination);
    QFETCH(QString, arguments);
    HmiFixture f(7, {}, destination, true);
    f.Exchange().Answer("getModeList", R"({"modeList":["A","B"]})");
    f.Exchange().Answer("getMode", R"({"currentMode":["B"]})");

    QVERIFY(f.hmi->HandleInitialize());

    QCOMPARE(f.Requests(), (Requests{{true, "getModeList", arguments}, {true, "getMode", arguments}}));
    QCOMPARE(f.TakeRecords(),
             Records{Debug("AudioManagerHmi::HandleInitialize")} +
                 ListRecords(destination, arguments, {{"A", "B"}}) +
                 ModeRecords(destination, arguments, {{"currentMode", QStringList{"B"}}}, "B"));
    QCOMPARE(f.hmi->m_ModeList, (QStringList{"A", "B"}));
    QCOMPARE(f.hmi->m_CurrentModeList, QStringList{"B"});
    QCOMPARE(f.hmi->m_CurrentMode, "B");
    QCOMPARE(f.heard.List(), QStringList());
}

void tst_ModeQueries::handleInitialize_listFails_doesNotAskForTheMode()
{
    HmiFixture f(7, {}, "", true);
    f.Exchange().Fail("getModeList", "no");

    QVERIFY(!f.hmi->HandleInitialize());

    QCOMPARE(f.Requests(), (Requests{{true, "getModeList", kAll}}));
    QCOMPARE(
        f.TakeRecords(),
        (Records{Debug("AudioManagerHmi::HandleInitialize"), Debug("AudioManagerHmi::GetModeList -- \"\""),
                 RequestBegins("getModeList", kAll), RequestFails("getModeList", kAll, kFailure),
                 Critical("AudioManagerHmi::GetModeList -- GetModeList call failed")}));
    QCOMPARE(f.heard.List(), QStringList());
}

void tst_ModeQueries::handleInitialize_modeFails_fails()
{
    HmiFixture f(7, {}, "", true);
    f.Exchange().Answer("getModeList", R"({"modeList":["A"]})");
    f.Exchange().Fail("getMode", "no");

    QVERIFY(!f.hmi->HandleInitialize());

    QCOMPARE(f.Requests(), (Requests{{true, "getModeList", kAll}, {true, "getMode", kAll}}));
    QCOMPARE(f.TakeRecords(),
             Records{Debug("AudioManagerHmi::HandleInitialize")} + ListRecords("", kAll, {{"A"}}) +
                 (Records{Debug("AudioManagerHmi::GetMode -- \"\""), RequestBegins("getMode", kAll),
                          RequestFails("getMode", kAll, kFailure),
                          Critical("AudioManagerHmi::GetMode -- Failed to call getMode to Kiv server")}));
    QCOMPARE(f.hmi->m_ModeList, QStringList{"A"});
    QCOMPARE(f.heard.List(), QStringList());
}

void tst_ModeQueries::handleInitialize_withoutSession_fails()
{
    HmiFixture f(0, {}, "", true);
    QVERIFY(!f.hmi->HandleInitialize());
    QCOMPARE(f.Requests(), Requests{});
    QCOMPARE(
        f.TakeRecords(),
        (Records{Debug("AudioManagerHmi::HandleInitialize"), Debug("AudioManagerHmi::GetModeList -- \"\""),
                 Critical("AudioManagerHmi::GetModeList -- Error - Invalid session id")}));
}

// GetModeList, blocking

void tst_ModeQueries::getModeList_replacesTheList()
{
    QFETCH(QString, reply);
    QFETCH(QVector<QStringList>, lists);
    HmiFixture f;
    Teach(*f.hmi);
    f.Exchange().Answer("getModeList", reply);

    QVERIFY(f.hmi->GetModeList(""));

    QCOMPARE(f.hmi->m_ModeList, Joined(lists));
    QCOMPARE(f.hmi->m_CurrentModeList, (QStringList{"Now", "Then"}));
    QCOMPARE(f.hmi->m_CurrentMode, "Now");
    QCOMPARE(f.Requests(), (Requests{{true, "getModeList", kAll}}));
    QCOMPARE(f.TakeRecords(), ListRecords("", kAll, lists));
    QCOMPARE(f.heard.List(), QStringList());
    QCOMPARE(f.hmi->m_RequestId, 0u);
}

void tst_ModeQueries::getModeList_sendsItsDestination()
{
    HmiFixture f(7, {}, "cabin");
    QVERIFY(f.hmi->GetModeList("kitchen"));
    QVERIFY(f.hmi->GetModeList(""));
    QCOMPARE(f.Requests(), (Requests{{true, "getModeList", kKitchen}, {true, "getModeList", kAll}}));
    QCOMPARE(f.TakeRecords(), ListRecords("kitchen", kKitchen, {}) + ListRecords("", kAll, {}));
}

void tst_ModeQueries::getModeList_withoutSession_emptiesTheList()
{
    HmiFixture f(0);
    Teach(*f.hmi);
    QVERIFY(!f.hmi->GetModeList("kitchen"));
    QCOMPARE(f.hmi->m_ModeList, QStringList());
    QCOMPARE(f.hmi->m_CurrentMode, "Now");
    QCOMPARE(f.Requests(), Requests{});
    QCOMPARE(f.TakeRecords(),
             (Records{Debug("AudioManagerHmi::GetModeList -- \"kitchen\""),
                      Critical("AudioManagerHmi::GetModeList -- Error - Invalid session id")}));
    QCOMPARE(f.heard.List(), QStringList());
}

void tst_ModeQueries::getModeList_fails_emptiesTheList_data()
{
    QTest::addColumn<QString>("reply");
    QTest::newRow("D-Bus error") << kFailure;
    QTest::newRow("errCode") << R"({"errCode":5,"modeList":["A"]})";
    QTest::newRow("errCode in a text") << R"({"modeList":["errCode"]})";
}

void tst_ModeQueries::getModeList_fails_emptiesTheList()
{
    QFETCH(QString, reply);
    HmiFixture f;
    Teach(*f.hmi);
    f.Exchange().Answer("getModeList", reply);

    QVERIFY(!f.hmi->GetModeList(""));

    QCOMPARE(f.hmi->m_ModeList, QStringList());
    QCOMPARE(f.hmi->m_CurrentMode, "Now");
    QCOMPARE(f.Requests(), (Requests{{true, "getModeList", kAll}}));
    QCOMPARE(f.TakeRecords(),
             (Records{Debug("AudioManagerHmi::GetModeList -- \"\""), RequestBegins("getModeList", kAll),
                      RequestFails("getModeList", kAll, reply),
                      Critical("AudioManagerHmi::GetModeList -- GetModeList call failed")}));
    QCOMPARE(f.heard.List(), QStringList());
}

void tst_ModeQueries::getModeList_withoutProxy_fails()
{
    HmiFixture f;
    f.hmi->Powerdown();
    f.hmi->m_SessionId = 7;
    f.log.Clear();
    QVERIFY(!f.hmi->GetModeList(""));
    QCOMPARE(
        f.TakeRecords(),
        (Records{Debug("AudioManagerHmi::GetModeList -- \"\""), RequestBegins("getModeList", kAll),
                 Critical("KivBaseClient::ServiceRequest -- Invalid Kiv Audio manager service proxy object!"),
                 Critical("AudioManagerHmi::GetModeList -- GetModeList call failed")}));
}

// GetMode, blocking

void tst_ModeQueries::getMode_takesTheFirstMode()
{
    QFETCH(QString, reply);
    QFETCH(QVector<QStringList>, lists);
    HmiFixture f;
    f.hmi->m_ModeList = QStringList{"Old", "Older"};
    f.Exchange().Answer("getMode", reply);

    QVERIFY(f.hmi->GetMode(""));

    const QStringList all = Joined(lists);
    QCOMPARE(f.hmi->m_CurrentModeList, all);
    QCOMPARE(f.hmi->m_CurrentMode, all.value(0));
    QCOMPARE(f.hmi->m_ModeList, (QStringList{"Old", "Older"}));
    QCOMPARE(f.Requests(), (Requests{{true, "getMode", kAll}}));
    QCOMPARE(f.TakeRecords().mid(4),
             Records{Debug(
                 Streamed("AudioManagerHmi::GetMode -- Using first mode as current mode:", all.value(0)))});
    QCOMPARE(f.heard.List(), QStringList());
    QCOMPARE(f.hmi->m_RequestId, 0u);
}

void tst_ModeQueries::getMode_sendsItsDestination()
{
    HmiFixture f(7, {}, "cabin");
    f.Exchange().Answer("getMode", R"({"b":["B"],"a":"A"})");
    const Parameters reply{{"a", "A"}, {"b", QStringList{"B"}}};
    QVERIFY(f.hmi->GetMode("kitchen"));
    QVERIFY(f.hmi->GetMode(""));
    QCOMPARE(f.Requests(), (Requests{{true, "getMode", kKitchen}, {true, "getMode", kAll}}));
    const Records records = f.TakeRecords();
    QCOMPARE(records, ModeRecords("kitchen", kKitchen, reply, "A") + ModeRecords("", kAll, reply, "A"));
    QCOMPARE(records.value(3).text,
             "AudioManagerHmi::GetMode -- Got Result: 2 QMap((\"a\", QVariant(QString, \"A\"))(\"b\", "
             "QVariant(QStringList, (\"B\"))))");
}

void tst_ModeQueries::getMode_emptyList_givesAnEmptyMode()
{
    HmiFixture f;
    f.hmi->m_CurrentMode = "Now";
    f.Exchange().Answer("getMode", R"({"currentMode":[]})");
    QVERIFY(f.hmi->GetMode(""));
    QCOMPARE(f.hmi->m_CurrentMode, "");
    QVERIFY(!f.hmi->m_CurrentMode.isNull());
    QCOMPARE(f.TakeRecords(), ModeRecords("", kAll, {{"currentMode", QStringList()}}, ""));
}

void tst_ModeQueries::getMode_repeated_accumulates()
{
    HmiFixture f;
    f.Exchange().Answer("getMode", R"({"currentMode":["A"]})");
    QVERIFY(f.hmi->GetMode(""));
    f.Exchange().Answer("getMode", R"({"currentMode":["B"]})");
    QVERIFY(f.hmi->GetMode(""));
    QCOMPARE(f.hmi->m_CurrentModeList, (QStringList{"A", "B"}));
    QCOMPARE(f.hmi->m_CurrentMode, "A");
    QCOMPARE(f.TakeRecords(), ModeRecords("", kAll, {{"currentMode", QStringList{"A"}}}, "A") +
                                  ModeRecords("", kAll, {{"currentMode", QStringList{"B"}}}, "A"));
    QCOMPARE(f.heard.List(), QStringList());
}

void tst_ModeQueries::getMode_afterAsync_accumulatesOnItsReply()
{
    HmiFixture f;
    f.Exchange().Answer("getMode", R"({"currentMode":["A"]})");
    QCOMPARE(f.hmi->GetModeAsync(""), 1u);
    QVERIFY(f.WaitForSignals(1));
    f.Exchange().Answer("getMode", R"({"currentMode":["B"]})");
    QVERIFY(f.hmi->GetMode(""));
    QCOMPARE(f.hmi->m_CurrentModeList, (QStringList{"A", "B"}));
    QCOMPARE(f.hmi->m_CurrentMode, "A");
}

void tst_ModeQueries::getMode_withoutSession_changesNothing()
{
    HmiFixture f(0);
    Teach(*f.hmi);
    QVERIFY(!f.hmi->GetMode("kitchen"));
    CheckTaught(*f.hmi);
    QCOMPARE(f.Requests(), Requests{});
    QCOMPARE(f.TakeRecords(),
             (Records{Debug("AudioManagerHmi::GetMode -- \"kitchen\""),
                      Critical("AudioManagerHmi::GetMode -- Kiv service provider session id error")}));
    QCOMPARE(f.heard.List(), QStringList());
}

void tst_ModeQueries::getMode_fails_changesNothing_data()
{
    getModeList_fails_emptiesTheList_data();
}

void tst_ModeQueries::getMode_fails_changesNothing()
{
    QFETCH(QString, reply);
    HmiFixture f;
    Teach(*f.hmi);
    f.Exchange().Answer("getMode", reply);

    QVERIFY(!f.hmi->GetMode(""));

    CheckTaught(*f.hmi);
    QCOMPARE(f.Requests(), (Requests{{true, "getMode", kAll}}));
    QCOMPARE(f.TakeRecords(),
             (Records{Debug("AudioManagerHmi::GetMode -- \"\""), RequestBegins("getMode", kAll),
                      RequestFails("getMode", kAll, reply),
                      Critical("AudioManagerHmi::GetMode -- Failed to call getMode to Kiv server")}));
    QCOMPARE(f.heard.List(), QStringList());
}

void tst_ModeQueries::getMode_withoutProxy_fails()
{
    HmiFixture f;
    f.hmi->Powerdown();
    f.hmi->m_SessionId = 7;
    f.log.Clear();
    QVERIFY(!f.hmi->GetMode(""));
    QCOMPARE(
        f.TakeRecords(),
        (Records{Debug("AudioManagerHmi::GetMode -- \"\""), RequestBegins("getMode", kAll),
                 Critical("KivBaseClient::ServiceRequest -- Invalid Kiv Audio manager service proxy object!"),
                 Critical("AudioManagerHmi::GetMode -- Failed to call getMode to Kiv server")}));
}

// The Start functions

void tst_ModeQueries::start_sendsTheRequest()
{
    HmiFixture f;
    Teach(*f.hmi);
    const Query query(f.hmi);
    f.Exchange().Answer(query.Method(), R"({"l":["A"]})");

    const QDBusPendingReply<QString> reply = query.Start("kitchen");
    QTRY_VERIFY(reply.isFinished());

    QVERIFY(!reply.isError());
    QCOMPARE(reply.value(), R"({"l":["A"]})");
    QCOMPARE(f.Requests(), (Requests{{false, query.Method(), kKitchen}}));
    QCOMPARE(f.TakeRecords(), Records{});
    QCOMPARE(f.heard.List(), QStringList());
    QCOMPARE(f.hmi->m_RequestId, 0u);
    CheckTaught(*f.hmi);
}

void tst_ModeQueries::start_withoutSession_hasFailed()
{
    HmiFixture f(0);
    Teach(*f.hmi);
    const Query query(f.hmi);
    const QDBusPendingReply<QString> reply = query.Start("kitchen");
    QVERIFY(reply.isFinished());
    QVERIFY(reply.isError());
    QCOMPARE(reply.error().type(), QDBusError::Other);
    QCOMPARE(reply.error().message(), "Session is already open");
    QCOMPARE(f.Requests(), Requests{});
    QCOMPARE(f.TakeRecords(), Records{Critical(query.StartFunction() + " -- Session is not open")});
    QCOMPARE(f.heard.List(), QStringList());
    CheckTaught(*f.hmi);
}

void tst_ModeQueries::start_withoutProxy_hasFailed()
{
    HmiFixture f;
    f.hmi->Powerdown();
    f.hmi->m_SessionId = 7;
    f.log.Clear();
    const QDBusPendingReply<QString> reply = Query(f.hmi).Start("kitchen");
    QVERIFY(reply.isError());
    QCOMPARE(reply.error().type(), QDBusError::Failed);
    QCOMPARE(reply.error().message(), "Missing KIv service proxy");
    QCOMPARE(f.TakeRecords(), Records{Critical("KivBaseClient::StartRequest -- Missing KIv service proxy")});
}

// The asynchronous forms

void tst_ModeQueries::async_sendsItsDestination()
{
    HmiFixture f(7, {}, "cabin");
    const Query query(f.hmi);
    QCOMPARE(query.Async("kitchen"), 1u);
    QCOMPARE(query.Async(""), 2u);
    QVERIFY(f.WaitForSignals(2));
    QCOMPARE(f.Requests(), (Requests{{false, query.Method(), kKitchen}, {false, query.Method(), kAll}}));
}

void tst_ModeQueries::getModeListAsync_completesWithTheModes()
{
    QFETCH(QString, reply);
    QFETCH(QVector<QStringList>, lists);
    HmiFixture f;
    Teach(*f.hmi);
    f.Exchange().Answer("getModeList", reply);

    QCOMPARE(f.hmi->GetModeListAsync(""), 1u);
    CheckTaught(*f.hmi);
    QCOMPARE(f.heard.List(), QStringList());
    QVERIFY(f.WaitForSignals(1));

    QCOMPARE(f.heard.List(), QStringList{"SignalGetModeListCompleted 1 true"});
    QCOMPARE(f.hmi->m_ModeList, Joined(lists));
    QCOMPARE(f.hmi->m_CurrentModeList, (QStringList{"Now", "Then"}));
    QCOMPARE(f.hmi->m_CurrentMode, "Now");
    QCOMPARE(f.Requests(), (Requests{{false, "getModeList", kAll}}));
    QCOMPARE(f.TakeRecords(), Records{Debug(Streamed("AudioManagerHmi::HandleGetModeListReply -- Mode list:",
                                                     Joined(lists)))});
}

void tst_ModeQueries::getModeAsync_completesWithTheMode()
{
    QFETCH(QString, reply);
    QFETCH(QVector<QStringList>, lists);
    HmiFixture f;
    Teach(*f.hmi);
    f.Exchange().Answer("getMode", reply);

    QCOMPARE(f.hmi->GetModeAsync(""), 1u);
    CheckTaught(*f.hmi);
    QCOMPARE(f.heard.List(), QStringList());
    QVERIFY(f.WaitForSignals(1));

    const QStringList all = Joined(lists);
    QCOMPARE(f.heard.List(), QStringList{"SignalGetModeCompleted 1 true"});
    QCOMPARE(f.hmi->m_CurrentModeList, all);
    QCOMPARE(f.hmi->m_CurrentMode, all.value(0));
    QCOMPARE(f.hmi->m_ModeList, (QStringList{"Old", "Older"}));
    QCOMPARE(f.Requests(), (Requests{{false, "getMode", kAll}}));
    QCOMPARE(
        f.TakeRecords(),
        (Records{Debug(Streamed("AudioManagerHmi::HandleGetModeReply -- Current mode list:", all)),
                 Debug(Streamed("AudioManagerHmi::HandleGetModeReply -- Current mode:", all.value(0)))}));
}

void tst_ModeQueries::getModeAsync_repeated_doesNotAccumulate()
{
    HmiFixture f;
    f.Exchange().Answer("getMode", R"({"currentMode":["A"]})");
    QCOMPARE(f.hmi->GetModeAsync(""), 1u);
    QVERIFY(f.WaitForSignals(1));
    f.Exchange().Answer("getMode", R"({"currentMode":["B"]})");
    QCOMPARE(f.hmi->GetModeAsync(""), 2u);
    QVERIFY(f.WaitForSignals(2));
    QCOMPARE(f.hmi->m_CurrentModeList, QStringList{"B"});
    QCOMPARE(f.hmi->m_CurrentMode, "B");
    QCOMPARE(f.heard.List(), (QStringList{"SignalGetModeCompleted 1 true", "SignalGetModeCompleted 2 true"}));
}

void tst_ModeQueries::async_numbersItsRequests()
{
    HmiFixture f;
    f.hmi->m_RequestId = 40;
    // A stored request has no part in it.
    f.hmi->m_PendingSetModeRequestId = 33;
    f.hmi->m_PendingMode = "all";
    const Query query(f.hmi);
    QCOMPARE(query.Async("all"), 41u);
    QCOMPARE(query.Async("all"), 42u);
    QVERIFY(f.WaitForSignals(2));
    QCOMPARE(f.heard.List(), (QStringList{query.Completed() + " 41 true", query.Completed() + " 42 true"}));
    QCOMPARE(f.hmi->m_PendingSetModeRequestId, 33u);
    QCOMPARE(f.hmi->m_PendingMode, "all");
}

void tst_ModeQueries::async_error_completesWithFalse()
{
    HmiFixture f;
    Teach(*f.hmi);
    const Query query(f.hmi);
    f.Exchange().Fail(query.Method(), "no such thing");

    QCOMPARE(query.Async(""), 1u);
    QVERIFY(f.WaitForSignals(1));

    QCOMPARE(f.heard.List(), QStringList{query.Completed() + " 1 false"});
    CheckTaught(*f.hmi);
    QCOMPARE(f.TakeRecords(),
             (Records{Critical("KivBaseClient::HandleReply -- Received error: "
                               "QDBusError(\"org.freedesktop.DBus.Error.Failed\", \"no such thing\")"),
                      Warning("AudioManagerHmi::HandleSetModeReply -- Request failed with reply QMap()")}));
}

void tst_ModeQueries::async_errCode_completesWithFalse()
{
    HmiFixture f;
    Teach(*f.hmi);
    const Query query(f.hmi);
    f.Exchange().Answer(query.Method(), R"({"modes":["A"],"errCode":5})");

    QCOMPARE(query.Async(""), 1u);
    QVERIFY(f.WaitForSignals(1));

    QCOMPARE(f.heard.List(), QStringList{query.Completed() + " 1 false"});
    CheckTaught(*f.hmi);
    QCOMPARE(
        f.TakeRecords(),
        (Records{
            Critical("KivBaseClient::HandleReply -- Received error code: QVariant(int, 5)"),
            Warning("AudioManagerHmi::HandleSetModeReply -- Request failed with reply "
                    "QMap((\"errCode\", QVariant(int, 5))(\"modes\", QVariant(QStringList, (\"A\"))))")}));
}

void tst_ModeQueries::async_withoutSession_returnsZero()
{
    HmiFixture f(0);
    Teach(*f.hmi);
    const Query query(f.hmi);
    QCOMPARE(query.Async(""), 0u);
    QVERIFY(f.WaitForSilence());
    QCOMPARE(f.heard.List(), QStringList());
    QCOMPARE(f.Requests(), (Requests{{false, "last", "{}"}}));
    QCOMPARE(f.TakeRecords(), Records{Critical(query.StartFunction() + " -- Session is not open")});
    QCOMPARE(f.hmi->m_RequestId, 0u);
    CheckTaught(*f.hmi);
}

void tst_ModeQueries::async_withoutProxy_returnsZero()
{
    HmiFixture f;
    f.hmi->Powerdown();
    f.hmi->m_SessionId = 7;
    f.log.Clear();
    QCOMPARE(Query(f.hmi).Async(""), 0u);
    QCOMPARE(f.TakeRecords(), Records{Critical("KivBaseClient::StartRequest -- Missing KIv service proxy")});
    QCOMPARE(f.heard.List(), QStringList());
    QCOMPARE(f.hmi->m_RequestId, 0u);
}

void tst_ModeQueries::async_refused_returnsZero()
{
    HmiFixture f;
    Teach(*f.hmi);
    const Query query(f.hmi);
    f.Exchange().Refuse(query.Method(), "not now");
    QCOMPARE(query.Async(""), 0u);
    QVERIFY(f.WaitForSilence());
    QCOMPARE(f.heard.List(), QStringList());
    QCOMPARE(f.Requests(), (Requests{{false, query.Method(), kAll}, {false, "last", "{}"}}));
    QCOMPARE(f.TakeRecords(), Records{});
    QCOMPARE(f.hmi->m_RequestId, 0u);
    CheckTaught(*f.hmi);
}

// The reply functions

void tst_ModeQueries::handleGetModeListReply_success_replacesTheList()
{
    HmiFixture f;
    Teach(*f.hmi);
    QVERIFY(f.hmi->HandleGetModeListReply(false, {{"b", QStringList{"3"}}, {"a", QStringList{"1", "2"}}}));
    QCOMPARE(f.hmi->m_ModeList, (QStringList{"1", "2", "3"}));
    QCOMPARE(f.hmi->m_CurrentModeList, (QStringList{"Now", "Then"}));
    QCOMPARE(f.TakeRecords(),
             Records{Debug("AudioManagerHmi::HandleGetModeListReply -- Mode list: (\"1\", \"2\", \"3\")")});
    QCOMPARE(f.heard.List(), QStringList());
}

void tst_ModeQueries::handleGetModeReply_success_replacesModeAndList()
{
    HmiFixture f;
    Teach(*f.hmi);
    QVERIFY(f.hmi->HandleGetModeReply(false, {{"b", QStringList{"3"}}, {"a", QStringList{"1", "2"}}}));
    QCOMPARE(f.hmi->m_CurrentModeList, (QStringList{"1", "2", "3"}));
    QCOMPARE(f.hmi->m_CurrentMode, "1");
    QCOMPARE(f.hmi->m_ModeList, (QStringList{"Old", "Older"}));
    QCOMPARE(
        f.TakeRecords(),
        (Records{Debug("AudioManagerHmi::HandleGetModeReply -- Current mode list: (\"1\", \"2\", \"3\")"),
                 Debug("AudioManagerHmi::HandleGetModeReply -- Current mode: \"1\"")}));
    QCOMPARE(f.heard.List(), QStringList());
}

void tst_ModeQueries::handleGetModeReply_emptyReply_givesAnEmptyMode()
{
    HmiFixture f;
    Teach(*f.hmi);
    QVERIFY(f.hmi->HandleGetModeReply(false, {}));
    QCOMPARE(f.hmi->m_CurrentModeList, QStringList());
    QCOMPARE(f.hmi->m_CurrentMode, "");
    QVERIFY(!f.hmi->m_CurrentMode.isNull());
}

void tst_ModeQueries::handleReply_error_changesNothing()
{
    HmiFixture f;
    Teach(*f.hmi);
    QVERIFY(!Query(f.hmi).HandleReply(true, {{"k", 5}, {"l", QStringList{"A"}}}));
    CheckTaught(*f.hmi);
    QCOMPARE(f.TakeRecords(),
             Records{Warning("AudioManagerHmi::HandleSetModeReply -- Request failed with reply "
                             "QMap((\"k\", QVariant(int, 5))(\"l\", QVariant(QStringList, (\"A\"))))")});
    QCOMPARE(f.heard.List(), QStringList());
}

KIV_UNIT_TEST_MAIN(tst_ModeQueries)
#include "tst_ModeQueries.moc"
