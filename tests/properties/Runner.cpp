// SPDX-License-Identifier: MIT
#include "Runner.h"

namespace KivTest {

namespace {

QString Difference(const QString& what, const QString& expected, const QString& actual)
{
    if (expected == actual) {
        return QString();
    }
    return QStringLiteral("%1, expected:\n    %2\n  but was:\n    %3\n")
        .arg(what, expected.isEmpty() ? QStringLiteral("nothing") : expected,
             actual.isEmpty() ? QStringLiteral("nothing") : actual);
}

Step StepOf(Action action, int client)
{
    Step step;
    step.action = action;
    step.client = client;
    return step;
}

} // namespace

Runner::Runner(ScriptedService& service, Model& model)
    : m_Service(service),
      m_Model(model)
{
    service.Reset(m_Trace);
    for (int client = 0; client < static_cast<int>(m_Clients.size()); ++client) {
        m_Clients[static_cast<size_t>(client)] = std::make_unique<WatchedClient>(client, service, m_Trace);
    }
}

Runner::~Runner()
{
    for (auto& client : m_Clients) {
        client->Delete();
    }
    m_Service.Die();
    m_Service.Settle();
}

QString Runner::Run(const Schedule& schedule)
{
    const QString failure = DoAll(schedule);
    return failure.isEmpty() ? Finish() : failure;
}

QString Runner::DoAll(const Schedule& schedule)
{
    for (int index = 0; index < schedule.size(); ++index) {
        const QString failure = Do(schedule[index]);
        if (!failure.isEmpty()) {
            return QStringLiteral("After step %1, %2").arg(index + 1).arg(failure);
        }
    }
    return QString();
}

// A client reacts once at most, so that the answers come to an end.
QString Runner::Finish()
{
    QString failure;
    while (failure.isEmpty() && m_Model.WaitingCount() > 0) {
        failure = Do(StepOf(Action::Answer, 0));
    }
    for (auto& client : m_Clients) {
        client->CloseLedger();
        for (const QString& complaint : client->Complaints()) {
            failure += QStringLiteral("in the account of identifiers: %1\n").arg(complaint);
        }
    }
    for (int client = 0; failure.isEmpty() && client < static_cast<int>(m_Clients.size()); ++client) {
        failure = Do(StepOf(Action::PowerDown, client)) + Do(StepOf(Action::Delete, client));
    }
    return failure.isEmpty() ? failure : QStringLiteral("After the last step, %1").arg(failure);
}

QString Runner::Do(const Step& step)
{
    Perform(step);
    m_Service.Settle();
    m_Model.Do(step);
    return Compare();
}

QString Runner::Compare()
{
    QString failure = Difference(QStringLiteral("in what came out"), m_Model.TakeTrace().join("\n    "),
                                 m_Trace.Take().join("\n    "));
    failure += Difference(QStringLiteral("in the number of requests that wait"),
                          QString::number(m_Model.WaitingCount()), QString::number(m_Service.WaitingCount()));
    for (int client = 0; client < static_cast<int>(m_Clients.size()); ++client) {
        failure += Difference(QStringLiteral("in %1").arg(Clients()[static_cast<size_t>(client)].name),
                              m_Model.StateOf(client).ToText(),
                              m_Clients[static_cast<size_t>(client)]->State().ToText());
    }
    return failure;
}

void Runner::Perform(const Step& step)
{
    WatchedClient& client = *m_Clients[static_cast<size_t>(step.client)];
    if (step.action == Action::Create) {
        if (!client.Exists()) {
            client.Create();
        }
        if (client.Exists() && m_Service.IsPresent()) {
            client.ServiceAppears();
        }
    } else if (client.Exists()) {
        DoWithClient(step);
    }
    DoWithService(step);
}

void Runner::DoWithClient(const Step& step)
{
    WatchedClient& client = *m_Clients[static_cast<size_t>(step.client)];
    switch (step.action) {
    case Action::Delete:
        return client.Delete();
    case Action::PowerDown:
        return client.PowerDown();
    case Action::CallAsync:
        return client.CallAsync(step);
    case Action::CallElsewhere:
        m_Service.SetAnswersAtOnce(false);
        // What fails by itself may complete before the other thread has its identifier.
        return m_Service.GetWire().IsReaching() ? client.CallElsewhere(step) : client.CallAsync(step);
    case Action::CallBlocking:
        return client.CallBlocking(step);
    case Action::ReactDelete:
    case Action::ReactPowerDown:
    case Action::ReactCall:
        return React(step);
    default:
        return Tell(step);
    }
}

// The service's events.
void Runner::Tell(const Step& step)
{
    WatchedClient& client = *m_Clients[static_cast<size_t>(step.client)];
    const QString mode = Modes()[step.mode];
    const auto listChange = [&mode](const char* action) {
        return QString(R"({"action":"%2","mode":"%3","sessionId":%1})").arg("%1", action, mode);
    };
    switch (step.action) {
    case Action::AddMode:
        return client.Receive("onModeListChange", listChange("add"));
    case Action::RemoveMode:
        return client.Receive("onModeListChange", listChange("remove"));
    case Action::ChangeMode:
        return client.Receive("onModeChange",
                              QString(R"({"activeMode":"%2","sessionId":%1})").arg("%1", mode));
    case Action::StrangeEvent:
        return client.Receive("onModeListChange", listChange("add"), 1000);
    default:
        return;
    }
}

void Runner::React(const Step& step)
{
    WatchedClient& client = *m_Clients[static_cast<size_t>(step.client)];
    switch (step.action) {
    case Action::ReactDelete:
        return client.React([&client] { client.Delete(); });
    case Action::ReactPowerDown:
        return client.React([&client] { client.PowerDown(); });
    default:
        return client.React([&client, step] { client.CallAsync(step); });
    }
}

void Runner::DoWithService(const Step& step)
{
    switch (step.action) {
    case Action::Answer:
        if (m_Service.WaitingCount() > 0) {
            m_Service.Answer(step.place, step.outcome, step.mode);
        }
        return;
    case Action::AnswerAtOnce:
        return m_Service.SetAnswersAtOnce(true);
    case Action::AnswerBlocking:
        return m_Service.SetBlocking(step.outcome, step.mode);
    case Action::Kill:
        return Die();
    case Action::Appear:
        return Appear();
    case Action::LoseBus:
        return m_Service.SetConnected(false);
    case Action::RegainBus:
        return m_Service.SetConnected(true);
    default:
        return;
    }
}

void Runner::Appear()
{
    m_Service.Appear();
    for (auto& client : m_Clients) {
        client->ServiceAppears();
    }
}

void Runner::Die()
{
    m_Service.Die();
    for (auto& client : m_Clients) {
        client->ServiceLeaves();
    }
}

} // namespace KivTest
