// SPDX-License-Identifier: MIT
#include "AudioModel.h"

#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTest>

using namespace Simulator;

namespace {

const QString kBus = ":1.99"; // the caller of whoever has no name of its own below

QString ToText(const QJsonObject& object)
{
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact));
}

QString RefusalText(int code, const QString& message)
{
    return ToText({{"errCode", code}, {"errMessage", message}});
}

QString PathOf(const QString& name)
{
    return "/" + name + "/ServiceProviderClient";
}

QString CallerOf(const QString& name)
{
    return ":1." + name;
}

/** One line for an effect, nothing left out. */
QString LineOf(const Effect& effect)
{
    if (effect.kind == Effect::Kind::Broadcast) {
        const QString addressee =
            effect.busName + effect.objectPath + (effect.role == Role::Hmi ? "" : "app");
        return addressee + "=> " + effect.name + " " + ToText(effect.parameters);
    }
    const QString role = effect.role == Role::Hmi ? "hmi" : "app";
    return role + " " + effect.busName + " " + effect.objectPath + " " + effect.name + " " +
           ToText(effect.parameters);
}

QStringList LinesOf(const QVector<Effect>& effects)
{
    QStringList lines;
    for (const Effect& effect : effects) {
        lines.append(LineOf(effect));
    }
    return lines;
}

/** A stream that tests use: clients are named after their streams. */
struct KnownStream
{
    QString mode;
    QString type;
    QString focusType;
    QString destination;
};

// music and radio take the focus for good, the others for a while.
const QHash<QString, KnownStream> kStreams{
    {"music", {"/music", "Media", "permanent", ""}}, {"radio", {"", "Tuner", "permanent", "Cabin"}},
    {"chime", {"", "Chime", "transient", "Rear"}},   {"phone", {"", "Phone", "transient", ""}},
    {"navi", {"", "Voice", "transient", "Cabin"}},   {"probe", {"", "Probe", "permanent", ""}}};

ModelSettings Settings()
{
    ModelSettings settings;
    settings.modes = {{"Cabin", {"Radio", "Bluetooth"}}, {"Rear", {"Video", "Radio"}}};
    return settings;
}

/** A model with clients that have a bus name and a path made of their names. */
class World
{
public:
    explicit World(const ModelSettings& settings = Settings())
        : m_Model(settings)
    {
    }

    Outcome Send(Role role, const QString& name, const QString& method, const QString& arguments)
    {
        return m_Model.Handle({role, CallerOf(name), method, arguments});
    }

    /** The same with an open client's session identifier before the other parameters. */
    Outcome SendInSession(Role role, const QString& name, const QString& method, const QString& more = "")
    {
        return Send(role, name, method, QString("{\"sessionId\":%1%2}").arg(m_Ids.value(name)).arg(more));
    }

    Outcome Hmi(const QString& name, const QString& method, const QString& more = "")
    {
        return SendInSession(Role::Hmi, name, method, more);
    }

    Outcome App(const QString& name, const QString& method, const QString& more = "")
    {
        return SendInSession(Role::App, name, method, more);
    }

    Outcome Open(Role role, const QString& name, const QString& destination = "")
    {
        const QString more = destination.isEmpty() ? "" : QString(",\"destination\":\"%1\"").arg(destination);
        const Outcome outcome =
            Send(role, name, "openSession",
                 QString("{\"busName\":\"com.%1\",\"objectPath\":\"%2\"%3}").arg(name, PathOf(name), more));
        m_Ids[name] = outcome.reply.value("sessionId").toInt();
        return outcome;
    }

    Outcome OpenHmi(const QString& name, const QString& destination = "")
    {
        return Open(Role::Hmi, name, destination);
    }

    Outcome OpenApp(const QString& name) { return Open(Role::App, name, kStreams.value(name).destination); }

    Outcome Register(const QString& name)
    {
        const KnownStream stream = kStreams.value(name);
        const QString mode =
            stream.mode.isEmpty() ? "" : QString(",\"streamModeName\":\"%1\"").arg(stream.mode);
        return App(name, "registerAudioStream",
                   QString(",\"streamName\":\"%1\",\"streamType\":\"%2\",\"focusType\":\"%3\"%4")
                       .arg(name, stream.type, stream.focusType, mode));
    }

    Outcome RequestFocus(const QString& name)
    {
        return App(name, "requestAudioFocus", R"(,"requestType":"request")");
    }

    Outcome QueryFocus(const QString& name)
    {
        return App(name, "requestAudioFocus", R"(,"requestType":"query")");
    }

    Outcome AbandonFocus(const QString& name)
    {
        return App(name, "abandonAudioFocus", R"(,"reason":"done")");
    }

    /** An application that has registered its stream. */
    void Ready(const QString& name)
    {
        OpenApp(name);
        Register(name);
    }

    void Ready(const QStringList& names)
    {
        for (const QString& name : names) {
            Ready(name);
        }
    }

    Outcome Leave(const QString& name) { return {{}, m_Model.CallerLeft(CallerOf(name))}; }

    int IdOf(const QString& name) const { return m_Ids.value(name); }

    AudioModel& Model() { return m_Model; }

    QString CallLine(const QString& role, const QString& name, const QString& method,
                     const QString& parameters) const
    {
        return QString("%1 %2 %3 %4 {%5,\"sessionId\":%6}")
            .arg(role, CallerOf(name), PathOf(name), method, parameters)
            .arg(IdOf(name));
    }

    QString HmiCall(const QString& name, const QString& method, const QString& parameters) const
    {
        return CallLine("hmi", name, method, parameters);
    }

