// SPDX-License-Identifier: MIT
#include "LogCapture.h"
#include "LogTexts.h"
#include "MediaApp.h"
#include "TestMain.h"

#include <QPointer>

#include <functional>
#include <memory>

using namespace KivTest;

namespace {

const QString kChange = "onAudioFocusChange";
const QString kResult = "onRequestAudioFocusResult";

/** An application client among fakes, with the session 7, that slots may delete. */
struct App : FakeSurroundings
{
    App() { client->Open(7); }

    ~App()
    {
        if (client != nullptr) {
            client->Powerdown();
        }
        delete client;
    }

    QPointer<OpenedApp> client = new FragileApp(registrator, kClientPath, "Player", connection, QString(),
                                                true, QString(), factory, false);
    AppEvents events{*client};
};

LogRecord SessionError()
{
    return Critical("Kiv service provider session id error!");
}

QString Arguments(const QString& newFocus)
{
    return QStringLiteral(R"({"newFocus":"%1","sessionId":7})").arg(newFocus);
}

/** How a test has each of the six signals emitted. */
struct Emission
{
    const char* tag;
    std::function<void(OpenedApp&)> cause;
    /** Connects a slot that does a deed first and writes down its arguments afterwards. */
    std::function<void(OpenedApp&, const std::function<void()>&, QStringList&)> connectSlot;
    QString written;
};

template <typename Signal>
auto CompletionSlot(Signal signal)
{
    return [signal](OpenedApp& client, const std::function<void()>& deed, QStringList& written) {
        QObject::connect(&client, signal, [deed, &written](quint32 requestId, bool result) {
            deed();
            written.append(QStringLiteral("%1 %2").arg(requestId).arg(QVariant(result).toString()));
        });
    };
}

template <typename Signal>
auto TextSlot(Signal signal)
{
    return [signal](OpenedApp& client, const std::function<void()>& deed, QStringList& written) {
        QObject::connect(&client, signal, [deed, &written](const QString& text) {
            deed();
            written.append(text);
        });
    };
}

const std::array<Emission, 6>& Emissions()
{
    static const std::array<Emission, 6> emissions{{
        {"registration completed", [](OpenedApp& client) { client.RegisterAudioStreamAsync(); },
         CompletionSlot(&AudioManagerApp::SignalRegisterAudioStreamCompleted), "1 true"},
        {"focus request completed", [](OpenedApp& client) { client.RequestAudioFocusAsync(); },
         CompletionSlot(&AudioManagerApp::SignalRequestAudioFocusCompleted), "1 true"},
        {"playing state completed", [](OpenedApp& client) { client.AudioActiveAsync(true); },
         CompletionSlot(&AudioManagerApp::SignalAudioActiveCompleted), "1 true"},
        {"focus release completed", [](OpenedApp& client) { client.AbandonAudioFocusAsync("user"); },
         CompletionSlot(&AudioManagerApp::SignalAbandonAudioFocusCompleted), "1 true"},
        {"focus changed", [](OpenedApp& client) { client.Request(kChange, Arguments("lost")); },
         TextSlot(&AudioManagerApp::SignalAudioFocusChanged), "lost"},
        {"focus decided", [](OpenedApp& client) { client.Request(kResult, Arguments("granted")); },
         TextSlot(&AudioManagerApp::SignalResponseToAudioFocusRequest), "granted"},
    }};
    return emissions;
}

} // namespace

Q_DECLARE_METATYPE(Emission)

class tst_FocusEvents : public QObject
{
    Q_OBJECT

private:
    void AddEmissions();

private Q_SLOTS:
    void focusEvent_isPassedOn_data();
    void focusEvent_isPassedOn();
    void focusEvent_lastFocusIsOverwrittenBeforeTheSignal_data();
    void focusEvent_lastFocusIsOverwrittenBeforeTheSignal();
    void focusEvents_bothKindsUpdateOneLastFocus();
    void focusEvent_insideASlot_isDeliveredInside();

    void sessionCheck_data();
    void sessionCheck();
    void sessionCheck_comesBeforeTheMethodName();
    void unsupportedMethod_isReported_data();
    void unsupportedMethod_isReported();
    void request_answersAlwaysEmptyObject_data();
    void request_answersAlwaysEmptyObject();

    void handleNotify_reportsAnyNotification_data();
    void handleNotify_reportsAnyNotification();
    void notification_isWrittenDownAndReported();

    void slotDeletesTheClient_data() { AddEmissions(); }
    void slotDeletesTheClient();
    void slotPowersTheClientDown_data() { AddEmissions(); }
    void slotPowersTheClientDown();
};

