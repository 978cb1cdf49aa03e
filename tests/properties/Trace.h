// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_TRACE_H
#define KIV_TESTS_TRACE_H

#include "Schedule.h"

#include <QString>
#include <QStringList>

#include <array>
#include <utility>

namespace KivTest {

/**
 * What came out of the clients: requests, results, signals, for each client in order. Model and clients write
 * the same lines.
 */
class Trace
{
public:
    /** A request that a proxy was given. */
    void Request(int client, bool isBlocking, const QString& method, const QString& arguments)
    {
        Add(client, QStringLiteral("%1 %2 %3").arg(isBlocking ? "asks" : "sends", method, arguments));
    }

    /** What an …Async operation returned. */
    void Returned(int client, Operation operation, quint32 requestId)
    {
        Add(client, QStringLiteral("%1Async returns %2").arg(NameOf(operation)).arg(requestId));
    }

    /** What a blocking operation returned. */
    void Returned(int client, Operation operation, bool result)
    {
        Add(client, QStringLiteral("%1 returns %2").arg(NameOf(operation), Text(result)));
    }

    /** A completion signal. */
    void Completed(int client, Operation operation, quint32 requestId, bool result)
    {
        Add(client, QStringLiteral("Signal%1Completed %2 %3")
                        .arg(NameOf(operation))
                        .arg(requestId)
                        .arg(Text(result)));
    }

    /** Any other signal. */
    void Event(int client, const QString& text) { Add(client, text); }

    /** The lines since the last call. */
    QStringList Take()
    {
        QStringList all;
        for (QStringList& lines : m_Lines) {
            all += std::exchange(lines, {});
        }
        return all;
    }

    static QString Text(bool flag) { return flag ? QStringLiteral("true") : QStringLiteral("false"); }

private:
    void Add(int client, const QString& text)
    {
        const auto index = static_cast<size_t>(client);
        m_Lines[index].append(QStringLiteral("%1: %2").arg(QLatin1String(Clients()[index].name), text));
    }

    std::array<QStringList, 3> m_Lines;
};

/** What a client shows of itself, and how many replies it watches. */
struct ClientState
{
    bool exists = false;
    int initState = 0;
    quint32 sessionId = 0;
    QStringList modes;
    quint32 storedId = 0;
    QString storedMode;
    int watchers = 0;

    QString ToText() const
    {
        if (!exists) {
            return QStringLiteral("does not exist");
        }
        return QStringLiteral("state %1, session %2, modes \"%3\", stored request %4 for \"%5\", %6 watchers")
            .arg(initState)
            .arg(sessionId)
            .arg(modes.join("\", \""))
            .arg(storedId)
            .arg(storedMode)
            .arg(watchers);
    }
};

} // namespace KivTest

#endif // KIV_TESTS_TRACE_H
