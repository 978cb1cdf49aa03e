// SPDX-License-Identifier: MIT
#include "Options.h"

#include "JsonNode.h"
#include "ModeOptions.h"
#include "ScenarioLibrary.h"
#include "UsageError.h"

#include <QCommandLineParser>

#include <limits>

namespace Simulator {

namespace {

constexpr uint longestDelay = 600000; // ms

const char* const description = R"(Plays the audio management service on a D-Bus bus.

It takes the bus that --address or else DBUS_SYSTEM_BUS_ADDRESS names, and
prints "ready" when it can be called. SIGINT and SIGTERM end it.

With --exec it starts a bus and the service for one command, and stops them
when the command has ended.

Exit codes: 0 ended by a signal (or --help, --version), 2 wrong usage or
scenario, 3 no bus, or the bus has gone, 4 a bus name is taken.
With --exec the command's; 128 + n: signal n has killed the command,
127 no such command, 126 it cannot be run.)";

// Qt's parser has no place for the objects of its own, so that they are kept together here.
struct CommandLine
{
    QCommandLineOption address{
        QStringLiteral("address"),
        QStringLiteral("Play on the bus with address <ADDR> instead of DBUS_SYSTEM_BUS_ADDRESS."),
        QStringLiteral("ADDR")};
    QCommandLineOption scenario{
        QStringLiteral("scenario"),
        QStringLiteral(
            "Play the scenario of that name from the library, or of a file (a path, or NAME.json)."),
        QStringLiteral("NAME|FILE")};
    QCommandLineOption seed{
        QStringLiteral("seed"),
        QStringLiteral("What the scenario leaves to chance is drawn from <N>. Default: 1."),
        QStringLiteral("N")};
    QCommandLineOption destinations{
        QStringLiteral("destinations"),
        QStringLiteral("The destinations that offer the modes given without one. Default: Cabin."),
        QStringLiteral("DESTINATION,...")};
    QCommandLineOption modes{
        QStringLiteral("modes"),
        QStringLiteral(
            "Offer modes at a destination (those of --destinations when none is given); the first is "
            "the current one. Repeatable. Default: Radio,Bluetooth."),
        QStringLiteral("[DESTINATION=]MODE,MODE...")};
    QCommandLineOption refuse{QStringLiteral("refuse"),
                              QStringLiteral("Never grant focus to the stream <STREAM>. Repeatable."),
                              QStringLiteral("STREAM")};
    QCommandLineOption lock{QStringLiteral("lock"),
                            QStringLiteral("Grant focus to nobody else while <STREAM> holds it. Repeatable."),
                            QStringLiteral("STREAM")};
    QCommandLineOption delay{QStringLiteral("delay"),
                             QStringLiteral("Answer every request <MS> milliseconds late."),
                             QStringLiteral("MS")};
    QCommandLineOption log{QStringLiteral("log"),
                           QStringLiteral("Write one line per message: text, json or off. Default: off."),
                           QStringLiteral("FORMAT")};
    QCommandLineOption logFile{QStringLiteral("log-file"),
                               QStringLiteral("Write the log to <FILE> instead of standard output."),
                               QStringLiteral("FILE")};
    // For the help alone: it ends what this parser sees.
    QCommandLineOption exec{
        QStringLiteral("exec"),
        QStringLiteral("Run the command that follows, CMD ARGS..., with DBUS_SYSTEM_BUS_ADDRESS set to a bus "
                       "of its own. All that follows belongs to it.")};
    QCommandLineOption help{{QStringLiteral("h"), QStringLiteral("help")},
                            QStringLiteral("Print this help.")};
    QCommandLineOption version{{QStringLiteral("v"), QStringLiteral("version")},
                               QStringLiteral("Print the version.")};
    QCommandLineParser parser;

