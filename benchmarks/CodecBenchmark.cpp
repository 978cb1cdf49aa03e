// SPDX-License-Identifier: MIT
#include "JsonParameterParser.h"

#include <QStringList>

#include <benchmark/benchmark.h>

using namespace Audio::Utils::Kiv::QtDbus;

namespace {

QMap<QString, QVariant> SmallMap()
{
    return {{QStringLiteral("sessionId"), 7u}, {QStringLiteral("playing"), true}};
}

QMap<QString, QVariant> TextMap()
{
    return {{QStringLiteral("streamName"), QStringLiteral("Player")},
            {QStringLiteral("streamModeName"), QStringLiteral("/com/quorvantel/audioclient/player")},
            {QStringLiteral("focusType"), QStringLiteral("permanent")},
            {QStringLiteral("streamType"), QStringLiteral("Media")},
            {QStringLiteral("destination"), QStringLiteral("all")},
            {QStringLiteral("newFocus"), QStringLiteral("gained")}};
}

QMap<QString, QVariant> ListMap()
{
    QStringList modes;
    for (int i = 0; i < 50; ++i) {
        modes.append(QStringLiteral("Mode %1").arg(i));
    }
    return {{QStringLiteral("modeList"), modes}};
}

void Encode(benchmark::State& state, const QMap<QString, QVariant>& parameters)
{
    for (auto _ : state) {
        QString json;
        AddParameters(parameters, json);
        benchmark::DoNotOptimize(json);
    }
}

void Decode(benchmark::State& state, const QMap<QString, QVariant>& parameters)
{
    QString json;
    AddParameters(parameters, json);
    for (auto _ : state) {
        QMap<QString, QVariant> decoded;
        GetParameters(json, decoded);
        benchmark::DoNotOptimize(decoded);
    }
}

BENCHMARK_CAPTURE(Encode, TwoEntries, SmallMap());
BENCHMARK_CAPTURE(Encode, SixTexts, TextMap());
BENCHMARK_CAPTURE(Encode, ListOfFifty, ListMap());
BENCHMARK_CAPTURE(Decode, TwoEntries, SmallMap());
BENCHMARK_CAPTURE(Decode, SixTexts, TextMap());
BENCHMARK_CAPTURE(Decode, ListOfFifty, ListMap());

} // namespace
