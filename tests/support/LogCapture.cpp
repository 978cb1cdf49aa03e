// SPDX-License-Identifier: MIT
#include "LogCapture.h"

#include <QLoggingCategory>
#include <QMutexLocker>
#include <QTest>

#include <algorithm>

namespace KivTest {

LogCapture* LogCapture::smCurrent = nullptr;

namespace {

LogRecord Record(QtMsgType level, const QString& text)
{
    return {level, QStringLiteral("default"), text};
}

const char* LevelName(QtMsgType level)
{
    switch (level) {
    case QtDebugMsg:
        return "debug";
    case QtInfoMsg:
        return "info";
    case QtWarningMsg:
        return "warning";
    case QtCriticalMsg:
        return "critical";
    case QtFatalMsg:
        return "fatal";
    }
    return "unknown";
}

} // namespace

LogRecord Debug(const QString& text)
{
    return Record(QtDebugMsg, text);
}

LogRecord Warning(const QString& text)
{
    return Record(QtWarningMsg, text);
}

LogRecord Critical(const QString& text)
{
    return Record(QtCriticalMsg, text);
}

LogCapture::LogCapture()
{
    Q_ASSERT(smCurrent == nullptr);
    smCurrent = this;
    QLoggingCategory::defaultCategory()->setEnabled(QtDebugMsg, true);
    m_Previous = qInstallMessageHandler(&LogCapture::Handle);
}

LogCapture::~LogCapture()
{
    qInstallMessageHandler(m_Previous);
    smCurrent = nullptr;
}

QVector<LogRecord> LogCapture::Records() const
{
    const QMutexLocker lock(&m_Lock);
    return m_Records;
}

QStringList LogCapture::Texts(QtMsgType level) const
{
    QStringList texts;
    for (const LogRecord& record : Records()) {
        if (record.level == level) {
            texts.append(record.text);
        }
    }
    return texts;
}

bool LogCapture::Contains(const LogRecord& record) const
{
    return Records().contains(record);
}

int LogCapture::Count(const LogRecord& record) const
{
    return static_cast<int>(Records().count(record));
}

QVector<LogRecord> LogCapture::Complaints() const
{
    QVector<LogRecord> complaints;
    for (const LogRecord& record : Records()) {
        if (record.level != QtDebugMsg && record.level != QtInfoMsg) {
            complaints.append(record);
        }
    }
    return complaints;
}

void LogCapture::Clear()
{
    const QMutexLocker lock(&m_Lock);
    m_Records.clear();
}

void LogCapture::Handle(QtMsgType level, const QMessageLogContext& context, const QString& text)
{
    const QMutexLocker lock(&smCurrent->m_Lock);
    smCurrent->m_Records.append({level, QString::fromUtf8(context.category), text});
}

} // namespace KivTest

char* toString(const KivTest::LogRecord& record)
{
    const QString text =
        QStringLiteral("[%1/%2] %3")
            .arg(QLatin1String(KivTest::LevelName(record.level)), record.category, record.text);
    return qstrdup(text.toUtf8().constData());
}
