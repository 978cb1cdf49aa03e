// SPDX-License-Identifier: MIT
#include "AdaptorConnection.h"
#include "AudioManagerApp.h"
#include "AudioManagerHmi.h"
#include "ComQuorvantelServiceProviderInterface.h"
#include "ConcreteServiceProviderProxy.h"
#include "KivBaseClient.h"
#include "MethodKind.h"
#include "ServiceProviderAdaptor.h"
#include "ServiceProviderClient.h"

#include <QMetaClassInfo>
#include <QMetaEnum>
#include <QMetaMethod>
#include <QMetaObject>
#include <QMetaProperty>

#include <cstdio>

using namespace Audio::Utils::Kiv::QtDbus;

namespace {

void PrintEnumerator(const QMetaEnum& enumerator)
{
    std::printf("  enumeration %s\n", enumerator.name());
    for (int i = 0; i < enumerator.keyCount(); ++i) {
        std::printf("    %s = %d\n", enumerator.key(i), enumerator.value(i));
    }
}

void Print(const QMetaObject& type)
{
    std::printf("%s: %s\n", type.className(), type.superClass()->className());
    for (int i = type.classInfoOffset(); i < type.classInfoCount(); ++i) {
        std::printf("  info %s = %s\n", type.classInfo(i).name(), type.classInfo(i).value());
    }
    for (int i = type.propertyOffset(); i < type.propertyCount(); ++i) {
        std::printf("  property %s %s\n", type.property(i).typeName(), type.property(i).name());
    }
    for (int i = type.enumeratorOffset(); i < type.enumeratorCount(); ++i) {
        PrintEnumerator(type.enumerator(i));
    }
    for (int i = type.methodOffset(); i < type.methodCount(); ++i) {
        const QMetaMethod method = type.method(i);
        std::printf("  %d %s %s %s\n", i - type.methodOffset(), KivAbi::KindOf(method), method.typeName(),
                    method.methodSignature().constData());
    }
}

} // namespace

/** Prints what the library's classes tell at run time, in the order in which programs know it by number. */
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
