// SPDX-License-Identifier: MIT
#include "PrivateBus.h"

#include <QFile>

#include <csignal>

#include <sys/prctl.h>

namespace KivTest {

namespace {

const char* const configuration =
    R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:path=%1/bus</listen>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
  <limit name="max_replies_per_connection">50000</limit>
  %2
</busconfig>
)";

} // namespace

// A daemon must not outlive a test program that crashes.
void PrivateBus::Daemon::Prepare()
{
    ::prctl(PR_SET_PDEATHSIG, SIGTERM);
}

PrivateBus::PrivateBus(const QString& limits)
{
    const QString configurationPath = m_Directory.filePath(QStringLiteral("bus.conf"));
    QFile file(configurationPath);
    if (!file.open(QIODevice::WriteOnly)) {
        qFatal("cannot write %s", qPrintable(configurationPath));
    }
    file.write(QString::fromLatin1(configuration).arg(m_Directory.path(), limits).toUtf8());
    file.close();

    m_Daemon.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_Daemon.start(QStringLiteral("dbus-daemon"),
                   {QStringLiteral("--config-file=") + configurationPath, QStringLiteral("--nofork"),
                    QStringLiteral("--nopidfile"), QStringLiteral("--print-address")});
    while (m_Daemon.state() != QProcess::NotRunning && !m_Daemon.canReadLine()) {
        if (!m_Daemon.waitForReadyRead(30000)) {
            break;
        }
    }
    m_Address = QString::fromLatin1(m_Daemon.readLine()).trimmed();
    if (m_Address.isEmpty()) {
        qFatal("dbus-daemon did not start: %s", qPrintable(m_Daemon.errorString()));
    }
    m_ProcessId = m_Daemon.processId();
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", m_Address.toLatin1());
}

PrivateBus::~PrivateBus()
{
    m_Daemon.terminate();
    if (!m_Daemon.waitForFinished(10000)) {
        Kill();
    }
}

QString PrivateBus::Address() const
{
    return m_Address;
}

void PrivateBus::Kill()
{
    m_Daemon.kill();
    m_Daemon.waitForFinished();
}

void PrivateBus::Signal(int number) const
{
    ::kill(static_cast<pid_t>(m_ProcessId), number);
}

} // namespace KivTest
