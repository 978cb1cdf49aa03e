// SPDX-License-Identifier: MIT
#include "ScenarioLibrary.h"

#include "JsonNode.h"
#include "ScenarioReader.h"
#include "UsageError.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace Simulator {

namespace {

const QString suffix = QStringLiteral(".json");

// Found from the program's own place, so that an installed tree can be moved.
QDir LibraryFolder()
{
    return QDir(QCoreApplication::applicationDirPath() + QStringLiteral("/" KIV_SCENARIOS_FROM_PROGRAM));
}

QString PathOf(const QString& name)
{
    if (name.contains(QLatin1Char('/')) || name.endsWith(suffix)) {
        return name;
    }
    const QDir folder = LibraryFolder();
    if (!folder.exists(name + suffix)) {
        const QStringList names =
            folder.entryList({QLatin1Char('*') + suffix}, QDir::Files).replaceInStrings(suffix, QString());
        throw Tools::UsageError(
            QStringLiteral("no scenario \"%1\" in the library; there are: %2")
                .arg(name, names.isEmpty() ? QStringLiteral("none") : names.join(QStringLiteral(", "))));
    }
    return folder.filePath(name + suffix);
}

// With --exec it is read twice, by two processes: a pipe will not do, nor anything without an end.
QByteArray ReadFile(const QString& path)
{
    QFile file(path);
    if (QFileInfo::exists(path) && !QFileInfo(path).isFile()) {
        throw Tools::UsageError(QStringLiteral("%1: expected a regular file").arg(path));
    }
    if (!file.open(QIODevice::ReadOnly)) {
        throw Tools::UsageError(QStringLiteral("%1: %2").arg(path, file.errorString()));
    }
    return file.readAll();
}

} // namespace

Scenario LoadScenarioNamed(const QString& name)
{
    const QString path = PathOf(name);
    const QByteArray text = ReadFile(path);
    try {
        return ReadScenario(text);
    } catch (const JsonError& error) {
        throw Tools::UsageError(
            QStringLiteral("%1:%2: %3").arg(path, QString::number(error.Line()), error.Text()));
    }
}

} // namespace Simulator
