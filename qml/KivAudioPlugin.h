// SPDX-License-Identifier: MIT
#ifndef KIV_QML_KIVAUDIOPLUGIN_H
#define KIV_QML_KIVAUDIOPLUGIN_H

#include <QQmlExtensionPlugin>

/** The QML module Kiv.Audio. Asks nobody anything. */
class KivAudioPlugin : public QQmlExtensionPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QQmlExtensionInterface_iid)

public:
    /** Registers the types of version 1.0. May be called on a thread of the QML engine. */
    void registerTypes(const char* uri) override;
};

#endif // KIV_QML_KIVAUDIOPLUGIN_H
