// SPDX-License-Identifier: MIT
#include "PrivateBusDaemon.h"

#include <QDir>
#include <QFile>
#include <QUrl>

namespace Simulator {

namespace {

// Everything that is not said is as on a system bus, also the limits. Nothing in it depends on the type.
const char* const configuration =
    R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:path=%1/bus</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow user="*"/>
    <allow own="*"/>
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
  </policy>
</busconfig>
)";

// The path of a socket has less than 108 bytes.
QString FolderTemplate()
{
    constexpr int longestFolder = 80;
    const QString wanted = QDir::tempPath();
    const QString folder = QFile::encodeName(wanted).size() > longestFolder ? QStringLiteral("/tmp") : wanted;
    return folder + QStringLiteral("/kiv-XXXXXX");
}

} // namespace

PrivateBusDaemon::PrivateBusDaemon()
    : m_Folder(FolderTemplate())
{
    // What a daemon complains of that works, a limit that root may not raise for instance, is of no use here.
    m_Process.setProcessChannelMode(QProcess::SeparateChannels);
}

bool PrivateBusDaemon::Start()
{
    const QString path = m_Folder.filePath(QStringLiteral("bus.conf"));
    if (!WriteConfiguration(path)) {
        return false;
    }
    m_Process.Start(QStringLiteral("dbus-daemon"),
                    {QStringLiteral("--config-file=") + path, QStringLiteral("--nofork"),
                     QStringLiteral("--nopidfile"), QStringLiteral("--print-address")});
    if (!m_Process.WaitForLine()) {
        m_ErrorText = QStringLiteral("no bus: --exec needs the program dbus-daemon "
                                     "(on Debian from the package dbus-daemon); it ") +
                      m_Process.Fate();
        return false;
    }
    m_Address = QString::fromLatin1(m_Process.readLine()).trimmed();
    return true;
}

QString PrivateBusDaemon::Address() const
{
    return m_Address;
}

QString PrivateBusDaemon::ErrorText() const
{
    return m_ErrorText;
}

HelperProcess& PrivateBusDaemon::Process()
{
    return m_Process;
}

bool PrivateBusDaemon::WriteConfiguration(const QString& path)
{
    // Escaped as D-Bus addresses demand; XML has nothing left to escape then.
    const QByteArray folder = QUrl::toPercentEncoding(m_Folder.path(), "/", "~");
    const QByteArray text = QByteArray(configuration).replace("%1", folder);
    QFile file(path);
    if (!m_Folder.isValid() || !file.open(QIODevice::WriteOnly) || file.write(text) != text.size() ||
        !file.flush()) {
        m_ErrorText = QStringLiteral("no bus: cannot write \"%1\": %2")
                          .arg(m_Folder.isValid() ? path : QDir::tempPath(),
                               m_Folder.isValid() ? file.errorString() : m_Folder.errorString());
        return false;
    }
    return true;
}

} // namespace Simulator
