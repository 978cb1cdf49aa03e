// SPDX-License-Identifier: MIT
#include "Options.h"

#include "Vocabulary.h"

#include <QCommandLineParser>

#include <algorithm>
#include <exception>

namespace Simulator {

namespace {

const char* const description = R"(Plays the audio management service on a D-Bus bus.

It takes the bus that --address or else DBUS_SYSTEM_BUS_ADDRESS names, and
prints "ready" when it can be called. SIGINT and SIGTERM end it.

Exit codes: 0 ended by a signal (or --help, --version), 2 wrong usage,
3 no bus, or the bus has gone, 4 the service's bus name is taken.)";

/** Complains about the command line. */
class UsageError : public std::exception
{
public:
    explicit UsageError(const QString& text)
        : m_Text(text)
    {
    }

    QString Text() const { return m_Text; }

private:
    QString m_Text;
};

// Qt's parser has no place for the objects of its own, so that they are kept together here.
struct CommandLine
{
    QCommandLineOption address{
        QStringLiteral("address"),
        QStringLiteral("Play on the bus with address <ADDR> instead of DBUS_SYSTEM_BUS_ADDRESS."),
        QStringLiteral("ADDR")};
    QCommandLineOption modes{
        QStringLiteral("modes"),
        QStringLiteral(
            "Offer modes at a destination (Cabin when none is given); the first is the current one. "
            "Repeatable. Default: Cabin=Radio,Bluetooth."),
        QStringLiteral("[DESTINATION=]MODE,MODE...")};
    QCommandLineOption refuse{QStringLiteral("refuse"),
                              QStringLiteral("Never grant focus to the stream <STREAM>. Repeatable."),
                              QStringLiteral("STREAM")};
    QCommandLineOption lock{QStringLiteral("lock"),
                            QStringLiteral("Grant focus to nobody else while <STREAM> holds it. Repeatable."),
                            QStringLiteral("STREAM")};
    QCommandLineOption log{QStringLiteral("log"), QStringLiteral("Print one line per message.")};
    QCommandLineOption help{{QStringLiteral("h"), QStringLiteral("help")},
                            QStringLiteral("Print this help.")};
    QCommandLineOption version{{QStringLiteral("v"), QStringLiteral("version")},
                               QStringLiteral("Print the version.")};
    QCommandLineParser parser;

    CommandLine()
    {
        parser.setApplicationDescription(QString::fromLatin1(description));
        parser.addOptions({address, modes, refuse, lock, log, help, version});
    }
};

DestinationModes ParseModes(const QString& text)
{
    const int equals = text.indexOf(QLatin1Char('='));
    const QString destination = equals < 0 ? QStringLiteral("Cabin") : text.left(equals);
    const QStringList modes = text.mid(equals + 1).split(QLatin1Char(','));
    if (destination.isEmpty()) {
        throw UsageError(QStringLiteral("--modes \"%1\": empty destination").arg(text));
    }
    if (destination == Value::All) {
        throw UsageError(QStringLiteral("--modes \"%1\": \"all\" cannot be a destination").arg(text));
    }
    if (modes.contains(QString())) {
        throw UsageError(QStringLiteral("--modes \"%1\": empty mode").arg(text));
    }
    return {destination, modes};
}

void AddModes(QVector<DestinationModes>& all, const DestinationModes& more)
{
    const auto isSame = [&](const DestinationModes& one) { return one.destination == more.destination; };
    const auto found = std::find_if(all.begin(), all.end(), isSame);
    DestinationModes& target = found == all.end() ? (all.append({more.destination, {}}), all.last()) : *found;
    target.modes += more.modes;
    if (target.modes.removeDuplicates() > 0) {
        throw UsageError(QStringLiteral("--modes: a mode of \"%1\" is given twice").arg(more.destination));
    }
}

ModelSettings ReadSettings(const CommandLine& line)
{
    ModelSettings settings;
    if (line.parser.isSet(line.modes)) {
        settings.modes.clear();
    }
    for (const QString& text : line.parser.values(line.modes)) {
        AddModes(settings.modes, ParseModes(text));
    }
    settings.refusedStreams = line.parser.values(line.refuse);
    settings.lockedStreams = line.parser.values(line.lock);
    return settings;
}

Options Run(const CommandLine& line, const QString& systemBusAddress)
{
    Options options;
    options.settings = ReadSettings(line);
    options.isLogging = line.parser.isSet(line.log);
    options.address = line.parser.isSet(line.address) ? line.parser.value(line.address) : systemBusAddress;
    if (options.address.isEmpty()) {
        throw UsageError(QStringLiteral("no bus: set DBUS_SYSTEM_BUS_ADDRESS or give --address; "
                                        "the machine's own system bus is never taken by itself"));
    }
    return options;
}

Options Evaluate(CommandLine& line, const QStringList& arguments, const QString& systemBusAddress)
{
    if (!line.parser.parse(arguments)) {
        throw UsageError(line.parser.errorText());
    }
    if (line.parser.isSet(line.help)) {
        return {Options::Action::PrintText, line.parser.helpText(), QString(), false, {}};
    }
    if (line.parser.isSet(line.version)) {
        const QString version = QStringLiteral("kiv-audio-simulator " KIV_SIMULATOR_VERSION "\n");
        return {Options::Action::PrintText, version, QString(), false, {}};
    }
    if (!line.parser.positionalArguments().isEmpty()) {
        throw UsageError(
            QStringLiteral("unexpected argument \"%1\"").arg(line.parser.positionalArguments().first()));
    }
    return Run(line, systemBusAddress);
}

} // namespace

Options ParseOptions(const QStringList& arguments, const QString& systemBusAddress)
{
    CommandLine line;
    try {
        return Evaluate(line, arguments, systemBusAddress);
    } catch (const UsageError& error) {
        return {Options::Action::Refuse, error.Text(), QString(), false, {}};
    }
}

} // namespace Simulator
