// SPDX-License-Identifier: MIT
#include "AudioModel.h"

#include "Refusal.h"
#include "StreamParameters.h"
#include "Vocabulary.h"

#include <QHash>
#include <QJsonArray>

#include <map>
#include <optional>
#include <utility>

namespace Simulator {

AudioModel::AudioModel(const ModelSettings& settings)
    : m_InitialModes(settings.modes),
      m_Modes(settings.modes),
      m_Announcer(m_Sessions),
      m_RefusedStreams(settings.refusedStreams),
      m_LockedStreams(settings.lockedStreams)
{
}

Outcome AudioModel::Handle(const Request& request)
{
    try {
        const QJsonObject reply = Answer(request);
        return {reply, m_Announcer.Take()};
    } catch (const Refusal& refusal) {
        return {refusal.Reply(), {}};
    }
}

QJsonObject AudioModel::Answer(const Request& request)
{
    if (request.method == Method::OpenSession) {
        return OpenSession(request, Parameters(request.arguments));
    }
    const Operation operation = FindOperation(request);
    const Parameters parameters(request.arguments);
    return (this->*operation)(CallersSession(request, parameters), parameters);
}

AudioModel::Operation AudioModel::FindOperation(const Request& request)
{
    struct Entry
    {
        Operation operation = nullptr;
        std::optional<Role> role; // none: for both
    };
    static const QHash<QString, Entry> entries{
        {Method::CloseSession, {&AudioModel::CloseSession, {}}},
        {Method::GetModeList, {&AudioModel::GetModeList, Role::Hmi}},
        {Method::GetMode, {&AudioModel::GetMode, Role::Hmi}},
        {Method::SetMode, {&AudioModel::SetMode, Role::Hmi}},
        {Method::RegisterAudioStream, {&AudioModel::RegisterAudioStream, Role::App}},
        {Method::RequestAudioFocus, {&AudioModel::RequestAudioFocus, Role::App}},
        {Method::AudioActive, {&AudioModel::AudioActive, Role::App}},
        {Method::AbandonAudioFocus, {&AudioModel::AbandonAudioFocus, Role::App}}};

    const Entry entry = entries.value(request.method);
    if (!entry.operation) {
        throw Refusal(ErrorCode::UnknownMethod,
                      QStringLiteral("there is no method \"%1\"").arg(request.method));
    }
    if (entry.role.value_or(request.role) != request.role) {
        throw Refusal(ErrorCode::MethodOfOtherRole,
                      QStringLiteral("method \"%1\" is not for this kind of client").arg(request.method));
    }
    return entry.operation;
}

Session& AudioModel::CallersSession(const Request& request, const Parameters& parameters)
{
    const quint32 id = parameters.Number(Key::SessionId);
    Session* const session = m_Sessions.Find(id);
    if (!session || session->IsOfTheDevice()) {
        throw Refusal(ErrorCode::UnknownSession, QStringLiteral("there is no session %1").arg(id));
    }
    if (session->caller != request.caller || session->role != request.role) {
        throw Refusal(ErrorCode::ForeignSession, QStringLiteral("session %1 is another client's").arg(id));
    }
    return *session;
}

// The result is empty for all destinations, as everywhere inside.
QString AudioModel::KnownDestination(const QString& destination) const
{
    if (destination == Value::All) {
        return QString();
    }
    if (!m_Modes.HasDestination(destination)) {
        throw Refusal(ErrorCode::UnknownDestination,
                      QStringLiteral("there is no destination \"%1\"").arg(destination));
    }
    return destination;
}

QString AudioModel::ReadDestination(const Parameters& parameters) const
{
    return KnownDestination(parameters.Text(Key::Destination));
}

QJsonObject AudioModel::OpenSession(const Request& request, const Parameters& parameters)
{
    // A client without a bus name of its own sends an empty one; it is called by its unique name anyway.
    parameters.Text(Key::BusName);
    Session session;
    session.role = request.role;
    session.caller = request.caller;
    session.objectPath = parameters.ObjectPath(Key::ObjectPath);
    session.destination = parameters.Has(Key::Destination) ? ReadDestination(parameters) : QString();

    EndSession(m_Sessions.IdOf(session.role, session.caller, session.objectPath));
    return {{Key::SessionId, static_cast<qint64>(m_Sessions.Open(session))}};
}

QJsonObject AudioModel::CloseSession(Session& session, const Parameters&)
{
    EndSession(session.id);
    return {};
}

QJsonObject AudioModel::GetModeList(Session&, const Parameters& parameters)
{
    return {{Key::ModeList, QJsonArray::fromStringList(m_Modes.Modes(ReadDestination(parameters)))}};
}

QJsonObject AudioModel::GetMode(Session&, const Parameters& parameters)
{
    return {
        {Key::CurrentMode, QJsonArray::fromStringList(m_Modes.CurrentModes(ReadDestination(parameters)))}};
}

QJsonObject AudioModel::SetMode(Session& session, const Parameters& parameters)
{
    SwitchMode(parameters.Text(Key::NewMode), session.destination);
    return {};
}

void AudioModel::SwitchMode(const QString& mode, const QString& destination)
{
    if (!m_Modes.Set(mode, destination)) {
        throw Refusal(ErrorCode::ModeNotOffered, QStringLiteral("mode \"%1\" is not offered").arg(mode));
    }
    m_Announcer.ModeChanged(mode);
}

QJsonObject AudioModel::RegisterAudioStream(Session& session, const Parameters& parameters)
{
    const Stream stream = ReadStream(parameters);
    if (session.stream) {
        throw Refusal(ErrorCode::StreamRegistered,
                      QStringLiteral("session %1 has a stream already").arg(session.id));
    }
    session.stream = stream;
    OfferMode(session);
    return {};
}

void AudioModel::OfferMode(const Session& session)
{
    const QString mode = session.stream->modeName;
    if (!mode.isEmpty() && m_Modes.Add(mode, session.destination)) {
        m_Announcer.ModeListChanged(Value::Add, mode);
    }
}

void AudioModel::WithdrawMode(const Session& session)
{
    const QString mode = session.stream ? session.stream->modeName : QString();
    if (!mode.isEmpty()) {
        AnnounceRemoval(mode, m_Modes.Remove(mode, session.destination));
    }
}

void AudioModel::AnnounceRemoval(const QString& mode, const ModeTable::Removal& removal)
{
    if (removal.isGone) {
        m_Announcer.ModeListChanged(Value::Remove, mode);
    }
    for (const QString& newMode : removal.newModes) {
        m_Announcer.ModeChanged(newMode);
    }
}

// Nothing happens when there is no such session. The session itself is not called any more.
void AudioModel::EndSession(quint32 id)
{
    const Session* const session = m_Sessions.Find(id);
    if (!session) {
        return;
    }
    AnnounceFocus(m_Focus.GiveBack(id), id);
    WithdrawMode(*session);
    m_Sessions.Close(id);
}

QVector<Effect> AudioModel::CallerLeft(const QString& caller)
{
    // In an order in which none of them is called because of the end of another: those that hear of modes first,
    // then those that wait for the focus before the one that holds it.
    std::multimap<std::pair<bool, int>, quint32> sessions;
    const QVector<Session> ending = m_Sessions.OfCaller(caller);
    for (const Session& session : ending) {
        sessions.emplace(std::make_pair(session.role != Role::Hmi, m_Focus.PlaceOf(session.id)), session.id);
    }
    for (const auto& [order, id] : sessions) {
        EndSession(id);
    }
    return m_Announcer.Take();
}

bool AudioModel::HasSessions(const QString& caller) const
{
    return !m_Sessions.OfCaller(caller).isEmpty();
}

QVector<Session> AudioModel::Sessions() const
{
    return m_Sessions.OfClients();
}

} // namespace Simulator
