// SPDX-License-Identifier: MIT
#include "stream/FocusMachine.h"

#include <QFile>
#include <QHash>
#include <QMetaEnum>
#include <QTest>
#include <QTextStream>

using namespace Audio::Utils::Kiv::Models;

using Step = FocusMachine::Step;
using Event = FocusMachine::Event;
using Action = FocusMachine::Action;
using Notice = FocusMachine::Notice;

namespace {

/** A step, and how it is reached from the first one. */
struct NamedStep
{
    Step step;
    const char* name;
    const char* path;
};

const QVector<NamedStep> kSteps{
    {Step::Offline, "Offline", ""},
    {Step::Registering, "Registering", "session opened"},
    {Step::Unregistered, "Unregistered", "session opened, registration refused"},
    {Step::Idle, "Idle", "session opened, registered"},
    {Step::Returning, "Returning", "session opened, registered, `requestFocus()`, `abandon()`"},
    {Step::Reclaiming, "Reclaiming",
     "session opened, registered, `requestFocus()`, `abandon()`, `requestFocus()`"},
    {Step::Requested, "Requested", "session opened, registered, `requestFocus()`"},
    {Step::Focused, "Focused", "session opened, registered, `requestFocus()`, `granted`"},
    {Step::Interrupted, "Interrupted",
     "session opened, registered, `requestFocus()`, `granted`, `temporarilyLost`"},
    {Step::Refused, "Refused", "session opened, registered, `requestFocus()`, `failed`"},
    {Step::Lost, "Lost", "session opened, registered, `requestFocus()`, `granted`, `lost`"},
};

const QVector<QPair<Event, QString>> kEvents{
    {Event::SessionOpened, "session opened"},
    {Event::ServiceLeft, "service left"},
    {Event::Registered, "registered"},
    {Event::RegistrationRefused, "registration refused"},
    {Event::RequestFocus, "`requestFocus()`"},
    {Event::Abandon, "`abandon()`"},
    {Event::RequestAccepted, "request accepted"},
    {Event::RequestRefused, "request refused"},
    {Event::AbandonAnswered, "abandonment answered"},
    {Event::Granted, "`granted`"},
    {Event::Failed, "`failed`"},
    {Event::Abandoned, "`abandoned`"},
    {Event::Gained, "`gained`"},
    {Event::TemporarilyLost, "`temporarilyLost`"},
    {Event::Lost, "`lost`"},
    {Event::UnknownText, "unknown text"},
};

/** The columns of the two tables. */
const QVector<QPair<QString, QStringList>> kTables{
    {"### Without a claim",
     {"Offline", "Registering", "Unregistered", "Idle", "Returning", "Refused", "Lost"}},
    {"### With a claim", {"Reclaiming", "Requested", "Focused", "Interrupted"}}};

NamedStep StepOf(const QString& name)
{
    for (const NamedStep& step : kSteps) {
        if (name == step.name) {
            return step;
        }
    }
    qFatal("no step %s", qPrintable(name));
}

Event EventOf(const QString& name)
{
    for (const auto& event : kEvents) {
        if (event.second == name) {
            return event.first;
        }
    }
    qFatal("no event %s", qPrintable(name));
}

FocusMachine MachineIn(const NamedStep& step, bool isPlaying)
{
    FocusMachine machine;
    machine.SetPlaying(isPlaying);
    for (const QString& event : QString(step.path).split(", ", Qt::SkipEmptyParts)) {
        machine.Handle(EventOf(event));
    }
    return machine;
}

template <typename Enum>
QString KeyOf(Enum value)
{
    return QString::fromLatin1(QMetaEnum::fromType<Enum>().valueToKey(int(value)));
}

QString NameOf(Step step)
{
    return kSteps.at(int(step)).name;
}

QString NoticeText(const FocusMachine& machine, Notice notice)
{
    switch (notice) {
    case Notice::None:
        break;
    case Notice::Pause:
        return "pauseRequested";
    case Notice::Resume:
        return "resumeSuggested";
    case Notice::Lost:
        return "focusLost " + KeyOf(machine.LastReason());
    }
    return QString();
}

QString DoneText(const FocusMachine& machine, const FocusMachine::Outcome& outcome)
{
    static const QStringList actions{QString(), "*register*", "*request*", "*abandon*", "*give back*"};
    QStringList parts{actions.at(int(outcome.action)), NoticeText(machine, outcome.notice)};
    parts.removeAll(QString());
    return parts.join(", ");
}

/** What an event does in a step: "<new step>: <what is done>". */
QString CellText(const NamedStep& step, Event event, bool isPlaying)
{
    FocusMachine machine = MachineIn(step, isPlaying);
    const FocusMachine::Outcome outcome = machine.Handle(event);
    QStringList parts{machine.CurrentStep() == step.step ? QString() : NameOf(machine.CurrentStep()),
                      DoneText(machine, outcome)};
    parts.removeAll(QString());
    return parts.isEmpty() ? "-" : parts.join(": ");
}

/** The same for both values of "playing". */
QString CellText(const NamedStep& step, Event event)
{
    const QString playing = CellText(step, event, true);
    const QString paused = CellText(step, event, false);
    return playing == paused ? playing : playing + " if `playing`, else " + paused;
}

QString Row(const QStringList& cells)
{
    return "| " + cells.join(" | ") + " |";
}

QStringList TableLines(const QStringList& steps)
{
    QStringList lines{Row(QStringList("Event") + steps), "|" + QString("---|").repeated(steps.size() + 1)};
    for (const auto& event : kEvents) {
        QStringList cells{event.second};
        for (const QString& step : steps) {
            cells.append(CellText(StepOf(step), event.first));
        }
        lines.append(Row(cells));
    }
    return lines;
}

QStringList StepLines()
{
    QStringList lines{"| Step | `state` | `available` | `hasFocus` | Reached, for instance, by |",
                      "|---|---|---|---|---|"};
    for (const NamedStep& step : kSteps) {
        const FocusMachine machine = MachineIn(step, true);
        lines.append(Row({step.name, KeyOf(machine.PublicState()), machine.IsAvailable() ? "true" : "false",
                          machine.HasFocus() ? "true" : "false", *step.path ? step.path : "-"}));
    }
    return lines;
}

/** The lines of the first table after a line of the document. */
QStringList TableAfter(const QString& title)
{
    QFile file(KIV_STREAM_DOCUMENT);
    const QString text = file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
    QStringList lines = text.split('\n');
    lines = lines.mid(lines.indexOf(title) + 1);
    while (!lines.isEmpty() && !lines.first().startsWith('|')) {
        lines.removeFirst();
    }
    int count = 0;
    while (lines.value(count).startsWith('|')) {
        ++count;
    }
    return lines.mid(0, count);
}

} // namespace

