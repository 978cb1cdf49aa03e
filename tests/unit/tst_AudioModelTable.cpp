// SPDX-License-Identifier: MIT
#include "AudioModel.h"

#include <QFile>
#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QRegularExpression>
#include <QTest>
#include <QTextStream>

#include <algorithm>

using namespace Simulator;

namespace {

/** A state is what has been done to reach it. */
struct State
{
    const char* name;
    const char* appFocusType; ///< of the stream "app"
    const char* refused;      ///< the stream that never gets the focus
    const char* locked;       ///< the stream from which nobody takes the focus
    const char* steps;        ///< events
};

/** Every event in every state. */
struct Table
{
    const char* name;
    QVector<DestinationModes> modes;
    QStringList clients;      ///< that open a session at first, in this order
    QString usualApplication; ///< what applications are when a state does not say it: "registered" or "open"
    QVector<State> states;
    const char* events;
};

const Table kFocus{
    "Focus",
    {{"Cabin", {"Radio", "Bluetooth"}}},
    {"screen", "app", "other", "guide"},
    "registered",
    {{"focus free", "permanent", "", "", ""},
     {"focus free, transient stream", "transient", "", "", ""},
     {"no stream", "permanent", "", "", "app open"},
     {"no stream, another holds", "permanent", "", "", "app open, other request"},
     {"no session", "permanent", "", "", "app close"},
     {"another holds for good", "permanent", "", "", "app request, other request"},
     {"another holds for good, transient stream", "transient", "", "", "app request, other request"},
     {"another holds for a while", "permanent", "", "", "guide request"},
     {"another holds for a while, transient stream", "transient", "", "", "guide request"},
     {"two others hold and wait", "permanent", "", "", "other request, guide request"},
     {"holder for good", "permanent", "", "", "app request"},
     {"holder for a while", "transient", "", "", "app request"},
     {"holder for a while, one waits", "transient", "", "", "other request, app request"},
     {"holder for a while, two wait", "transient", "", "", "other request, guide request, app request"},
     {"waits below another", "permanent", "", "", "app request, guide request"},
     {"waits between two others", "transient", "", "", "other request, app request, guide request"},
     {"refused", "permanent", "app", "", ""},
     {"refused, another holds", "permanent", "app", "", "other request"},
     {"locked holder", "permanent", "", "app", "app request"},
     {"locked holder, one waits", "transient", "", "app", "other request, app request"},
     {"another holds locked", "permanent", "", "other", "other request"},
     {"waits below a stream of the device", "permanent", "", "", "app request, device start phone"},
     {"holds above a stream of the device", "transient", "", "", "device start phone, app request"},
     {"stream of the device without the focus", "permanent", "", "", "device start phone, app request"},
     {"stream of the device holds locked", "permanent", "", "phone", "app request, device start phone"},
     {"refused stream of the device", "permanent", "phone", "", "app request"},
     {"service restarted", "permanent", "", "", "app request, device start phone, device restart"}},
    "app open, app register, app query, app request, app playing, app abandon, app close, "
    "app leave, other request, other abandon, other close, guide request, guide abandon, "
    "guide close, screen set Bluetooth, screen set Tape, device press Bluetooth, "
    "device add Tape, device remove Bluetooth, device start phone, device stop phone, "
    "device start siren, device stop siren, device restart"};

const Table kModes{
    "Modes",
    {{"Cabin", {"Radio", "Bluetooth"}}, {"Rear", {"Video", "Radio"}}},
    {"screen", "rear", "show", "clip", "station"},
    "open",
    {{"start", "permanent", "", "", ""},
     {"another mode current", "permanent", "", "", "screen set Bluetooth, rear set Radio"},
     {"mode of a stream", "permanent", "", "", "show register"},
     {"mode of a stream, current", "permanent", "", "", "show register, screen set /m"},
     {"mode of two streams", "permanent", "", "", "show register, clip register"},
     {"mode of two streams, current", "permanent", "", "", "clip register, show register, screen set /m"},
     {"mode of the device and of a stream", "permanent", "", "", "station register, device press Radio Rear"},
     {"mode of a stream, no longer of the device", "permanent", "", "",
      "station register, device remove Radio"},
     {"added mode, current", "permanent", "", "", "device add Tape Cabin, device press Tape"},
     {"added mode, current where the first is the same", "permanent", "", "",
      "device remove Video Rear, device add Tape, device press Tape"},
     {"mode added twice", "permanent", "", "", "device add Tape, device add Tape Rear"},
     {"one mode left", "permanent", "", "", "device remove Radio, device add Tape Rear"},
     {"one mode left beside that of a stream", "permanent", "", "",
      "show register, device remove Radio, screen set /m"},
     {"mode of a stream of the device", "permanent", "", "", "device start tuner, device press /t"},
     {"no HMI", "permanent", "", "", "show register, screen set /m, screen close, rear close"},
     {"service restarted", "permanent", "", "",
      "show register, device add Tape, device remove Radio Cabin, device start tuner, device press Tape, "
      "device restart"}},
    "screen list all, screen list Rear, screen mode all, screen mode Rear, "
    "screen set Bluetooth, screen set Radio, screen set /m, rear set Radio, "
    "rear set Bluetooth, screen open, screen close, screen leave, show register, show open, "
    "show close, show leave, clip register, clip close, station register, station close, "
    "device press Radio, device press Bluetooth Cabin, device press Bluetooth Rear, "
    "device add Tape, device add Tape Rear, device add Radio, device remove Tape, "
    "device remove Radio, device remove Radio Rear, device remove Video Rear, "
    "device remove /m, device start tuner, device stop tuner, device restart"};

const QVector<Table> kTables{kFocus, kModes};

/** A stream that tables use: clients and streams of the device are named after their streams. */
struct KnownStream
{
    QString focusType;
    QString mode;
    QString destination;
};

const QHash<QString, KnownStream> kStreams{
    {"app", {"", "", ""}},
    {"other", {"permanent", "", "Cabin"}},
    {"guide", {"transient", "", ""}},
    {"show", {"permanent", "/m", ""}},
    {"clip", {"permanent", "/m", "Cabin"}},
    {"station", {"permanent", "Radio", ""}},
    {"probe", {"permanent", "", ""}},
    {"phone", {"transient", "", ""}},
    {"siren", {"permanent", "", "Cabin"}},
    {"tuner", {"permanent", "/t", "Cabin"}},
};

// The HMIs and the destinations of their sessions.
const QHash<QString, QString> kHmis{{"screen", ""}, {"rear", "Rear"}, {"looker", ""}};

const QStringList kStreamsOfTheDevice{"phone", "siren", "tuner"};

QStringList ListOf(const char* events)
{
    return QString(events).split(", ", Qt::SkipEmptyParts);
}

QString ToText(const QJsonObject& object)
{
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact));
}

