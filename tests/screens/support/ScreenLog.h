// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_SCREENLOG_H
#define KIV_TESTS_SCREENLOG_H

#include "LogCapture.h"

#include <QRegularExpression>
#include <QTest>

#include <memory>

namespace KivTest {

/**
 * Watches what Qt, QML and the program itself complain about: not a word. The library's own records, which faults cause,
 * are not among it.
 */
class ScreenLog
{
public:
    /** From here on; what was noted before is forgotten. */
    void Begin()
    {
        m_Capture.reset(); // only one at a time
        m_Capture = std::make_unique<LogCapture>();
    }

    /** Fails the running test if anything has complained. */
    void End()
    {
        const QString complaints = Complaints().join('\n');
        m_Capture.reset();
        QCOMPARE(complaints, QString());
    }

    LogCapture& Records() { return *m_Capture; }

private:
    QStringList Complaints() const
    {
        static const QRegularExpression harmless(
            "^[A-Za-z:]*(AudioManager|AudioModesModel|Client|Proxy|Adaptor|Registrator)|"
            "^InitializePrivate\\(\\)|^Kiv service provider session id error!$|"
            "^This plugin does not support |"            // the offscreen platform
            "^PulseAudioService: |^(Warning|Error): \"|" // Qt Multimedia, of what the machine lacks
            "^QUnifiedTimer::stopAnimationDriver: ");    // when a window goes while something moves
        QStringList complaints;
        for (const LogRecord& record : m_Capture->Complaints()) {
            if (!harmless.match(record.text).hasMatch()) {
                complaints.append(record.text);
            }
        }
        return complaints;
    }

    std::unique_ptr<LogCapture> m_Capture;
};

} // namespace KivTest

#endif // KIV_TESTS_SCREENLOG_H
