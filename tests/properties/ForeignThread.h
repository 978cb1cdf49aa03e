// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_FOREIGNTHREAD_H
#define KIV_TESTS_FOREIGNTHREAD_H

#include <QtGlobal>

#include <functional>

namespace KivTest {

/** Runs a function on another thread, always the same one, while this thread handles events. */
quint32 OnForeignThread(const std::function<quint32()>& function);

} // namespace KivTest

#endif // KIV_TESTS_FOREIGNTHREAD_H
