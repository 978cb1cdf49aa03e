// SPDX-License-Identifier: MIT
#ifndef KIV_EXAMPLES_LINEREADER_H
#define KIV_EXAMPLES_LINEREADER_H

#include <QByteArray>
#include <QSocketNotifier>
#include <QString>

#include <functional>
#include <utility>

#include <unistd.h>

/** Hands each line of standard input to a function, without blocking the event loop. */
class LineReader
{
public:
    /**
     * @param onLine called with each line.
     * @param onEnd called once at the end of the input.
     */
    LineReader(std::function<void(const QString&)> onLine, std::function<void()> onEnd)
        : m_OnLine(std::move(onLine)),
          m_OnEnd(std::move(onEnd)),
          m_Notifier(STDIN_FILENO, QSocketNotifier::Read)
    {
        QObject::connect(&m_Notifier, &QSocketNotifier::activated, &m_Notifier, [this] { Read(); });
    }

private:
    void Read()
    {
        char chunk[4096];
        const auto size = ::read(STDIN_FILENO, chunk, sizeof chunk);
        if (size <= 0) {
            m_Notifier.setEnabled(false);
            m_OnEnd();
            return;
        }
        m_Buffer.append(chunk, static_cast<int>(size));
        for (auto end = m_Buffer.indexOf('\n'); end >= 0; end = m_Buffer.indexOf('\n')) {
            const QString line = QString::fromUtf8(m_Buffer.left(end)).trimmed();
            m_Buffer.remove(0, end + 1);
            m_OnLine(line);
        }
    }

    std::function<void(const QString&)> m_OnLine;
    std::function<void()> m_OnEnd;
    QSocketNotifier m_Notifier;
    QByteArray m_Buffer;
};

#endif // KIV_EXAMPLES_LINEREADER_H
