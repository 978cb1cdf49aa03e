// SPDX-License-Identifier: MIT
#ifndef KIV_BENCHMARKS_CLIENTS_H
#define KIV_BENCHMARKS_CLIENTS_H

#include "AdaptorConnection.h"
#include "AudioManagerApp.h"
#include "AudioManagerHmi.h"
#include "ServiceProviderProxyAppFactory.h"
#include "ServiceProviderProxyHmiFactory.h"
#include "ServiceRegistrator.h"

#include <QDBusConnection>

namespace KivBenchmark {

using namespace Audio::Utils::Kiv::QtDbus;

const QString kClientName = "com.quorvantel.audioclient.benchmark";

/** An application client as a program has it, initialised. */
struct App
{
    App()
    {
        if (client.Initialize() != KivBaseClient::INIT_STATE_SUCCESS) {
            qFatal("the application client could not be initialised; is the benchmark's service running?");
        }
    }

    ~App() { client.Powerdown(); }
    App(const App&) = delete;
    App& operator=(const App&) = delete;

    QDBusConnection bus = QDBusConnection::systemBus();
    ServiceRegistrator registrator{bus, kClientName};
    AdaptorConnection connection{bus};
    ServiceProviderProxyAppFactory factory;
    AudioManagerApp client{registrator, "/app", "Player", connection, {}, true, {}, factory, false};
};

/** Likewise, an HMI client. */
struct Hmi
{
    Hmi()
    {
        if (client.Initialize() != KivBaseClient::INIT_STATE_SUCCESS) {
            qFatal("the HMI client could not be initialised; is the benchmark's service running?");
        }
    }

    ~Hmi() { client.Powerdown(); }
    Hmi(const Hmi&) = delete;
    Hmi& operator=(const Hmi&) = delete;

    QDBusConnection bus = QDBusConnection::systemBus();
    ServiceRegistrator registrator{bus, kClientName};
    AdaptorConnection connection{bus};
    ServiceProviderProxyHmiFactory factory;
    AudioManagerHmi client{registrator, "/hmi", connection, {}, factory, false};
};

} // namespace KivBenchmark

#endif // KIV_BENCHMARKS_CLIENTS_H