void tst_FocusEvents::focusEvent_isPassedOn_data()
{
    QTest::addColumn<QString>("method");
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<QString>("newFocus");

    const QString vocabulary[] = {"gained", "lost",      "temporarilyLost", "granted",
                                  "failed", "abandoned", "wouldFail",       "wouldBeGranted"};
    for (const QString& method : {kChange, kResult}) {
        const auto addRow = [&method](const char* tag, const QString& arguments, const QString& newFocus) {
            QTest::addRow("%s, %s", qPrintable(method), tag) << method << arguments << newFocus;
        };
        for (const QString& newFocus : vocabulary) {
            addRow(qPrintable(newFocus), Arguments(newFocus), newFocus);
        }
        addRow("unknown text", Arguments(" Lost/ädrift "), " Lost/ädrift ");
        addRow("empty text", Arguments(""), "");
        addRow("missing", R"({"sessionId":7})", "");
        addRow("null", R"({"newFocus":null,"sessionId":7})", "");
        addRow("object", R"({"newFocus":{"newFocus":"lost"},"sessionId":7})", "");
        addRow("number", R"({"newFocus":12,"sessionId":7})", "12");
        addRow("flag", R"({"newFocus":true,"sessionId":7})", "true");
        addRow("other keys", R"({"focusResponse":"failed","newMode":"x","newFocus":"lost","sessionId":7})",
               "lost");
        addRow("the last of two", R"({"newFocus":"lost","newFocus":"gained","sessionId":7})", "gained");
        addRow("another case of the key", R"({"newfocus":"lost","sessionId":7})", "");
    }
}

void tst_FocusEvents::focusEvent_isPassedOn()
{
    QFETCH(QString, method);
    QFETCH(QString, arguments);
    QFETCH(QString, newFocus);
    App app;
    app.client->m_LastFocus = "before";
    const LogCapture log;

    app.client->HandleRequest(method, arguments);

    const QString signal = method == kChange ? "AudioFocusChanged" : "ResponseToAudioFocusRequest";
    QCOMPARE(app.events.All(), QStringList{QString("%1(%2)").arg(signal, newFocus)});
    QCOMPARE(app.events.Threads(), QVector<QThread*>{QThread::currentThread()});
    QCOMPARE(app.client->m_LastFocus, newFocus);
    QCOMPARE(app.client->LastFocus(), newFocus);
    QCOMPARE(log.Records(), QVector<LogRecord>());
    QCOMPARE(app.Exchange().Requests(), QVector<RecordedRequest>());
}

void tst_FocusEvents::focusEvent_lastFocusIsOverwrittenBeforeTheSignal_data()
{
    QTest::addColumn<QString>("method");

    QTest::newRow("change") << kChange;
    QTest::newRow("result") << kResult;
}

void tst_FocusEvents::focusEvent_lastFocusIsOverwrittenBeforeTheSignal()
{
    QFETCH(QString, method);
    App app;
    app.client->m_LastFocus = "before";
    QStringList seen;
    const auto see = [&](const QString& argument) {
        seen.append(argument + ' ' + app.client->m_LastFocus + ' ' + app.client->LastFocus());
    };
    connect(app.client.data(), &AudioManagerApp::SignalAudioFocusChanged, see);
    connect(app.client.data(), &AudioManagerApp::SignalResponseToAudioFocusRequest, see);

    app.client->HandleRequest(method, Arguments("lost"));

    QCOMPARE(seen, QStringList{"lost lost lost"});
}

void tst_FocusEvents::focusEvents_bothKindsUpdateOneLastFocus()
{
    App app;

    app.client->HandleRequest(kResult, Arguments("granted"));
    QCOMPARE(app.client->LastFocus(), QString("granted"));
    app.client->HandleRequest(kChange, Arguments("lost"));
    QCOMPARE(app.client->LastFocus(), QString("lost"));
    app.client->HandleRequest(kChange, Arguments("lost"));
    app.client->HandleRequest(kResult, Arguments("failed"));
    QCOMPARE(app.client->LastFocus(), QString("failed"));

    const QStringList expected{"ResponseToAudioFocusRequest(granted)", "AudioFocusChanged(lost)",
                               "AudioFocusChanged(lost)", "ResponseToAudioFocusRequest(failed)"};
    QCOMPARE(app.events.All(), expected);
}

void tst_FocusEvents::focusEvent_insideASlot_isDeliveredInside()
{
    App app;
    QStringList seen;
    connect(app.client.data(), &AudioManagerApp::SignalResponseToAudioFocusRequest, [&](const QString&) {
        if (seen.isEmpty()) {
            seen.append("inside");
            app.client->HandleRequest(kChange, Arguments("lost"));
            seen.append(app.client->LastFocus());
        }
    });

    app.client->HandleRequest(kResult, Arguments("granted"));

    QCOMPARE(seen, (QStringList{"inside", "lost"}));
    QCOMPARE(app.client->LastFocus(), QString("lost"));
    const QStringList expected{"ResponseToAudioFocusRequest(granted)", "AudioFocusChanged(lost)"};
    QCOMPARE(app.events.All(), expected);
}