    QString FocusCall(const QString& name, const QString& method, const QString& newFocus) const
    {
        return CallLine("app", name, method, QString("\"newFocus\":\"%1\"").arg(newFocus));
    }

    static QString BroadcastLine(const QString& name, const QString& newFocus)
    {
        const KnownStream stream = kStreams.value(name);
        const QString destination = stream.destination.isEmpty() ? "all" : stream.destination;
        return QString("=> audioFocusChangeEvent {\"destination\":\"%1\",\"focusType\":\"%2\",\"newFocus\":"
                       "\"%3\",\"streamModeName\":\"%4\",\"streamName\":\"%5\",\"streamType\":\"%6\"}")
            .arg(destination, stream.focusType, newFocus, stream.mode, name, stream.type);
    }

    /**
     * What a short text of focus effects means: "chime=granted" is a result, "chime:lost" an imposed change and its
     * broadcast, "*chime:lost" the broadcast alone.
     */
    QStringList FocusLines(const QString& shortText) const
    {
        QStringList lines;
        for (const QString& item : shortText.split(' ', Qt::SkipEmptyParts)) {
            lines += FocusItem(item);
        }
        return lines;
    }

private:
    QStringList FocusItem(const QString& item) const
    {
        if (item.contains('=')) {
            return {FocusCall(item.section('=', 0, 0), "onRequestAudioFocusResult", item.section('=', 1))};
        }
        const bool isBroadcastOnly = item.startsWith('*');
        const QString name = item.section(':', 0, 0).mid(isBroadcastOnly ? 1 : 0);
        const QString newFocus = item.section(':', 1);
        const QString broadcast = BroadcastLine(name, newFocus);
        return isBroadcastOnly ? QStringList{broadcast}
                               : QStringList{FocusCall(name, "onAudioFocusChange", newFocus), broadcast};
    }

    AudioModel m_Model;
    QHash<QString, int> m_Ids;
};

} // namespace

class tst_AudioModel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Sessions
    void openSession_answersIdentifiersFromOneOn();
    void openSession_sameObjectAgain_endsTheEarlierSession();
    void openSession_sameObjectAgain_tellsWhatItsEndDoes();
    void openSession_otherPathOrKindOrCaller_isAnotherSession();
    void openSession_refused_keepsTheEarlierSession();
    void openSession_withoutBusName_isAccepted();
    void openSession_destinationAll_isNoDestination();
    void closeSession_endsTheSession();
    void callerLeft_endsItsSessionsAndNoOthers();
    void callerLeft_withSeveralSessions_callsNoneOfThem();
    void callerLeft_unknown_doesNothing();
    void hasSessions_followsTheSessions();

    // Modes
    void modeQueries_data();
    void modeQueries();
    void setMode_data();
    void setMode();
    void setMode_currentModeAgain_isToldAgain();
    void addedMode_data();
    void addedMode();
    void addedMode_offeredAlready_isNotListedTwice();
    void addedMode_offeredAtOneOfTwoDestinations_isAddedAtTheOther();
    void addedMode_twice_staysUntilBothAreGone();
    void removedMode_current_isReplacedByTheFirst();
    void removedMode_currentAtTwoDestinations_isReplacedAtEach();
    void removedMode_sameReplacementAtTwoDestinations_isToldOnce();
    void removedMode_notCurrent_changesNoMode();
    void modeEvents_goToEveryHmiAndNoApplication();
    void defaultModes_areRadioAndBluetoothInTheCabin();

    // Focus
    void focus_data();
    void focus();
    void sessionEnd_sendsFocusBeforeModes();
    void refusedStream_neverGetsTheFocus();
    void lockedStream_keepsTheFocusUntilItGivesItBack();
    void lockedStream_waitingBelow_locksNothing();
    void audioActive_isAcceptedAndDoesNothing_data();
    void audioActive_isAcceptedAndDoesNothing();

    // Refusals
    void refusal_changesNothing();
    void unreadParameters_areIgnored();
};

void tst_AudioModel::openSession_answersIdentifiersFromOneOn()
{
    World world;
    const Outcome first = world.OpenHmi("screen");
    const Outcome second = world.OpenApp("music");
    world.App("music", "closeSession");
    const Outcome third = world.OpenApp("music");

    QCOMPARE(ToText(first.reply), QString(R"({"sessionId":1})"));
    QCOMPARE(ToText(second.reply), QString(R"({"sessionId":2})"));
    QCOMPARE(ToText(third.reply), QString(R"({"sessionId":3})"));
    QVERIFY(first.effects.isEmpty() && second.effects.isEmpty() && third.effects.isEmpty());
}

void tst_AudioModel::openSession_sameObjectAgain_endsTheEarlierSession()
{
    World world;
    world.OpenHmi("screen");
    const int earlier = world.IdOf("screen");
    QCOMPARE(ToText(world.OpenHmi("screen").reply), QString(R"({"sessionId":2})"));

    QCOMPARE(ToText(world.Hmi("screen", "closeSession").reply), QString("{}"));
    QCOMPARE(
        ToText(world.Send(Role::Hmi, "screen", "closeSession", QString(R"({"sessionId":%1})").arg(earlier))
                   .reply),
        RefusalText(7, "there is no session 1"));
}

void tst_AudioModel::openSession_sameObjectAgain_tellsWhatItsEndDoes()
{
    World world;
    world.OpenHmi("screen");
    world.Ready("music");

    const Outcome outcome = world.OpenApp("music");
    QCOMPARE(ToText(outcome.reply), QString(R"({"sessionId":3})"));
    QCOMPARE(LinesOf(outcome.effects), QStringList{world.HmiCall("screen", "onModeListChange",
                                                                 R"("action":"remove","mode":"/music")")});
    QCOMPARE(ToText(world.Register("music").reply), QString("{}"));
}

