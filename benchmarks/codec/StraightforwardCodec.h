// SPDX-License-Identifier: MIT
#ifndef KIV_BENCHMARKS_STRAIGHTFORWARDCODEC_H
#define KIV_BENCHMARKS_STRAIGHTFORWARDCODEC_H

#include <QMap>
#include <QString>
#include <QVariant>

namespace KivBenchmark::Straightforward {

/**
 * What the library's AddParameters() and GetParameters() do, written with cJSON as one would write it first.
 *
 * The library's own code is measured against it, and has to agree with it on everything, log records included.
 */
void AddParameters(const QMap<QString, QVariant>& parameters, QString& json);
void GetParameters(const QString& json, QMap<QString, QVariant>& parameters);

} // namespace KivBenchmark::Straightforward

#endif // KIV_BENCHMARKS_STRAIGHTFORWARDCODEC_H
