// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_LOGTEXTS_H
#define KIV_TESTS_LOGTEXTS_H

#include "LogCapture.h"
#include "logging/Qt5Text.h"

#include <QByteArray>
#include <QDebug>
#include <QMetaType>
#include <QRegularExpression>
#include <QString>
#include <QStringList>
#include <QThread>
#include <QVector>

#include <memory>

namespace KivTest {

/** The text of a log record that streams these items, with Qt 5; what it is for lists see tst_Qt5Text. */
template <typename... Items>
QString Streamed(const Items&... items)
{
    QString text;
    {
        QDebug stream(&text);
        (void)(stream << ... << Audio::Utils::Kiv::QtDbus::Qt5Text(items));
    }
    if (text.endsWith(QLatin1Char(' '))) {
        text.chop(1);
    }
    return text;
}

inline QString CurrentThreadText()
{
    return Streamed(QThread::currentThread());
}

/** Debug records with these texts. */
inline QVector<LogRecord> Debugs(const QStringList& texts)
{
    QVector<LogRecord> records;
    for (const QString& text : texts) {
        records.append(Debug(text));
    }
    return records;
}

/** Stands for the time in records of blocking requests, see Timeless(). */
const QString kTime = "mm:ss.zzz";

/** The records with every well-formed time replaced by kTime. */
inline QVector<LogRecord> Timeless(QVector<LogRecord> records)
{
    static const QRegularExpression time("(?<=-- Time: \")[0-5]\\d:[0-5]\\d\\.\\d{3}(?=\")");
    for (LogRecord& record : records) {
        record.text.replace(time, kTime);
    }
    return records;
}

/** The record with which a blocking request begins, without its time. */
inline LogRecord RequestBegins(const QString& methodName, const QString& arguments)
{
    return Debug(Streamed("KivBaseClient::ServiceRequest -- Time:", kTime, methodName, arguments));
}

/** The record with which a blocking request that was made on this thread succeeds, without its time. */
inline LogRecord RequestSucceeds(const QString& methodName)
{
    return Debug(Streamed("KivBaseClient::ServiceRequest -- Time:", kTime, "Request:", methodName,
                          "Result:", true, QThread::currentThread()));
}

/** The record with which a blocking request fails. */
inline LogRecord RequestFails(const QString& methodName, const QString& arguments, const QString& result)
{
    return Critical(Streamed("KivBaseClient::ServiceRequest -- Request error:", methodName, arguments,
                             "result:", result));
}

/** What the real proxy writes when a blocking request was answered. */
inline LogRecord ProxyAnswered(const QString& methodName, const QString& answer)
{
    return Debug(Streamed("ConcreteServiceProviderProxy::Request:", methodName, "Result:", answer));
}

/** For failure messages of QCOMPARE: one record per line. */
inline char* toString(const QVector<LogRecord>& records)
{
    QByteArray lines;
    for (const LogRecord& record : records) {
        const std::unique_ptr<char[]> line(::toString(record));
        lines.append("\n      ").append(line.get());
    }
    return qstrdup(lines.constData());
}

} // namespace KivTest

/** For columns of test data. */
Q_DECLARE_METATYPE(KivTest::LogRecord)

#endif // KIV_TESTS_LOGTEXTS_H
