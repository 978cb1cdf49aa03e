// SPDX-License-Identifier: MIT
#ifndef KIV_ABI_METAOBJECTS_H
#define KIV_ABI_METAOBJECTS_H

#include "MethodKind.h"

#include <QMetaClassInfo>
#include <QMetaEnum>
#include <QMetaMethod>
#include <QMetaObject>
#include <QMetaProperty>

#include <cstdio>

/** What a class tells at run time, in the order in which programs know it by number. */
namespace KivAbi {

inline void PrintProperty(const QMetaProperty& property)
{
    std::printf("  property %s %s", property.typeName(), property.name());
    if (property.isWritable()) {
        std::printf(" writable");
    }
    if (property.hasNotifySignal()) {
        std::printf(" notify %s", property.notifySignal().methodSignature().constData());
    }
    std::printf("\n");
}

inline void PrintEnumerator(const QMetaEnum& enumerator)
{
    std::printf("  enumeration %s\n", enumerator.name());
    for (int i = 0; i < enumerator.keyCount(); ++i) {
        std::printf("    %s = %d\n", enumerator.key(i), enumerator.value(i));
    }
}

/** Prints all of it, without what the base classes tell. */
inline void Print(const QMetaObject& type)
{
    std::printf("%s: %s\n", type.className(), type.superClass()->className());
    for (int i = type.classInfoOffset(); i < type.classInfoCount(); ++i) {
        std::printf("  info %s = %s\n", type.classInfo(i).name(), type.classInfo(i).value());
    }
    for (int i = type.propertyOffset(); i < type.propertyCount(); ++i) {
        PrintProperty(type.property(i));
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

} // namespace KivAbi

#endif
