// SPDX-License-Identifier: MIT
#include "UsageError.h"
#include "cli/CommandLine.h"
#include "cli/CommandTable.h"
#include "cli/Help.h"

#include <QFile>
#include <QRegularExpression>
#include <QSet>
#include <QTest>

using namespace Kivctl;

namespace {

QStringList LinesOf(const QString& path)
{
    QFile file(KIV_SOURCE_DIRECTORY "/" + path);
    if (!file.open(QIODevice::ReadOnly)) {
        qFatal("cannot read %s", qPrintable(file.fileName()));
    }
    return QString::fromUtf8(file.readAll()).split('\n');
}

/** The lines between two lines, without these. */
QStringList Between(const QStringList& lines, const QString& begin, const QString& end)
{
    const auto first = lines.indexOf(begin);
    const auto last = lines.indexOf(end, first + 1);
    return first < 0 || last < 0 ? QStringList{"the marks are missing"}
                                 : lines.mid(first + 1, last - first - 1);
}

// The manual page

QStringList ManualLines(const QVector<Option>& options)
{
    QStringList lines;
    for (const Option& option : options) {
        lines.append(".It Fl Fl " + option.name +
                     (option.valueName.isEmpty() ? "" : " Ar " + option.valueName));
    }
    return lines;
}

QString ManualLine(const Command& command)
{
    QString line = ".It Cm " + command.name;
    for (const QString& argument : command.arguments) {
        const QString name = QString(argument).remove('[').remove(']');
        line += (name == argument ? " Ar " : " Op Ar ") + name;
    }
    return line;
}

QStringList ManualLines()
{
    QStringList lines = ManualLines(GlobalOptions());
    for (const Command& command : Commands()) {
        lines += ManualLine(command);
        lines += ManualLines(command.options);
    }
    return lines;
}

// Completions for bash

QString BashLine(const QString& name, const QVector<Option>& options)
{
    QStringList words(name);
    for (const Option& option : options) {
        words.append("--" + option.name + (option.valueName.isEmpty() ? "" : "="));
    }
    return words.join(' ');
}

QStringList BashLines()
{
    QStringList lines(BashLine("*", GlobalOptions()));
    for (const Command& command : Commands()) {
        lines.append(BashLine(command.name, command.options));
    }
    return lines;
}

// Completions for zsh

QString ZshOption(const Option& option)
{
    const QString value = option.valueName.isEmpty() ? "" : ":" + option.valueName + ":";
    return "--" + option.name + "[" + option.summary + "]" + value;
}

QStringList ZshLines()
{
    QStringList lines("    global_options=(");
    for (const Option& option : GlobalOptions()) {
        lines.append("        '" + ZshOption(option) + "'");
    }
    lines += QStringList{"    )", "    commands=("};
    for (const Command& command : Commands()) {
        lines.append("        '" + command.name + ":" + command.summary + "'");
    }
    lines.append("    )");
    for (const Command& command : Commands()) {
        for (const Option& option : command.options) {
            lines.append("    command_options[" + command.name + "]+=$'" + ZshOption(option) + "\\n'");
        }
    }
    return lines;
}

} // namespace

class tst_CommandTable : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void names_areDifferent();
    void summaries_suitTheShells();
    void manual_hasTheTable();
    void bashCompletion_hasTheTable();
    void zshCompletion_hasTheTable();
    void help_hasEveryCommandAndOption();
    void commandHelp_hasItsOptions_data();
    void commandHelp_hasItsOptions();
    void parser_knowsTheOptionsOfACommand_data();
    void parser_knowsTheOptionsOfACommand();
    void parser_refusesTheOptionsOfOtherCommands();
};

void tst_CommandTable::names_areDifferent()
{
    QSet<QString> names;
    for (const Command& command : Commands()) {
        names.insert(command.name);
        QSet<QString> options;
        for (const Option& option : GlobalOptions() + command.options) {
            options.insert(option.name);
        }
        QCOMPARE(options.size(), GlobalOptions().size() + command.options.size());
    }
    QCOMPARE(names.size(), Commands().size());
}

void tst_CommandTable::summaries_suitTheShells()
{
    const QRegularExpression special(R"([':\[\]\\])");
    for (const Command& command : Commands()) {
        QVERIFY2(!command.summary.contains(special), qPrintable(command.summary));
        for (const Option& option : GlobalOptions() + command.options) {
            QVERIFY2(!option.summary.contains(special), qPrintable(option.summary));
        }
    }
}

