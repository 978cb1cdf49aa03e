// SPDX-License-Identifier: MIT
#include "ServiceProcess.h"

#include <QCoreApplication>

#include <cstdio>

namespace Simulator {

namespace {

void Forward(const QByteArray& text)
{
    std::fwrite(text.constData(), 1, static_cast<std::size_t>(text.size()), stderr);
}

} // namespace

ServiceProcess::ServiceProcess() = default;

ServiceProcess::~ServiceProcess()
{
    Stop();
    if (isOpen()) {
        Forward(readAllStandardOutput());
    }
}

bool ServiceProcess::Start(const QString& address, const QStringList& arguments)
{
    HelperProcess::Start(QCoreApplication::applicationFilePath(),
                         arguments + QStringList{QStringLiteral("--address"), address});
    while (WaitForLine()) {
        const QByteArray line = readLine();
        if (line == "ready\n") {
            connect(this, &QProcess::readyReadStandardOutput, this, &ServiceProcess::ForwardLines);
            ForwardLines();
            return true;
        }
        Forward(line);
    }
    return false;
}

void ServiceProcess::ForwardLines()
{
    while (canReadLine()) {
        Forward(readLine());
    }
}

} // namespace Simulator
