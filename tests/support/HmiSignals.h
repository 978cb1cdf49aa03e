// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_HMISIGNALS_H
#define KIV_TESTS_HMISIGNALS_H

#include "AudioManagerHmi.h"
#include "LogTexts.h"

#include <QObject>
#include <QStringList>

namespace KivTest {

/**
 * Writes down every signal of an HMI client, in order and as text: `SignalSetModeCompleted 1 false`,
 * `SignalModeChanged "A"`. Outlives the client without harm.
 */
class HmiSignals
{
public:
    explicit HmiSignals(Audio::Utils::Kiv::QtDbus::AudioManagerHmi* hmi)
    {
        using Audio::Utils::Kiv::QtDbus::AudioManagerHmi;
        Watch(hmi, &AudioManagerHmi::SignalInitCompleted, "SignalInitCompleted");
        Watch(hmi, &AudioManagerHmi::SignalOpenSessionCompleted, "SignalOpenSessionCompleted");
        Watch(hmi, &AudioManagerHmi::SignalCloseSessionCompleted, "SignalCloseSessionCompleted");
        Watch(hmi, &AudioManagerHmi::SignalSetModeCompleted, "SignalSetModeCompleted");
        Watch(hmi, &AudioManagerHmi::SignalGetModeListCompleted, "SignalGetModeListCompleted");
        Watch(hmi, &AudioManagerHmi::SignalGetModeCompleted, "SignalGetModeCompleted");
        Watch(hmi, &AudioManagerHmi::SignalModeChanged, "SignalModeChanged");
        Watch(hmi, &AudioManagerHmi::SignalModeListChanged, "SignalModeListChanged");
        Watch(hmi, &AudioManagerHmi::SignalAudioFocusChange, "SignalAudioFocusChange");
    }

    HmiSignals(const HmiSignals&) = delete;
    HmiSignals& operator=(const HmiSignals&) = delete;

    /** The signals so far. */
    QStringList List() const { return m_Signals; }

private:
    template <typename Client, typename Signal>
    void Watch(Client* hmi, Signal signal, const char* name)
    {
        const auto note = [this, name](const auto&... values) {
            m_Signals.append(Streamed(name, values...));
        };
        QObject::connect(hmi, signal, &m_Context, note, Qt::DirectConnection);
    }

    QStringList m_Signals;
    QObject m_Context;
};

} // namespace KivTest

#endif // KIV_TESTS_HMISIGNALS_H
