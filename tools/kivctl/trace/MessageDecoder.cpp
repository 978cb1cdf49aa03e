// SPDX-License-Identifier: MIT
#include "MessageDecoder.h"

#include <QtEndian>

#include <algorithm>
#include <cstring>

namespace Kivctl {

namespace {

constexpr int fixedHeaderSize = 16;

BusMessage::Type TypeOf(DBusMessage* message)
{
    switch (dbus_message_get_type(message)) {
    case DBUS_MESSAGE_TYPE_METHOD_RETURN:
        return BusMessage::Type::Reply;
    case DBUS_MESSAGE_TYPE_ERROR:
        return BusMessage::Type::Error;
    case DBUS_MESSAGE_TYPE_SIGNAL:
        return BusMessage::Type::Signal;
    default:
        return BusMessage::Type::Call;
    }
}

QStringList TextsOf(DBusMessage* message)
{
    QStringList texts;
    DBusMessageIter iterator;
    dbus_message_iter_init(message, &iterator);
    while (dbus_message_iter_get_arg_type(&iterator) == DBUS_TYPE_STRING) {
        const char* text = nullptr;
        dbus_message_iter_get_basic(&iterator, &text);
        texts.append(QString::fromUtf8(text));
        dbus_message_iter_next(&iterator);
    }
    return texts;
}

quint32 NumberAt(const QByteArray& bytes, int offset)
{
    const char* const place = bytes.constData() + offset;
    return bytes.at(0) == DBUS_BIG_ENDIAN ? qFromBigEndian<quint32>(place)
                                          : qFromLittleEndian<quint32>(place);
}

// A capture has no file descriptors, and libdbus takes no message that lacks those it announces.
void AnnounceNoDescriptors(QByteArray& bytes)
{
    static const char field[] = {DBUS_HEADER_FIELD_UNIX_FDS, 1, DBUS_TYPE_UINT32, 0};
    const qint64 end = std::min<qint64>(fixedHeaderSize + qint64(NumberAt(bytes, 12)), bytes.size());
    for (int offset = fixedHeaderSize; offset + 8 <= end; offset += 8) {
        if (std::memcmp(bytes.constData() + offset, field, sizeof(field)) == 0) {
            bytes.replace(offset + 4, 4, QByteArray(4, '\0'));
        }
    }
}

bool IsContinuation(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

// A character of UTF-8 that was cut would make the text invalid.
void DropLastCharacterIfNotAscii(QByteArray& bytes)
{
    while (!bytes.isEmpty() && IsContinuation(bytes.back())) {
        bytes.chop(1);
    }
    if (!bytes.isEmpty() && (static_cast<unsigned char>(bytes.back()) & 0x80U) != 0) {
        bytes.chop(1);
    }
}

// Lengthens the last text with blanks, so that libdbus finds the length it was told.
void Complete(QByteArray& bytes, qint64 fullLength)
{
    bytes.append(QByteArray(static_cast<int>(fullLength - bytes.size() - 1), ' '));
    bytes.append('\0');
}

} // namespace

BusMessage MessageDecoder::Decode(DBusMessage* message, qint64 time)
{
    BusMessage decoded;
    decoded.type = TypeOf(message);
    decoded.time = time;
    decoded.serial = dbus_message_get_serial(message);
    decoded.replySerial = dbus_message_get_reply_serial(message);
    decoded.isReplyExpected = dbus_message_get_no_reply(message) == FALSE;
    decoded.sender = QString::fromUtf8(dbus_message_get_sender(message));
    decoded.destination = QString::fromUtf8(dbus_message_get_destination(message));
    decoded.path = QString::fromUtf8(dbus_message_get_path(message));
    decoded.interfaceName = QString::fromUtf8(dbus_message_get_interface(message));
    decoded.member = QString::fromUtf8(dbus_message_get_member(message));
    decoded.errorName = QString::fromUtf8(dbus_message_get_error_name(message));
    decoded.signature = QString::fromUtf8(dbus_message_get_signature(message));
    decoded.texts = TextsOf(message);
    return decoded;
}

std::optional<BusMessage> MessageDecoder::Decode(QByteArray bytes, qint64 fullLength, qint64 time,
                                                 QString* error)
{
    if (bytes.size() < fixedHeaderSize || fullLength > DBUS_MAXIMUM_MESSAGE_LENGTH) {
        *error = QStringLiteral("%1 of %2 bytes cannot be a message").arg(bytes.size()).arg(fullLength);
        return std::nullopt;
    }
    AnnounceNoDescriptors(bytes);
    const bool isCut = bytes.size() < fullLength;
    if (isCut) {
        DropLastCharacterIfNotAscii(bytes);
    }
    const qint64 missing = fullLength - bytes.size();
    if (isCut) {
        Complete(bytes, fullLength);
    }
    BusError failure;
    const MessagePtr message(
        dbus_message_demarshal(bytes.constData(), static_cast<int>(bytes.size()), failure.Get()));
    if (!message) {
        *error = failure.Text();
        return std::nullopt;
    }
    BusMessage decoded = Decode(message.get(), time);
    decoded.isCut = isCut;
    if (isCut && !decoded.texts.isEmpty()) {
        QByteArray last = decoded.texts.last().toUtf8();
        last.chop(static_cast<int>(missing - 1));
        decoded.texts.last() = QString::fromUtf8(last);
    }
    return decoded;
}

} // namespace Kivctl
