// SPDX-License-Identifier: MIT
#include "DesignCheck.h"
#include "Translation.h"

using namespace KivTest;

namespace {

const QString kHostileList =
    "Radio,<b>Bold</b><i>text</i>,&amp; %1 %2 %n,"
    "/com/quorvantel/audioclient/player,Benutzerdefinierte-Wiedergabelistenverwaltung,"
    "\u05E9\u05B8\u05DC\u05D5\u05B9\u05DD \u05E2\u05D5\u05DC\u05DD,"
    "\U0001F468\u200D\U0001F469\u200D\U0001F467 \U0001F3B5\U0001F3B5,e\u0301\u0323\u0302";

QString Long(int size)
{
    return QString("0123456789").repeated(size / 10);
}

/** The service tells of a mode that it offers, or of the current one, whatever its name. */
QString Event(const char* name, const char* parameter, const QString& mode)
{
    const QJsonObject payload{{parameter, mode}, {"action", "add"}, {"sessionId", 1}};
    const QJsonObject step{
        {"do", "send"},
        {"to", "hmi"},
        {"name", name},
        {"payload", QString::fromUtf8(QJsonDocument(payload).toJson(QJsonDocument::Compact))}};
    return QString::fromUtf8(QJsonDocument(step).toJson());
}

const QString kNoModes = R"({"kind":"missingMember","method":"getModeList","times":"always"})";
const QString kListRefused = R"({"faults":[{"kind":"errCode","method":"getModeList","times":"always"}]})";

/** A state of the panel: what the service offers, and how it comes to it. */
struct State
{
    const char* name;
    QString modes;
    QString firstMode;
    QString fault;
    std::function<void(PanelStage&)> reach; ///< once the service is there
};

void ShowModes(PanelStage& stage)
{
    QTRY_VERIFY_WITH_TIMEOUT(!stage.Tiles().isEmpty(), kPatience);
}

void ShowMessage(PanelStage& stage)
{
    QTRY_VERIFY_WITH_TIMEOUT(stage.Item("messageBar") != nullptr, kPatience);
}

void ShowPending(PanelStage& stage)
{
    ShowModes(stage);
    QVERIFY(stage.Settle());
    stage.Click(stage.Tile("Bluetooth"));
    QTRY_VERIFY(stage.Tiles().contains("Bluetooth?"));
}

void ShowRefused(PanelStage& stage)
{
    ShowModes(stage);
    QVERIFY(stage.Settle());
    stage.Click(stage.Tile("Bluetooth"));
    ShowMessage(stage);
}

void ShowFeed(PanelStage& stage)
{
    ShowModes(stage);
    for (const QString& name :
         {QString("Phone"), Long(100), QString("<i>x</i>"), QString("\u05E9\u05DC\u05D5\u05DD")}) {
        const QJsonObject step{
            {"do", "startStream"}, {"name", name}, {"type", "Phone"}, {"focusType", "transient"}};
        QVERIFY(stage.service.control.Do(QString::fromUtf8(QJsonDocument(step).toJson())));
    }
    QTRY_VERIFY(stage.Model("feed")->property("count").toInt() == 7);
}

void ShowUnavailable(PanelStage& stage)
{
    ShowFeed(stage);
    stage.service.KillService();
    ShowMessage(stage);
}

void ShowNothing(PanelStage& stage)
{
    ShowModes(stage);
    QVERIFY(stage.service.control.Arm(kNoModes) != 0);
    QVERIFY(stage.service.control.Do(R"({"do":"restart","milliseconds":0})"));
    QTRY_COMPARE_WITH_TIMEOUT(stage.Modes("count"), "0", kPatience);
    QTRY_COMPARE_WITH_TIMEOUT(stage.Modes("available"), "true", kPatience);
}

void ShowNoList(PanelStage& stage)
{
    ShowNothing(stage);
    QVERIFY(stage.service.control.Tell("LoadScenario", {kListRefused}));
    QVERIFY(stage.service.control.Do(R"({"do":"restart","milliseconds":0})"));
    QTRY_COMPARE_WITH_TIMEOUT(stage.Modes("lastError"), "The audio service does not tell its modes.",
                              kPatience);
    QTRY_COMPARE(stage.Texts("placeholderDetail").value(0),
                 "The audio service does not tell them. The panel asks again by itself.");
}

void ShowHostile(PanelStage& stage)
{
    ShowModes(stage);
    QVERIFY(stage.service.control.Do(Event("onModeListChange", "mode", "")));
    QVERIFY(stage.service.control.Do(Event("onModeListChange", "mode", Long(100))));
    QVERIFY(stage.service.control.Do(Event("onModeListChange", "mode", "Radio")));
    QVERIFY(stage.service.control.Do(Event("onModeListChange", "mode", "two\nlines\tand\x01 more")));
    QVERIFY(stage.service.control.Do(Event("onModeListChange", "mode", Long(1000000))));
    QVERIFY(stage.service.control.Do(Event("onModeChange", "activeMode", Long(1000000))));
    QTRY_COMPARE(stage.Model("modes")->property("count").toInt(), 13);
    QTRY_COMPARE(stage.Modes("currentMode").size(), 1000000);
}

const QString kDelay = R"({"kind":"stopAnswering","method":"setMode"})";
const QString kRefusal = R"({"kind":"errCode","method":"setMode"})";

const QVector<State> kStates{
    {"before", {}, {}, {}, nullptr},
    {"modes", "Radio,Bluetooth,Navigation", {}, {}, &ShowModes},
    {"pending", "Radio,Bluetooth", {}, kDelay, &ShowPending},
    {"waiting", "Radio,Bluetooth", "Podcast", {}, &ShowMessage},
    {"waiting for a long name", "Radio,Bluetooth", Long(300), {}, &ShowMessage},
    {"refused", "Radio,Bluetooth", {}, kRefusal, &ShowRefused},
    {"feed", "Radio,Bluetooth", {}, {}, &ShowFeed},
    {"unavailable", "Radio,Bluetooth,USB", {}, {}, &ShowUnavailable},
    {"nothing", "Radio", {}, {}, &ShowNothing},
    {"no list", "Radio", {}, {}, &ShowNoList},
    {"hostile", kHostileList, {}, {}, &ShowHostile},
};

/** The sizes, themes and languages of every view, and sizes between them. */
QVector<View> Views()
{
    return AllViews() + QVector<View>{{QSize(800, 480), true, "de"},
                                      {QSize(1024, 600), false, "de"},
                                      {QSize(600, 640), true, "de"},
                                      {QSize(480, 480), false, "de"}};
}

} // namespace

