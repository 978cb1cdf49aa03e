// SPDX-License-Identifier: MIT
#include "Settings.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QLocale>

namespace {

const QStringList themes = {"day", "night"};
const QStringList languages = {"en", "de"};

QString LanguageOfTheSystem()
{
    return QLocale().language() == QLocale::German ? "de" : "en";
}

// What is wrong with the value of an option; empty when nothing is.
QString Complaint(const QString& option, const QString& value, const QStringList& allowed)
{
    if (allowed.contains(value)) {
        return QString();
    }
    return QString("--%1: expected %2, found \"%3\"").arg(option, allowed.join(" or "), value);
}

QString FirstError(const QCommandLineParser& parser, bool isUnderstood)
{
    if (!isUnderstood) {
        return parser.errorText();
    }
    if (!parser.positionalArguments().isEmpty()) {
        return QString("unexpected argument \"%1\"").arg(parser.positionalArguments().constFirst());
    }
    const QString error = Complaint("theme", parser.value("theme"), themes);
    return error.isEmpty() ? Complaint("language", parser.value("language"), languages) : error;
}

} // namespace

Settings Settings::Read(const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription("Plays what happens at the device, through kiv-audio-simulator.");
    const QCommandLineOption help = parser.addHelpOption();
    const QCommandLineOption version = parser.addVersionOption();
    parser.addOptions(
        {{"theme", "How it looks: day (the default) or night.", "THEME", "day"},
         {"language", "en or de; by default that of the system.", "LANGUAGE", LanguageOfTheSystem()}});
    const bool isUnderstood = parser.parse(arguments);

    Settings settings;
    if (isUnderstood && parser.isSet(help)) {
        settings.answer = parser.helpText();
    } else if (isUnderstood && parser.isSet(version)) {
        settings.answer =
            QCoreApplication::applicationName() + ' ' + QCoreApplication::applicationVersion() + '\n';
    } else {
        settings.error = FirstError(parser, isUnderstood);
    }
    settings.theme = parser.value("theme") == "night" ? Theme::Night : Theme::Day;
    settings.language = parser.value("language");
    return settings;
}
