// SPDX-License-Identifier: MIT
#ifndef KIV_LOGGING_LOG_H
#define KIV_LOGGING_LOG_H

#include <QLoggingCategory>

namespace Audio::Utils::Kiv::QtDbus {

/** Stands in for Qt's default category while the process ends and Qt has destroyed its own: no debug output. */
const QLoggingCategory& LateLog();

/**
 * The category of every record of this library: Qt's default one.
 *
 * Records are written with `qCDebug(Log) << …` (likewise `qCWarning`, `qCCritical`), never with the plain
 * `qDebug()`: in the default category the plain form builds the whole text first and drops it afterwards,
 * while this one evaluates no item when its level is off.
 */
inline const QLoggingCategory& Log()
{
    const QLoggingCategory* category = QLoggingCategory::defaultCategory();
    return category != nullptr ? *category : LateLog();
}

} // namespace Audio::Utils::Kiv::QtDbus

#endif // KIV_LOGGING_LOG_H