QString AnswerText(const QJsonObject& reply)
{
    const int code = reply.value("errCode").toInt();
    return code ? QString("%1: %2").arg(code).arg(reply.value("errMessage").toString()) : ToText(reply);
}

/** What an event has brought about, as texts. */
struct Result
{
    QString answer;
    QStringList effects;
};

/** A model in a state of a table. */
class World
{
public:
    World(const Table& table, const State& state)
        : m_Table(table),
          m_AppFocusType(state.appFocusType),
          m_Locked(state.locked),
          m_Model(SettingsOf(table, state))
    {
        for (const QString& client : table.clients) {
            Do(client + " open");
            if (table.usualApplication == "registered" && IsApplication(client)) {
                Do(client + " register");
            }
        }
        for (const QString& step : ListOf(state.steps)) {
            Do(step);
        }
    }

    /** An event: "<client> <what it does>…", or "device <what is done there>…". */
    Result Do(const QString& event)
    {
        const QStringList words = event.split(' ');
        if (words.first() == "device") {
            return AtTheDevice(words.value(1), words.value(2), words.value(3));
        }
        if (words.value(1) == "leave") {
            return {"-", EffectTexts(m_Model.CallerLeft(CallerOf(words.first())))};
        }
        const Outcome outcome = OfClient(words.first(), words.value(1), words.value(2));
        return {AnswerText(outcome.reply), EffectTexts(outcome.effects)};
    }

    /** What differs from the beginning. Destroys the state. */
    QString StateText()
    {
        QStringList parts;
        Do("looker open");
        for (const DestinationModes& initial : m_Table.modes) {
            parts.append(ModesText(initial));
        }
        parts += ClientTexts();
        const QStringList stack = TakeStack();
        parts.prepend(stack.isEmpty() ? QString() : "focus " + stack.join(" > "));
        for (const QString& stream : kStreamsOfTheDevice) {
            const bool isApart = !stack.contains(stream) && m_Model.StopStream(stream).complaint.isEmpty();
            parts.append(isApart ? stream + " without focus" : QString());
        }
        parts.removeAll(QString());
        return parts.isEmpty() ? "as at first" : parts.join("; ");
    }

private:
    static ModelSettings SettingsOf(const Table& table, const State& state)
    {
        ModelSettings settings;
        settings.modes = table.modes;
        settings.refusedStreams = QStringList(state.refused);
        settings.lockedStreams = QStringList(state.locked);
        return settings;
    }

