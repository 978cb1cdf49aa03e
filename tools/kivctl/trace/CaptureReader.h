// SPDX-License-Identifier: MIT
#ifndef KIVCTL_TRACE_CAPTUREREADER_H
#define KIVCTL_TRACE_CAPTUREREADER_H

#include "CaptureInput.h"

#include <memory>
#include <optional>

namespace Kivctl {

/** A message of a capture file. */
struct CapturedMessage
{
    qint64 time = 0;       ///< microseconds since 1970
    qint64 offset = 0;     ///< where the bytes begin in the file
    qint64 fullLength = 0; ///< the message's length on the bus; more than there are bytes when it was cut
    QByteArray bytes;
};

/** The D-Bus messages of a capture file, one after the other. */
class CaptureReader
{
public:
    /**
     * A reader for the kind of file that @p device holds: pcapng, as busctl of Debian 12 writes
     * it, or pcap, as older ones do; in either byte order.
     *
     * @param device open, seekable; must outlive the reader.
     * @param[out] error with the offset, when the result is null.
     */
    static std::unique_ptr<CaptureReader> Open(QIODevice& device, QString* error);

    virtual ~CaptureReader() = default;

    CaptureReader(const CaptureReader&) = delete;
    CaptureReader& operator=(const CaptureReader&) = delete;

    /** The next message; none at the end and after an error. */
    virtual std::optional<CapturedMessage> Next() = 0;

    /** With the offset; empty while all is well. */
    QString Error() const;

protected:
    /** The link type of D-Bus messages in capture files. */
    static constexpr quint32 dbusLinkType = 231;
    /** More than any message can have. */
    static constexpr qint64 maximumLength = qint64(1) << 28;

    explicit CaptureReader(QIODevice& device);

    CaptureInput m_Input;
};

} // namespace Kivctl

#endif // KIVCTL_TRACE_CAPTUREREADER_H