void tst_AudioModel::openSession_otherPathOrKindOrCaller_isAnotherSession()
{
    AudioModel model(Settings());
    const auto open = [&model](Role role, const QString& caller, const QString& path) {
        const QString arguments = QString(R"({"busName":"com.a","objectPath":"%1"})").arg(path);
        return model.Handle({role, caller, "openSession", arguments}).reply.value("sessionId").toInt();
    };
    const auto close = [&model](Role role, const QString& caller, int id) {
        return ToText(
            model.Handle({role, caller, "closeSession", QString(R"({"sessionId":%1})").arg(id)}).reply);
    };

    QCOMPARE(open(Role::Hmi, ":1.1", "/a"), 1);
    QCOMPARE(open(Role::Hmi, ":1.1", "/b"), 2);
    QCOMPARE(open(Role::App, ":1.1", "/a"), 3);
    QCOMPARE(open(Role::Hmi, ":1.2", "/a"), 4);
    QCOMPARE(close(Role::Hmi, ":1.1", 1), QString("{}"));
    QCOMPARE(close(Role::Hmi, ":1.1", 2), QString("{}"));
    QCOMPARE(close(Role::App, ":1.1", 3), QString("{}"));
    QCOMPARE(close(Role::Hmi, ":1.2", 4), QString("{}"));
}

void tst_AudioModel::openSession_refused_keepsTheEarlierSession()
{
    World world;
    world.OpenHmi("screen");
    const QString arguments =
        QString(R"({"busName":"","objectPath":"%1","destination":"Roof"})").arg(PathOf("screen"));

    QCOMPARE(ToText(world.Send(Role::Hmi, "screen", "openSession", arguments).reply),
             RefusalText(9, "there is no destination \"Roof\""));
    QCOMPARE(ToText(world.Hmi("screen", "closeSession").reply), QString("{}"));
}

void tst_AudioModel::openSession_withoutBusName_isAccepted()
{
    World world;
    QCOMPARE(
        ToText(world.Send(Role::App, "music", "openSession", R"({"busName":"","objectPath":"/"})").reply),
        QString(R"({"sessionId":1})"));
}

void tst_AudioModel::openSession_destinationAll_isNoDestination()
{
    World world;
    world.OpenHmi("screen", "all");
    QCOMPARE(ToText(world.Hmi("screen", "setMode", R"(,"newMode":"Video")").reply), QString("{}"));
    QCOMPARE(ToText(world.Hmi("screen", "setMode", R"(,"newMode":"Bluetooth")").reply), QString("{}"));
}

void tst_AudioModel::closeSession_endsTheSession()
{
    World world;
    world.OpenHmi("screen");
    const Outcome outcome = world.Hmi("screen", "closeSession");

    QCOMPARE(ToText(outcome.reply), QString("{}"));
    QCOMPARE(LinesOf(outcome.effects), QStringList());
    QCOMPARE(ToText(world.Hmi("screen", "closeSession").reply), RefusalText(7, "there is no session 1"));
}

void tst_AudioModel::callerLeft_endsItsSessionsAndNoOthers()
{
    World world;
    world.OpenHmi("screen");
    world.Ready({"music", "radio"});
    world.RequestFocus("music");

    QCOMPARE(
        LinesOf(world.Leave("music").effects),
        world.FocusLines("*music:lost") +
            QStringList{world.HmiCall("screen", "onModeListChange", R"("action":"remove","mode":"/music")")});
    QCOMPARE(ToText(world.App("music", "closeSession").reply), RefusalText(7, "there is no session 2"));
    QCOMPARE(ToText(world.App("radio", "closeSession").reply), QString("{}"));
}

// One client with a stream that holds the focus, one that waits, one that has nothing but a mode, and an HMI.
void tst_AudioModel::callerLeft_withSeveralSessions_callsNoneOfThem()
{
    AudioModel model(Settings());
    const auto send = [&model](Role role, const QString& method, const QString& arguments) {
        return model.Handle({role, kBus, method, arguments});
    };
    const QString stream = R"({"sessionId":%1,"streamName":"%2","streamType":"Media","focusType":"%3"})";
    send(Role::App, "openSession", R"({"busName":"","objectPath":"/voice"})");
    send(Role::App, "openSession", R"({"busName":"","objectPath":"/song"})");
    send(Role::App, "openSession", R"({"busName":"","objectPath":"/idle"})");
    send(Role::Hmi, "openSession", R"({"busName":"","objectPath":"/screen"})");
    send(Role::App, "registerAudioStream", stream.arg("1", "voice", "transient"));
    send(
        Role::App, "registerAudioStream",
        R"({"sessionId":2,"streamName":"song","streamType":"Media","focusType":"permanent","streamModeName":"/song"})");
    send(
        Role::App, "registerAudioStream",
        R"({"sessionId":3,"streamName":"idle","streamType":"Media","focusType":"permanent","streamModeName":"/idle"})");
    send(Role::App, "requestAudioFocus", R"({"sessionId":2,"requestType":"request"})");
    send(Role::App, "requestAudioFocus", R"({"sessionId":1,"requestType":"request"})");

    const QString broadcast =
        R"(=> audioFocusChangeEvent {"destination":"all","focusType":"%2","newFocus":"lost","streamModeName":"%3","streamName":"%1","streamType":"Media"})";
    QCOMPARE(LinesOf(model.CallerLeft(kBus)), (QStringList{broadcast.arg("song", "permanent", "/song"),
                                                           broadcast.arg("voice", "transient", "")}));
    QVERIFY(!model.HasSessions(kBus));
}

