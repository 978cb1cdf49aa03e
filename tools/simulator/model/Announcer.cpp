// SPDX-License-Identifier: MIT
#include "Announcer.h"

#include "Vocabulary.h"

#include <utility>

namespace Simulator {

Announcer::Announcer(const SessionTable& sessions)
    : m_Sessions(sessions)
{
}

void Announcer::Call(const Session& session, QLatin1String method, QJsonObject parameters)
{
    if (session.IsOfTheDevice()) {
        return;
    }
    parameters.insert(Key::SessionId, static_cast<qint64>(session.id));
    m_Effects.append(
        {Effect::Kind::Call, session.role, session.caller, session.objectPath, method, parameters});
}

void Announcer::CallEveryHmi(QLatin1String method, const QJsonObject& parameters)
{
    for (const Session& session : m_Sessions.OfRole(Role::Hmi)) {
        Call(session, method, parameters);
    }
}

void Announcer::ModeChanged(const QString& mode)
{
    CallEveryHmi(Event::ModeChange, {{Key::ActiveMode, mode}});
}

void Announcer::ModeListChanged(QLatin1String action, const QString& mode)
{
    CallEveryHmi(Event::ModeListChange, {{Key::Action, action}, {Key::Mode, mode}});
}

void Announcer::FocusResult(const Session& session, QLatin1String result)
{
    Call(session, Event::RequestAudioFocusResult, {{Key::NewFocus, result}});
}

void Announcer::FocusChanged(const Session& session, QLatin1String newFocus)
{
    Call(session, Event::AudioFocusChange, {{Key::NewFocus, newFocus}});
}

void Announcer::FocusBroadcast(const Session& session, QLatin1String newFocus)
{
    const Stream stream = session.stream.value_or(Stream());
    const QString destination = session.destination.isEmpty() ? Value::All : session.destination;
    const QJsonObject parameters{{Key::StreamName, stream.name},     {Key::StreamModeName, stream.modeName},
                                 {Key::FocusType, stream.focusType}, {Key::StreamType, stream.type},
                                 {Key::Destination, destination},    {Key::NewFocus, newFocus}};
    m_Effects.append(
        {Effect::Kind::Broadcast, Role::Hmi, QString(), QString(), Event::AudioFocusBroadcast, parameters});
}

QVector<Effect> Announcer::Take()
{
    return std::exchange(m_Effects, {});
}

} // namespace Simulator
