// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_LOGCAPTURE_H
#define KIV_TESTS_LOGCAPTURE_H

#include <QMutex>
#include <QString>
#include <QStringList>
#include <QVector>
#include <QtGlobal>

namespace KivTest {

/** One log record: level, category and text. */
struct LogRecord
{
    QtMsgType level;
    QString category;
    QString text;

    bool operator==(const LogRecord& other) const
    {
        return level == other.level && category == other.category && text == other.text;
    }
};

LogRecord Debug(const QString& text);
LogRecord Warning(const QString& text);
LogRecord Critical(const QString& text);

/**
 * Collects every log record while it lives, from all threads, instead of printing it. Debug output is switched on
 * meanwhile. Not nestable.
 */
class LogCapture
{
public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    /** All records so far, in order. */
    QVector<LogRecord> Records() const;

    /** The texts of one level, in order. */
    QStringList Texts(QtMsgType level) const;

    bool Contains(const LogRecord& record) const;
    int Count(const LogRecord& record) const;

    /** Records of warning level and above. */
    QVector<LogRecord> Complaints() const;

    void Clear();

private:
    static void Handle(QtMsgType level, const QMessageLogContext& context, const QString& text);

    mutable QMutex m_Lock;
    QVector<LogRecord> m_Records;
    QtMessageHandler m_Previous;
    static LogCapture* smCurrent;
};

} // namespace KivTest

/** For failure messages of QCOMPARE. */
char* toString(const KivTest::LogRecord& record);

namespace KivTest {
inline char* toString(const LogRecord& record)
{
    return ::toString(record);
}
} // namespace KivTest

#endif // KIV_TESTS_LOGCAPTURE_H
