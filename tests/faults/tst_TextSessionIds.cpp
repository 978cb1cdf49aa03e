// SPDX-License-Identifier: MIT
#include "BothClients.h"
#include "LogTexts.h"
#include "TestMain.h"

#include <functional>

using namespace KivTest;
using namespace Audio::Utils::Kiv::QtDbus;

namespace {

using Client = ServiceProviderClient;

/** The members of an answer or call as they stand in the text, and the session identifier that they amount to. */
void AddIdentifiers()
{
    QTest::addColumn<QString>("member");
    QTest::addColumn<quint32>("identifier");
    const auto add = [](const char* value, quint32 identifier) {
        QTest::newRow(value) << R"("sessionId":)" + QString::fromUtf8(value) << identifier;
    };
    add("1", 1);
    add("0", 0);
    add("2147483647", 2147483647);
    // From here on another identifier than the service's own.
    add("2147483648", 2147483647);
    add("4294967295", 2147483647);
    add("4294967303", 2147483647);
    add("1e300", 2147483647);
    add("-1", 4294967295);
    add("-2147483648", 2147483648);
    add("-1e300", 2147483648);
    add("7.9", 7);
    add("0.9", 0);
    add("-0.9", 0);
    add("1e-300", 0);
    add("7e0", 7);
    add("true", 1);
    add("false", 0);
    add("null", 0);
    add("{}", 0);
    add(R"({"sessionId":7})", 0);
    add("[]", 0);
    add("[7]", 0);
    add(R"("7")", 7);
    add(R"(" 7 ")", 7);
    add(R"("+7")", 7);
    add(R"("007")", 7);
    add(R"("4294967295")", 4294967295);
    add(R"("4294967296")", 0);
    add(R"("-7")", 0);
    add(R"("7.0")", 0);
    add(R"("7e0")", 0);
    add(R"("0x7")", 0);
    add(R"("seven")", 0);
    add(R"("")", 0);
    add(R"("٧")", 0);
    QTest::newRow("twice") << R"("sessionId":7,"sessionId":9)" << 9u;
    QTest::newRow("twice, then null") << R"("sessionId":7,"sessionId":null)" << 0u;
    QTest::newRow("escaped key") << R"("\u0073essionId":7)" << 7u;
}

} // namespace

class tst_TextSessionIds : public QObject
{
    Q_OBJECT

private:
    static void CheckOpening(const std::function<bool(Client&)>& open);

private Q_SLOTS:
    void openSession_blocking_data() { AddIdentifiers(); }
    void openSession_blocking();
    void openSession_async_data() { AddIdentifiers(); }
    void openSession_async();
    void openSession_withoutIdentifier_opensNone_data();
    void openSession_withoutIdentifier_opensNone();
    void call_isAcceptedWithTheIdentifierThatWasOpened_data() { AddIdentifiers(); }
    void call_isAcceptedWithTheIdentifierThatWasOpened();
    void call_withAnotherIdentifier_isRefused_data() { AddIdentifiers(); }
    void call_withAnotherIdentifier_isRefused();
};

/** Opens a session of either client, and sees under which identifier it is used and closed. */
void tst_TextSessionIds::CheckOpening(const std::function<bool(Client&)>& open)
{
    QFETCH(QString, member);
    QFETCH(quint32, identifier);
    BothClients on;
    on.service->Answer("openSession", '{' + member + '}');
    QStringList closings;
    for (Client* const client : {static_cast<Client*>(on.hmi.data()), static_cast<Client*>(on.app.data())}) {
        client->HandleCloseSessionReply(false, {});

        QCOMPARE(open(*client), identifier != 0);

        QCOMPARE(client->SessionId(), identifier);
        client->CloseSession();
        closings +=
            identifier != 0 ? QStringList(QString(R"({"sessionId":%1})").arg(identifier)) : QStringList();
    }
    QCOMPARE(on.service->ArgumentsOf("closeSession"), closings);
    QCOMPARE(on.log.Complaints(), QVector<LogRecord>());
}

