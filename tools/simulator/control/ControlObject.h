// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_CONTROL_CONTROLOBJECT_H
#define SIMULATOR_CONTROL_CONTROLOBJECT_H

#include "AudioService.h"
#include "EventLog.h"
#include "ScenarioPlayer.h"

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QObject>
#include <QStringList>

#include <functional>
#include <map>
#include <optional>

namespace Simulator {

/**
 * The simulator's own object on the bus, behind the generated adaptor of com.kiv.AudioSimulator.Control, which
 * documents the methods. The bus calls them; what is wrong becomes a D-Bus error.
 */
class ControlObject : public QObject, protected QDBusContext
{
    Q_OBJECT

public:
    /** All must outlive the object. */
    ControlObject(const QDBusConnection& connection, ScenarioPlayer& player, AudioService& service,
                  EventLog& log);

    /** Exports the object and takes its bus name. @return false when somebody else has it. */
    bool Start();

    void AddMode(const QString& mode, const QString& destination);
    void RemoveMode(const QString& mode, const QString& destination);
    void PressMode(const QString& mode, const QString& destination);
    void StartStream(const QString& name, const QString& type, const QString& focusType);
    void StopStream(const QString& name);
    uint ArmFault(const QString& fault);
    void DisarmFault(uint id);
    void Do(const QString& step);
    void AddStep(const QString& step);
    void LoadScenario(const QString& scenario);
    void Reset();
    uint CallCount(const QString& method);
    uint WaitForCalls(const QString& method, uint count, uint milliseconds);
    void WaitForSteps(uint milliseconds);
    QStringList ReadLog(uint from, uint& next);

Q_SIGNALS:
    /** The bus has ended the connection. */
    void Disconnected();

private:
    /** A call that is answered when something has come true. */
    struct Wait
    {
        QDBusMessage call;
        std::function<bool()> isOver;
        std::function<QVariantList()> answer;
    };

    template <typename Value>
    std::optional<Value> ReadText(Value (*read)(const QByteArray&), const QString& what, const QString& text);
    void Perform(const QString& name, const Action& action);
    void Complain(const QString& complaint);
    void ReportPlay(bool hasName);
    void StartWait(const Wait& wait, uint milliseconds);
    void EndWaits();
    void Expire(int id);

    QDBusConnection m_Connection;
    ScenarioPlayer& m_Player;
    AudioService& m_Service;
    EventLog& m_Log;
    std::map<int, Wait> m_Waits;
    int m_LastWait = 0;
};

} // namespace Simulator

#endif // SIMULATOR_CONTROL_CONTROLOBJECT_H
