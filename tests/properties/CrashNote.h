// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_CRASHNOTE_H
#define KIV_TESTS_CRASHNOTE_H

#include <QByteArray>

namespace KivTest {

/** Has a crash of this program print a note to stderr before it ends. A later note replaces it. */
void SetCrashNote(const QByteArray& note);

} // namespace KivTest

#endif // KIV_TESTS_CRASHNOTE_H
