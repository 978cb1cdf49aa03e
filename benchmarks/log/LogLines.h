// SPDX-License-Identifier: MIT
#ifndef KIV_BENCHMARKS_LOGLINES_H
#define KIV_BENCHMARKS_LOGLINES_H

#include "AudioManagerApp.h"
#include "logging/Log.h"

#include <QDBusConnection>
#include <QString>
#include <QTime>

#include "AdaptorConnection.h"
#include "ServiceProviderProxyAppFactory.h"
#include "ServiceRegistrator.h"

namespace KivBenchmark {

/** Switches debug records on or off, and critical ones off, and drops every record, while it lives. */
class SilentLog
{
public:
    explicit SilentLog(bool hasDebug)
        : m_Previous(qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {}))
    {
        Enable(hasDebug, false);
    }
    ~SilentLog()
    {
        Enable(true, true);
        qInstallMessageHandler(m_Previous);
    }
    SilentLog(const SilentLog&) = delete;
    SilentLog& operator=(const SilentLog&) = delete;

private:
    static void Enable(bool hasDebug, bool hasCritical)
    {
        QLoggingCategory::defaultCategory()->setEnabled(QtDebugMsg, hasDebug);
        QLoggingCategory::defaultCategory()->setEnabled(QtCriticalMsg, hasCritical);
    }

    const QtMessageHandler m_Previous;
};

/** A client that was not initialised: its ServiceRequest() writes one debug record, complains, and sends nothing. */
struct IdleClient
{
    QDBusConnection bus{QStringLiteral("no such connection")};
    Audio::Utils::Kiv::QtDbus::ServiceRegistrator registrator{bus, QString()};
    Audio::Utils::Kiv::QtDbus::AdaptorConnection connection{bus};
    Audio::Utils::Kiv::QtDbus::ServiceProviderProxyAppFactory factory;
    Audio::Utils::Kiv::QtDbus::AudioManagerApp client{registrator,
                                                      QStringLiteral("/idle"),
                                                      QStringLiteral("Player"),
                                                      connection,
                                                      QString(),
                                                      true,
                                                      QString(),
                                                      factory,
                                                      false};
};

/** A record as the library writes them. */
inline void OneLine(const QString& method, const QString& arguments)
{
    using Audio::Utils::Kiv::QtDbus::Log;
    qCDebug(Log) << "KivBaseClient::ServiceRequest --" << method << arguments;
}

/** The record of KivBaseClient::ServiceRequest() as one would write it first. */
inline void OneLineWithQTime(const QString& method, const QString& arguments)
{
    using Audio::Utils::Kiv::QtDbus::Log;
    qCDebug(Log) << "KivBaseClient::ServiceRequest -- Time:"
                 << QTime::currentTime().toString(QStringLiteral("mm:ss.zzz")) << method << arguments;
}

} // namespace KivBenchmark

#endif // KIV_BENCHMARKS_LOGLINES_H
