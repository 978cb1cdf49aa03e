// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_SIMULATORCONTROL_H
#define KIV_TESTS_SIMULATORCONTROL_H

#include "BusProbe.h"

#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QJsonDocument>
#include <QJsonObject>
#include <QString>
#include <QStringList>
#include <QVariantList>

namespace KivTest {

/** A line of the simulator's JSON log. */
inline QJsonObject LogObject(const QString& line)
{
    return QJsonDocument::fromJson(line.toUtf8()).object();
}

/** The lines of a JSON log without times, peers and paths: "request hmi getMode {…}". */
inline QStringList Gist(const QStringList& jsonLines)
{
    QStringList gist;
    for (const QString& line : jsonLines) {
        const QJsonObject object = LogObject(line);
        QStringList parts;
        for (const char* const member : {"kind", "role", "name", "payload"}) {
            const QString text = object.value(QLatin1String(member)).toString();
            if (!text.isEmpty()) {
                parts.append(text);
            }
        }
        gist.append(parts.join(QLatin1Char(' ')));
    }
    return gist;
}

/**
 * Steers a simulator through its control interface, over a connection of its own.
 *
 * Calls block and handle no events. The error of the last call is kept; results are empty then.
 */
class SimulatorControl
{
public:
    /** Calls a method. @return its results. */
    QVariantList Call(const QString& method, const QVariantList& arguments = {})
    {
        const QDBusMessage reply =
            m_Probe.Connection().call(Message(method, arguments), QDBus::Block, longestCall);
        const bool isError = reply.type() == QDBusMessage::ErrorMessage;
        m_Error = isError ? reply.errorName() + QStringLiteral(": ") + reply.errorMessage() : QString();
        return isError ? QVariantList() : reply.arguments();
    }

    /** Calls a method that answers later. */
    QDBusPendingCall Start(const QString& method, const QVariantList& arguments = {})
    {
        return m_Probe.Connection().asyncCall(Message(method, arguments), longestCall);
    }

    /** Calls a method that has no result. @return whether it was done. */
    bool Tell(const QString& method, const QVariantList& arguments = {})
    {
        Call(method, arguments);
        return m_Error.isEmpty();
    }

    /** The error of the last call, "name: message"; empty when it went well. */
    QString Error() const { return m_Error; }

    /** @return the fault's identifier; 0 after an error. */
    quint32 Arm(const QString& fault) { return Call(QStringLiteral("ArmFault"), {fault}).value(0).toUInt(); }

    bool Do(const QString& step) { return Tell(QStringLiteral("Do"), {step}); }

    bool AddStep(const QString& step) { return Tell(QStringLiteral("AddStep"), {step}); }

    quint32 CallCount(const QString& method)
    {
        return Call(QStringLiteral("CallCount"), {method}).value(0).toUInt();
    }

    /** Waits until that many calls have come in since the start of the scenario. */
    bool WaitForCalls(const QString& method, quint32 count)
    {
        return Tell(QStringLiteral("WaitForCalls"), {method, count, 30000u});
    }

    /** The log from a record on, as lines of JSON. */
    QStringList Log(quint32 from = 0)
    {
        QStringList all;
        for (QStringList lines = ReadLog(from); !lines.isEmpty(); lines = ReadLog(from)) {
            all += lines;
        }
        return all;
    }

    /** One answer of the log. @param next the record to read from; then the one to go on with. */
    QStringList ReadLog(quint32& next)
    {
        const QVariantList results = Call(QStringLiteral("ReadLog"), {next});
        next = results.value(1).toUInt();
        return results.value(0).toStringList();
    }

    /** The number of the log's next record. */
    quint32 LogEnd()
    {
        quint32 next = 0;
        while (!ReadLog(next).isEmpty()) {
        }
        return next;
    }

    /** The text with which the simulator's object describes itself. */
    QString Introspect()
    {
        return m_Probe.Introspect(QStringLiteral("com.kiv.AudioSimulator"),
                                  QStringLiteral("/com/kiv/AudioSimulator"));
    }

private:
    static constexpr int longestCall = 60000; // ms

    static QDBusMessage Message(const QString& method, const QVariantList& arguments)
    {
        QDBusMessage call = QDBusMessage::createMethodCall(
            QStringLiteral("com.kiv.AudioSimulator"), QStringLiteral("/com/kiv/AudioSimulator"),
            QStringLiteral("com.kiv.AudioSimulator.Control"), method);
        call.setArguments(arguments);
        return call;
    }

    BusProbe m_Probe;
    QString m_Error;
};

} // namespace KivTest

#endif // KIV_TESTS_SIMULATORCONTROL_H
