// SPDX-License-Identifier: MIT
#include "Options.h"

#include <QCommandLineParser>
#include <QFileInfo>
#include <QLocale>

namespace {

const QCommandLineOption kName("name", "The stream's name for the audio service.", "STREAM", "Media player");
const QCommandLineOption kType("type", "The stream's type.", "TYPE", "Media");
const QCommandLineOption kDestination("destination", "Where it is to be heard; default: everywhere.", "D");
const QCommandLineOption kTransient("transient", "Take the focus for a while only, as an announcement does.");
const QCommandLineOption kLanguage("language", "The language: en or de.", "LANGUAGE");
const QCommandLineOption kTheme("theme", "The colours: day or night; default: those of the desktop.",
                                "THEME");

QString SystemLanguage()
{
    return QLocale::system().language() == QLocale::German ? "de" : "en";
}

/** What is wrong with an option whose values are listed; empty if nothing is. */
QString Objection(const QCommandLineParser& parser, const QCommandLineOption& option,
                  const QStringList& values)
{
    const QString value = parser.value(option);
    if (!parser.isSet(option) || values.contains(value)) {
        return QString();
    }
    const QString text("--%1: expected %2, found \"%3\"");
    return text.arg(option.names().first(), values.join(" or "), value);
}

QString Objection(const QCommandLineParser& parser)
{
    const QStringList files = parser.positionalArguments();
    if (files.size() > 1) {
        return QString("expected one file, found \"%1\" as well").arg(files.at(1));
    }
    if (parser.value(kName).isEmpty()) {
        return "--name: expected a name, found \"\"";
    }
    const QString language = Objection(parser, kLanguage, {"en", "de"});
    return language.isEmpty() ? Objection(parser, kTheme, {"day", "night"}) : language;
}

} // namespace

std::optional<Options> ReadOptions(const QStringList& arguments, QString& error)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        "Plays an audio file, or a melody, while the audio service gives the focus.");
    parser.addPositionalArgument("FILE", "The audio file; without one a melody is played.", "[FILE]");
    parser.addOptions({kName, kType, kDestination, kTransient, kLanguage, kTheme});
    const QCommandLineOption help = parser.addHelpOption();
    const QCommandLineOption version = parser.addVersionOption();
    error = parser.parse(arguments) ? QString() : parser.errorText();
    if (!error.isEmpty()) {
        return std::nullopt;
    }
    if (parser.isSet(help)) {
        parser.showHelp();
    }
    if (parser.isSet(version)) {
        parser.showVersion();
    }
    error = Objection(parser);
    if (!error.isEmpty()) {
        return std::nullopt;
    }
    const QString file = parser.positionalArguments().value(0);
    return Options{file.isEmpty() ? file : QFileInfo(file).absoluteFilePath(),
                   parser.value(kName),
                   parser.value(kType),
                   parser.value(kDestination),
                   parser.isSet(kLanguage) ? parser.value(kLanguage) : SystemLanguage(),
                   parser.value(kTheme),
                   parser.isSet(kTransient)};
}
