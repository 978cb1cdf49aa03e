// SPDX-License-Identifier: MIT
#include "PanelOptions.h"

#include <QCommandLineParser>
#include <QLocale>
#include <QRegularExpression>

namespace {

constexpr int kSmallest = 480;
constexpr int kLargest = 7680;

const QStringList kThemes{QStringLiteral("day"), QStringLiteral("night")};
const QStringList kLanguages{QStringLiteral("en"), QStringLiteral("de")};

QSize ToSize(const QString& text)
{
    static const QRegularExpression form(QStringLiteral("^([0-9]{1,5})x([0-9]{1,5})$"));
    const QRegularExpressionMatch match = form.match(text);
    const QSize size(match.captured(1).toInt(), match.captured(2).toInt());
    const QSize bounded = size.expandedTo({kSmallest, kSmallest}).boundedTo({kLargest, kLargest});
    return match.hasMatch() && size == bounded ? size : QSize();
}

QString LanguageOfLocale()
{
    return QLocale::system().language() == QLocale::German ? kLanguages.last() : kLanguages.first();
}

QString Complaint(const QString& option, const QString& expected, const QString& found)
{
    return QStringLiteral("--%1: expected %2, found \"%3\"").arg(option, expected, found);
}

/** Takes the value of an option that is one of a few. */
QString OneOf(const QCommandLineParser& parser, const QString& option, const QStringList& values,
              const QString& standard, QString& error)
{
    const QString value = parser.isSet(option) ? parser.value(option) : standard;
    if (!values.contains(value) && error.isEmpty()) {
        error = Complaint(option, values.join(QStringLiteral(" or ")), value);
    }
    return value;
}

void AddOptions(QCommandLineParser& parser)
{
    for (const char* const flag : {"full-screen", "help", "version"}) {
        parser.addOption(QCommandLineOption(QString::fromLatin1(flag)));
    }
    for (const char* const option : {"size", "theme", "language", "destination", "mode"}) {
        const QString name = QString::fromLatin1(option);
        parser.addOption(QCommandLineOption(name, QString(), name));
    }
}

QString SyntaxError(const QCommandLineParser& parser)
{
    if (!parser.unknownOptionNames().isEmpty()) {
        const QString name = parser.unknownOptionNames().first();
        return QStringLiteral("there is no option \"%1\"; --help lists them").arg(name);
    }
    if (!parser.positionalArguments().isEmpty()) {
        return QStringLiteral("expected options only, found \"%1\"; --help lists them")
            .arg(parser.positionalArguments().first());
    }
    return parser.errorText();
}

void ReadSize(const QCommandLineParser& parser, PanelOptions& options)
{
    const QString option = QStringLiteral("size");
    if (!parser.isSet(option)) {
        return;
    }
    options.size = ToSize(parser.value(option));
    if (options.size.isEmpty() && options.error.isEmpty()) {
        options.error = Complaint(option,
                                  QStringLiteral("WIDTHxHEIGHT, each from %1 to %2 pixels, as 1280x480")
                                      .arg(QString::number(kSmallest), QString::number(kLargest)),
                                  parser.value(option));
    }
}

} // namespace

PanelOptions PanelOptions::FromArguments(const QStringList& arguments)
{
    QCommandLineParser parser;
    AddOptions(parser);
    parser.parse(QStringList(QStringLiteral("hmi-panel")) + arguments);
    PanelOptions options;
    options.error = SyntaxError(parser);
    ReadSize(parser, options);
    options.isNight =
        OneOf(parser, QStringLiteral("theme"), kThemes, kThemes.first(), options.error) == kThemes.last();
    options.language =
        OneOf(parser, QStringLiteral("language"), kLanguages, LanguageOfLocale(), options.error);
    options.destination = parser.value(QStringLiteral("destination"));
    options.mode = parser.value(QStringLiteral("mode"));
    options.isFullScreen = parser.isSet(QStringLiteral("full-screen"));
    options.isHelp = parser.isSet(QStringLiteral("help"));
    options.isVersion = parser.isSet(QStringLiteral("version"));
    return options;
}

QString PanelOptions::Help()
{
    return QStringLiteral(R"(Usage: hmi-panel [OPTION]...
The audio panel of a device: its modes, and who may be heard.

  --size WIDTHxHEIGHT     size in pixels, from 480x480; default 1280x480
  --full-screen           fill the screen
  --theme day|night       default day
  --language en|de        default: that of the locale, else en
  --destination NAME      what the panel is about; default: everything
  --mode NAME             ask for this mode at first, and wait until it is offered
  --help, --version       print this, or the version, and end

Exit codes: 0 ended by SIGTERM, SIGINT or its window; 1 the screen cannot be loaded; 2 wrong usage.
)");
}
