// SPDX-License-Identifier: MIT
#ifndef PANEL_H
#define PANEL_H

#include <AudioManagerHmi.h>

#include <QString>

// A program's own class, which owns its client: what the unit test is about.
class Panel
{
public:
    Panel(const Audio::Utils::Kiv::QtDbus::IServiceRegistrator& registrator,
          Audio::Utils::Kiv::QtDbus::IAdaptorConnection& connection,
          Audio::Utils::Kiv::QtDbus::IServiceProviderProxyFactory& factory)
        : m_Hmi(registrator, QStringLiteral("/panel"), connection, QString(), factory, true)
    {
        using Audio::Utils::Kiv::QtDbus::AudioManagerHmi;
        QObject::connect(&m_Hmi, &AudioManagerHmi::SignalSetModeCompleted, &m_Hmi,
                         [this](quint32, bool isSet) { m_Status = isSet ? "set" : "refused"; });
        QObject::connect(&m_Hmi, &AudioManagerHmi::SignalModeChanged, &m_Hmi,
                         [this](const QString& mode) { m_Title = mode; });
        m_Hmi.Initialize();
    }

    ~Panel() { m_Hmi.Powerdown(); }

    Panel(const Panel&) = delete;
    Panel& operator=(const Panel&) = delete;

    bool Refresh()
    {
        const bool isKnown = m_Hmi.GetMode(QString());
        m_Title = isKnown ? m_Hmi.CurrentMode() : QStringLiteral("?");
        return isKnown;
    }

    void Press(const QString& mode) { m_Status = m_Hmi.SetModeAsync(mode) != 0 ? "waiting" : "not sent"; }

    Audio::Utils::Kiv::QtDbus::AudioManagerHmi& Client() { return m_Hmi; }
    QString Title() const { return m_Title; }
    const char* Status() const { return m_Status; }

private:
    Audio::Utils::Kiv::QtDbus::AudioManagerHmi m_Hmi;
    QString m_Title;
    const char* m_Status = "";
};

#endif // PANEL_H
