// SPDX-License-Identifier: MIT
#include "AudioService.h"

#include "Vocabulary.h"

#include <cstdlib>

#include <sys/resource.h>

namespace Simulator {

namespace {

// The end is on purpose: nobody wants to look at its core.
[[noreturn]] void EndByAbort()
{
    const rlimit none{0, 0};
    ::setrlimit(RLIMIT_CORE, &none);
    std::abort();
}

Role RoleOf(Audience audience)
{
    return audience == Audience::App ? Role::App : Role::Hmi;
}

QJsonObject NumberedEvent(Audience audience, int number)
{
    const QString text = QStringLiteral("flood-%1").arg(number);
    switch (audience) {
    case Audience::Hmi:
        return {{Key::ActiveMode, text}};
    case Audience::App:
        return {{Key::NewFocus, text}};
    case Audience::All:
        break;
    }
    return {
        {Key::StreamName, text},      {Key::StreamModeName, QString()}, {Key::FocusType, Value::Permanent},
        {Key::StreamType, QString()}, {Key::Destination, Value::All},   {Key::NewFocus, Value::Gained}};
}

QString FloodEventName(Audience audience)
{
    switch (audience) {
    case Audience::Hmi:
        return Event::ModeChange;
    case Audience::App:
        return Event::AudioFocusChange;
    case Audience::All:
        break;
    }
    return Event::AudioFocusBroadcast;
}

} // namespace

/** Does each kind of action; says why it cannot be done. */
class AudioService::Doer
{
public:
    explicit Doer(AudioService& service)
        : m_Service(service)
    {
    }

    QString operator()(const AddMode& action) const
    {
        return Tell(m_Service.m_Model->AddMode(action.mode, action.destination));
    }

    QString operator()(const RemoveMode& action) const
    {
        return Tell(m_Service.m_Model->RemoveMode(action.mode, action.destination));
    }

    QString operator()(const PressMode& action) const
    {
        return Tell(m_Service.m_Model->PressMode(action.mode, action.destination));
    }

    QString operator()(const StartStream& action) const
    {
        return Tell(m_Service.m_Model->StartStream(action.stream, action.destination));
    }

    QString operator()(const StopStream& action) const
    {
        return Tell(m_Service.m_Model->StopStream(action.name));
    }

    QString operator()(const ArmFault& action) const
    {
        m_Service.m_Faults.Arm(action.fault);
        return QString();
    }

    QString operator()(const DisarmFaults&) const
    {
        m_Service.m_Faults.DisarmAll();
        return QString();
    }

    QString operator()(const Leave& action) const
    {
        if (!m_Service.m_HasName) {
            return QStringLiteral("the service has no bus name to give away");
        }
        m_Service.m_Bus->GiveNameAway();
        m_Service.m_HasName = false;
        m_Service.LogService(QStringLiteral("left"));
        if (action.milliseconds) {
            m_Service.m_ReturnTimer.start(*action.milliseconds);
        }
        return QString();
    }

    QString operator()(const Return&) const
    {
        if (m_Service.m_HasName) {
            return QStringLiteral("the service has its bus name already");
        }
        m_Service.m_ReturnTimer.stop();
        return m_Service.ComeBack() ? QString() : QStringLiteral("the service's bus name is taken");
    }

    QString operator()(const Restart& action) const
    {
        m_Service.Vanish();
        m_Service.m_Model->LoseSessions();
        m_Service.LogService(QStringLiteral("left"));
        m_Service.m_ReturnTimer.start(action.milliseconds);
        return QString();
    }

    [[noreturn]] QString operator()(const Crash&) const
    {
        m_Service.LogService(QStringLiteral("crashes"));
        EndByAbort();
    }

    QString operator()(const StopAnswering& action) const
    {
        m_Service.m_IsMute = true;
        m_Service.LogService(QStringLiteral("stops answering"));
        m_Service.m_AnswerTimer.stop(); // of an earlier one
        if (action.milliseconds) {
            m_Service.m_AnswerTimer.start(*action.milliseconds);
        }
        return QString();
    }

    QString operator()(const AnswerAgain&) const
    {
        if (!m_Service.m_IsMute) {
            return QStringLiteral("the service answers already");
        }
        m_Service.AnswerWhatWaits();
        return QString();
    }

    QString operator()(const Send& action) const
    {
        Effect pattern{};
        pattern.name = action.name;
        pattern.parameters = action.parameters;
        pattern.payload = action.payload;
        const QVector<Effect> effects = m_Service.AddressEvent(action.to, pattern);
        if (effects.isEmpty() || !m_Service.m_Bus) {
            return QStringLiteral("nobody to send it to");
        }
        m_Service.m_Bus->SendEvents(effects);
        return QString();
    }

    QString operator()(const Flood& action) const
    {
        if (!m_Service.m_Bus) {
            return QStringLiteral("the service is not running");
        }
        Effect pattern{};
        pattern.name = FloodEventName(action.to);
        for (int number = 1; number <= action.count; ++number) {
            pattern.parameters = NumberedEvent(action.to, number);
            for (const Effect& effect : m_Service.AddressEvent(action.to, pattern)) {
                m_Service.m_Bus->SendWithoutReply(effect);
            }
        }
        return QString();
    }

private:
    QString Tell(const PanelOutcome& outcome) const
    {
        if (m_Service.m_Bus) {
            m_Service.m_Bus->SendEvents(outcome.effects);
        }
        return outcome.complaint;
    }

    AudioService& m_Service;
};

QString AudioService::Do(const Action& action)
{
    return std::visit(Doer(*this), action);
}

QVector<Effect> AudioService::AddressEvent(Audience to, const Effect& pattern) const
{
    Effect effect = pattern;
    effect.kind = to == Audience::All ? Effect::Kind::Broadcast : Effect::Kind::Call;
    effect.role = RoleOf(to);
    if (to == Audience::All) {
        return {effect};
    }
    QVector<Effect> effects;
    for (const Session& session : m_Model->Sessions()) {
        if (session.role == effect.role) {
            Effect one = effect;
            one.busName = session.caller;
            one.objectPath = session.objectPath;
            AddSession(one, session);
            effects.append(one);
        }
    }
    return effects;
}

} // namespace Simulator