void tst_FocusEvents::sessionCheck_data()
{
    QTest::addColumn<quint32>("own");
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<bool>("isAccepted");

    QTest::newRow("equal") << 7u << R"({"newFocus":"lost","sessionId":7})" << true;
    QTest::newRow("equal, as a text") << 7u << R"({"newFocus":"lost","sessionId":"7"})" << true;
    QTest::newRow("equal, the last of two")
        << 7u << R"({"sessionId":8,"newFocus":"lost","sessionId":7})" << true;
    QTest::newRow("one more") << 7u << R"({"newFocus":"lost","sessionId":8})" << false;
    QTest::newRow("one less") << 7u << R"({"newFocus":"lost","sessionId":6})" << false;
    QTest::newRow("negative") << 7u << R"({"newFocus":"lost","sessionId":-7})" << false;
    QTest::newRow("zero") << 7u << R"({"newFocus":"lost","sessionId":0})" << false;
    QTest::newRow("no number") << 7u << R"({"newFocus":"lost","sessionId":"x"})" << false;
    QTest::newRow("null") << 7u << R"({"newFocus":"lost","sessionId":null})" << false;
    QTest::newRow("missing") << 7u << R"({"newFocus":"lost"})" << false;
    QTest::newRow("another case of the key") << 7u << R"({"newFocus":"lost","sessionid":7})" << false;
    QTest::newRow("no JSON") << 7u << "lost" << false;
    QTest::newRow("no text") << 7u << "" << false;
    QTest::newRow("no session, missing") << 0u << R"({"newFocus":"lost"})" << true;
    QTest::newRow("no session, zero") << 0u << R"({"newFocus":"lost","sessionId":0})" << true;
    QTest::newRow("no session, no number") << 0u << R"({"newFocus":"lost","sessionId":"x"})" << true;
    QTest::newRow("no session, a number") << 0u << R"({"newFocus":"lost","sessionId":7})" << false;
    QTest::newRow("largest number") << 2147483647u << R"({"newFocus":"lost","sessionId":2147483647})" << true;
    QTest::newRow("beyond the largest number")
        << 2147483648u << R"({"newFocus":"lost","sessionId":2147483648})" << false;
}

void tst_FocusEvents::sessionCheck()
{
    QFETCH(quint32, own);
    QFETCH(QString, arguments);
    QFETCH(bool, isAccepted);
    App app;
    app.client->m_SessionId = own;
    app.client->m_LastFocus = "before";
    const LogCapture log;

    app.client->HandleRequest(kChange, arguments);
    app.client->HandleRequest(kResult, arguments);

    const QStringList events{"AudioFocusChanged(lost)", "ResponseToAudioFocusRequest(lost)"};
    QCOMPARE(app.events.All(), isAccepted ? events : QStringList());
    QCOMPARE(app.client->m_LastFocus, QString(isAccepted ? "lost" : "before"));
    QCOMPARE(app.client->m_SessionId, own);
    QCOMPARE(log.Records(), isAccepted ? QVector<LogRecord>() : QVector<LogRecord>(2, SessionError()));
}

void tst_FocusEvents::sessionCheck_comesBeforeTheMethodName()
{
    App app;
    const LogCapture log;

    app.client->HandleRequest("onModeChange", R"({"newFocus":"lost","sessionId":8})");

    QCOMPARE(log.Records(), QVector<LogRecord>{SessionError()});
    QCOMPARE(app.events.All(), QStringList());
}

void tst_FocusEvents::unsupportedMethod_isReported_data()
{
    QTest::addColumn<QString>("method");
    QTest::addColumn<QString>("text");

    QTest::newRow("of another kind of client")
        << "onModeChange"
        << "\"onModeChange\"  is not supported for Application mode in Media Player!";
    QTest::newRow("another case")
        << "OnAudioFocusChange"
        << "\"OnAudioFocusChange\"  is not supported for Application mode in Media Player!";
    QTest::newRow("another case of the result")
        << "onRequestAudioFocusresult"
        << "\"onRequestAudioFocusresult\"  is not supported for Application mode in Media Player!";
    QTest::newRow("only the beginning")
        << "onAudioFocus"
        << "\"onAudioFocus\"  is not supported for Application mode in Media Player!";
    QTest::newRow("more than the name")
        << "onAudioFocusChange "
        << "\"onAudioFocusChange \"  is not supported for Application mode in Media Player!";
    QTest::newRow("a quote") << "a\"b"
                             << "\"a\\\"b\"  is not supported for Application mode in Media Player!";
    QTest::newRow("no name") << ""
                             << "\"\"  is not supported for Application mode in Media Player!";
}

