// SPDX-License-Identifier: MIT
#include "KivAudioPlugin.h"

#include "SelfStarting.h"

#include <AudioModesModel.h>
#include <AudioStream.h>
#include <FocusFeed.h>

#include <QtQml>

using namespace Audio::Utils::Kiv;

namespace {

template <typename Model>
void Register(const char* uri, const char* name)
{
    qmlRegisterType<Qml::SelfStarting<Model>>(uri, 1, 0, name);
}

} // namespace

void KivAudioPlugin::registerTypes(const char* uri)
{
    Register<Models::AudioModesModel>(uri, "AudioModesModel");
    Register<Models::AudioStream>(uri, "AudioStream");
    Register<Models::FocusFeed>(uri, "FocusFeed");
}
