// SPDX-License-Identifier: MIT
#ifndef KIVCTL_TRACE_PCAPREADER_H
#define KIVCTL_TRACE_PCAPREADER_H

#include "CaptureReader.h"

namespace Kivctl {

/** Reads pcap: a file header, then messages. Time stamps in micro- or nanoseconds. */
class PcapReader : public CaptureReader
{
public:
    static bool IsMagic(const QByteArray& bytes);

    /** Reads the file header; look at Error(). */
    explicit PcapReader(QIODevice& device);

    std::optional<CapturedMessage> Next() override;

private:
    qint64 m_TicksPerMicrosecond = 1;
};

} // namespace Kivctl

#endif // KIVCTL_TRACE_PCAPREADER_H
