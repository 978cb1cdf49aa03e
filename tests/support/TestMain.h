// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_TESTMAIN_H
#define KIV_TESTS_TESTMAIN_H

#include "PrivateBus.h"

#include <QCoreApplication>
#include <QTest>

/** The main function of a unit test: there is no bus, and an attempt to find one ends nowhere. */
#define KIV_UNIT_TEST_MAIN(TestClass)                                                                        \
    int main(int argc, char** argv)                                                                          \
    {                                                                                                        \
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/kiv-test-bus");                           \
        const QCoreApplication application(argc, argv);                                                      \
        TestClass test;                                                                                      \
        return QTest::qExec(&test, argc, argv);                                                              \
    }

/** The main function of a bus test: a private bus daemon stands in for the system bus. */
#define KIV_BUS_TEST_MAIN(TestClass)                                                                         \
    int main(int argc, char** argv)                                                                          \
    {                                                                                                        \
        const KivTest::PrivateBus bus;                                                                       \
        const QCoreApplication application(argc, argv);                                                      \
        TestClass test;                                                                                      \
        return QTest::qExec(&test, argc, argv);                                                              \
    }

#endif // KIV_TESTS_TESTMAIN_H
