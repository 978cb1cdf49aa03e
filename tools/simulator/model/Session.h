// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_MODEL_SESSION_H
#define SIMULATOR_MODEL_SESSION_H

#include "Message.h"

#include <QString>

#include <optional>

namespace Simulator {

/** An audio stream as an application registers it. */
struct Stream
{
    QString name;
    QString modeName; ///< the mode that the stream offers; empty for none
    QString type;
    QString focusType; ///< "permanent" or "transient"
};

/** A client's session, or the place of a stream of the device itself among them, which no client has. */
struct Session
{
    quint32 id = 0; ///< never 0 once the session is open
    Role role = Role::Hmi;
    QString caller;      ///< the client's unique bus name; empty for the device
    QString objectPath;  ///< the object through which the client is called
    QString destination; ///< empty for all destinations
    std::optional<Stream> stream;

    bool IsOfTheDevice() const { return caller.isEmpty(); }
};

} // namespace Simulator

#endif // SIMULATOR_MODEL_SESSION_H
