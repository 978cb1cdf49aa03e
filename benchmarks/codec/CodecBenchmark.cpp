// SPDX-License-Identifier: MIT
#include "Codec.h"

#include <benchmark/benchmark.h>

#include <string>

namespace KivBenchmark {

namespace {

void Encode(benchmark::State& state, const Codec& codec, const Parameters& parameters)
{
    for (auto _ : state) {
        QString json;
        codec.encode(parameters, json);
        benchmark::DoNotOptimize(json);
    }
}

void Decode(benchmark::State& state, const Codec& codec, const Parameters& parameters)
{
    QString json;
    codec.encode(parameters, json);
    for (auto _ : state) {
        Parameters decoded;
        codec.decode(json, decoded);
        benchmark::DoNotOptimize(decoded);
    }
}

// "encode/2 entries/library" and so on: each codec with each sample.
bool RegisterAll()
{
    for (const Sample& sample : Samples()) {
        for (const Codec& codec : Codecs()) {
            const std::string name = std::string(sample.name) + "/" + codec.name;
            benchmark::RegisterBenchmark(("encode/" + name).c_str(), &Encode, codec, sample.parameters);
            benchmark::RegisterBenchmark(("decode/" + name).c_str(), &Decode, codec, sample.parameters);
        }
    }
    return true;
}

const bool isRegistered = RegisterAll();

} // namespace

} // namespace KivBenchmark
