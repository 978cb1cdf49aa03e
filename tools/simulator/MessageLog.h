// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_MESSAGELOG_H
#define SIMULATOR_MESSAGELOG_H

#include "Message.h"

#include <QString>

namespace Simulator {

/**
 * Prints one line per message on standard output, at once:
 *
 *     <- app  requestAudioFocus {"requestType":"request","sessionId":2}  [:1.7]
 *     -> app  {}  [:1.7]
 *     -> app  onRequestAudioFocusResult {"newFocus":"granted","sessionId":2}  [:1.7 /player/ServiceProviderClient]
 *     => all  audioFocusChangeEvent {…}
 *     -- bus  left  [:1.7]
 *     !! app  onAudioFocusChange failed: Did not receive a reply.  [:1.7 /player/ServiceProviderClient]
 */
class MessageLog
{
public:
    /** @param isEnabled false prints nothing. */
    explicit MessageLog(bool isEnabled);

    /** "<-": a request as received. */
    void Received(const Request& request) const;

    /** "->": its answer. */
    void Answered(const Request& request, const QString& reply) const;

    /** "->" or "=>": a call to a client, or a broadcast. */
    void Sent(const Effect& effect, const QString& json) const;

    /** "--": a client that had a session has left the bus. */
    void Left(const QString& caller) const;

    /** "!!": a call to a client went wrong. */
    void CallFailed(const Effect& effect, const QString& reason) const;

private:
    void Print(const char* arrow, const char* who, QString text, const QString& peer) const;

    const bool m_IsEnabled;
};

} // namespace Simulator

#endif // SIMULATOR_MESSAGELOG_H
