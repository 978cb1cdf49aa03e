// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_MEDIAAPP_H
#define KIV_TESTS_MEDIAAPP_H

#include "TestClients.h"

#include <QDBusPendingReply>
#include <QMetaType>
#include <QObject>
#include <QStringList>
#include <QThread>
#include <QVector>

#include <array>
#include <cstddef>
#include <new>

namespace KivTest {

using Audio::Utils::Kiv::QtDbus::AudioManagerApp;
using Audio::Utils::Kiv::QtDbus::KivBaseClient;
using Audio::Utils::Kiv::QtDbus::ServiceProviderClient;

/** What an application client is made with, besides its surroundings. */
struct AppOptions
{
    QString path = kClientPath;
    QString sourceName = "Player";
    QString streamType;
    bool isPermanent = true;
    QString destination;
    bool registersOnInitialize = false;
};

/** An application client whose memory is spoilt when it is deleted, so that a later look at it does not go well. */
class FragileApp : public OpenedApp
{
public:
    using OpenedApp::OpenedApp;

    static void* operator new(std::size_t size) { return ::operator new(size); }

    static void operator delete(void* memory, std::size_t size)
    {
        auto* bytes = static_cast<volatile unsigned char*>(memory);
        for (std::size_t index = 0; index < size; ++index) {
            bytes[index] = 0xdd;
        }
        ::operator delete(memory);
    }
};

/** Writes down every signal of an application client, in order, as "Signal(arguments)", and on which thread it came. */
class AppEvents
{
public:
    explicit AppEvents(const AudioManagerApp& app)
    {
        WatchCompletion(app, &ServiceProviderClient::SignalOpenSessionCompleted, "OpenSessionCompleted");
        WatchCompletion(app, &ServiceProviderClient::SignalCloseSessionCompleted, "CloseSessionCompleted");
        WatchCompletion(app, &AudioManagerApp::SignalRegisterAudioStreamCompleted,
                        "RegisterAudioStreamCompleted");
        WatchCompletion(app, &AudioManagerApp::SignalRequestAudioFocusCompleted,
                        "RequestAudioFocusCompleted");
        WatchCompletion(app, &AudioManagerApp::SignalAudioActiveCompleted, "AudioActiveCompleted");
        WatchCompletion(app, &AudioManagerApp::SignalAbandonAudioFocusCompleted,
                        "AbandonAudioFocusCompleted");
        WatchText(app, &AudioManagerApp::SignalAudioFocusChanged, "AudioFocusChanged");
        WatchText(app, &AudioManagerApp::SignalResponseToAudioFocusRequest, "ResponseToAudioFocusRequest");
        Watch(QObject::connect(&app, &KivBaseClient::SignalInitCompleted,
                               [this](KivBaseClient::InitState state) {
                                   Note(QStringLiteral("InitCompleted(%1)").arg(state));
                               }));
    }

    ~AppEvents()
    {
        for (const QMetaObject::Connection& connection : qAsConst(m_Connections)) {
            QObject::disconnect(connection);
        }
    }

    AppEvents(const AppEvents&) = delete;
    AppEvents& operator=(const AppEvents&) = delete;

    /** The signals so far. */
    QStringList All() const { return m_Events; }

    /** The threads on which they came. */
    QVector<QThread*> Threads() const { return m_Threads; }

private:
    void Watch(const QMetaObject::Connection& connection) { m_Connections.append(connection); }

    void Note(const QString& event)
    {
        m_Events.append(event);
        m_Threads.append(QThread::currentThread());
    }

    template <typename Signal>
    void WatchCompletion(const AudioManagerApp& app, Signal signal, const QString& name)
    {
        Watch(QObject::connect(&app, signal, [this, name](quint32 requestId, bool result) {
            Note(QStringLiteral("%1(%2,%3)").arg(name).arg(requestId).arg(QVariant(result).toString()));
        }));
    }

