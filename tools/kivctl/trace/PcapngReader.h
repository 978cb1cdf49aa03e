// SPDX-License-Identifier: MIT
#ifndef KIVCTL_TRACE_PCAPNGREADER_H
#define KIVCTL_TRACE_PCAPNGREADER_H

#include "CaptureReader.h"

#include <QVector>

namespace Kivctl {

/**
 * Reads pcapng: blocks, of which the enhanced packet blocks of D-Bus interfaces hold messages. Others are
 * passed over.
 */
class PcapngReader : public CaptureReader
{
public:
    static bool IsMagic(const QByteArray& bytes);

    /** Reads the first section header; look at Error(). */
    explicit PcapngReader(QIODevice& device);

    std::optional<CapturedMessage> Next() override;

private:
    struct Interface
    {
        quint32 linkType = 0;
        qint64 ticksPerSecond = 1000000;
    };

    struct Block
    {
        quint32 type = 0;
        qint64 offset = 0; ///< of the block
        QByteArray body;
    };

    std::optional<Block> ReadBlock();
    void BeginSection(const Block& block);
    void AddInterface(const Block& block);
    qint64 TicksPerSecond(const QByteArray& body) const;
    std::optional<CapturedMessage> MessageOf(const Block& block);

    QVector<Interface> m_Interfaces;
};

} // namespace Kivctl

#endif // KIVCTL_TRACE_PCAPNGREADER_H
