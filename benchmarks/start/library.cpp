// SPDX-License-Identifier: MIT
#include "AdaptorConnection.h"
#include "AudioManagerApp.h"
#include "FirstAnswer.h"
#include "ServiceProviderProxyAppFactory.h"
#include "ServiceRegistrator.h"

#include <QCoreApplication>
#include <QDBusConnection>

using namespace Audio::Utils::Kiv::QtDbus;

/** A media application up to its first answered request. */
int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    QDBusConnection bus = QDBusConnection::systemBus();
    const ServiceRegistrator registrator(bus, "com.quorvantel.audioclient.start");
    AdaptorConnection connection(bus);
    ServiceProviderProxyAppFactory factory;
    AudioManagerApp player(registrator, "/start", "Player", connection, {}, true, {}, factory, false);
    const bool isReady = player.Initialize() == KivBaseClient::INIT_STATE_SUCCESS;
    const int result = KivBenchmark::ReportFirstAnswer(isReady && player.AudioActive(true));
    player.Powerdown();
    return result;
}
