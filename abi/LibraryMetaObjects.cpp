// SPDX-License-Identifier: MIT
#include "AdaptorConnection.h"
#include "AudioManagerApp.h"
#include "AudioManagerHmi.h"
#include "ComQuorvantelServiceProviderInterface.h"
#include "ConcreteServiceProviderProxy.h"
#include "KivBaseClient.h"
#include "MetaObjects.h"
#include "ServiceProviderAdaptor.h"
#include "ServiceProviderClient.h"

using namespace Audio::Utils::Kiv::QtDbus;
using KivAbi::Print;

/** Prints the meta-objects of the library's classes. */
int main()
{
    Print(ComQuorvantelServiceProviderInterface::staticMetaObject);
    Print(ConcreteServiceProviderProxy::staticMetaObject);
    Print(ServiceProviderAdaptor::staticMetaObject);
    Print(KivBaseClient::staticMetaObject);
    Print(ServiceProviderClient::staticMetaObject);
    Print(AudioManagerHmi::staticMetaObject);
    Print(AudioManagerApp::staticMetaObject);
    return 0;
}