    static bool IsApplication(const QString& client) { return !kHmis.contains(client); }

    static QString CallerOf(const QString& client) { return ":1." + client; }

    static QString PathOf(const QString& client) { return "/" + client; }

    KnownStream StreamOf(const QString& name) const
    {
        KnownStream stream = kStreams.value(name);
        stream.focusType = name == "app" ? m_AppFocusType : stream.focusType;
        return stream;
    }

    Result AtTheDevice(const QString& verb, const QString& name, const QString& destination)
    {
        if (verb == "restart") {
            m_Model.LoseSessions();
            return {"-", {}};
        }
        const PanelOutcome outcome = PanelDeed(verb, name, destination);
        return {outcome.complaint.isEmpty() ? "done" : outcome.complaint, EffectTexts(outcome.effects)};
    }

    PanelOutcome PanelDeed(const QString& verb, const QString& name, const QString& destination)
    {
        if (verb == "add") {
            return m_Model.AddMode(name, destination);
        }
        if (verb == "remove") {
            return m_Model.RemoveMode(name, destination);
        }
        if (verb == "press") {
            return m_Model.PressMode(name, destination);
        }
        if (verb == "stop") {
            return m_Model.StopStream(name);
        }
        const KnownStream stream = StreamOf(name);
        return m_Model.StartStream({name, stream.mode, "Type", stream.focusType}, stream.destination);
    }

    Outcome OfClient(const QString& client, const QString& verb, const QString& text)
    {
        if (verb == "open") {
            return Open(client);
        }
        static const QHash<QString, QPair<QString, QJsonObject>> requests{
            {"register", {"registerAudioStream", {}}},
            {"query", {"requestAudioFocus", {{"requestType", "query"}}}},
            {"request", {"requestAudioFocus", {{"requestType", "request"}}}},
            {"playing", {"audioActive", {{"playing", true}}}},
            {"abandon", {"abandonAudioFocus", {{"reason", "done"}}}},
            {"close", {"closeSession", {}}},
            {"list", {"getModeList", {}}},
            {"mode", {"getMode", {}}},
            {"set", {"setMode", {}}}};
        const auto request = requests.value(verb);
        QJsonObject parameters = verb == "register" ? StreamParameters(client) : request.second;
        parameters.insert("sessionId", m_Ids.value(client));
        if (!text.isEmpty()) {
            parameters.insert(verb == "set" ? "newMode" : "destination", text);
        }
        return Send(client, request.first, parameters);
    }

    QJsonObject StreamParameters(const QString& name) const
    {
        const KnownStream stream = StreamOf(name);
        QJsonObject parameters{{"streamName", name}, {"streamType", "Type"}, {"focusType", stream.focusType}};
        if (!stream.mode.isEmpty()) {
            parameters.insert("streamModeName", stream.mode);
        }
        return parameters;
    }

    Outcome Open(const QString& client)
    {
        const QString destination =
            IsApplication(client) ? StreamOf(client).destination : kHmis.value(client);
        QJsonObject parameters{{"busName", ""}, {"objectPath", PathOf(client)}};
        if (!destination.isEmpty()) {
            parameters.insert("destination", destination);
        }
        const Outcome outcome = Send(client, "openSession", parameters);
        m_Ids[client] = outcome.reply.value("sessionId").toInt();
        return outcome;
    }

    Outcome Send(const QString& client, const QString& method, const QJsonObject& parameters)
    {
        const Role role = IsApplication(client) ? Role::App : Role::Hmi;
        return m_Model.Handle({role, CallerOf(client), method, ToText(parameters)});
    }

    QStringList EffectTexts(const QVector<Effect>& effects) const
    {
        QStringList texts;
        for (const Effect& effect : effects) {
            texts.append(effect.kind == Effect::Kind::Call ? CallText(effect) : BroadcastText(effect));
        }
        return texts;
    }

