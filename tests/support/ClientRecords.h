// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_CLIENTRECORDS_H
#define KIV_TESTS_CLIENTRECORDS_H

#include "LogCapture.h"

#include <QDebug>
#include <QMetaType>
#include <QRegularExpression>
#include <QStringList>
#include <QThread>

namespace KivTest {

/** An item as the debug stream writes it. */
template <typename Item>
QString Streamed(const Item& item)
{
    QString text;
    QDebug(&text).nospace() << item;
    return text;
}

inline QString CurrentThreadText()
{
    return Streamed(QThread::currentThread());
}

inline QVector<LogRecord> Debugs(const QStringList& texts)
{
    QVector<LogRecord> records;
    for (const QString& text : texts) {
        records.append(Debug(text));
    }
    return records;
}

/** The records with every well-formed time stamp of a request replaced by "mm:ss.zzz". */
inline QVector<LogRecord> WithoutTimes(QVector<LogRecord> records)
{
    static const QRegularExpression stamp(R"re((?<=ServiceRequest -- Time: )"[0-5]\d:[0-5]\d\.\d{3}")re");
    for (LogRecord& record : records) {
        record.text.replace(stamp, R"("mm:ss.zzz")");
    }
    return records;
}

/** What a blocking request writes before it is sent, without its time. */
inline LogRecord RequestSent(const QString& methodName, const QString& arguments)
{
    return Debug(QStringLiteral(R"(KivBaseClient::ServiceRequest -- Time: "mm:ss.zzz" %1 %2)")
                     .arg(Streamed(methodName), Streamed(arguments)));
}

/** What a blocking request writes when it has succeeded, without its time. */
inline LogRecord RequestSucceeded(const QString& methodName)
{
    return Debug(
        QStringLiteral(R"(KivBaseClient::ServiceRequest -- Time: "mm:ss.zzz" Request: %1 Result: true %2)")
            .arg(Streamed(methodName), CurrentThreadText()));
}

/** What a blocking request writes when its answer contains "errCode". */
inline LogRecord RequestRefused(const QString& methodName, const QString& arguments, const QString& answer)
{
    return Critical(QStringLiteral("KivBaseClient::ServiceRequest -- Request error: %1 %2 result: %3")
                        .arg(Streamed(methodName), Streamed(arguments), Streamed(answer)));
}

/** What the real proxy writes when a blocking request was answered. */
inline LogRecord ProxyAnswered(const QString& methodName, const QString& answer)
{
    return Debug(QStringLiteral("ConcreteServiceProviderProxy::Request: %1 Result: %2")
                     .arg(Streamed(methodName), Streamed(answer)));
}

} // namespace KivTest

/** For columns of test data. */
Q_DECLARE_METATYPE(KivTest::LogRecord)

#endif // KIV_TESTS_CLIENTRECORDS_H