void tst_AudioModel::callerLeft_unknown_doesNothing()
{
    World world;
    world.Ready("music");
    QCOMPARE(LinesOf(world.Leave("radio").effects), QStringList());
    QVERIFY(world.Model().HasSessions(CallerOf("music")));
}

void tst_AudioModel::hasSessions_followsTheSessions()
{
    World world;
    QVERIFY(!world.Model().HasSessions(CallerOf("music")));
    world.OpenApp("music");
    QVERIFY(world.Model().HasSessions(CallerOf("music")));
    QVERIFY(!world.Model().HasSessions(CallerOf("radio")));
    world.App("music", "closeSession");
    QVERIFY(!world.Model().HasSessions(CallerOf("music")));
}

void tst_AudioModel::modeQueries_data()
{
    QTest::addColumn<QString>("method");
    QTest::addColumn<QString>("destination");
    QTest::addColumn<QString>("reply");

    QTest::newRow("list of all") << "getModeList"
                                 << "all"
                                 << R"({"modeList":["Radio","Bluetooth","Video"]})";
    QTest::newRow("list of Cabin") << "getModeList"
                                   << "Cabin"
                                   << R"({"modeList":["Radio","Bluetooth"]})";
    QTest::newRow("list of Rear") << "getModeList"
                                  << "Rear"
                                  << R"({"modeList":["Video","Radio"]})";
    QTest::newRow("mode of all") << "getMode"
                                 << "all"
                                 << R"({"currentMode":["Radio","Video"]})";
    QTest::newRow("mode of Cabin") << "getMode"
                                   << "Cabin"
                                   << R"({"currentMode":["Radio"]})";
    QTest::newRow("mode of Rear") << "getMode"
                                  << "Rear"
                                  << R"({"currentMode":["Video"]})";
}

void tst_AudioModel::modeQueries()
{
    QFETCH(QString, method);
    QFETCH(QString, destination);
    World world;
    world.OpenHmi("screen", "Rear"); // the query's destination counts, not the session's

    const Outcome outcome = world.Hmi("screen", method, QString(R"(,"destination":"%1")").arg(destination));
    QTEST(ToText(outcome.reply), "reply");
    QVERIFY(outcome.effects.isEmpty());
}

void tst_AudioModel::setMode_data()
{
    QTest::addColumn<QString>("destination");
    QTest::addColumn<QString>("mode");
    QTest::addColumn<bool>("isSet");
    QTest::addColumn<QString>("currentModes"); // afterwards, of all destinations

    QTest::newRow("everywhere, offered at one") << ""
                                                << "Bluetooth" << true << R"(["Bluetooth","Video"])";
    QTest::newRow("everywhere, offered at both") << ""
                                                 << "Radio" << true << R"(["Radio"])";
    QTest::newRow("everywhere, offered nowhere") << ""
                                                 << "Tape" << false << R"(["Radio","Video"])";
    QTest::newRow("everywhere, other case") << ""
                                            << "bluetooth" << false << R"(["Radio","Video"])";
    QTest::newRow("everywhere, no name") << ""
                                         << "" << false << R"(["Radio","Video"])";
    QTest::newRow("Cabin, offered") << "Cabin"
                                    << "Bluetooth" << true << R"(["Bluetooth","Video"])";
    QTest::newRow("Cabin, offered elsewhere") << "Cabin"
                                              << "Video" << false << R"(["Radio","Video"])";
    QTest::newRow("Rear, offered at both") << "Rear"
                                           << "Radio" << true << R"(["Radio"])";
}

void tst_AudioModel::setMode()
{
    QFETCH(QString, destination);
    QFETCH(QString, mode);
    QFETCH(bool, isSet);
    QFETCH(QString, currentModes);
    World world;
    world.OpenHmi("screen", destination);
    world.OpenHmi("panel", "Cabin");

    const Outcome outcome = world.Hmi("screen", "setMode", QString(R"(,"newMode":"%1")").arg(mode));
    const QString refusal = RefusalText(10, QString("mode \"%1\" is not offered").arg(mode));
    const QString active = QString(R"("activeMode":"%1")").arg(mode);
    const QStringList told{world.HmiCall("screen", "onModeChange", active),
                           world.HmiCall("panel", "onModeChange", active)};
    QCOMPARE(ToText(outcome.reply), isSet ? QString("{}") : refusal);
    QCOMPARE(LinesOf(outcome.effects), isSet ? told : QStringList());
    QCOMPARE(ToText(world.Hmi("panel", "getMode", R"(,"destination":"all")").reply),
             QString(R"({"currentMode":%1})").arg(currentModes));
}

void tst_AudioModel::setMode_currentModeAgain_isToldAgain()
{
    World world;
    world.OpenHmi("screen", "Cabin");
    QCOMPARE(LinesOf(world.Hmi("screen", "setMode", R"(,"newMode":"Radio")").effects),
             QStringList{world.HmiCall("screen", "onModeChange", R"("activeMode":"Radio")")});
}

void tst_AudioModel::addedMode_data()
{
    QTest::addColumn<QString>("destination");
    QTest::addColumn<QString>("cabin");
    QTest::addColumn<QString>("rear");

    QTest::newRow("everywhere") << ""
                                << R"(["Radio","Bluetooth","/m"])"
                                << R"(["Video","Radio","/m"])";
    QTest::newRow("Cabin") << "Cabin"
                           << R"(["Radio","Bluetooth","/m"])"
                           << R"(["Video","Radio"])";
    QTest::newRow("Rear") << "Rear"
                          << R"(["Radio","Bluetooth"])"
                          << R"(["Video","Radio","/m"])";
}

