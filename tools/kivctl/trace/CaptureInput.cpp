// SPDX-License-Identifier: MIT
#include "CaptureInput.h"

#include <QtEndian>

namespace Kivctl {

CaptureInput::CaptureInput(QIODevice& device)
    : m_Device(device)
{
}

void CaptureInput::SetBigEndian(bool isBigEndian)
{
    m_IsBigEndian = isBigEndian;
}

bool CaptureInput::Has(qint64 count, const char* what)
{
    const qint64 left = m_Device.size() - m_Device.pos();
    if (count > left) {
        Fail(m_Device.pos(), QStringLiteral("the file ends inside %1: %2 bytes expected, %3 there")
                                 .arg(QLatin1String(what))
                                 .arg(count)
                                 .arg(left));
    }
    return m_Error.isEmpty();
}

QByteArray CaptureInput::Read(qint64 count, const char* what)
{
    if (!Has(count, what)) {
        return QByteArray();
    }
    const qint64 offset = m_Device.pos();
    const QByteArray bytes = m_Device.read(count);
    if (bytes.size() != count) {
        Fail(offset, QStringLiteral("cannot read: ") + m_Device.errorString());
        return QByteArray();
    }
    return bytes;
}

bool CaptureInput::Skip(qint64 count, const char* what)
{
    return Has(count, what) && m_Device.seek(m_Device.pos() + count);
}

quint16 CaptureInput::Number16(const QByteArray& bytes, qint64 offset) const
{
    const char* const place = bytes.constData() + offset;
    return m_IsBigEndian ? qFromBigEndian<quint16>(place) : qFromLittleEndian<quint16>(place);
}

quint32 CaptureInput::Number32(const QByteArray& bytes, qint64 offset) const
{
    const char* const place = bytes.constData() + offset;
    return m_IsBigEndian ? qFromBigEndian<quint32>(place) : qFromLittleEndian<quint32>(place);
}

qint64 CaptureInput::Offset() const
{
    return m_Device.pos();
}

bool CaptureInput::AtEnd() const
{
    return m_Device.pos() >= m_Device.size();
}

void CaptureInput::Fail(qint64 offset, const QString& text)
{
    if (m_Error.isEmpty()) {
        m_Error = QStringLiteral("byte %1: %2").arg(offset).arg(text);
    }
}

QString CaptureInput::Error() const
{
    return m_Error;
}

} // namespace Kivctl