void tst_CommandTable::manual_hasTheTable()
{
    const QStringList lines = LinesOf("man/kivctl.1").filter(QRegularExpression(R"(^\.It (Cm|Fl) )"));
    QCOMPARE(lines.join('\n'), ManualLines().join('\n'));
}

void tst_CommandTable::bashCompletion_hasTheTable()
{
    const QStringList lines = Between(LinesOf("completions/bash/kivctl"), "    cat <<'TABLE'", "TABLE");
    QCOMPARE(lines.join('\n'), BashLines().join('\n'));
}

void tst_CommandTable::zshCompletion_hasTheTable()
{
    const QStringList lines =
        Between(LinesOf("completions/zsh/_kivctl"), "    # table", "    # end of the table");
    QCOMPARE(lines.join('\n'), ZshLines().join('\n'));
}

void tst_CommandTable::help_hasEveryCommandAndOption()
{
    const QStringList lines = ProgramHelp().split('\n');
    const QStringList commands = Between(lines, "Commands:", "");
    const QStringList options = Between(lines, "Options:", "");
    QCOMPARE(commands.size(), Commands().size());
    QCOMPARE(options.size(), GlobalOptions().size());
    for (int i = 0; i < commands.size(); ++i) {
        QVERIFY(commands.at(i).startsWith("  " + Commands().at(i).name + " "));
        QVERIFY(commands.at(i).endsWith(Commands().at(i).summary));
    }
    for (int i = 0; i < options.size(); ++i) {
        QVERIFY(options.at(i).startsWith("  --" + GlobalOptions().at(i).name + " "));
        QVERIFY(options.at(i).endsWith(GlobalOptions().at(i).summary));
    }
}

void tst_CommandTable::commandHelp_hasItsOptions_data()
{
    QTest::addColumn<QString>("name");
    for (const Command& command : Commands()) {
        QTest::newRow(qPrintable(command.name)) << command.name;
    }
}

void tst_CommandTable::commandHelp_hasItsOptions()
{
    QFETCH(QString, name);
    const Command* command = FindCommand(name);
    for (const QStringList& line :
         {QStringList{"kivctl", name, "--help"}, QStringList{"kivctl", "--help", name}}) {
        const Request request = ReadCommandLine(line);
        QVERIFY(request.command == nullptr);
        QCOMPARE(request.text, CommandHelp(*command));
    }
    const QStringList lines = CommandHelp(*command).split('\n');
    QCOMPARE(lines.at(1), command->summary);
    QCOMPARE(lines.filter(QRegularExpression("^  --")).size(),
             command->options.size() + GlobalOptions().size());
    for (const Option& option : command->options) {
        QCOMPARE(
            lines.filter(QRegularExpression("^  --" + option.name + " .*" + option.summary + "$")).size(), 1);
    }
}

void tst_CommandTable::parser_knowsTheOptionsOfACommand_data()
{
    commandHelp_hasItsOptions_data();
}

void tst_CommandTable::parser_knowsTheOptionsOfACommand()
{
    QFETCH(QString, name);
    const Command* command = FindCommand(name);
    for (const Option& option : command->options) {
        QStringList line{"kivctl", name, "--" + option.name};
        line += option.valueName.isEmpty() ? QStringList() : QStringList("a value");
        line += QVector<QString>(command->arguments.size(), "argument").toList();
        const Request request = ReadCommandLine(line);
        QCOMPARE(request.command, command);
        QVERIFY(request.invocation.IsSet(option.name));
        QCOMPARE(request.invocation.Value(option.name), QString(option.valueName.isEmpty() ? "" : "a value"));
        QCOMPARE(request.invocation.arguments.size(), command->arguments.size());
    }
}

void tst_CommandTable::parser_refusesTheOptionsOfOtherCommands()
{
    QVERIFY_EXCEPTION_THROWN(ReadCommandLine({"kivctl", "modes", "--wait"}), Tools::UsageError);
    QVERIFY_EXCEPTION_THROWN(ReadCommandLine({"kivctl", "--wait", "set-mode", "Radio"}), Tools::UsageError);
}

QTEST_APPLESS_MAIN(tst_CommandTable)
#include "tst_CommandTable.moc"
