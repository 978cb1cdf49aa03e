// SPDX-License-Identifier: MIT
#include "ServiceProcess.h"

#include <QCoreApplication>

#include "PatientWriter.h"

#include <cstdio>

namespace Simulator {

namespace {

void Forward(const QByteArray& text)
{
    static Tools::PatientWriter standardError(stderr);
    standardError.Write(text);
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
