// SPDX-License-Identifier: MIT
// Loaded before the library: the same library, but to its applications every call of the service is a refusal.
#include <AudioManagerApp.h>

namespace Audio::Utils::Kiv::QtDbus {

void AudioManagerApp::HandleRequest(const QString&, const QString&)
{
    Q_EMIT SignalResponseToAudioFocusRequest(QStringLiteral("failed"));
}

} // namespace Audio::Utils::Kiv::QtDbus
