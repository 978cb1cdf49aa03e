// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_SHRINKER_H
#define KIV_TESTS_SHRINKER_H

#include "Schedule.h"

#include <functional>

namespace KivTest {

/** Whether a schedule fails. Must give the same answer every time. */
using Fails = std::function<bool(const Schedule&)>;

/**
 * Makes a failing schedule as short as it goes: steps are taken out while the rest still fails, first in
 * large pieces, at last one by one; then what is left is made plainer (a call from another thread becomes one
 * from the client's, a later place the first, and so on).
 *
 * @param schedule one that fails.
 * @return one that fails, and would not without any one of its steps.
 */
Schedule Shrink(Schedule schedule, const Fails& fails);

} // namespace KivTest

#endif // KIV_TESTS_SHRINKER_H
