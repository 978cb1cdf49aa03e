// SPDX-License-Identifier: MIT
#ifndef KIV_LOGGING_QT5TEXT_H
#define KIV_LOGGING_QT5TEXT_H

#include <QDebug>
#include <QStringList>
#include <QVariant>

/**
 * @file
 * The texts of log records are those of Qt 5, whatever Qt this is built with.
 *
 * Lists, variants and maps of variants are streamed as `Qt5Text(value)`. For Qt 5 that is the value itself. Qt 6
 * would write `QList("a")` for `("a")`, also inside of variants.
 */

namespace Audio::Utils::Kiv::QtDbus {

#if QT_VERSION_MAJOR < 6

template <typename Value>
const Value& Qt5Text(const Value& value)
{
    return value;
}

#else

/** What Qt5Text() gives to the stream: a part of one expression, since it refers to the value. */
template <typename Value>
struct Qt5Streamed
{
    const Value& value;
};

template <typename Value>
Qt5Streamed<Value> Qt5Text(const Value& value)
{
    return {value};
}

namespace Qt5Format {

inline void Write(QDebug& debug, const QVariant& value);

template <typename Value>
void Write(QDebug& debug, const Value& value)
{
    debug << value;
}

template <typename Value>
void Write(QDebug& debug, const QList<Value>& list)
{
    debug << '(';
    const char* separator = "";
    for (const Value& value : list) {
        debug << separator;
        Write(debug, value);
        separator = ", ";
    }
    debug << ')';
}

inline void Write(QDebug& debug, const QVariantMap& map)
{
    debug << "QMap(";
    for (auto entry = map.constBegin(); entry != map.constEnd(); ++entry) {
        debug << '(' << entry.key() << ", ";
        Write(debug, entry.value());
        debug << ')';
    }
    debug << ')';
}

template <typename Container>
void WriteHeld(QDebug& debug, const QVariant& value)
{
    debug << "QVariant(" << value.typeName() << ", ";
    Write(debug, value.value<Container>());
    debug << ')';
}

inline void Write(QDebug& debug, const QVariant& value)
{
    switch (value.userType()) {
    case QMetaType::QStringList:
        return WriteHeld<QStringList>(debug, value);
    case QMetaType::QVariantList:
        return WriteHeld<QVariantList>(debug, value);
    case QMetaType::QVariantMap:
        return WriteHeld<QVariantMap>(debug, value);
    default:
        debug << value;
    }
}

} // namespace Qt5Format

template <typename Value>
QDebug operator<<(QDebug debug, const Qt5Streamed<Value>& item)
{
    const QDebugStateSaver saver(debug);
    debug.nospace();
    Qt5Format::Write(debug, item.value);
    return debug;
}

#endif

} // namespace Audio::Utils::Kiv::QtDbus

#endif // KIV_LOGGING_QT5TEXT_H