void tst_TextSessionIds::openSession_blocking()
{
    CheckOpening([](Client& client) { return client.OpenSession(); });
}

void tst_TextSessionIds::openSession_async()
{
    CheckOpening([](Client& client) {
        QSignalSpy completed(&client, &Client::SignalOpenSessionCompleted);
        const quint32 requestId = client.OpenSessionAsync();
        const bool isComplete = completed.wait(30000) && completed.size() == 1;
        return isComplete && completed.first() == QVariantList({requestId, true});
    });
}

void tst_TextSessionIds::openSession_withoutIdentifier_opensNone_data()
{
    QTest::addColumn<QString>("answer");
    for (const char* answer : {"{}", "", R"({"sessionid":7})", R"({"SessionId":7})", R"({"sessionId ":7})",
                               R"({"session":{"sessionId":7}})", R"([{"sessionId":7}])", R"(["sessionId",7])",
                               "7", R"("sessionId")"}) {
        QTest::newRow(answer) << answer;
    }
}

void tst_TextSessionIds::openSession_withoutIdentifier_opensNone()
{
    QFETCH(QString, answer);
    BothClients on;
    on.service->Answer("openSession", answer);
    on.app->HandleCloseSessionReply(false, {});
    QSignalSpy completed(on.app.data(), &Client::SignalOpenSessionCompleted);

    QCOMPARE(on.app->OpenSession(), false);
    QCOMPARE(on.log.Complaints(), QVector<LogRecord>());
    QCOMPARE(on.app->OpenSessionAsync(), 1u);
    QTRY_COMPARE(completed, QList<QVariantList>({{1u, false}}));

    QCOMPARE(
        on.log.Complaints(),
        QVector<LogRecord>{Critical(
            R"(ServiceProviderClient::HandleOpenSessionReply -- Reply does not contain key "sessionId")")});
    QCOMPARE(on.app->SessionId(), 0u);
}

void tst_TextSessionIds::call_isAcceptedWithTheIdentifierThatWasOpened()
{
    QFETCH(QString, member);
    QFETCH(quint32, identifier);
    BothClients on;
    on.hmi->m_SessionId = identifier;
    on.app->m_SessionId = identifier;

    QCOMPARE(on.Call(kHmiObject, "onModeChange", R"({"activeMode":"B",)" + member + '}'), "{}");
    QCOMPARE(on.Call(kAppObject, "onAudioFocusChange", R"({"newFocus":"lost",)" + member + '}'), "{}");

    QCOMPARE(on.hmi->CurrentMode(), "B");
    QCOMPARE(on.app->LastFocus(), "lost");
    QCOMPARE(on.log.Complaints(), QVector<LogRecord>());
}

void tst_TextSessionIds::call_withAnotherIdentifier_isRefused()
{
    QFETCH(QString, member);
    QFETCH(quint32, identifier);
    BothClients on;
    on.hmi->m_SessionId = identifier + 1;
    on.app->m_SessionId = identifier + 1;

    QCOMPARE(on.Call(kHmiObject, "onModeChange", R"({"activeMode":"B",)" + member + '}'), "{}");
    QCOMPARE(on.Call(kAppObject, "onAudioFocusChange", R"({"newFocus":"lost",)" + member + '}'), "{}");

    QCOMPARE(on.hmi->CurrentMode(), "A");
    QCOMPARE(on.app->LastFocus(), QString());
    QCOMPARE(
        on.log.Complaints(),
        (QVector<LogRecord>{
            Critical(QString("AudioManagerHmi::HandleRequest -- Error - Received non-matching session id: %1")
                         .arg(identifier)),
            Critical("Kiv service provider session id error!")}));
}

KIV_BUS_TEST_MAIN(tst_TextSessionIds)
#include "tst_TextSessionIds.moc"
