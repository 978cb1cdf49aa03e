// SPDX-License-Identifier: MIT
#ifndef KIVCTL_TRACE_MESSAGEDECODER_H
#define KIVCTL_TRACE_MESSAGEDECODER_H

#include "BusMessage.h"
#include "MessagePtr.h"

#include <QByteArray>

#include <optional>

namespace Kivctl {

/** Makes a BusMessage of a message of libdbus, or of a message's bytes as a capture has them. */
class MessageDecoder
{
public:
    /** @param time microseconds since 1970. */
    static BusMessage Decode(DBusMessage* message, qint64 time);

    /**
     * Likewise of bytes, in either byte order.
     *
     * @param bytes the message, or its beginning.
     * @param fullLength the length of the whole message. Where @p bytes are fewer, the last text ends where
     * they end;
     *        nothing can be decoded when they do not reach the last text.
     * @param[out] error why nothing was decoded.
     */
    static std::optional<BusMessage> Decode(QByteArray bytes, qint64 fullLength, qint64 time, QString* error);
};

} // namespace Kivctl

#endif // KIVCTL_TRACE_MESSAGEDECODER_H
