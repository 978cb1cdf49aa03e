// SPDX-License-Identifier: MIT
#include "EventLog.h"

#include "ShortenedText.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

namespace Simulator {

namespace {

constexpr std::size_t keptRecords = 100000;
constexpr int excerptSize = 8 * 1024 * 1024; // bytes; a message of a bus holds 32 MiB
constexpr int shortenedPayload = 4000;       // characters, of a record that would fill an excerpt alone

QByteArray LineOf(LogRecord record)
{
    const QByteArray line = ToJson(record);
    if (line.size() <= excerptSize) {
        return line;
    }
    record.payload = Tools::ShortenedText(record.payload, shortenedPayload);
    return ToJson(record);
}

} // namespace

EventLog::EventLog(LogFormat format)
    : m_Format(format)
{
    m_Clock.start();
}

QString EventLog::OpenFile(const QString& path)
{
    m_File.setFileName(path);
    return m_File.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Unbuffered)
               ? QString()
               : m_File.errorString();
}

void EventLog::Add(LogRecord record)
{
    record.time = m_Clock.elapsed();
    if (m_Format != LogFormat::Off) {
        Write(m_Format == LogFormat::Json ? ToJson(record) : ToText(record));
    }
    if (m_Records.size() == keptRecords) {
        m_Records.pop_front();
        ++m_FirstNumber;
    }
    m_Records.push_back(std::move(record));
}

void EventLog::Write(const QByteArray& line)
{
    const QString complaint = m_File.isOpen() ? WriteToFile(line) : WriteToOutput(line);
    if (!complaint.isEmpty() && !m_HasComplained) {
        m_HasComplained = true; // the service goes on, and should not say so with every line
        std::fprintf(stderr, "kiv-audio-simulator: the log cannot be written: %s\n", qPrintable(complaint));
    }
}

QString EventLog::WriteToFile(const QByteArray& line)
{
    return m_File.write(line + '\n') == line.size() + 1 ? QString() : m_File.errorString();
}

QString EventLog::WriteToOutput(const QByteArray& line)
{
    m_Output.Write(line + '\n');
    return std::ferror(stdout) == 0 ? QString() : QString::fromLocal8Bit(std::strerror(errno));
}

void EventLog::Clear()
{
    m_Records.clear();
    m_FirstNumber = 0;
}

EventLog::Excerpt EventLog::Read(quint32 from) const
{
    Excerpt excerpt{{}, std::max(from, m_FirstNumber)};
    const auto end = m_FirstNumber + static_cast<quint32>(m_Records.size());
    for (int size = 0; excerpt.next < end && size < excerptSize; ++excerpt.next) {
        const QByteArray line = LineOf(m_Records[excerpt.next - m_FirstNumber]);
        excerpt.lines.append(QString::fromUtf8(line));
        size += static_cast<int>(line.size());
    }
    return excerpt;
}

} // namespace Simulator