    // A short text when everything is as the short text means it.
    QString CallText(const Effect& effect) const
    {
        static const QHash<QString, QStringList> keys{
            {"onModeChange", {"activeMode", "sessionId"}},
            {"onModeListChange", {"action", "mode", "sessionId"}},
            {"onAudioFocusChange", {"newFocus", "sessionId"}},
            {"onRequestAudioFocusResult", {"newFocus", "sessionId"}}};
        const QString client = effect.objectPath.mid(1);
        const Role role = IsApplication(client) ? Role::App : Role::Hmi;
        if (effect.busName != CallerOf(client) || effect.role != role ||
            effect.parameters.keys() != keys.value(effect.name)) {
            return QString("unexpected call %1 %2 %3").arg(effect.busName, effect.objectPath, effect.name) +
                   ToText(effect.parameters);
        }
        QString text =
            QString("%1.%2 %3").arg(client, effect.name).arg(effect.parameters.value("sessionId").toInt());
        for (const QString& key : keys.value(effect.name).mid(0, effect.parameters.size() - 1)) {
            text += " " + effect.parameters.value(key).toString();
        }
        return text;
    }

    QString BroadcastText(const Effect& effect) const
    {
        const QString name = effect.parameters.value("streamName").toString();
        const QString newFocus = effect.parameters.value("newFocus").toString();
        const KnownStream stream = StreamOf(name);
        const QJsonObject expected{{"streamName", name},
                                   {"streamType", "Type"},
                                   {"streamModeName", stream.mode},
                                   {"focusType", stream.focusType},
                                   {"destination", stream.destination.isEmpty() ? "all" : stream.destination},
                                   {"newFocus", newFocus}};
        if (effect.role != Role::Hmi || !effect.busName.isEmpty() || !effect.objectPath.isEmpty() ||
            effect.parameters != expected) {
            return "unexpected broadcast " + effect.name + ToText(effect.parameters);
        }
        return QString("all.%1 %2 %3").arg(effect.name, name, newFocus);
    }

    QStringList ClientTexts()
    {
        QStringList texts;
        for (const QString& client : m_Table.clients) {
            const QString kind = IsApplication(client) ? ApplicationText(client) : HmiText(client);
            texts.append(kind.isEmpty() ? QString() : client + " " + kind);
        }
        return texts;
    }

    QString HmiText(const QString& client)
    {
        return OfClient(client, "mode", "all").reply.contains("errCode") ? "gone" : QString();
    }

    QString ApplicationText(const QString& client)
    {
        static const QHash<int, QString> kinds{{0, "registered"}, {7, "gone"}, {11, "open"}};
        const QJsonObject reply = OfClient(client, "playing", QString()).reply;
        const QString kind = kinds.value(reply.value("errCode").toInt(), AnswerText(reply));
        return kind == m_Table.usualApplication ? QString() : kind;
    }

    QStringList Texts(const char* verb, const char* key, const QString& destination)
    {
        QStringList texts;
        for (const QJsonValue& value : OfClient("looker", verb, destination).reply.value(key).toArray()) {
            texts.append(value.toString());
        }
        return texts;
    }

    // The current mode has a star.
    QString ModesText(const DestinationModes& initial)
    {
        QStringList modes = Texts("list", "modeList", initial.destination);
        const QString current = Texts("mode", "currentMode", initial.destination).join('+');
        if (modes == initial.modes && current == modes.first()) {
            return QString();
        }
        modes.replaceInStrings(QRegularExpression("^" + QRegularExpression::escape(current) + "$"),
                               current + "*");
        return initial.destination + " " + modes.join(' ');
    }

    // The holder first. A newcomer makes everybody lose the focus, top down; but for a locked one.
    QStringList TakeStack()
    {
        Do("probe open");
        Do("probe register");
        QStringList stack;
        QStringList effects = Do("probe request").effects;
        if (effects.value(0).endsWith(" failed")) {
            stack.append(m_Locked);
            Do(kStreamsOfTheDevice.contains(m_Locked) ? "device stop " + m_Locked : m_Locked + " abandon");
            effects = Do("probe request").effects;
        }
        for (const QString& effect : effects.filter(QRegularExpression("^all\\..* lost$"))) {
            stack.append(effect.section(' ', 1, 1));
        }
        return stack;
    }

    const Table& m_Table;
    const QString m_AppFocusType;
    const QString m_Locked;
    AudioModel m_Model;
    QHash<QString, int> m_Ids;
};

const QString kHeader = "| Event | Answer | Effects | New state |\n|---|---|---|---|\n";

/** How a state was reached. */
QString BeginningText(const State& state)
{
    QStringList parts;
    if (QString(state.appFocusType) == "transient") {
        parts.append("stream of app transient");
    }
    if (*state.refused) {
        parts.append(QString("`--refuse %1`").arg(state.refused));
    }
    if (*state.locked) {
        parts.append(QString("`--lock %1`").arg(state.locked));
    }
    if (*state.steps) {
        parts.append("after `" + ListOf(state.steps).join("`, `") + "`");
    }
    return parts.isEmpty() ? "nothing has happened" : parts.join("; ");
}

