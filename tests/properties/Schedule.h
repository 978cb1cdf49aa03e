// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_SCHEDULE_H
#define KIV_TESTS_SCHEDULE_H

#include <QString>
#include <QStringList>
#include <QVector>

#include <array>

namespace KivTest {

/** What a client does when it is asked to: one for each …Async operation of the library. */
enum class Operation
{
    OpenSession,
    CloseSession,
    GetModeList,
    GetMode,
    SetMode,
    RegisterAudioStream,
    RequestAudioFocus,
    AudioActive,
    AbandonAudioFocus
};

/** How the service takes a request. */
enum class Outcome
{
    Accept,
    Refuse,   ///< A reply with an error code.
    Fail,     ///< A D-Bus error.
    Garbage,  ///< A text that is not JSON.
    WrongType ///< A list of texts in the place of a text.
};

/** What can happen in a schedule. */
enum class Action
{
    Create,         ///< The client is made and initialised; waits if the service is absent.
    Delete,         ///< The client is deleted, powered down or not.
    PowerDown,      ///< The client is powered down.
    CallAsync,      ///< An …Async operation on the client's thread.
    CallElsewhere,  ///< Likewise, from another thread.
    CallBlocking,   ///< The blocking form.
    ReactDelete,    ///< The client's next completion signal has a slot that deletes the client.
    ReactPowerDown, ///< Likewise, one that powers it down.
    ReactCall,      ///< Likewise, one that calls an …Async operation.
    Answer,         ///< The service answers one of the requests that wait.
    AnswerAtOnce,   ///< The service answers the next request before the client looks at the reply.
    AnswerBlocking, ///< How the service takes blocking requests from now on.
    Kill,           ///< The service dies: everything that waits fails, and so does everything that follows.
    Appear,         ///< The service is back.
    LoseBus,        ///< Requests can no longer be sent.
    RegainBus,      ///< They can.
    AddMode,        ///< The service's event "onModeListChange" with "add".
    RemoveMode,     ///< Likewise, with "remove".
    ChangeMode,     ///< The event "onModeChange".
    StrangeEvent    ///< An "add" with the session of somebody else.
};

/**
 * One step. What an action has no use for is ignored; a step about a client that does not exist does nothing.
 */
struct Step
{
    Action action = Action::Create;
    int client = 0;                               ///< Index of Clients().
    Operation operation = Operation::OpenSession; ///< One that the client has.
    int mode = 0; ///< Index of Modes(); in answers, how many modes are listed.
    Outcome outcome = Outcome::Accept;
    int place = 0; ///< Which of the requests that wait, counted round them from the oldest.

    bool operator==(const Step& other) const;
};

/** What happens, in order. Every part of a schedule is a schedule. */
using Schedule = QVector<Step>;

/** One of the clients that a schedule is about: two HMIs and a media application. */
struct ClientInfo
{
    const char* name;
    bool isHmi;
};

const std::array<ClientInfo, 3>& Clients();

/**
 * The modes that occur, also used as the reasons that an application gives; the last one is the empty text,
 * which is no reason.
 */
const QStringList& Modes();

/** The first modes of Modes(). */
QStringList FirstModes(int count);

/** The identifier of the session that the service opens as the given one of a client, counted from 1. */
quint32 SessionOf(int client, quint32 count);

/** An operation as in the names of its functions, "SetMode". */
QString NameOf(Operation operation);

/** A schedule that depends on nothing but the seed. */
Schedule MakeSchedule(quint32 seed);

/** A step in a line of its own words. */
QString ToText(const Step& step);

/** The steps, numbered from 1, a line each. */
QString ToText(const Schedule& schedule);

} // namespace KivTest

#endif // KIV_TESTS_SCHEDULE_H
