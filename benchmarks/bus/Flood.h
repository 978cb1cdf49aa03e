// SPDX-License-Identifier: MIT
#ifndef KIV_BENCHMARKS_FLOOD_H
#define KIV_BENCHMARKS_FLOOD_H

#include <QEventLoop>
#include <QString>

namespace KivBenchmark {

/** Orders floods from the service, over a connection of its own, and waits until the last message was counted. */
class Flood
{
public:
    /** Calls of this process's object at a path, 64 of them outstanding. */
    void Calls(const QString& path, const QString& method, const QString& arguments, int count);

    /** Broadcasts of one of the service's objects. */
    void Broadcasts(const QString& path, const QString& signal, const QString& payload, int count);

    /** To be called for each message. */
    void CountOne();

private:
    void Order(const QString& member, const QVariantList& arguments, int count);

    QEventLoop m_Loop;
    int m_Missing = 0;
};

} // namespace KivBenchmark

#endif // KIV_BENCHMARKS_FLOOD_H