    template <typename Signal>
    void WatchText(const AudioManagerApp& app, Signal signal, const QString& name)
    {
        Watch(QObject::connect(&app, signal, [this, name](const QString& text) {
            Note(QStringLiteral("%1(%2)").arg(name, text));
        }));
    }

    QStringList m_Events;
    QVector<QThread*> m_Threads;
    QVector<QMetaObject::Connection> m_Connections;
};

/** One request of an application client, in its three forms, and all that differs from the other requests. */
struct AppRequest
{
    const char* tag;
    QString operation; ///< As in the names of the functions and of the completion signal.
    QString method;    ///< As the service knows it.
    QString arguments; ///< With the session 7, and made with the default AppOptions.
    bool (*block)(AudioManagerApp& app);
    QDBusPendingReply<QString> (*start)(AudioManagerApp& app);
    quint32 (*async)(AudioManagerApp& app);

    QString Completed(quint32 requestId, bool result) const
    {
        return QStringLiteral("%1Completed(%2,%3)")
            .arg(operation)
            .arg(requestId)
            .arg(QVariant(result).toString());
    }

    QString NoSessionText() const
    {
        return QStringLiteral("AudioManagerApp::Start%1Request -- Session is not open").arg(operation);
    }
};

/** The registration, and every focus request with every kind of argument. */
inline const std::array<AppRequest, 6>& AppRequests()
{
    static const std::array<AppRequest, 6> requests{{
        {"registration", "RegisterAudioStream", "registerAudioStream",
         R"({"focusType":"permanent","sessionId":7,"streamModeName":"/com/quorvantel/audioclient/test",)"
         R"("streamName":"Player","streamType":"Media"})",
         [](AudioManagerApp& app) { return app.RegisterAudioStream(); },
         [](AudioManagerApp& app) { return app.StartRegisterAudioStreamRequest(); },
         [](AudioManagerApp& app) { return app.RegisterAudioStreamAsync(); }},
        {"focus request", "RequestAudioFocus", "requestAudioFocus",
         R"({"requestType":"request","sessionId":7})",
         [](AudioManagerApp& app) { return app.RequestAudioFocus(true); },
         [](AudioManagerApp& app) { return app.StartRequestAudioFocusRequest(true); },
         [](AudioManagerApp& app) { return app.RequestAudioFocusAsync(true); }},
        {"focus query", "RequestAudioFocus", "requestAudioFocus", R"({"requestType":"query","sessionId":7})",
         [](AudioManagerApp& app) { return app.RequestAudioFocus(false); },
         [](AudioManagerApp& app) { return app.StartRequestAudioFocusRequest(false); },
         [](AudioManagerApp& app) { return app.RequestAudioFocusAsync(false); }},
        {"playing", "AudioActive", "audioActive", R"({"playing":true,"sessionId":7})",
         [](AudioManagerApp& app) { return app.AudioActive(true); },
         [](AudioManagerApp& app) { return app.StartAudioActiveRequest(true); },
         [](AudioManagerApp& app) { return app.AudioActiveAsync(true); }},
        {"not playing", "AudioActive", "audioActive", R"({"playing":false,"sessionId":7})",
         [](AudioManagerApp& app) { return app.AudioActive(false); },
         [](AudioManagerApp& app) { return app.StartAudioActiveRequest(false); },
         [](AudioManagerApp& app) { return app.AudioActiveAsync(false); }},
        {"focus release", "AbandonAudioFocus", "abandonAudioFocus",
         R"({"reason":"user \"stöp\"","sessionId":7})",
         [](AudioManagerApp& app) { return app.AbandonAudioFocus(QStringLiteral("user \"stöp\"")); },
         [](AudioManagerApp& app) {
             return app.StartAbandonAudioFocusRequest(QStringLiteral("user \"stöp\""));
         },
         [](AudioManagerApp& app) { return app.AbandonAudioFocusAsync(QStringLiteral("user \"stöp\"")); }},
    }};
    return requests;
}

} // namespace KivTest

Q_DECLARE_METATYPE(KivTest::AppRequest)

#endif // KIV_TESTS_MEDIAAPP_H
