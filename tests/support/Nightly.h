// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_NIGHTLY_H
#define KIV_TESTS_NIGHTLY_H

#include <QByteArray>
#include <QtGlobal>

namespace KivTest {

/** Whether the tests may take minutes: KIV_NIGHTLY=1. Nothing is left out otherwise, only done less often. */
inline bool IsNightly()
{
    return qEnvironmentVariableIntValue("KIV_NIGHTLY") == 1;
}

/** The first number at night, otherwise the second. */
inline int Nightly(int atNight, int otherwise)
{
    return IsNightly() ? atNight : otherwise;
}

/** Ends the program when one test function takes longer. Call it before QTest::qExec(). */
inline void LimitTestFunctions(int seconds)
{
    qputenv("QTEST_FUNCTION_TIMEOUT", QByteArray::number(seconds * 1000));
}

} // namespace KivTest

#endif // KIV_TESTS_NIGHTLY_H
