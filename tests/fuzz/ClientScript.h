// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_CLIENTSCRIPT_H
#define KIV_TESTS_CLIENTSCRIPT_H

#include <QString>
#include <QStringList>
#include <QVector>

namespace KivFuzz {

/** What a script can have done; functions of clients have their names. */
enum class Verb
{
    None, ///< an unknown word: nothing is done
    Reply,
    Events,
    Slot,
    Delete,
    Call,
    Notify,
    Powerdown,
    OpenSession,
    CloseSession,
    OpenSessionAsync,
    CloseSessionAsync,
    SetMode,
    GetModeList,
    GetMode,
    SetModeAsync,
    GetModeListAsync,
    GetModeAsync,
    RegisterAudioStream,
    RequestAudioFocus,
    AudioActive,
    AbandonAudioFocus,
    RegisterAudioStreamAsync,
    RequestAudioFocusAsync,
    AudioActiveAsync,
    AbandonAudioFocusAsync
};

/** One line of a script. */
struct Step
{
    Verb verb;
    QString argument;
};

using Script = QVector<Step>;

/**
 * The lines of an input, which is UTF-8. Those after the first few are left out: each input is to be quick.
 */
QStringList LinesOf(const char* data, int size);

/**
 * The step that a line tells: a verb, a blank, an argument.
 *
 * | Verb | Argument |
 * |---|---|
 * | `reply` | how requests are answered from now on: a text, or a sign, see ReplyOf() |
 * | `events` | none: the client handles its events |
 * | `slot` | a step, done by a slot of the client's next signal |
 * | `delete` | none: the client is deleted |
 * | `call`, `notify` | what the service sends: a name, a blank, a JSON text |
 * | a function of the client | a mode, a destination or a reason; `query` or `false` for the flags |
 */
Step StepOf(const QString& line);

/** Whether only an application client has the function. */
bool IsOfApp(Verb verb);

/**
 * Has an HMI client with an open session and two modes do a script, and a model of it. After each step, what
 * both have asked and said is compared, and their states. All replies are handled in the end.
 */
void RunHmi(const Script& script);

/** Likewise, an application client. */
void RunApp(const Script& script);

} // namespace KivFuzz

#endif // KIV_TESTS_CLIENTSCRIPT_H
