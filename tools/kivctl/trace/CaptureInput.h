// SPDX-License-Identifier: MIT
#ifndef KIVCTL_TRACE_CAPTUREINPUT_H
#define KIVCTL_TRACE_CAPTUREINPUT_H

#include <QByteArray>
#include <QIODevice>
#include <QString>

namespace Kivctl {

/** The bytes of a capture file, with the byte order that its header tells. The device must outlive it. */
class CaptureInput
{
public:
    explicit CaptureInput(QIODevice& device);

    void SetBigEndian(bool isBigEndian);

    /** Reads @p count bytes. When the file has fewer: returns none and Error() tells what is missing. */
    QByteArray Read(qint64 count, const char* what);

    /** Passes over @p count bytes; false like Read(). */
    bool Skip(qint64 count, const char* what);

    /** Numbers in bytes that were read. @p offset must lie inside. */
    quint16 Number16(const QByteArray& bytes, qint64 offset) const;
    quint32 Number32(const QByteArray& bytes, qint64 offset) const;

    qint64 Offset() const;
    bool AtEnd() const;

    /** Notes what is wrong at the byte @p offset; the first note stays. */
    void Fail(qint64 offset, const QString& text);

    /** Empty while all is well. */
    QString Error() const;

private:
    bool Has(qint64 count, const char* what);

    QIODevice& m_Device;
    bool m_IsBigEndian = false;
    QString m_Error;
};

} // namespace Kivctl

#endif // KIVCTL_TRACE_CAPTUREINPUT_H
