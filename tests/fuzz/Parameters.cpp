// SPDX-License-Identifier: MIT
#include "Parameters.h"

#include "FuzzTarget.h"

#include <QStringList>

namespace KivFuzz {

namespace {

// Comparing variants of different types would convert.
bool IsSame(const QVariant& left, const QVariant& right)
{
    return left.userType() == right.userType() && left.isNull() == right.isNull() && left == right;
}

} // namespace

bool AreSame(const ParameterMap& left, const ParameterMap& right)
{
    if (left.size() != right.size()) {
        return false;
    }
    auto other = right.constBegin();
    for (auto entry = left.constBegin(); entry != left.constEnd(); ++entry, ++other) {
        if (entry.key() != other.key() || !IsSame(*entry, *other)) {
            return false;
        }
    }
    return true;
}

QString Described(const ParameterMap& parameters)
{
    QStringList entries;
    for (auto entry = parameters.constBegin(); entry != parameters.constEnd(); ++entry) {
        const bool isList = entry->userType() == QMetaType::QStringList;
        entries.append(QString("%1 = %2%3 %4")
                           .arg(entry.key(), entry->isNull() ? "null " : "",
                                QString::fromLatin1(entry->typeName()),
                                isList ? '(' + entry->toStringList().join('|') + ')' : entry->toString()));
    }
    return entries.join('\n');
}

void RequireSame(const char* what, const ParameterMap& actual, const ParameterMap& expected)
{
    if (!AreSame(actual, expected)) {
        ReportFinding(what, Described(actual), Described(expected));
    }
}

} // namespace KivFuzz
