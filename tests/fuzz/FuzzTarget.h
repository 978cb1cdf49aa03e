// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_FUZZTARGET_H
#define KIV_TESTS_FUZZTARGET_H

#include <QString>

namespace KivFuzz {

/**
 * Handles one input; every fuzzing program defines this. An input is what a file of the corpus holds.
 *
 * It reports a finding with Require(), or with whatever a sanitizer finds.
 */
void HandleInput(const char* data, int size);

/** Ends the program with a finding, and shows both texts. */
[[noreturn]] void ReportFinding(const char* what, const QString& actual, const QString& expected);

/** Ends the program with a finding unless the condition holds. */
inline void Require(bool condition, const char* what, const QString& input = QString())
{
    if (!condition) {
        ReportFinding(what, input, QString());
    }
}

} // namespace KivFuzz

#endif // KIV_TESTS_FUZZTARGET_H