void tst_AudioModel::addedMode()
{
    QFETCH(QString, destination);
    World world;
    world.OpenHmi("screen");
    world.Open(Role::App, "m", destination);
    const auto modesOf = [&world](const QString& where) {
        return ToText(world.Hmi("screen", "getModeList", QString(R"(,"destination":"%1")").arg(where)).reply);
    };

    const Outcome added =
        world.App("m", "registerAudioStream",
                  R"(,"streamName":"m","streamType":"Media","focusType":"permanent","streamModeName":"/m")");
    QCOMPARE(ToText(added.reply), QString("{}"));
    QCOMPARE(LinesOf(added.effects),
             QStringList{world.HmiCall("screen", "onModeListChange", R"("action":"add","mode":"/m")")});
    QFETCH(QString, cabin);
    QFETCH(QString, rear);
    QCOMPARE(modesOf("Cabin"), QString(R"({"modeList":%1})").arg(cabin));
    QCOMPARE(modesOf("Rear"), QString(R"({"modeList":%1})").arg(rear));

    const Outcome removed = world.App("m", "closeSession");
    QCOMPARE(ToText(removed.reply), QString("{}"));
    QCOMPARE(LinesOf(removed.effects),
             QStringList{world.HmiCall("screen", "onModeListChange", R"("action":"remove","mode":"/m")")});
    QCOMPARE(modesOf("Cabin"), QString(R"({"modeList":["Radio","Bluetooth"]})"));
    QCOMPARE(modesOf("Rear"), QString(R"({"modeList":["Video","Radio"]})"));
}

namespace {

/** An application "<name>" at a destination with a stream that offers a mode. */
Outcome RegisterMode(World& world, const QString& name, const QString& destination, const QString& mode)
{
    world.Open(Role::App, name, destination);
    return world.App(
        name, "registerAudioStream",
        QString(R"(,"streamName":"s","streamType":"Media","focusType":"permanent","streamModeName":"%1")")
            .arg(mode));
}

QString AllModes(World& world)
{
    return ToText(world.Hmi("screen", "getModeList", R"(,"destination":"all")").reply);
}

QString CurrentModes(World& world)
{
    return ToText(world.Hmi("screen", "getMode", R"(,"destination":"all")").reply);
}

} // namespace

void tst_AudioModel::addedMode_offeredAlready_isNotListedTwice()
{
    World world;
    world.OpenHmi("screen");
    QCOMPARE(LinesOf(RegisterMode(world, "a", "", "Radio").effects), QStringList());
    QCOMPARE(AllModes(world), QString(R"({"modeList":["Radio","Bluetooth","Video"]})"));
    QCOMPARE(LinesOf(world.App("a", "closeSession").effects), QStringList());
    QCOMPARE(AllModes(world), QString(R"({"modeList":["Radio","Bluetooth","Video"]})"));
}

void tst_AudioModel::addedMode_offeredAtOneOfTwoDestinations_isAddedAtTheOther()
{
    World world;
    world.OpenHmi("screen");
    const QStringList modes{"Bluetooth", "Video"}; // of Cabin and of Rear
    for (const QString& mode : modes) {
        const QString change = R"("action":"%1","mode":"%2")";
        QCOMPARE(LinesOf(RegisterMode(world, "a", "", mode).effects),
                 QStringList{world.HmiCall("screen", "onModeListChange", change.arg("add", mode))});
        QCOMPARE(LinesOf(world.App("a", "closeSession").effects),
                 QStringList{world.HmiCall("screen", "onModeListChange", change.arg("remove", mode))});
        QCOMPARE(AllModes(world), QString(R"({"modeList":["Radio","Bluetooth","Video"]})"));
    }
}

void tst_AudioModel::addedMode_twice_staysUntilBothAreGone()
{
    World world;
    world.OpenHmi("screen");
    const QString change = R"("action":"%1","mode":"/m")";
    QCOMPARE(LinesOf(RegisterMode(world, "a", "Cabin", "/m").effects),
             QStringList{world.HmiCall("screen", "onModeListChange", change.arg("add"))});
    QCOMPARE(LinesOf(RegisterMode(world, "b", "Cabin", "/m").effects), QStringList());
    world.Hmi("screen", "setMode", R"(,"newMode":"/m")");

    QCOMPARE(LinesOf(world.App("a", "closeSession").effects), QStringList());
    QCOMPARE(CurrentModes(world), QString(R"({"currentMode":["/m","Video"]})"));
    QCOMPARE(LinesOf(world.App("b", "closeSession").effects),
             (QStringList{world.HmiCall("screen", "onModeListChange", change.arg("remove")),
                          world.HmiCall("screen", "onModeChange", R"("activeMode":"Radio")")}));
}

void tst_AudioModel::removedMode_current_isReplacedByTheFirst()
{
    World world;
    world.OpenHmi("screen");
    RegisterMode(world, "a", "Cabin", "/m");
    world.Hmi("screen", "setMode", R"(,"newMode":"/m")");

    QCOMPARE(LinesOf(world.Leave("a").effects),
             (QStringList{world.HmiCall("screen", "onModeListChange", R"("action":"remove","mode":"/m")"),
                          world.HmiCall("screen", "onModeChange", R"("activeMode":"Radio")")}));
    QCOMPARE(CurrentModes(world), QString(R"({"currentMode":["Radio","Video"]})"));
}

void tst_AudioModel::removedMode_currentAtTwoDestinations_isReplacedAtEach()
{
    World world;
    world.OpenHmi("screen");
    RegisterMode(world, "a", "", "/m");
    world.Hmi("screen", "setMode", R"(,"newMode":"/m")");

    QCOMPARE(LinesOf(world.App("a", "closeSession").effects),
             (QStringList{world.HmiCall("screen", "onModeListChange", R"("action":"remove","mode":"/m")"),
                          world.HmiCall("screen", "onModeChange", R"("activeMode":"Radio")"),
                          world.HmiCall("screen", "onModeChange", R"("activeMode":"Video")")}));
    QCOMPARE(CurrentModes(world), QString(R"({"currentMode":["Radio","Video"]})"));
}

