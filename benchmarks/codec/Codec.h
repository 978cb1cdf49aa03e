// SPDX-License-Identifier: MIT
#ifndef KIV_BENCHMARKS_CODEC_H
#define KIV_BENCHMARKS_CODEC_H

#include <QMap>
#include <QString>
#include <QVariant>

#include <vector>

namespace KivBenchmark {

using Parameters = QMap<QString, QVariant>;

/** A way from a parameter map to a JSON text and back. */
struct Codec
{
    const char* name;
    void (*encode)(const Parameters& parameters, QString& json);
    void (*decode)(const QString& json, Parameters& parameters);
};

/** The library's codec, the straightforward one, and what was found when the benchmarks were configured. */
const std::vector<Codec>& Codecs();

/** What is encoded and decoded. */
struct Sample
{
    const char* name;
    Parameters parameters;
};
const std::vector<Sample>& Samples();

} // namespace KivBenchmark

#endif // KIV_BENCHMARKS_CODEC_H
