// SPDX-License-Identifier: MIT
#include "Payload.h"

#include "JsonParameterParser.h"

#include <QStringList>

namespace KivBenchmark {

namespace {

constexpr uint sessionId = 1234; // as the service gives it

Payload Made(const QString& method, const QMap<QString, QVariant>& parameters, int size)
{
    QString text;
    Audio::Utils::Kiv::QtDbus::AddParameters(parameters, text);
    if (text.size() != size) {
        qFatal("the arguments of %s have %d bytes instead of %d", qPrintable(method), text.size(), size);
    }
    return {method, parameters, text, text.toUtf8()};
}

QStringList TwentyModes()
{
    QStringList modes;
    for (int i = 0; i < 20; ++i) {
        modes.append(QStringLiteral("Audio mode %1").arg(i, 4, 10, QLatin1Char('0')));
    }
    return modes;
}

} // namespace

Payload PayloadOf(const QString& name)
{
    if (name == "small") {
        return Made("audioActive", {{"playing", true}, {"sessionId", sessionId}}, 33);
    }
    if (name == "medium") {
        return Made("medium",
                    {{"action", "add"},
                     {"kind", "song"},
                     {"mode", "Radio"},
                     {"playing", true},
                     {"reason", "user"},
                     {"sessionId", sessionId},
                     {"zone", 2}},
                    102);
    }
    if (name == "list") {
        return Made("list", {{"modeList", TwentyModes()}, {"sessionId", sessionId}, {"zone", 2}}, 400);
    }
    qFatal("payload %s: expected small, medium or list", qPrintable(name));
}

} // namespace KivBenchmark
