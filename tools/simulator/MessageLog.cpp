// SPDX-License-Identifier: MIT
#include "MessageLog.h"

#include <cstdio>

namespace Simulator {

namespace {

const char* NameOf(Role role)
{
    return role == Role::Hmi ? "hmi" : "app";
}

QString PeerOf(const Effect& effect)
{
    return effect.busName.isEmpty() ? QString() : effect.busName + QLatin1Char(' ') + effect.objectPath;
}

} // namespace

MessageLog::MessageLog(bool isEnabled)
    : m_IsEnabled(isEnabled)
{
}

void MessageLog::Print(const char* arrow, const char* who, QString text, const QString& peer) const
{
    if (!m_IsEnabled) {
        return;
    }
    if (!peer.isEmpty()) {
        text += QStringLiteral("  [%1]").arg(peer);
    }
    // A client's JSON may have line breaks between its items.
    text.replace(QLatin1Char('\n'), QLatin1String("\\n")).replace(QLatin1Char('\r'), QLatin1String("\\r"));
    std::printf("%s %s  %s\n", arrow, who, text.toUtf8().constData());
    std::fflush(stdout);
}

void MessageLog::Received(const Request& request) const
{
    Print("<-", NameOf(request.role), request.method + QLatin1Char(' ') + request.arguments, request.caller);
}

void MessageLog::Answered(const Request& request, const QString& reply) const
{
    Print("->", NameOf(request.role), reply, request.caller);
}

void MessageLog::Sent(const Effect& effect, const QString& json) const
{
    const QString text = effect.name + QLatin1Char(' ') + json;
    if (effect.kind == Effect::Kind::Broadcast) {
        Print("=>", "all", text, QString());
    } else {
        Print("->", NameOf(effect.role), text, PeerOf(effect));
    }
}

void MessageLog::Left(const QString& caller) const
{
    Print("--", "bus", QStringLiteral("left"), caller);
}

void MessageLog::CallFailed(const Effect& effect, const QString& reason) const
{
    Print("!!", NameOf(effect.role), effect.name + QLatin1String(" failed: ") + reason, PeerOf(effect));
}

} // namespace Simulator
