// SPDX-License-Identifier: MIT
#include "AudioModel.h"

#include "Refusal.h"
#include "StreamParameters.h"
#include "Vocabulary.h"

namespace Simulator {

namespace {

// A complaint has no number, so the code of a Refusal that only the panel meets does not matter.
Refusal Complaint(const QString& text)
{
    return Refusal(ErrorCode::InvalidValue, text);
}

void RequireName(const QString& mode)
{
    Parameters({{Key::Mode, mode}}).NonEmptyText(Key::Mode);
}

} // namespace

template <typename Deed>
PanelOutcome AudioModel::AtThePanel(Deed deed)
{
    try {
        deed();
        return {QString(), m_Announcer.Take()};
    } catch (const Refusal& refusal) {
        return {refusal.Message(), {}};
    }
}

QString AudioModel::PanelDestination(const QString& destination) const
{
    return destination.isEmpty() ? QString() : KnownDestination(destination);
}

PanelOutcome AudioModel::AddMode(const QString& mode, const QString& destination)
{
    return AtThePanel([&] {
        RequireName(mode);
        if (m_Modes.AddOwn(mode, PanelDestination(destination))) {
            m_Announcer.ModeListChanged(Value::Add, mode);
        }
    });
}

PanelOutcome AudioModel::RemoveMode(const QString& mode, const QString& destination)
{
    return AtThePanel([&] {
        const QString where = PanelDestination(destination);
        if (!m_Modes.HasOwn(mode, where)) {
            throw Complaint(QStringLiteral("mode \"%1\" is not offered by the device itself").arg(mode));
        }
        const QString emptied = m_Modes.EmptiedBy(mode, where);
        if (!emptied.isEmpty()) {
            throw Complaint(QStringLiteral("destination \"%1\" must keep a mode of the device itself: \"%2\" "
                                           "is its last one")
                                .arg(emptied, mode));
        }
        AnnounceRemoval(mode, m_Modes.RemoveOwn(mode, where));
    });
}

PanelOutcome AudioModel::PressMode(const QString& mode, const QString& destination)
{
    return AtThePanel([&] { SwitchMode(mode, PanelDestination(destination)); });
}

PanelOutcome AudioModel::StartStream(const Stream& stream, const QString& destination)
{
    return AtThePanel([&] {
        Session session;
        session.role = Role::App;
        session.destination = PanelDestination(destination);
        session.stream = ReadStream(ParametersOf(stream));
        if (m_Sessions.IdOfDeviceStream(stream.name) != 0) {
            throw Complaint(QStringLiteral("the device has a stream \"%1\" already").arg(stream.name));
        }
        const QString obstacle = FocusObstacle(session);
        if (!obstacle.isEmpty()) {
            throw Complaint(obstacle);
        }
        session.id = m_Sessions.Open(session);
        OfferMode(session);
        TakeFocus(session);
    });
}

PanelOutcome AudioModel::StopStream(const QString& name)
{
    return AtThePanel([&] {
        const quint32 id = m_Sessions.IdOfDeviceStream(name);
        if (id == 0) {
            throw Complaint(QStringLiteral("the device has no stream \"%1\"").arg(name));
        }
        EndSession(id);
    });
}

void AudioModel::LoseSessions()
{
    m_Sessions.CloseAll();
    m_Focus = FocusStack();
    m_Modes = ModeTable(m_InitialModes);
}

} // namespace Simulator