QString RowText(const Table& table, const State& state, const QString& event, const QString& before)
{
    World world(table, state);
    const Result result = world.Do(event);
    const QString after = world.StateText();
    return QString("| %1 | %2 | %3 | %4 |\n")
        .arg(event, result.answer, result.effects.isEmpty() ? "-" : result.effects.join("<br>"),
             after == before ? "same" : after);
}

/** What the model does, in the form of the document. */
QString SectionText(const Table& table, const State& state)
{
    const QString before = World(table, state).StateText();
    QString text = QString("### %1\n\nState: %2 (%3).\n\n").arg(state.name, before, BeginningText(state));
    text += kHeader;
    for (const QString& event : ListOf(table.events)) {
        text += RowText(table, state, event, before);
    }
    return text;
}

QString TableText(const Table& table)
{
    QStringList sections;
    for (const State& state : table.states) {
        sections.append(SectionText(table, state));
    }
    return QString("## %1\n\n").arg(table.name) + sections.join('\n');
}

QString ReadDocument()
{
    QFile file(KIV_STATES_DOCUMENT);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

// What follows a title, up to the next title of its kind or above.
QString Part(const QString& text, const QString& title)
{
    const auto begin = text.indexOf("\n" + title + "\n");
    if (begin < 0) {
        return QString();
    }
    const QString level = title.section(' ', 0, 0);
    const auto next =
        text.indexOf(QRegularExpression("\n#{2," + QString::number(level.size()) + "} "), begin + 1);
    return text.mid(begin + 1, next < 0 ? -1 : next - begin - 1);
}

// "<table> / <state> / <event>" for every row of the document, in its order.
QStringList RowNames(const QString& document)
{
    QStringList names;
    QString table;
    QString state;
    for (const QString& line : document.split('\n')) {
        if (line.startsWith("## ")) {
            table = line.mid(3);
        } else if (line.startsWith("### ")) {
            state = line.mid(4);
        } else if (line.startsWith("| ") && !line.startsWith("| Event ")) {
            names.append(QStringList{table, state, line.section(" | ", 0, 0).mid(2)}.join(" / "));
        }
    }
    return names;
}

} // namespace

class tst_AudioModelTable : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void document_hasARowForEveryEventInEveryState();
    void everyEvent_doesWhatTheDocumentSays_data();
    void everyEvent_doesWhatTheDocumentSays();
};

// With KIV_PRINT_TABLE set the program also prints what the model does, to be compared with the document.
void tst_AudioModelTable::initTestCase()
{
    QVERIFY2(!ReadDocument().isEmpty(), "cannot read " KIV_STATES_DOCUMENT);
    if (qEnvironmentVariableIsSet("KIV_PRINT_TABLE")) {
        for (const Table& table : kTables) {
            QTextStream(stdout) << TableText(table) << '\n';
        }
    }
}

void tst_AudioModelTable::document_hasARowForEveryEventInEveryState()
{
    QStringList pairs;
    for (const Table& table : kTables) {
        for (const State& state : table.states) {
            for (const QString& event : ListOf(table.events)) {
                pairs.append(QStringList{table.name, state.name, event}.join(" / "));
            }
        }
    }
    QCOMPARE(RowNames(ReadDocument()), pairs);
}

void tst_AudioModelTable::everyEvent_doesWhatTheDocumentSays_data()
{
    QTest::addColumn<int>("tableIndex");
    QTest::addColumn<int>("stateIndex");
    for (int tableIndex = 0; tableIndex < kTables.size(); ++tableIndex) {
        const Table& table = kTables.at(tableIndex);
        for (int stateIndex = 0; stateIndex < table.states.size(); ++stateIndex) {
            QTest::newRow(qPrintable(QString(table.name) + ": " + table.states.at(stateIndex).name))
                << tableIndex << stateIndex;
        }
    }
}

void tst_AudioModelTable::everyEvent_doesWhatTheDocumentSays()
{
    QFETCH(int, tableIndex);
    QFETCH(int, stateIndex);
    const Table& table = kTables.at(tableIndex);
    const State& state = table.states.at(stateIndex);
    const QString tablePart = Part(ReadDocument(), QString("## %1").arg(table.name));
    const QString expected = Part("\n" + tablePart, QString("### %1").arg(state.name));

    QCOMPARE(SectionText(table, state).trimmed().split('\n'), expected.trimmed().split('\n'));
}

QTEST_APPLESS_MAIN(tst_AudioModelTable)
#include "tst_AudioModelTable.moc"
