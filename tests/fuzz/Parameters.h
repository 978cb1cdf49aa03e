// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_PARAMETERS_H
#define KIV_TESTS_PARAMETERS_H

#include <QMap>
#include <QString>
#include <QVariant>

namespace KivFuzz {

using ParameterMap = QMap<QString, QVariant>;

/** Whether two maps are the same, the exact types of their values and nulls included. */
bool AreSame(const ParameterMap& left, const ParameterMap& right);

/** Shows a map, with types and nulls. */
QString Described(const ParameterMap& parameters);

/** Ends the program with a finding unless the maps are the same. */
void RequireSame(const char* what, const ParameterMap& actual, const ParameterMap& expected);

} // namespace KivFuzz

#endif // KIV_TESTS_PARAMETERS_H
