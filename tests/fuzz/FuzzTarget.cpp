// SPDX-License-Identifier: MIT
#include "FuzzTarget.h"

#include <QCoreApplication>
#include <QLoggingCategory>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

// libFuzzer calls these two; so does Replay.cpp in its place.
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int LLVMFuzzerInitialize(int* argc, char*** argv)
{
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/kiv-test-bus");
    static QCoreApplication application(*argc, *argv);
    QLoggingCategory::setFilterRules(QStringLiteral("*=false"));
    return 0;
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    KivFuzz::HandleInput(reinterpret_cast<const char*>(data), static_cast<int>(size));
    return 0;
}

void KivFuzz::ReportFinding(const char* what, const QString& actual, const QString& expected)
{
    std::fprintf(stderr, "FINDING: %s\n--- actual\n%s\n--- expected\n%s\n", what, qUtf8Printable(actual),
                 qUtf8Printable(expected));
    std::abort();
}
