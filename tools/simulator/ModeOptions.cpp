// SPDX-License-Identifier: MIT
#include "ModeOptions.h"

#include "UsageError.h"
#include "Vocabulary.h"

#include <algorithm>

namespace Simulator {

namespace {

void CheckDestination(const QString& option, const QString& text, const QString& destination)
{
    if (destination.isEmpty()) {
        throw Tools::UsageError(QStringLiteral("%1 \"%2\": empty destination").arg(option, text));
    }
    if (destination == Value::All) {
        throw Tools::UsageError(
            QStringLiteral("%1 \"%2\": \"all\" cannot be a destination").arg(option, text));
    }
}

QStringList ReadDestinations(const QStringList& texts)
{
    QStringList destinations;
    for (const QString& text : texts) {
        for (const QString& destination : text.split(QLatin1Char(','))) {
            CheckDestination(QStringLiteral("--destinations"), text, destination);
            destinations.append(destination);
        }
    }
    if (destinations.removeDuplicates() > 0) {
        throw Tools::UsageError(QStringLiteral("--destinations: one is given twice"));
    }
    return destinations.isEmpty() ? QStringList(QStringLiteral("Cabin")) : destinations;
}

void AddModes(QVector<DestinationModes>& all, const QString& destination, const QStringList& modes)
{
    const auto isSame = [&](const DestinationModes& one) { return one.destination == destination; };
    const auto found = std::find_if(all.begin(), all.end(), isSame);
    DestinationModes& target = found == all.end() ? (all.append({destination, {}}), all.last()) : *found;
    target.modes += modes;
    if (target.modes.removeDuplicates() > 0) {
        throw Tools::UsageError(QStringLiteral("--modes: a mode of \"%1\" is given twice").arg(destination));
    }
}

void AddModes(QVector<DestinationModes>& all, const QStringList& destinations, const QString& text)
{
    const auto equals = text.indexOf(QLatin1Char('='));
    const QStringList modes = text.mid(equals + 1).split(QLatin1Char(','));
    const QStringList targets = equals < 0 ? destinations : QStringList(text.left(equals));
    for (const QString& target : targets) {
        CheckDestination(QStringLiteral("--modes"), text, target);
    }
    if (modes.contains(QString())) {
        throw Tools::UsageError(QStringLiteral("--modes \"%1\": empty mode").arg(text));
    }
    for (const QString& target : targets) {
        AddModes(all, target, modes);
    }
}

} // namespace

QVector<DestinationModes> CombineModes(const QStringList& destinations, const QStringList& modes)
{
    const QStringList named = ReadDestinations(destinations);
    QVector<DestinationModes> all;
    if (!destinations.isEmpty()) {
        for (const QString& destination : named) {
            all.append({destination, {}});
        }
    }
    for (const QString& text : modes) {
        AddModes(all, named, text);
    }
    for (DestinationModes& one : all) {
        if (one.modes.isEmpty()) {
            one.modes = QStringList{QStringLiteral("Radio"), QStringLiteral("Bluetooth")};
        }
    }
    return all;
}

} // namespace Simulator
