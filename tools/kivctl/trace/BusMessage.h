// SPDX-License-Identifier: MIT
#ifndef KIVCTL_TRACE_BUSMESSAGE_H
#define KIVCTL_TRACE_BUSMESSAGE_H

#include <QString>
#include <QStringList>

namespace Kivctl {

/** What a trace wants to know of a D-Bus message. A text that the message does not have is empty. */
struct BusMessage
{
    enum class Type
    {
        Call,
        Reply,
        Error,
        Signal
    };

    Type type = Type::Call;
    qint64 time = 0; ///< microseconds since 1970
    quint32 serial = 0;
    quint32 replySerial = 0;
    bool isReplyExpected = true;
    QString sender;
    QString destination;
    QString path;
    QString interfaceName;
    QString member;
    QString errorName;
    QString signature;
    QStringList texts;  ///< the arguments, up to the first that is no text
    bool isCut = false; ///< the capture lacks the end of the last text
};

} // namespace Kivctl

#endif // KIVCTL_TRACE_BUSMESSAGE_H
