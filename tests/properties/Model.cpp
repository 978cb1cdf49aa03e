// SPDX-License-Identifier: MIT
#include "Model.h"

namespace KivTest {

namespace {

enum InitState
{
    NotCalled,
    Waiting,
    Failed,
    Success
};

QString MethodOf(Operation operation)
{
    QString name = NameOf(operation);
    name[0] = name[0].toLower();
    return name;
}

bool IsAccepted(Outcome outcome)
{
    return outcome == Outcome::Accept || outcome == Outcome::Garbage;
}

} // namespace

void Model::Do(const Step& step)
{
    Perform(step);
    Settle();
}

ClientState Model::StateOf(int client) const
{
    const Client& one = At(client);
    const auto isOwn = [&](const Request& request) {
        return request.client == client && request.life == one.life;
    };
    const auto watchers = std::count_if(m_Waiting.cbegin(), m_Waiting.cend(), isOwn);
    return {one.exists,
            one.initState,
            one.sessionId,
            one.modes,
            one.storedId,
            one.storedMode,
            static_cast<int>(watchers)};
}

void Model::Perform(const Step& step)
{
    if (step.action == Action::Create) {
        Create(step.client);
    } else if (At(step.client).exists) {
        DoWithClient(step);
    }
    DoWithService(step);
}

void Model::DoWithClient(const Step& step)
{
    switch (step.action) {
    case Action::Delete:
        return Delete(step.client);
    case Action::PowerDown:
        return PowerDown(step.client);
    case Action::CallAsync:
        return CallAsync(step);
    case Action::CallElsewhere:
        m_AnswersAtOnce = false;
        return CallAsync(step);
    case Action::CallBlocking:
        return CallBlocking(step);
    case Action::ReactDelete:
    case Action::ReactPowerDown:
    case Action::ReactCall:
        At(step.client).reaction = step;
        return;
    default:
        if (IsHearing(step.client)) {
            Hear(step);
        }
        return;
    }
}

// The events are about HMIs, and a client is on the bus when it has initialised.
bool Model::IsHearing(int client) const
{
    return IsHmi(client) && At(client).initState != Waiting;
}

void Model::Hear(const Step& step)
{
    const QString mode = Modes()[step.mode];
    if (step.action == Action::AddMode) {
        AddMode(step.client, mode);
    } else if (step.action == Action::RemoveMode) {
        RemoveMode(step.client, mode);
    } else if (step.action == Action::ChangeMode) {
        m_Trace.Event(step.client, QStringLiteral("SignalModeChanged \"%1\"").arg(mode));
    }
}

void Model::DoWithService(const Step& step)
{
    switch (step.action) {
    case Action::Answer:
        if (!m_Waiting.isEmpty()) {
            AnswerOne(step.place, step.outcome, step.mode);
        }
        return;
    case Action::AnswerAtOnce:
        m_AnswersAtOnce = true;
        return;
    case Action::AnswerBlocking:
        m_BlockingOutcome = step.outcome;
        m_BlockingModes = step.mode;
        return;
    case Action::Kill:
        m_IsPresent = false;
        return;
    case Action::Appear:
        return Appear();
    case Action::LoseBus:
    case Action::RegainBus:
        m_IsConnected = step.action == Action::RegainBus;
        return;
    default:
        return;
    }
}

// What the event loop brings before the next step.
void Model::Settle()
{
    if (m_Prompt) {
        const auto prompt = *std::exchange(m_Prompt, std::nullopt);
        Receive(prompt.first, prompt.second);
    }
    while (!m_IsPresent && !m_Waiting.isEmpty()) {
        AnswerOne(0, Outcome::Fail, 0);
    }
}

// Life

void Model::Create(int client)
{
    Client& one = At(client);
    if (one.exists) {
        return;
    }
    Client next;
    next.exists = true;
    next.life = one.life + 1;
    next.sessionCount = one.sessionCount;
    one = next;
    one.initState = Waiting;
    if (m_IsPresent) {
        Initialise(client);
    }
}

void Model::Delete(int client)
{
    Client& one = At(client);
    one.exists = false;
    one.reaction.reset();
}

void Model::PowerDown(int client)
{
    CloseSession(client);
    At(client).hasProxy = false;
}

void Model::Appear()
{
    m_IsPresent = true;
    for (int client = 0; client < static_cast<int>(m_Clients.size()); ++client) {
        if (At(client).exists && At(client).initState == Waiting) {
            Initialise(client);
        }
    }
}

void Model::Initialise(int client)
{
    Client& one = At(client);
    one.hasProxy = true;
    one.initState = OpenSession(client) && HandleInitialise(client) ? Success : Failed;
    m_Trace.Event(client, QStringLiteral("initialised, state %1").arg(one.initState));
}

bool Model::HandleInitialise(int client)
{
    Step step;
    step.client = client;
    step.operation = IsHmi(client) ? Operation::GetMode : Operation::RegisterAudioStream;
    return (!IsHmi(client) || GetModeList(client)) && Ask(step);
}

// Asynchronous requests

void Model::CallAsync(const Step& step)
{
    m_Trace.Returned(step.client, step.operation, Start(step));
}

quint32 Model::Start(const Step& step)
{
    if (!MayStart(step)) {
        return 0;
    }
    if (step.operation == Operation::SetMode) {
        return SetModeAsync(step.client, Modes()[step.mode]);
    }
    return Send(step.client, step.operation, ArgumentsOf(step));
}

bool Model::MayStart(const Step& step) const
{
    const bool isOpen = At(step.client).sessionId != 0;
    if (step.operation == Operation::OpenSession) {
        return !isOpen;
    }
    return isOpen && (step.operation != Operation::AbandonAudioFocus || !Modes()[step.mode].isEmpty());
}

// The table of stored requests. A slot of the cancellation may do anything to the client.
quint32 Model::SetModeAsync(int client, const QString& mode)
{
    Client& one = At(client);
    if (one.modes.contains(mode)) {
        Step step;
        step.client = client;
        step.operation = Operation::SetMode;
        step.mode = int(Modes().indexOf(mode));
        return Send(client, Operation::SetMode, ArgumentsOf(step), mode == one.storedMode ? one.storedId : 0);
    }
    if (one.storedId != 0 && one.storedMode == mode) {
        return one.storedId;
    }
    if (one.storedId != 0 && IsCancelReported()) {
        Complete(client, Operation::SetMode, one.storedId, false);
    }
    if (!one.exists) {
        return 0;
    }
    Store(client, mode);
    return one.storedId;
}

void Model::Store(int client, const QString& mode)
{
    At(client).storedId = ++At(client).lastId;
    At(client).storedMode = mode;
}

// An identifier of 0 has a new one issued, when there is something to identify.
quint32 Model::Send(int client, Operation operation, const QString& arguments, quint32 id)
{
    Client& one = At(client);
    if (!one.hasProxy) {
        return 0;
    }
    m_Trace.Request(client, false, MethodOf(operation), arguments);
    if (!m_IsConnected) {
        return 0;
    }
    const Request request{client, one.life, operation, id != 0 ? id : ++one.lastId};
    if (m_IsPresent && std::exchange(m_AnswersAtOnce, false)) {
        m_Prompt = {request, MakeAnswer(client, operation, Outcome::Accept, 1)};
    } else {
        m_Waiting.append(request);
    }
    return request.id;
}

// Blocking requests

void Model::CallBlocking(const Step& step)
{
    m_Trace.Returned(step.client, step.operation, Ask(step));
}

bool Model::Ask(const Step& step)
{
    switch (step.operation) {
    case Operation::OpenSession:
        return OpenSession(step.client);
    case Operation::CloseSession:
        return CloseSession(step.client);
    case Operation::GetModeList:
        return GetModeList(step.client);
    case Operation::SetMode:
        return SetMode(step.client, Modes()[step.mode]);
    default:
        return MayStart(step) && Exchange(step.client, step.operation, ArgumentsOf(step)).has_value();
    }
}

bool Model::SetMode(int client, const QString& mode)
{
    Client& one = At(client);
    if (one.sessionId == 0) {
        return false;
    }
    if (!one.modes.contains(mode)) {
        Store(client, mode);
        return true;
    }
    Step step;
    step.client = client;
    step.operation = Operation::SetMode;
    step.mode = int(Modes().indexOf(mode));
    const bool isSet = Exchange(client, Operation::SetMode, ArgumentsOf(step)).has_value();
    one.storedId = 0;
    one.storedMode.clear();
    return isSet;
}

bool Model::OpenSession(int client)
{
    Client& one = At(client);
    if (one.sessionId != 0) {
        return false;
    }
    const auto answer = Exchange(client, Operation::OpenSession, OpenArguments(client));
    one.sessionId = answer ? answer->sessionId : 0;
    return one.sessionId != 0;
}

bool Model::CloseSession(int client)
{
    if (At(client).sessionId != 0) {
        Exchange(client, Operation::CloseSession, SessionOnly(client));
        At(client).sessionId = 0;
    }
    return true;
}

bool Model::GetModeList(int client)
{
    Client& one = At(client);
    one.modes.clear();
    if (one.sessionId == 0) {
        return false;
    }
    const auto answer = Exchange(client, Operation::GetModeList, QueryArguments(client));
    if (answer && answer->outcome == Outcome::Accept) {
        one.modes = FirstModes(answer->modeCount);
    }
    return answer.has_value();
}

// Nothing comes of a request that failed.
std::optional<Model::Answer> Model::Exchange(int client, Operation operation, const QString& arguments)
{
    if (!At(client).hasProxy) {
        return std::nullopt;
    }
    m_Trace.Request(client, true, MethodOf(operation), arguments);
    if (!m_IsPresent || !m_IsConnected || !IsAccepted(m_BlockingOutcome)) {
        return std::nullopt;
    }
    return MakeAnswer(client, operation, m_BlockingOutcome, m_BlockingModes);
}

// Answers

Model::Answer Model::MakeAnswer(int client, Operation operation, Outcome outcome, int modeCount)
{
    const bool opens = operation == Operation::OpenSession && outcome == Outcome::Accept;
    return {outcome, modeCount, opens ? SessionOf(client, ++At(client).sessionCount) : 0};
}

void Model::AnswerOne(int place, Outcome outcome, int modeCount)
{
    const Request request = m_Waiting.takeAt(place % m_Waiting.size());
    Receive(request, MakeAnswer(request.client, request.operation, outcome, modeCount));
}

void Model::Receive(const Request& request, const Answer& answer)
{
    const Client& one = At(request.client);
    if (one.exists && one.life == request.life) {
        const bool result = Interpret(request, answer);
        Complete(request.client, request.operation, request.id, result);
    }
}

bool Model::Interpret(const Request& request, const Answer& answer)
{
    Client& one = At(request.client);
    const bool isAccepted = IsAccepted(answer.outcome);
    if (request.operation == Operation::SetMode) {
        if (IsSettled(isAccepted) && request.id == one.storedId) {
            one.storedId = 0;
            one.storedMode.clear();
        }
    } else if (isAccepted && request.operation == Operation::GetModeList) {
        one.modes = answer.outcome == Outcome::Accept ? FirstModes(answer.modeCount) : QStringList();
    } else if (isAccepted && request.operation == Operation::CloseSession) {
        one.sessionId = 0;
    } else if (isAccepted && request.operation == Operation::OpenSession) {
        one.sessionId = answer.sessionId != 0 ? answer.sessionId : one.sessionId;
        return answer.sessionId != 0;
    }
    return isAccepted;
}

void Model::Complete(int client, Operation operation, quint32 id, bool result)
{
    m_Trace.Completed(client, operation, id, result);
    const std::optional<Step> reaction = std::exchange(At(client).reaction, std::nullopt);
    if (!reaction) {
        return;
    }
    switch (reaction->action) {
    case Action::ReactDelete:
        return Delete(client);
    case Action::ReactPowerDown:
        return PowerDown(client);
    default:
        return CallAsync(*reaction);
    }
}

// Events

void Model::AddMode(int client, const QString& mode)
{
    Client& one = At(client);
    one.modes.append(mode);
    if (one.storedId != 0 && one.storedMode == mode && one.sessionId != 0) {
        SetModeAsync(client, mode);
    }
    m_Trace.Event(client, QStringLiteral("SignalModeListChanged true \"%1\"").arg(mode));
}

void Model::RemoveMode(int client, const QString& mode)
{
    At(client).modes.removeOne(mode);
    m_Trace.Event(client, QStringLiteral("SignalModeListChanged false \"%1\"").arg(mode));
}

// Arguments, as they go over the bus

QString Model::ArgumentsOf(const Step& step) const
{
    const quint32 session = At(step.client).sessionId;
    const QString mode = Modes()[step.mode];
    const bool flag = step.mode % 2 == 0;
    switch (step.operation) {
    case Operation::OpenSession:
        return OpenArguments(step.client);
    case Operation::CloseSession:
        return SessionOnly(step.client);
    case Operation::GetModeList:
    case Operation::GetMode:
        return QueryArguments(step.client);
    case Operation::SetMode:
        return QString(R"({"newMode":"%1","sessionId":%2})").arg(mode).arg(session);
    case Operation::RegisterAudioStream:
        return RegistrationArguments(step.client);
    case Operation::RequestAudioFocus:
        return QString(R"({"requestType":"%1","sessionId":%2})").arg(flag ? "request" : "query").arg(session);
    case Operation::AudioActive:
        return QString(R"({"playing":%1,"sessionId":%2})").arg(Trace::Text(flag)).arg(session);
    case Operation::AbandonAudioFocus:
        return QString(R"({"reason":"%1","sessionId":%2})").arg(mode).arg(session);
    }
    return QString();
}

QString Model::OpenArguments(int client) const
{
    return QString(
               R"({"busName":"com.quorvantel.audioclient.test","objectPath":"/%1/ServiceProviderClient"})")
        .arg(client);
}

QString Model::SessionOnly(int client) const
{
    return QString(R"({"sessionId":%1})").arg(At(client).sessionId);
}

QString Model::QueryArguments(int client) const
{
    return QString(R"({"destination":"all","sessionId":%1})").arg(At(client).sessionId);
}

QString Model::RegistrationArguments(int client) const
{
    return QString(R"({"focusType":"permanent","sessionId":%1,"streamModeName":"/%2",)"
                   R"("streamName":"Player","streamType":"Media"})")
        .arg(At(client).sessionId)
        .arg(client);
}

} // namespace KivTest
