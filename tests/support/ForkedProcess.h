// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_FORKEDPROCESS_H
#define KIV_TESTS_FORKEDPROCESS_H

#include <QProcess>

namespace KivTest {

/**
 * A process that is started with fork(), as every class derived from QProcess does.
 *
 * QProcess itself uses clone() with CLONE_PIDFD. Where a system says that it has this, and has not, as under
 * qemu-user, the process gets the identifier -1: to kill it means to kill every process that can be killed.
 */
class ForkedProcess : public QProcess
{
};

} // namespace KivTest

#endif // KIV_TESTS_FORKEDPROCESS_H