/** Compares docs/audio-stream.md with the machine: the document is what is expected. */
class tst_StreamTable : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void paths_reachTheirSteps();
    void tables_haveEveryStepAndEveryEvent();
    void steps_areAsTheDocumentSays();
    void everyEventInEveryStep_doesWhatTheDocumentSays_data();
    void everyEventInEveryStep_doesWhatTheDocumentSays();
    void reason_isForgottenByTheNextClaim();
    void reason_ofARefusedRegistration_isRefused();
    void state_hasFocusInFocusedOnly();
};

// With KIV_PRINT_TABLE set the program also prints what the machine does, in the form of the document.
void tst_StreamTable::initTestCase()
{
    if (!qEnvironmentVariableIsSet("KIV_PRINT_TABLE")) {
        return;
    }
    QStringList lines = StepLines();
    for (const auto& table : kTables) {
        lines += QStringList{QString(), table.first, QString()} + TableLines(table.second);
    }
    QTextStream(stdout) << lines.join('\n') << '\n';
}

void tst_StreamTable::paths_reachTheirSteps()
{
    QCOMPARE(kSteps.size(), FocusMachine::kStepCount);
    for (int index = 0; index < kSteps.size(); ++index) {
        QCOMPARE(int(kSteps.at(index).step), index);
        QCOMPARE(NameOf(MachineIn(kSteps.at(index), true).CurrentStep()), kSteps.at(index).name);
    }
}

