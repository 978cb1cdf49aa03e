// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_NIGHTLY_H
#define KIV_TESTS_NIGHTLY_H

#include <QtGlobal>

namespace KivTest {

/** How often a test repeats itself: seldom, unless KIV_NIGHTLY=1 is in the environment. */
inline int Rounds(int usual, int nightly)
{
    return qEnvironmentVariableIntValue("KIV_NIGHTLY") != 0 ? nightly : usual;
}

} // namespace KivTest

#endif // KIV_TESTS_NIGHTLY_H
