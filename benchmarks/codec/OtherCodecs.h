// SPDX-License-Identifier: MIT
#ifndef KIV_BENCHMARKS_OTHERCODECS_H
#define KIV_BENCHMARKS_OTHERCODECS_H

#include "Codec.h"

namespace KivBenchmark {

/** The same work with other libraries; for booleans, numbers, texts and lists of texts. */
void EncodeWithQJson(const Parameters& parameters, QString& json);
void DecodeWithQJson(const QString& json, Parameters& parameters);
void EncodeWithRapidJson(const Parameters& parameters, QString& json);
void DecodeWithRapidJson(const QString& json, Parameters& parameters);
void EncodeWithNlohmann(const Parameters& parameters, QString& json);
void DecodeWithNlohmann(const QString& json, Parameters& parameters);

} // namespace KivBenchmark

#endif // KIV_BENCHMARKS_OTHERCODECS_H