void tst_AudioModel::removedMode_sameReplacementAtTwoDestinations_isToldOnce()
{
    ModelSettings settings;
    settings.modes = {{"Left", {"Radio", "Tape"}}, {"Right", {"Radio"}}};
    World world(settings);
    world.OpenHmi("screen");
    RegisterMode(world, "a", "", "/m");
    world.Hmi("screen", "setMode", R"(,"newMode":"/m")");

    QCOMPARE(LinesOf(world.App("a", "closeSession").effects),
             (QStringList{world.HmiCall("screen", "onModeListChange", R"("action":"remove","mode":"/m")"),
                          world.HmiCall("screen", "onModeChange", R"("activeMode":"Radio")")}));
}

void tst_AudioModel::removedMode_notCurrent_changesNoMode()
{
    World world;
    world.OpenHmi("screen");
    RegisterMode(world, "a", "", "/m");
    world.Hmi("screen", "setMode", R"(,"newMode":"Bluetooth")");

    QCOMPARE(LinesOf(world.App("a", "closeSession").effects),
             QStringList{world.HmiCall("screen", "onModeListChange", R"("action":"remove","mode":"/m")")});
    QCOMPARE(CurrentModes(world), QString(R"({"currentMode":["Bluetooth","Video"]})"));
}

void tst_AudioModel::modeEvents_goToEveryHmiAndNoApplication()
{
    World world;
    world.OpenApp("radio");
    world.OpenHmi("screen", "Rear");
    world.OpenHmi("panel");

    const QString change = R"("action":"add","mode":"/m")";
    QCOMPARE(LinesOf(RegisterMode(world, "a", "Cabin", "/m").effects),
             (QStringList{world.HmiCall("screen", "onModeListChange", change),
                          world.HmiCall("panel", "onModeListChange", change)}));
    const QString active = R"("activeMode":"/m")";
    QCOMPARE(LinesOf(world.Hmi("panel", "setMode", R"(,"newMode":"/m")").effects),
             (QStringList{world.HmiCall("screen", "onModeChange", active),
                          world.HmiCall("panel", "onModeChange", active)}));
}

void tst_AudioModel::defaultModes_areRadioAndBluetoothInTheCabin()
{
    World world{ModelSettings()};
    world.OpenHmi("screen", "Cabin");
    QCOMPARE(AllModes(world), QString(R"({"modeList":["Radio","Bluetooth"]})"));
    QCOMPARE(CurrentModes(world), QString(R"({"currentMode":["Radio"]})"));
}

