// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_STREAMED_H
#define KIV_TESTS_STREAMED_H

#include "LogCapture.h"

#include <QDebug>
#include <QRegularExpression>
#include <QString>
#include <QThread>
#include <QVector>

namespace KivTest {

/** What a log record reads that streams these items. */
template <typename... Items>
QString Streamed(const Items&... items)
{
    QString text;
    {
        QDebug stream(&text);
        (void)(stream << ... << items);
    }
    if (text.endsWith(QLatin1Char(' '))) {
        text.chop(1);
    }
    return text;
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

/** The record with which a blocking request begins. */
inline LogRecord RequestBegins(const QString& methodName, const QString& arguments)
{
    return Debug(Streamed("KivBaseClient::ServiceRequest -- Time:", kTime, methodName, arguments));
}

/** The record with which a blocking request that was made on this thread succeeds. */
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

} // namespace KivTest

#endif // KIV_TESTS_STREAMED_H