void tst_StreamTable::tables_haveEveryStepAndEveryEvent()
{
    QStringList steps;
    for (const auto& table : kTables) {
        const QStringList lines = TableAfter(table.first);
        QCOMPARE(lines.value(0), Row(QStringList("Event") + table.second));
        QCOMPARE(lines.size(), FocusMachine::kEventCount + 2);
        for (int index = 0; index < kEvents.size(); ++index) {
            QCOMPARE(int(kEvents.at(index).first), index);
            QCOMPARE(lines.at(index + 2).section(" | ", 0, 0), "| " + kEvents.at(index).second);
        }
        steps += table.second;
    }
    QStringList all;
    for (const NamedStep& step : kSteps) {
        all.append(step.name);
    }
    steps.sort();
    all.sort();
    QCOMPARE(steps, all);
}

void tst_StreamTable::steps_areAsTheDocumentSays()
{
    QCOMPARE(StepLines(), TableAfter("## The steps"));
}

void tst_StreamTable::everyEventInEveryStep_doesWhatTheDocumentSays_data()
{
    QTest::addColumn<QString>("step");
    QTest::addColumn<QString>("event");
    QTest::addColumn<QString>("expected");
    for (const auto& table : kTables) {
        for (const QString& line : TableAfter(table.first).mid(2)) {
            const QStringList cells = line.mid(2, line.size() - 4).split(" | ");
            for (int column = 1; column < cells.size(); ++column) {
                const QString step = table.second.value(column - 1);
                QTest::newRow(qPrintable(step + ", " + cells.first()))
                    << step << cells.first() << cells.at(column);
            }
        }
    }
}

void tst_StreamTable::everyEventInEveryStep_doesWhatTheDocumentSays()
{
    QFETCH(QString, step);
    QFETCH(QString, event);
    QFETCH(QString, expected);
    QCOMPARE(CellText(StepOf(step), EventOf(event)), expected);
}

void tst_StreamTable::reason_isForgottenByTheNextClaim()
{
    FocusMachine machine = MachineIn(StepOf("Lost"), true);
    QCOMPARE(machine.LastReason(), AudioStream::Reason::TakenOver);
    machine.Handle(Event::RequestFocus);
    QCOMPARE(machine.LastReason(), AudioStream::Reason::None);
    machine.Handle(Event::Abandon);
    QCOMPARE(machine.LastReason(), AudioStream::Reason::Abandoned);
    machine.Handle(Event::RequestFocus); // waits for the answer to the abandonment
    QCOMPARE(machine.LastReason(), AudioStream::Reason::None);
    machine.Handle(Event::ServiceLeft);
    machine.Handle(Event::SessionOpened);
    machine.Handle(Event::Registered);
    QCOMPARE(machine.LastReason(), AudioStream::Reason::ServiceLeft);
}

void tst_StreamTable::reason_ofARefusedRegistration_isRefused()
{
    FocusMachine machine = MachineIn(StepOf("Registering"), true);
    QCOMPARE(machine.LastReason(), AudioStream::Reason::None);
    machine.Handle(Event::RegistrationRefused);
    QCOMPARE(machine.LastReason(), AudioStream::Reason::Refused);
}

void tst_StreamTable::state_hasFocusInFocusedOnly()
{
    for (const NamedStep& step : kSteps) {
        for (const bool isPlaying : {false, true}) {
            const FocusMachine machine = MachineIn(step, isPlaying);
            QCOMPARE(machine.HasFocus(), machine.PublicState() == AudioStream::State::Focused);
            QCOMPARE(machine.IsActive(), machine.HasFocus() && isPlaying);
        }
    }
}

QTEST_APPLESS_MAIN(tst_StreamTable)
#include "tst_StreamTable.moc"
