// SPDX-License-Identifier: MIT
#include <AdaptorConnection.h>
#include <AudioManagerApp.h>
#include <AudioManagerHmi.h>
#include <JsonParameterParser.h>
#include <ServiceProviderProxyAppFactory.h>
#include <ServiceProviderProxyHmiFactory.h>
#include <ServiceRegistrator.h>

#include <QCoreApplication>
#include <QDBusConnection>

using namespace Audio::Utils::Kiv::QtDbus;

namespace {

// A client of the user's own.
class Panel : public AudioManagerHmi
{
public:
    using AudioManagerHmi::AudioManagerHmi;
    bool SetMode(const QString& mode) override { return !mode.isEmpty() && AudioManagerHmi::SetMode(mode); }
};

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    QDBusConnection bus = QDBusConnection::systemBus();
    const ServiceRegistrator registrator(bus, QString());
    AdaptorConnection connection(bus);
    ServiceProviderProxyHmiFactory hmiFactory;
    ServiceProviderProxyAppFactory appFactory;
    Panel panel(registrator, QStringLiteral("/panel"), connection, QString(), hmiFactory, true);
    AudioManagerApp player(registrator, QStringLiteral("/player"), QStringLiteral("Player"), connection,
                           QString(), true, QString(), appFactory, true);

    QString json;
    AddParameters({{QStringLiteral("playing"), true}}, json);
    const bool isEncoded = json == QStringLiteral("{\"playing\":true}");
    const bool isWaiting = panel.Initialize() == KivBaseClient::INIT_STATE_WAITING_FOR_KIV &&
                           player.Initialize() == KivBaseClient::INIT_STATE_WAITING_FOR_KIV;
    return isEncoded && isWaiting && !panel.SetMode(QStringLiteral("Radio")) ? 0 : 1;
}
