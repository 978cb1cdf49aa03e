// SPDX-License-Identifier: MIT
#include "AdaptorConnection.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QLoggingCategory>
#include <QObject>

#include <benchmark/benchmark.h>

using Audio::Utils::Kiv::QtDbus::AdaptorConnection;

namespace {

// Exporting on a connection that does not exist returns at once: what is left is one debug record.
void OneDebugRecord(benchmark::State& state, bool isEnabled)
{
    QLoggingCategory::defaultCategory()->setEnabled(QtDebugMsg, isEnabled);
    const auto previous = qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    QDBusConnection nowhere(QStringLiteral("no such connection"));
    AdaptorConnection connection(nowhere);
    QObject object;
    const QString name = QStringLiteral("com.quorvantel.audioclient.benchmark");
    const QString path;
    for (auto _ : state) {
        benchmark::DoNotOptimize(connection.RegisterObject(name, path, &object));
    }
    qInstallMessageHandler(previous);
}

BENCHMARK_CAPTURE(OneDebugRecord, Off, false);
BENCHMARK_CAPTURE(OneDebugRecord, On, true);

} // namespace