namespace {

/** A state of the focus, made by requests in this order, and what each event does in it. */
struct FocusRow
{
    const char* event;    // "<stream> <what it does>"
    const char* expected; // see World::FocusLines
    const char* after;    // who holds the focus afterwards, then who waits, from the top down
};

struct FocusState
{
    const char* name;
    const char* requests;
    QVector<FocusRow> rows;
};

// An event "end" stands for closing the session, leaving the bus and opening the session again.
const QVector<FocusState> kFocusStates{
    {"nobody",
     "",
     {{"music request", "music=granted *music:gained", "music"},
      {"chime request", "chime=granted *chime:gained", "chime"},
      {"music query", "music=wouldBeGranted", ""},
      {"chime query", "chime=wouldBeGranted", ""},
      {"music abandon", "error", ""},
      {"music end", "", ""}}},
    {"permanent",
     "music",
     {{"music request", "music=granted", "music"},
      {"radio request", "music:lost radio=granted *radio:gained", "radio"},
      {"chime request", "music:temporarilyLost chime=granted *chime:gained", "chime music"},
      {"music query", "music=wouldBeGranted", "music"},
      {"radio query", "radio=wouldBeGranted", "music"},
      {"chime query", "chime=wouldBeGranted", "music"},
      {"music abandon", "music=abandoned *music:lost", ""},
      {"radio abandon", "error", "music"},
      {"chime abandon", "error", "music"},
      {"music end", "*music:lost", ""},
      {"radio end", "", "music"}}},
    {"transient over permanent",
     "music chime",
     {{"music request", "chime:lost music=granted *music:gained", "music"},
      {"radio request", "chime:lost music:lost radio=granted *radio:gained", "radio"},
      {"chime request", "chime=granted", "chime music"},
      {"phone request", "chime:temporarilyLost phone=granted *phone:gained", "phone chime music"},
      {"music query", "music=wouldBeGranted", "chime music"},
      {"radio query", "radio=wouldBeGranted", "chime music"},
      {"chime query", "chime=wouldBeGranted", "chime music"},
      {"phone query", "phone=wouldBeGranted", "chime music"},
      {"music abandon", "music=abandoned *music:lost", "chime"},
      {"radio abandon", "error", "chime music"},
      {"chime abandon", "chime=abandoned *chime:lost music:gained", "music"},
      {"phone abandon", "error", "chime music"},
      {"music end", "*music:lost", "chime"},
      {"radio end", "", "chime music"},
      {"chime end", "*chime:lost music:gained", "music"}}},
    {"transient alone",
     "chime",
     {{"music request", "chime:lost music=granted *music:gained", "music"},
      {"chime request", "chime=granted", "chime"},
      {"phone request", "chime:temporarilyLost phone=granted *phone:gained", "phone chime"},
      {"music query", "music=wouldBeGranted", "chime"},
      {"chime query", "chime=wouldBeGranted", "chime"},
      {"phone query", "phone=wouldBeGranted", "chime"},
      {"music abandon", "error", "chime"},
      {"chime abandon", "chime=abandoned *chime:lost", ""},
      {"chime end", "*chime:lost", ""},
      {"phone end", "", "chime"}}},
    {"two transients over permanent",
     "music chime phone",
     {{"music request", "phone:lost chime:lost music=granted *music:gained", "music"},
      {"radio request", "phone:lost chime:lost music:lost radio=granted *radio:gained", "radio"},
      {"chime request", "phone:temporarilyLost chime=granted *chime:gained", "chime phone music"},
      {"phone request", "phone=granted", "phone chime music"},
      {"navi request", "phone:temporarilyLost navi=granted *navi:gained", "navi phone chime music"},
      {"music query", "music=wouldBeGranted", "phone chime music"},
      {"radio query", "radio=wouldBeGranted", "phone chime music"},
      {"chime query", "chime=wouldBeGranted", "phone chime music"},
      {"phone query", "phone=wouldBeGranted", "phone chime music"},
      {"navi query", "navi=wouldBeGranted", "phone chime music"},
      {"music abandon", "music=abandoned *music:lost", "phone chime"},
      {"radio abandon", "error", "phone chime music"},
      {"chime abandon", "chime=abandoned *chime:lost", "phone music"},
      {"phone abandon", "phone=abandoned *phone:lost chime:gained", "chime music"},
      {"navi abandon", "error", "phone chime music"},
      {"music end", "*music:lost", "phone chime"},
      {"chime end", "*chime:lost", "phone music"},
      {"phone end", "*phone:lost chime:gained", "chime music"}}},
    {"two transients",
     "chime phone",
     {{"music request", "phone:lost chime:lost music=granted *music:gained", "music"},
      {"chime request", "phone:temporarilyLost chime=granted *chime:gained", "chime phone"},
      {"phone request", "phone=granted", "phone chime"},
      {"navi request", "phone:temporarilyLost navi=granted *navi:gained", "navi phone chime"},
      {"chime query", "chime=wouldBeGranted", "phone chime"},
      {"navi query", "navi=wouldBeGranted", "phone chime"},
      {"music abandon", "error", "phone chime"},
      {"chime abandon", "chime=abandoned *chime:lost", "phone"},
      {"phone abandon", "phone=abandoned *phone:lost chime:gained", "chime"},
      {"chime end", "*chime:lost", "phone"},
      {"phone end", "*phone:lost chime:gained", "chime"}}},
    {"permanent after permanent",
     "music radio",
     {{"music request", "radio:lost music=granted *music:gained", "music"},
      {"music abandon", "error", "radio"},
      {"radio abandon", "radio=abandoned *radio:lost", ""},
      {"music end", "", "radio"}}}};

void AddFocusRow(const FocusState& state, const QString& event, const FocusRow& row)
{
    QTest::newRow(qPrintable(QString("%1: %2").arg(state.name, event)))
        << QString(state.requests).split(' ', Qt::SkipEmptyParts) << event << QString(row.expected)
        << QString(row.after);
}

QStringList EventsOf(const QString& event)
{
    if (!event.endsWith(" end")) {
        return {event};
    }
    const QString stream = event.section(' ', 0, 0);
    return {stream + " close", stream + " leave", stream + " reopen"};
}

Outcome Do(World& world, const QString& stream, const QString& deed)
{
    if (deed == "request") {
        return world.RequestFocus(stream);
    }
    if (deed == "query") {
        return world.QueryFocus(stream);
    }
    if (deed == "abandon") {
        return world.AbandonFocus(stream);
    }
    if (deed == "close") {
        return world.App(stream, "closeSession");
    }
    return deed == "leave" ? world.Leave(stream) : world.OpenApp(stream);
}

QString ReplyTo(const World& world, const QString& stream, const QString& deed, bool isError)
{
    if (isError) {
        return RefusalText(13, QString("stream \"%1\" has no focus to give back").arg(stream));
    }
    return deed == "reopen" ? QString(R"({"sessionId":%1})").arg(world.IdOf(stream)) : QString("{}");
}

// A newcomer that takes the focus for good makes everybody on the stack lose it, from the top down.
QStringList ProbeLines(const World& world, const QString& stack)
{
    QStringList lines;
    for (const QString& stream : stack.split(' ', Qt::SkipEmptyParts)) {
        lines += world.FocusLines(stream + ":lost");
    }
    return lines + world.FocusLines("probe=granted *probe:gained");
}

} // namespace

void tst_AudioModel::focus_data()
{
    QTest::addColumn<QStringList>("requests");
    QTest::addColumn<QString>("event");
    QTest::addColumn<QString>("expected");
    QTest::addColumn<QString>("after");

    for (const FocusState& state : kFocusStates) {
        for (const FocusRow& row : state.rows) {
            for (const QString& event : EventsOf(row.event)) {
                AddFocusRow(state, event, row);
            }
        }
    }
}

void tst_AudioModel::focus()
{
    QFETCH(QStringList, requests);
    QFETCH(QString, event);
    QFETCH(QString, expected);
    QFETCH(QString, after);
    World world;
    world.Ready({"music", "radio", "chime", "phone", "navi", "probe"});
    for (const QString& stream : requests) {
        QCOMPARE(ToText(world.RequestFocus(stream).reply), QString("{}"));
    }

    const bool isError = expected == "error";
    const QString stream = event.section(' ', 0, 0);
    const QString deed = event.section(' ', 1);
    const Outcome outcome = Do(world, stream, deed);
    QCOMPARE(ToText(outcome.reply), ReplyTo(world, stream, deed, isError));
    QCOMPARE(LinesOf(outcome.effects), world.FocusLines(isError ? "" : expected));
    QCOMPARE(LinesOf(world.RequestFocus("probe").effects), ProbeLines(world, after));
}