/** Nothing is cut off, overlaps, is too small or too pale, whatever the service sends; and all is reached by keyboard. */
class tst_PanelDesign : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void everyState_keepsToTheRules_data();
    void everyState_keepsToTheRules();
    void tab_reachesEverything();
    void scrolledTiles_showTheirOwnModes();
    void everyText_isTranslated();

private:
    ScreenLog m_Log;
};

void tst_PanelDesign::init()
{
    m_Log.Begin();
}

void tst_PanelDesign::cleanup()
{
    m_Log.End();
}

void tst_PanelDesign::everyState_keepsToTheRules_data()
{
    QTest::addColumn<int>("row");
    for (int row = 0; row < kStates.size(); ++row) {
        QTest::newRow(kStates.at(row).name) << row;
    }
}

void tst_PanelDesign::everyState_keepsToTheRules()
{
    QFETCH(int, row);
    const State& state = kStates.at(row);
    PanelOptions options;
    options.mode = state.firstMode;
    PanelStage stage(options, {"--modes", state.modes});
    if (state.reach) {
        stage.service.StartService();
        QVERIFY(state.fault.isEmpty() || stage.service.control.Arm(state.fault) != 0);
        state.reach(stage);
    }
    for (const View& view : Views()) {
        stage.Show(view);
        const QStringList complaints = DesignCheck(stage).Complaints();
        if (!complaints.isEmpty() || state.name == QLatin1String("hostile")) {
            Keep(stage.Grab(),
                 QString("design-%1-%2").arg(QString(state.name).replace(' ', '-'), view.Name()));
        }
        QVERIFY2(complaints.isEmpty(), qPrintable(view.Name() + ":\n" + complaints.join('\n')));
    }
}

void tst_PanelDesign::tab_reachesEverything()
{
    PanelOptions options;
    options.mode = "Podcast";
    PanelStage stage(options);
    stage.service.StartService();
    ShowFeed(stage);
    ShowMessage(stage);
    QVERIFY(stage.Settle());
    QStringList order;
    for (int i = 0; i < 5; ++i) {
        stage.Key(Qt::Key_Tab);
        QCOMPARE(stage.Items("focusRing").size(), 1);
        order.append(stage.Focused());
    }
    QCOMPARE(order, (QStringList{"focusRow", "themeButton", "messageButton", "tile", "focusRow"}));
    stage.Key(Qt::Key_Backtab);
    QCOMPARE(stage.Focused(), "tile");
}

void tst_PanelDesign::scrolledTiles_showTheirOwnModes()
{
    QStringList modes;
    for (int i = 0; i < 100; ++i) {
        modes.append(QString("Mode %1").arg(i));
    }
    PanelStage stage({}, {"--modes", modes.join(',')});
    stage.service.StartService();
    ShowModes(stage);
    for (int i = 0; i < 99; ++i) {
        stage.Key(Qt::Key_Right);
        const QQuickItem* const tile = stage.Window()->activeFocusItem();
        QCOMPARE(tile->property("name").toString(), modes.at(i + 1));
        QCOMPARE(tile->findChild<QQuickItem*>("tileName")->property("text").toString(), modes.at(i + 1));
        QCOMPARE(tile->property("active").toBool(), false);
    }
    QVERIFY(stage.Settle());
    QCOMPARE(stage.Tiles().last(), "Mode 99");
    QCOMPARE(DesignCheck(stage).Complaints(), QStringList());
    for (int i = 0; i < 99; ++i) {
        stage.Key(Qt::Key_Left);
    }
    QTRY_COMPARE(stage.Tiles().first(), "Mode 0*");
}

void tst_PanelDesign::everyText_isTranslated()
{
    QCOMPARE(Untranslated(KIV_PANEL_FOLDER, KIV_PANEL_FOLDER "/hmi-panel_de.ts"), QString());
}

KIV_PANEL_TEST_MAIN(tst_PanelDesign, "")

#include "tst_PanelDesign.moc"
