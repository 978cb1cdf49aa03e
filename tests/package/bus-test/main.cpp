// SPDX-License-Identifier: MIT
#include <AdaptorConnection.h>
#include <AudioManagerApp.h>
#include <ServiceProviderProxyAppFactory.h>
#include <ServiceRegistrator.h>

#include <QCoreApplication>
#include <QDBusConnection>
#include <QStringList>
#include <QTimer>

#include <cstdio>

using namespace Audio::Utils::Kiv::QtDbus;

namespace {

const QStringList kExpected{QStringLiteral("granted"), QStringLiteral("temporarilyLost"),
                            QStringLiteral("gained")};

/** A player that asks for the focus, and ends the program once it has heard as much as is expected. */
class Player
{
public:
    Player()
    {
        QObject::connect(&m_App, &AudioManagerApp::SignalResponseToAudioFocusRequest, &m_App,
                         [this](const QString& decision) { Hear(decision); });
        QObject::connect(&m_App, &AudioManagerApp::SignalAudioFocusChanged, &m_App,
                         [this](const QString& focus) { Hear(focus); });
    }

    void Start()
    {
        if (m_App.Initialize() != KivBaseClient::INIT_STATE_SUCCESS || m_App.RequestAudioFocusAsync() == 0) {
            std::fprintf(stderr, "the player cannot start\n");
            QCoreApplication::exit(2);
        }
    }

    void End() { m_App.Powerdown(); }

    QStringList Heard() const { return m_Heard; }

private:
    void Hear(const QString& focus)
    {
        m_Heard.append(focus);
        if (m_Heard.size() == kExpected.size()) {
            QCoreApplication::quit();
        }
    }

    QDBusConnection m_Bus = QDBusConnection::systemBus();
    ServiceRegistrator m_Registrator{m_Bus, QStringLiteral("com.example.player")};
    AdaptorConnection m_Connection{m_Bus};
    ServiceProviderProxyAppFactory m_Factory;
    AudioManagerApp m_App{m_Registrator,
                          QStringLiteral("/player"),
                          QStringLiteral("player"),
                          m_Connection,
                          QString(),
                          true,
                          QString(),
                          m_Factory,
                          true};
    QStringList m_Heard;
};

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    Player player;
    QTimer::singleShot(0, &application, [&player] { player.Start(); });
    QTimer::singleShot(50000, &application, [] { QCoreApplication::exit(3); });
    const int code = QCoreApplication::exec();
    player.End();
    const QStringList heard = player.Heard();
    std::printf("heard: %s\n", qPrintable(heard.join(QStringLiteral(", "))));
    return code != 0 ? code : heard == kExpected ? 0 : 1;
}
