// SPDX-License-Identifier: MIT
#ifndef KIV_BENCHMARKS_PAYLOAD_H
#define KIV_BENCHMARKS_PAYLOAD_H

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QVariant>

namespace KivBenchmark {

/** A request: as the library is given it, and as the others are, with the text ready. */
struct Payload
{
    QString method;
    QMap<QString, QVariant> parameters;
    QString text;
    QByteArray utf8; ///< the same text
};

/** The payload of a name: "small" (33 bytes, 2 entries), "medium" (102, 7) or "list" (400, with a list of 20). */
Payload PayloadOf(const QString& name);

} // namespace KivBenchmark

#endif // KIV_BENCHMARKS_PAYLOAD_H
