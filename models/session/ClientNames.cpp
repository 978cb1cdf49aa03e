// SPDX-License-Identifier: MIT
#include "ClientNames.h"

namespace Audio::Utils::Kiv::Models {

namespace {

constexpr int kLongestBusName = 255;

bool IsDigit(QChar character)
{
    return character >= QLatin1Char('0') && character <= QLatin1Char('9');
}

bool IsAllowed(QChar character)
{
    const QChar lower = QChar(character.unicode() | 0x20); // of a letter
    const bool isLetter = lower >= QLatin1Char('a') && lower <= QLatin1Char('z');
    return isLetter || IsDigit(character) || character == QLatin1Char('_') || character == QLatin1Char('-');
}

} // namespace

QString DefaultBusName(const QString& applicationName)
{
    QString name = applicationName.isEmpty() ? QStringLiteral("client") : applicationName;
    for (QChar& character : name) {
        character = IsAllowed(character) ? character : QLatin1Char('_');
    }
    if (IsDigit(name.at(0))) {
        name.prepend(QLatin1Char('_'));
    }
    return (QStringLiteral("com.quorvantel.audioclient.") + name).left(kLongestBusName);
}

QString DefaultObjectPath(const QString& busName)
{
    QString path = QLatin1Char('/') + busName;
    return path.replace(QLatin1Char('.'), QLatin1Char('/')).replace(QLatin1Char('-'), QLatin1Char('_'));
}

} // namespace Audio::Utils::Kiv::Models