    CommandLine()
    {
        parser.setApplicationDescription(QString::fromLatin1(description));
        parser.addOptions({address, scenario, seed, destinations, modes, refuse, lock, delay, log, logFile,
                           exec, help, version});
    }
};

quint32 ReadNumber(const CommandLine& line, const QCommandLineOption& option, quint32 most)
{
    bool isNumber = false;
    const QString text = line.parser.value(option);
    const quint32 number = text.toUInt(&isNumber);
    if (!isNumber || number > most) {
        throw Tools::UsageError(QStringLiteral("--%1 \"%2\": expected a whole number from 0 to %3")
                                    .arg(option.names().first(), text, QString::number(most)));
    }
    return number;
}

LogFormat ReadLogFormat(const QString& text)
{
    const auto place =
        QStringList{QStringLiteral("off"), QStringLiteral("text"), QStringLiteral("json")}.indexOf(text);
    if (place < 0) {
        throw Tools::UsageError(
            QStringLiteral("--log \"%1\": expected \"text\", \"json\" or \"off\"").arg(text));
    }
    return static_cast<LogFormat>(place);
}

// What the command line says goes before what the scenario says.
Scenario ReadScenarioOptions(const CommandLine& line)
{
    Scenario scenario;
    if (line.parser.isSet(line.scenario)) {
        scenario = LoadScenarioNamed(line.parser.value(line.scenario));
    }
    if (line.parser.isSet(line.modes) || line.parser.isSet(line.destinations)) {
        scenario.settings.modes =
            CombineModes(line.parser.values(line.destinations), line.parser.values(line.modes));
    }
    scenario.settings.refusedStreams += line.parser.values(line.refuse);
    scenario.settings.lockedStreams += line.parser.values(line.lock);
    if (line.parser.isSet(line.delay)) {
        scenario.delay = static_cast<int>(ReadNumber(line, line.delay, longestDelay));
    }
    return scenario;
}

QString ReadAddress(const CommandLine& line, const QString& systemBusAddress, BusKind kind)
{
    const bool isGiven = line.parser.isSet(line.address);
    if (kind == BusKind::Own && isGiven) {
        throw Tools::UsageError(
            QStringLiteral("--address and --exec exclude each other: --exec starts a bus of its "
                           "own, and DBUS_SYSTEM_BUS_ADDRESS tells the command where it is"));
    }
    const QString address = isGiven ? line.parser.value(line.address) : systemBusAddress;
    if (kind == BusKind::Named && address.isEmpty()) {
        throw Tools::UsageError(QStringLiteral("no bus: set DBUS_SYSTEM_BUS_ADDRESS or give --address; "
                                               "the machine's own system bus is never taken by itself"));
    }
    return address;
}

Options Run(const CommandLine& line, const QString& systemBusAddress, BusKind kind)
{
    Options options;
    options.address = ReadAddress(line, systemBusAddress, kind);
    options.scenario = ReadScenarioOptions(line);
    if (line.parser.isSet(line.seed)) {
        options.seed = ReadNumber(line, line.seed, std::numeric_limits<quint32>::max());
    }
    options.logFile = line.parser.value(line.logFile);
    if (line.parser.isSet(line.log)) {
        options.logFormat = ReadLogFormat(line.parser.value(line.log));
    } else if (!options.logFile.isEmpty()) {
        options.logFormat = LogFormat::Text;
    }
    return options;
}

Options Text(Options::Action action, const QString& text)
{
    Options options;
    options.action = action;
    options.text = text;
    return options;
}

Options Evaluate(CommandLine& line, const QStringList& arguments, const QString& systemBusAddress,
                 BusKind kind)
{
    if (!line.parser.parse(arguments)) {
        throw Tools::UsageError(line.parser.errorText());
    }
    if (line.parser.isSet(line.help)) {
        return Text(Options::Action::PrintText, line.parser.helpText());
    }
    if (line.parser.isSet(line.version)) {
        return Text(Options::Action::PrintText,
                    QStringLiteral("kiv-audio-simulator " KIV_SIMULATOR_VERSION "\n"));
    }
    if (!line.parser.positionalArguments().isEmpty()) {
        throw Tools::UsageError(
            QStringLiteral("unexpected argument \"%1\"").arg(line.parser.positionalArguments().first()));
    }
    return Run(line, systemBusAddress, kind);
}

} // namespace

Options ParseOptions(const QStringList& arguments, const QString& systemBusAddress, BusKind kind)
{
    CommandLine line;
    try {
        return Evaluate(line, arguments, systemBusAddress, kind);
    } catch (const Tools::UsageError& error) {
        return Text(Options::Action::Refuse, error.Text());
    }
}

} // namespace Simulator
