// SPDX-License-Identifier: MIT
#include "CaptureReader.h"

#include "PcapReader.h"
#include "PcapngReader.h"

namespace Kivctl {

CaptureReader::CaptureReader(QIODevice& device)
    : m_Input(device)
{
}

QString CaptureReader::Error() const
{
    return m_Input.Error();
}

std::unique_ptr<CaptureReader> CaptureReader::Open(QIODevice& device, QString* error)
{
    std::unique_ptr<CaptureReader> reader;
    const QByteArray magic = device.peek(4);
    if (PcapngReader::IsMagic(magic)) {
        reader = std::make_unique<PcapngReader>(device);
    } else if (PcapReader::IsMagic(magic)) {
        reader = std::make_unique<PcapReader>(device);
    } else {
        *error = QStringLiteral("byte 0: no capture file: neither pcapng nor pcap");
        return nullptr;
    }
    *error = reader->Error();
    return error->isEmpty() ? std::move(reader) : nullptr;
}

} // namespace Kivctl
