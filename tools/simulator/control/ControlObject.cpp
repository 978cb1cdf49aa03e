// SPDX-License-Identifier: MIT
#include "ControlObject.h"

#include "ControlAdaptor.h"
#include "JsonNode.h"
#include "ScenarioReader.h"

#include <QDBusError>
#include <QTimer>

#include <algorithm>

namespace Simulator {

namespace {

constexpr uint longestWait = 600000; // ms

QString ErrorImpossible()
{
    return QStringLiteral("com.kiv.AudioSimulator.Error.Impossible");
}

QString ErrorTimeout()
{
    return QStringLiteral("com.kiv.AudioSimulator.Error.Timeout");
}

} // namespace

ControlObject::ControlObject(const QDBusConnection& connection, ScenarioPlayer& player, AudioService& service,
                             EventLog& log)
    : m_Connection(connection),
      m_Player(player),
      m_Service(service),
      m_Log(log)
{
    new ControlAdaptor(this); // a Qt child
    connect(&m_Service, &AudioService::RequestTaken, this, &ControlObject::EndWaits);
    connect(&m_Player, &ScenarioPlayer::Done, this, &ControlObject::EndWaits);
    m_Connection.connect(QString(), QStringLiteral("/org/freedesktop/DBus/Local"),
                         QStringLiteral("org.freedesktop.DBus.Local"), QStringLiteral("Disconnected"), this,
                         SIGNAL(Disconnected()));
}

bool ControlObject::Start()
{
    return m_Connection.registerObject(QStringLiteral("/com/kiv/AudioSimulator"), this) &&
           m_Connection.registerService(QStringLiteral("com.kiv.AudioSimulator"));
}

void ControlObject::AddMode(const QString& mode, const QString& destination)
{
    Perform(QStringLiteral("addMode"), Simulator::AddMode{mode, destination});
}

void ControlObject::RemoveMode(const QString& mode, const QString& destination)
{
    Perform(QStringLiteral("removeMode"), Simulator::RemoveMode{mode, destination});
}

void ControlObject::PressMode(const QString& mode, const QString& destination)
{
    Perform(QStringLiteral("pressMode"), Simulator::PressMode{mode, destination});
}

void ControlObject::StartStream(const QString& name, const QString& type, const QString& focusType)
{
    Perform(QStringLiteral("startStream"),
            Simulator::StartStream{{name, QString(), type, focusType}, QString()});
}

void ControlObject::StopStream(const QString& name)
{
    Perform(QStringLiteral("stopStream"), Simulator::StopStream{name});
}

uint ControlObject::ArmFault(const QString& fault)
{
    const auto read = ReadText(ReadFault, QStringLiteral("fault"), fault);
    return read ? m_Service.Arm(*read) : 0;
}

void ControlObject::DisarmFault(uint id)
{
    if (!m_Service.Disarm(id)) {
        Complain(QStringLiteral("no fault %1 waits").arg(id));
    }
}

void ControlObject::Do(const QString& step)
{
    const auto read = ReadText(ReadStepForNow, QStringLiteral("step"), step);
    if (read) {
        Perform(read->name, read->action);
    }
}

void ControlObject::AddStep(const QString& step)
{
    const auto read = ReadText(ReadStep, QStringLiteral("step"), step);
    if (read) {
        m_Player.AddStep(*read);
    }
}

void ControlObject::LoadScenario(const QString& scenario)
{
    const auto read = ReadText(ReadScenario, QStringLiteral("scenario"), scenario);
    if (read) {
        ReportPlay(m_Player.Play(*read));
    }
}

void ControlObject::Reset()
{
    ReportPlay(m_Player.Replay());
}

uint ControlObject::CallCount(const QString& method)
{
    return static_cast<uint>(m_Service.Calls().Of(method, std::nullopt));
}

uint ControlObject::WaitForCalls(const QString& method, uint count, uint milliseconds)
{
    StartWait({message(), [this, method, count] { return CallCount(method) >= count; },
               [this, method] { return QVariantList{CallCount(method)}; }},
              milliseconds);
    return 0;
}

void ControlObject::WaitForSteps(uint milliseconds)
{
    StartWait({message(), [this] { return m_Player.IsDone(); }, [] { return QVariantList(); }}, milliseconds);
}

QStringList ControlObject::ReadLog(uint from, uint& next)
{
    const EventLog::Excerpt excerpt = m_Log.Read(from);
    next = excerpt.next;
    return excerpt.lines;
}

// What a text says; nothing, and an error for the caller, when it does not follow the format.
template <typename Value>
std::optional<Value> ControlObject::ReadText(Value (*read)(const QByteArray&), const QString& what,
                                             const QString& text)
{
    try {
        return read(text.toUtf8());
    } catch (const JsonError& error) {
        sendErrorReply(QDBusError::InvalidArgs,
                       QStringLiteral("%1:%2: %3").arg(what).arg(error.Line()).arg(error.Text()));
        return std::nullopt;
    }
}

void ControlObject::Perform(const QString& name, const Action& action)
{
    Step step;
    step.name = name;
    step.action = action;
    Complain(m_Player.Do(step));
}

void ControlObject::Complain(const QString& complaint)
{
    if (!complaint.isEmpty()) {
        sendErrorReply(ErrorImpossible(), complaint);
    }
}

void ControlObject::ReportPlay(bool hasName)
{
    EndWaits();
    if (!hasName) {
        Complain(QStringLiteral("the service's bus name is taken"));
    }
}

void ControlObject::StartWait(const Wait& wait, uint milliseconds)
{
    setDelayedReply(true);
    const int id = ++m_LastWait;
    m_Waits.emplace(id, wait);
    QTimer::singleShot(static_cast<int>(std::min(milliseconds, longestWait)), this,
                       [this, id] { Expire(id); });
    EndWaits();
}

void ControlObject::EndWaits()
{
    for (auto wait = m_Waits.begin(); wait != m_Waits.end();) {
        if (wait->second.isOver()) {
            m_Connection.send(wait->second.call.createReply(wait->second.answer()));
            wait = m_Waits.erase(wait);
        } else {
            ++wait;
        }
    }
}

void ControlObject::Expire(int id)
{
    const auto found = m_Waits.find(id);
    if (found != m_Waits.end()) {
        m_Connection.send(found->second.call.createErrorReply(
            ErrorTimeout(), QStringLiteral("it has not happened within the given time")));
        m_Waits.erase(found);
    }
}

} // namespace Simulator
