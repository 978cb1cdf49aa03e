// SPDX-License-Identifier: MIT
#include "PcapngReader.h"

#include <QtEndian>

namespace Kivctl {

namespace {

constexpr quint32 sectionHeader = 0x0A0D0D0A; // reads the same in both byte orders
constexpr quint32 interfaceDescription = 1;
constexpr quint32 enhancedPacket = 6;
constexpr quint32 byteOrderMagic = 0x1A2B3C4D;

constexpr qint64 blockFrame = 12; // type and length before the body, the length again behind it
constexpr int packetHeader = 20;
constexpr quint16 timeResolutionOption = 9;

qint64 Power(qint64 base, int exponent)
{
    qint64 power = 1;
    for (int i = 0; i < exponent; ++i) {
        power *= base;
    }
    return power;
}

// In two parts, because the product would not fit. The time itself is taken modulo 2^64 of its ticks.
qint64 ToMicroseconds(quint64 ticks, qint64 ticksPerSecond)
{
    const auto unit = static_cast<quint64>(ticksPerSecond);
    const quint64 seconds = ticks / unit;
    const quint64 fraction =
        static_cast<quint64>(static_cast<double>(ticks % unit) * 1e6 / static_cast<double>(unit));
    return static_cast<qint64>((seconds % (quint64(1) << 40)) * 1000000 + fraction);
}

} // namespace

bool PcapngReader::IsMagic(const QByteArray& bytes)
{
    return bytes.size() == 4 && qFromBigEndian<quint32>(bytes.constData()) == sectionHeader;
}

PcapngReader::PcapngReader(QIODevice& device)
    : CaptureReader(device)
{
    if (const auto block = ReadBlock()) {
        BeginSection(*block);
    }
}

std::optional<CapturedMessage> PcapngReader::Next()
{
    while (Error().isEmpty() && !m_Input.AtEnd()) {
        const auto block = ReadBlock();
        if (!block) {
            break;
        }
        if (block->type == sectionHeader) {
            BeginSection(*block);
        } else if (block->type == interfaceDescription) {
            AddInterface(*block);
        } else if (block->type == enhancedPacket) {
            if (auto message = MessageOf(*block)) {
                return message;
            }
        }
    }
    return std::nullopt;
}

std::optional<PcapngReader::Block> PcapngReader::ReadBlock()
{
    Block block;
    block.offset = m_Input.Offset();
    const QByteArray start = m_Input.Read(8, "a block header");
    if (start.isEmpty()) {
        return std::nullopt;
    }
    block.type = m_Input.Number32(start, 0);
    QByteArray magic;
    if (block.type == sectionHeader && (magic = m_Input.Read(4, "a section header")).isEmpty()) {
        return std::nullopt;
    }
    if (block.type == sectionHeader) {
        m_Input.SetBigEndian(qFromBigEndian<quint32>(magic.constData()) == byteOrderMagic);
        if (m_Input.Number32(magic, 0) != byteOrderMagic) {
            m_Input.Fail(block.offset + 8, QStringLiteral("a section without byte-order magic"));
            return std::nullopt;
        }
    }
    const qint64 length = m_Input.Number32(start, 4);
    const qint64 rest = length - 8 - magic.size();
    if (length % 4 != 0 || length < blockFrame || rest < 4 || length > maximumLength) {
        m_Input.Fail(block.offset + 4, QStringLiteral("a block of %1 bytes cannot be").arg(length));
        return std::nullopt;
    }
    block.body = magic + m_Input.Read(rest, "a block");
    if (!Error().isEmpty()) {
        return std::nullopt;
    }
    if (m_Input.Number32(block.body, block.body.size() - 4) != length) {
        m_Input.Fail(m_Input.Offset() - 4, QStringLiteral("a block whose two lengths differ"));
        return std::nullopt;
    }
    block.body.chop(4);
    return block;
}

void PcapngReader::BeginSection(const Block& block)
{
    m_Interfaces.clear();
    if (block.body.size() < 16) {
        m_Input.Fail(block.offset,
                     QStringLiteral("a section header of %1 bytes is too short").arg(block.body.size()));
    } else if (m_Input.Number16(block.body, 4) != 1) {
        m_Input.Fail(block.offset + 12,
                     QStringLiteral("pcapng version %1 is not known").arg(m_Input.Number16(block.body, 4)));
    }
}

void PcapngReader::AddInterface(const Block& block)
{
    if (block.body.size() < 8) {
        m_Input.Fail(
            block.offset,
            QStringLiteral("an interface description of %1 bytes is too short").arg(block.body.size()));
        return;
    }
    m_Interfaces.append({m_Input.Number16(block.body, 0), TicksPerSecond(block.body)});
}

// A resolution that does not fit a number is as good as none.
qint64 PcapngReader::TicksPerSecond(const QByteArray& body) const
{
    for (int offset = 8; offset + 5 <= body.size();) {
        const quint16 code = m_Input.Number16(body, offset);
        const int length = m_Input.Number16(body, offset + 2);
        if (code == timeResolutionOption && length == 1) {
            const auto value = static_cast<unsigned char>(body.at(offset + 4));
            const bool isBinary = (value & 0x80U) != 0;
            const int exponent = value & 0x7F;
            if (exponent <= (isBinary ? 62 : 18)) {
                return Power(isBinary ? 2 : 10, exponent);
            }
        }
        offset += 4 + (length + 3) / 4 * 4;
    }
    return Interface().ticksPerSecond;
}

std::optional<CapturedMessage> PcapngReader::MessageOf(const Block& block)
{
    if (block.body.size() < packetHeader) {
        m_Input.Fail(block.offset,
                     QStringLiteral("a packet block of %1 bytes is too short").arg(block.body.size()));
        return std::nullopt;
    }
    const quint32 index = m_Input.Number32(block.body, 0);
    const qint64 length = m_Input.Number32(block.body, 12);
    if (index >= static_cast<quint32>(m_Interfaces.size()) || length > block.body.size() - packetHeader) {
        m_Input.Fail(block.offset, QStringLiteral("a packet block whose interface or length cannot be"));
        return std::nullopt;
    }
    const Interface& interface = m_Interfaces.at(static_cast<int>(index));
    if (interface.linkType != dbusLinkType) {
        return std::nullopt;
    }
    CapturedMessage message;
    const quint64 ticks = (quint64(m_Input.Number32(block.body, 4)) << 32) | m_Input.Number32(block.body, 8);
    message.time = ToMicroseconds(ticks, interface.ticksPerSecond);
    message.offset = block.offset + 8 + packetHeader;
    message.fullLength = m_Input.Number32(block.body, 16);
    message.bytes = block.body.mid(packetHeader, static_cast<int>(length));
    return message;
}

} // namespace Kivctl
