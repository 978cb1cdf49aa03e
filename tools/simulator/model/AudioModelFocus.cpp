// SPDX-License-Identifier: MIT
#include "AudioModel.h"

#include "Refusal.h"
#include "Vocabulary.h"

namespace Simulator {

namespace {

const Stream& StreamOf(const Session& session)
{
    if (!session.stream) {
        throw Refusal(ErrorCode::NoStream, QStringLiteral("session %1 has no stream").arg(session.id));
    }
    return *session.stream;
}

} // namespace

QJsonObject AudioModel::RequestAudioFocus(Session& session, const Parameters& parameters)
{
    const QString type = parameters.OneOf(Key::RequestType, Value::Query, Value::Request);
    const bool isGranted = FocusObstacle(session).isEmpty();
    if (type == Value::Query) {
        m_Announcer.FocusResult(session, isGranted ? Value::WouldBeGranted : Value::WouldFail);
    } else if (isGranted) {
        TakeFocus(session);
    } else {
        m_Announcer.FocusResult(session, Value::Failed);
    }
    return {};
}

QJsonObject AudioModel::AudioActive(Session& session, const Parameters& parameters)
{
    parameters.Flag(Key::Playing);
    StreamOf(session);
    return {};
}

QJsonObject AudioModel::AbandonAudioFocus(Session& session, const Parameters& parameters)
{
    parameters.NonEmptyText(Key::Reason);
    const Stream stream = StreamOf(session);
    const QVector<FocusChange> changes = m_Focus.GiveBack(session.id);
    if (changes.isEmpty()) {
        throw Refusal(ErrorCode::FocusNotHeld,
                      QStringLiteral("stream \"%1\" has no focus to give back").arg(stream.name));
    }
    m_Announcer.FocusResult(session, Value::Abandoned);
    AnnounceFocus(changes, session.id);
    return {};
}

// Why a session cannot have the focus; empty when it can.
QString AudioModel::FocusObstacle(const Session& session)
{
    const QString stream = StreamOf(session).name;
    if (m_RefusedStreams.contains(stream)) {
        return QStringLiteral("stream \"%1\" is always refused the focus").arg(stream);
    }
    const Session* const holder = m_Sessions.Find(m_Focus.Holder());
    if (!holder || holder->id == session.id || !m_LockedStreams.contains(StreamOf(*holder).name)) {
        return QString();
    }
    return QStringLiteral("stream \"%1\" holds the focus and is locked").arg(holder->stream->name);
}

void AudioModel::TakeFocus(const Session& session)
{
    QVector<FocusChange> changes = m_Focus.Take(session.id, StreamOf(session).focusType == Value::Permanent);
    const bool isNew = !changes.isEmpty();
    if (isNew) {
        changes.removeLast(); // its own, told as the result
    }
    AnnounceFocus(changes);
    m_Announcer.FocusResult(session, Value::Granted);
    if (isNew) {
        m_Announcer.FocusBroadcast(session, Value::Gained);
    }
}

void AudioModel::AnnounceFocus(const QVector<FocusChange>& changes, quint32 exceptSession)
{
    for (const FocusChange& change : changes) {
        const Session& session = *m_Sessions.Find(change.sessionId);
        if (session.id != exceptSession) {
            m_Announcer.FocusChanged(session, change.newFocus);
        }
        m_Announcer.FocusBroadcast(session, change.newFocus);
    }
}

} // namespace Simulator