void tst_FocusEvents::unsupportedMethod_isReported()
{
    QFETCH(QString, method);
    QFETCH(QString, text);
    App app;
    app.client->m_LastFocus = "before";
    const LogCapture log;

    app.client->HandleRequest(method, Arguments("lost"));

    QCOMPARE(log.Records(), QVector<LogRecord>{Critical(text)});
    QCOMPARE(app.events.All(), QStringList());
    QCOMPARE(app.client->m_LastFocus, QString("before"));
}

void tst_FocusEvents::request_answersAlwaysEmptyObject_data()
{
    QTest::addColumn<QString>("method");
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<QString>("complaint");

    QTest::newRow("change") << kChange << Arguments("lost") << "";
    QTest::newRow("result") << kResult << Arguments("granted") << "";
    QTest::newRow("another session") << kChange << R"({"sessionId":8})"
                                     << "Kiv service provider session id error!";
    QTest::newRow("unsupported") << "x"
                                 << R"({"sessionId":7})"
                                 << "\"x\"  is not supported for Application mode in Media Player!";
}

void tst_FocusEvents::request_answersAlwaysEmptyObject()
{
    QFETCH(QString, method);
    QFETCH(QString, arguments);
    QFETCH(QString, complaint);
    App app;
    const LogCapture log;

    QCOMPARE(app.client->Request(method, arguments), QString("{}"));

    QVector<LogRecord> expected{Debug(Streamed("ServiceProviderClient::Request",
                                               kClientPath + "/ServiceProviderClient", method, arguments))};
    if (!complaint.isEmpty()) {
        expected.append(Critical(complaint));
    }
    QCOMPARE(log.Records(), expected);
    QCOMPARE(app.events.All().size(), complaint.isEmpty() ? 1 : 0);
}

void tst_FocusEvents::handleNotify_reportsAnyNotification_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("payload");

    QTest::newRow("event of an HMI") << "audioFocusChangeEvent"
                                     << R"({"newFocus":"lost"})";
    QTest::newRow("change") << kChange << Arguments("lost");
    QTest::newRow("result") << kResult << Arguments("granted");
    QTest::newRow("nothing") << ""
                             << "";
}

void tst_FocusEvents::handleNotify_reportsAnyNotification()
{
    QFETCH(QString, name);
    QFETCH(QString, payload);
    App app;
    app.client->m_LastFocus = "before";
    const LogCapture log;

    app.client->HandleNotify(name, payload);

    QCOMPARE(log.Records(),
             QVector<LogRecord>{
                 Critical("Audio manager error: Notify signal shall not be called for application mode!")});
    QCOMPARE(app.events.All(), QStringList());
    QCOMPARE(app.client->m_LastFocus, QString("before"));
}

void tst_FocusEvents::notification_isWrittenDownAndReported()
{
    App app;
    const LogCapture log;

    app.client->Notification(kChange, Arguments("lost"));

    const QVector<LogRecord> expected{
        Debug(Streamed("KivBaseClient::Notification", kChange, Arguments("lost"))),
        Critical("Audio manager error: Notify signal shall not be called for application mode!")};
    QCOMPARE(log.Records(), expected);
    QCOMPARE(app.events.All(), QStringList());
}

void tst_FocusEvents::AddEmissions()
{
    QTest::addColumn<Emission>("emission");
    for (const Emission& emission : Emissions()) {
        QTest::newRow(emission.tag) << emission;
    }
}

void tst_FocusEvents::slotDeletesTheClient()
{
    QFETCH(Emission, emission);
    App app;
    QStringList written;
    emission.connectSlot(
        *app.client, [&app] { delete app.client; }, written);
    const LogCapture log;

    emission.cause(*app.client);

    QTRY_COMPARE(written, QStringList{emission.written});
    QVERIFY(app.client.isNull());
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCoreApplication::processEvents();
    QCOMPARE(app.Exchange().ProxyCount(), 0);
    QCOMPARE(log.Complaints(), QVector<LogRecord>());
}

void tst_FocusEvents::slotPowersTheClientDown()
{
    QFETCH(Emission, emission);
    App app;
    QStringList written;
    emission.connectSlot(
        *app.client, [&app] { app.client->Powerdown(); }, written);
    const LogCapture log;

    emission.cause(*app.client);

    QTRY_COMPARE(written, QStringList{emission.written});
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCoreApplication::processEvents();
    QCOMPARE(app.client->m_SessionId, 0u);
    QCOMPARE(app.Exchange().ProxyCount(), 0);
    const RecordedRequest closing{true, "closeSession", R"({"sessionId":7})"};
    QCOMPARE(app.Exchange().Requests().last(), closing);
    QCOMPARE(log.Complaints(), QVector<LogRecord>());
    QCOMPARE(written.size(), 1);
}

KIV_UNIT_TEST_MAIN(tst_FocusEvents)
#include "tst_FocusEvents.moc"
