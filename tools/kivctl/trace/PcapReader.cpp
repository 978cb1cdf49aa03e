// SPDX-License-Identifier: MIT
#include "PcapReader.h"

#include <QtEndian>

namespace Kivctl {

namespace {

constexpr quint32 microsecondMagic = 0xA1B2C3D4;
constexpr quint32 nanosecondMagic = 0xA1B23C4D;

bool IsKnown(quint32 magic)
{
    return magic == microsecondMagic || magic == nanosecondMagic;
}

} // namespace

bool PcapReader::IsMagic(const QByteArray& bytes)
{
    return bytes.size() == 4 && (IsKnown(qFromBigEndian<quint32>(bytes.constData())) ||
                                 IsKnown(qFromLittleEndian<quint32>(bytes.constData())));
}

PcapReader::PcapReader(QIODevice& device)
    : CaptureReader(device)
{
    const QByteArray header = m_Input.Read(24, "the file header");
    if (header.isEmpty()) {
        return;
    }
    m_Input.SetBigEndian(IsKnown(qFromBigEndian<quint32>(header.constData())));
    m_TicksPerMicrosecond = m_Input.Number32(header, 0) == nanosecondMagic ? 1000 : 1;
    const quint32 linkType = m_Input.Number32(header, 20);
    if (linkType != dbusLinkType) {
        m_Input.Fail(
            20,
            QStringLiteral("a capture of link type %1, not of D-Bus (%2)").arg(linkType).arg(dbusLinkType));
    }
}

std::optional<CapturedMessage> PcapReader::Next()
{
    if (!Error().isEmpty() || m_Input.AtEnd()) {
        return std::nullopt;
    }
    const qint64 start = m_Input.Offset();
    const QByteArray header = m_Input.Read(16, "a message header");
    if (header.isEmpty()) {
        return std::nullopt;
    }
    const quint32 length = m_Input.Number32(header, 8);
    if (length > maximumLength) {
        m_Input.Fail(start + 8,
                     QStringLiteral("a message of %1 bytes is longer than any can be").arg(length));
        return std::nullopt;
    }
    CapturedMessage message;
    message.time =
        m_Input.Number32(header, 0) * qint64(1000000) + m_Input.Number32(header, 4) / m_TicksPerMicrosecond;
    message.offset = m_Input.Offset();
    message.fullLength = m_Input.Number32(header, 12);
    message.bytes = m_Input.Read(length, "a message");
    return Error().isEmpty() ? std::optional(message) : std::nullopt;
}

} // namespace Kivctl