void tst_AudioModel::sessionEnd_sendsFocusBeforeModes()
{
    World world;
    world.OpenHmi("screen");
    world.Ready({"chime", "music"});
    world.RequestFocus("music");
    world.Hmi("screen", "setMode", R"(,"newMode":"/music")");

    QCOMPARE(
        LinesOf(world.App("music", "closeSession").effects),
        world.FocusLines("*music:lost") +
            (QStringList{world.HmiCall("screen", "onModeListChange", R"("action":"remove","mode":"/music")"),
                         world.HmiCall("screen", "onModeChange", R"("activeMode":"Radio")"),
                         world.HmiCall("screen", "onModeChange", R"("activeMode":"Video")")}));
}

void tst_AudioModel::refusedStream_neverGetsTheFocus()
{
    ModelSettings settings = Settings();
    settings.refusedStreams = QStringList{"radio", "chime"};
    World world(settings);
    world.Ready({"music", "radio", "chime"});

    QCOMPARE(LinesOf(world.QueryFocus("radio").effects), world.FocusLines("radio=wouldFail"));
    QCOMPARE(LinesOf(world.RequestFocus("radio").effects), world.FocusLines("radio=failed"));
    QCOMPARE(LinesOf(world.RequestFocus("chime").effects), world.FocusLines("chime=failed"));
    QCOMPARE(LinesOf(world.RequestFocus("music").effects), world.FocusLines("music=granted *music:gained"));
    QCOMPARE(LinesOf(world.RequestFocus("radio").effects), world.FocusLines("radio=failed"));
    QCOMPARE(ToText(world.RequestFocus("radio").reply), QString("{}"));
    QCOMPARE(ToText(world.QueryFocus("radio").reply), QString("{}"));
}

void tst_AudioModel::lockedStream_keepsTheFocusUntilItGivesItBack()
{
    ModelSettings settings = Settings();
    settings.lockedStreams = QStringList{"phone"};
    World world(settings);
    world.Ready({"music", "phone", "chime"});
    world.RequestFocus("music");
    world.RequestFocus("phone");

    QCOMPARE(LinesOf(world.RequestFocus("music").effects), world.FocusLines("music=failed"));
    QCOMPARE(LinesOf(world.QueryFocus("music").effects), world.FocusLines("music=wouldFail"));
    QCOMPARE(LinesOf(world.RequestFocus("chime").effects), world.FocusLines("chime=failed"));
    QCOMPARE(LinesOf(world.QueryFocus("phone").effects), world.FocusLines("phone=wouldBeGranted"));
    QCOMPARE(LinesOf(world.RequestFocus("phone").effects), world.FocusLines("phone=granted"));
    QCOMPARE(LinesOf(world.AbandonFocus("phone").effects),
             world.FocusLines("phone=abandoned *phone:lost music:gained"));
    QCOMPARE(LinesOf(world.RequestFocus("chime").effects),
             world.FocusLines("music:temporarilyLost chime=granted *chime:gained"));
}

void tst_AudioModel::lockedStream_waitingBelow_locksNothing()
{
    ModelSettings settings = Settings();
    settings.lockedStreams = QStringList{"radio"};
    World world(settings);
    world.Ready({"music", "radio"});
    world.RequestFocus("music");
    QCOMPARE(LinesOf(world.RequestFocus("radio").effects),
             world.FocusLines("music:lost radio=granted *radio:gained"));
    world.AbandonFocus("radio");
    QCOMPARE(LinesOf(world.RequestFocus("music").effects), world.FocusLines("music=granted *music:gained"));
}

void tst_AudioModel::audioActive_isAcceptedAndDoesNothing_data()
{
    QTest::addColumn<QString>("playing");
    QTest::newRow("playing") << "true";
    QTest::newRow("not playing") << "false";
}

void tst_AudioModel::audioActive_isAcceptedAndDoesNothing()
{
    QFETCH(QString, playing);
    World world;
    world.OpenHmi("screen");
    world.Ready({"music", "chime"});
    world.RequestFocus("music");
    for (const char* stream : {"music", "chime"}) {
        const Outcome outcome = world.App(stream, "audioActive", QString(R"(,"playing":%1)").arg(playing));
        QCOMPARE(ToText(outcome.reply), QString("{}"));
        QCOMPARE(LinesOf(outcome.effects), QStringList());
    }
    QCOMPARE(LinesOf(world.RequestFocus("music").effects), world.FocusLines("music=granted"));
}

void tst_AudioModel::refusal_changesNothing()
{
    World world;
    world.OpenHmi("screen");
    world.Ready("music");
    world.RequestFocus("music");
    QCOMPARE(world.Register("music").reply.value("errCode").toInt(), 12);
    QCOMPARE(world.App("music", "abandonAudioFocus", R"(,"reason":"")").reply.value("errCode").toInt(), 6);

    QCOMPARE(
        LinesOf(world.App("music", "closeSession").effects),
        world.FocusLines("*music:lost") +
            QStringList{world.HmiCall("screen", "onModeListChange", R"("action":"remove","mode":"/music")")});
}

void tst_AudioModel::unreadParameters_areIgnored()
{
    World world;
    world.OpenHmi("screen");
    QCOMPARE(ToText(world.Hmi("screen", "closeSession", R"(,"colour":"red","more":[1])").reply),
             QString("{}"));
}

QTEST_APPLESS_MAIN(tst_AudioModel)
#include "tst_AudioModel.moc"
