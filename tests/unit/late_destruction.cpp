// SPDX-License-Identifier: MIT
// A program that keeps its client in globals: they are destroyed when Qt's own globals are gone already. It has to end
// normally, and to print nothing when debug output is off.
#include "AdaptorConnection.h"
#include "AudioManagerHmi.h"
#include "ServiceProviderProxyHmiFactory.h"
#include "ServiceRegistrator.h"

#include <QCoreApplication>
#include <QDBusConnection>

#include <memory>

using namespace Audio::Utils::Kiv::QtDbus;

namespace {

std::unique_ptr<QDBusConnection> bus;
std::unique_ptr<ServiceRegistrator> registrator;
std::unique_ptr<AdaptorConnection> connection;
std::unique_ptr<ServiceProviderProxyHmiFactory> factory;
std::unique_ptr<AudioManagerHmi> hmi;

/** A client with a proxy, as one that has been initialised. */
class UsedHmi : public AudioManagerHmi
{
public:
    using AudioManagerHmi::AudioManagerHmi;
    void Use() { m_ServiceProxy = m_ProxyFactory.CreateProxy(this); }
};

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    bus = std::make_unique<QDBusConnection>(QDBusConnection::systemBus());
    registrator = std::make_unique<ServiceRegistrator>(*bus, "com.quorvantel.audioclient.test");
    connection = std::make_unique<AdaptorConnection>(*bus);
    factory = std::make_unique<ServiceProviderProxyHmiFactory>();
    auto used = std::make_unique<UsedHmi>(*registrator, "/test", *connection, QString(), *factory, false);
    used->Use();
    hmi = std::move(used);
    return 0;
}
