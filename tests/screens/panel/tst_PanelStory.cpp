// SPDX-License-Identifier: MIT
#include "PanelStage.h"

using namespace KivTest;

namespace {

const QStringList kModes{"Radio",      "Bluetooth",         "USB",
                         "Navigation", "Streaming Service", "/com/quorvantel/audioclient/player"};

const QString kStopAnswering = R"({"kind":"stopAnswering","method":"setMode"})";
const QString kAnswerAgain = R"({"do":"answerAgain"})";

PanelOptions Asking(const QString& mode)
{
    PanelOptions options;
    options.language = "en";
    options.mode = mode;
    return options;
}

/** The simulator's list, with a sign for the mode that is on or waits. */
QStringList With(const QString& mode, const QString& sign)
{
    QStringList modes = kModes;
    modes[modes.indexOf(mode)] += sign;
    return modes;
}

} // namespace

/** What a user sees and does, from before the service is there until it is back after a crash. */
class tst_PanelStory : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void story();
    void escape_cancelsWhatWaits();
    void modeThatWaits_isSwitchedOnWhenItIsOffered();
    void longPressOnATile_showsAWholeNameOrChooses();

private:
    void BeforeTheService();
    void WaitingAndCancelling();
    void ChoosingByTouch();
    void ChoosingByKeyboard();
    void Refusal();
    void PhoneCall();
    void ServiceKilledAndBack();
    void Shoot(const QString& name);
    void ShowFirst();

    ScreenLog m_Log;
    std::unique_ptr<PanelStage> m_Stage;
};

void tst_PanelStory::init()
{
    m_Log.Begin();
}

void tst_PanelStory::cleanup()
{
    m_Stage.reset();
    m_Log.End();
}

void tst_PanelStory::Shoot(const QString& name)
{
    for (const View& view : AllViews()) {
        m_Stage->Show(view);
        QVERIFY(Keep(m_Stage->Grab(), "panel-" + name + "-" + view.Name()));
    }
    ShowFirst();
}

void tst_PanelStory::ShowFirst()
{
    m_Stage->Show(AllViews().constFirst());
}

void tst_PanelStory::story()
{
    m_Stage = std::make_unique<PanelStage>(Asking("Podcast"), QStringList{"--modes", kModes.join(',')});
    const QVector<void (tst_PanelStory::*)()> parts{&tst_PanelStory::BeforeTheService,
                                                    &tst_PanelStory::WaitingAndCancelling,
                                                    &tst_PanelStory::ChoosingByTouch,
                                                    &tst_PanelStory::ChoosingByKeyboard,
                                                    &tst_PanelStory::Refusal,
                                                    &tst_PanelStory::PhoneCall,
                                                    &tst_PanelStory::ServiceKilledAndBack};
    for (const auto part : parts) {
        (this->*part)();
        if (QTest::currentTestFailed()) {
            return;
        }
    }
}

void tst_PanelStory::BeforeTheService()
{
    QCOMPARE(m_Stage->Text("currentMode"), "Audio");
    QCOMPARE(m_Stage->Texts("placeholderHeadline"),
             (QStringList{"Waiting for the audio service", "No events yet"}));
    QCOMPARE(m_Stage->Tiles(), QStringList());
    QVERIFY(m_Stage->Item("messageBar") == nullptr);
    Shoot("1-before-the-service");
}

void tst_PanelStory::WaitingAndCancelling()
{
    m_Stage->service.StartService();
    QTRY_COMPARE_WITH_TIMEOUT(m_Stage->Tiles(), With("Radio", "*"), kPatience);
    QTRY_COMPARE(m_Stage->Text("messageHeadline"), "Waiting for \u2068Podcast\u2069");
    QCOMPARE(m_Stage->Text("currentMode"), "Radio");
    Shoot("2-waiting");
    m_Stage->Touch(m_Stage->Item("messageButton"));
    QTRY_VERIFY(m_Stage->Item("messageBar") == nullptr);
    QVERIFY(m_Stage->service.control.Do(R"({"do":"addMode","mode":"Podcast"})"));
    QTRY_COMPARE(m_Stage->Tiles().value(6), "Podcast");
    QVERIFY(m_Stage->service.control.Do(R"({"do":"removeMode","mode":"Podcast"})"));
    QTRY_COMPARE(m_Stage->Tiles(), With("Radio", "*"));
    QCOMPARE(m_Stage->service.control.CallCount("setMode"), 0u);
    Shoot("3-modes");
}

void tst_PanelStory::ChoosingByTouch()
{
    QVERIFY(m_Stage->service.control.Arm(kStopAnswering) != 0);
    m_Stage->Touch(m_Stage->Tile("Bluetooth"));
    QStringList expected = With("Radio", "*");
    expected[1] = "Bluetooth?";
    QTRY_COMPARE(m_Stage->Tiles(), expected);
    Shoot("4-pending");
    QCOMPARE(m_Stage->Tiles(), expected);
    QVERIFY(m_Stage->service.control.Do(kAnswerAgain));
    QTRY_COMPARE(m_Stage->Tiles(), With("Bluetooth", "*"));
    QCOMPARE(m_Stage->Text("currentMode"), "Bluetooth");
    QVERIFY(m_Stage->Item("focusRing") == nullptr);
}

void tst_PanelStory::ChoosingByKeyboard()
{
    m_Stage->Key(Qt::Key_Right);
    m_Stage->Key(Qt::Key_Right);
    QCOMPARE(m_Stage->Window()->activeFocusItem(), m_Stage->Tile("USB"));
    QCOMPARE(m_Stage->Items("focusRing").size(), 1);
    m_Stage->Key(Qt::Key_Space);
    QTRY_COMPARE(m_Stage->Tiles(), With("USB", "*"));
    Shoot("5-keyboard");
    m_Stage->Key(Qt::Key_Left);
    m_Stage->Key(Qt::Key_Return);
    QTRY_COMPARE(m_Stage->Tiles(), With("Bluetooth", "*"));
    m_Stage->Key(Qt::Key_Down);
    m_Stage->Key(Qt::Key_Enter);
    QTRY_COMPARE(m_Stage->Tiles(), With("/com/quorvantel/audioclient/player", "*"));
}

void tst_PanelStory::Refusal()
{
    QVERIFY(m_Stage->service.control.Arm(R"({"kind":"errCode","method":"setMode","times":2})") != 0);
    m_Stage->Click(m_Stage->Tile("Radio"));
    QTRY_COMPARE(m_Stage->Text("messageHeadline"), "\u2068Radio\u2069 could not be switched on");
    QCOMPARE(m_Stage->Tiles(), With("/com/quorvantel/audioclient/player", "*"));
    Shoot("6-refused");
    m_Stage->Click(m_Stage->Item("messageButton"));
    QTRY_VERIFY(m_Stage->Item("messageBar") == nullptr);
    m_Stage->Click(m_Stage->Tile("Radio"));
    QTRY_COMPARE(m_Stage->Text("messageHeadline"), "\u2068Radio\u2069 could not be switched on");
    m_Stage->Click(m_Stage->Tile("Radio"));
    QTRY_COMPARE(m_Stage->Tiles(), With("Radio", "*"));
    QVERIFY(m_Stage->Item("messageBar") == nullptr);
}

void tst_PanelStory::PhoneCall()
{
    SimulatorControl& control = m_Stage->service.control;
    QVERIFY(control.Do(R"({"do":"startStream","name":"Player","type":"Media","focusType":"permanent"})"));
    QVERIFY(control.Do(R"({"do":"startStream","name":"Phone","type":"Phone","focusType":"transient"})"));
    QVERIFY(control.Do(R"({"do":"stopStream","name":"Phone"})"));
    QVERIFY(control.Do(R"({"do":"stopStream","name":"Player"})"));
    QTRY_COMPARE(m_Stage->Feed(),
                 (QStringList{"Player: Has lost the focus", "Player: Has the focus now",
                              "Phone: Has lost the focus", "Phone: Has the focus for a while",
                              "Player: Is interrupted for a while", "Player: Has the focus now"}));
    Shoot("7-focus");
}

void tst_PanelStory::ServiceKilledAndBack()
{
    m_Stage->service.KillService();
    QTRY_COMPARE_WITH_TIMEOUT(m_Stage->Text("messageHeadline"), "Audio service not available", kPatience);
    QCOMPARE(m_Stage->Tiles(), With("Radio", "*"));
    QVERIFY(!m_Stage->Tile("USB")->isEnabled());
    m_Stage->Click(m_Stage->Tile("USB"));
    QCOMPARE(m_Stage->Feed().size(), 6);
    Shoot("8-unavailable");
    m_Stage->service.StartService();
    QTRY_VERIFY_WITH_TIMEOUT(m_Stage->Item("messageBar") == nullptr, kPatience);
    QTRY_VERIFY(m_Stage->Tile("USB")->isEnabled());
    QCOMPARE(m_Stage->service.control.CallCount("setMode"), 0u);
    m_Stage->Touch(m_Stage->Tile("USB"));
    QTRY_COMPARE(m_Stage->Tiles(), With("USB", "*"));
}

void tst_PanelStory::escape_cancelsWhatWaits()
{
    m_Stage = std::make_unique<PanelStage>(Asking("Podcast"));
    m_Stage->service.StartService();
    QTRY_VERIFY_WITH_TIMEOUT(m_Stage->Item("messageBar") != nullptr, kPatience);
    m_Stage->Key(Qt::Key_Escape);
    QTRY_VERIFY(m_Stage->Item("messageBar") == nullptr);
    QCOMPARE(m_Stage->Modes("pendingMode"), "");
}

void tst_PanelStory::modeThatWaits_isSwitchedOnWhenItIsOffered()
{
    m_Stage = std::make_unique<PanelStage>(Asking("Podcast"));
    m_Stage->service.StartService();
    QTRY_VERIFY_WITH_TIMEOUT(m_Stage->Item("messageBar") != nullptr, kPatience);
    QVERIFY(m_Stage->service.control.Do(R"({"do":"addMode","mode":"Podcast"})"));
    QTRY_COMPARE(m_Stage->Tiles(), (QStringList{"Radio", "Bluetooth", "Podcast*"}));
    QVERIFY(m_Stage->Item("messageBar") == nullptr);
}

void tst_PanelStory::longPressOnATile_showsAWholeNameOrChooses()
{
    const QString name = "A very long name of a mode that has no place on any tile of the panel at all";
    m_Stage = std::make_unique<PanelStage>(Asking({}), QStringList{"--modes", "Radio,USB," + name});
    m_Stage->service.StartService();
    QTRY_COMPARE_WITH_TIMEOUT(m_Stage->Tiles().size(), 3, kPatience);
    QVERIFY(m_Stage->Settle());
    const QPoint place = PanelStage::Centre(m_Stage->Tile(name));
    QTest::mousePress(m_Stage->Window(), Qt::LeftButton, {}, place);
    QTRY_COMPARE(m_Stage->Text("nameTipText"), name);
    QVERIFY(m_Stage->Settle());
    QVERIFY(Keep(m_Stage->Grab(), "panel-9-whole-name-" + AllViews().constFirst().Name()));
    QTest::mouseRelease(m_Stage->Window(), Qt::LeftButton, {}, place);
    QCOMPARE(m_Stage->service.control.CallCount("setMode"), 0u); // it was to read the name, not to choose it
    QTest::mousePress(m_Stage->Window(), Qt::LeftButton, {}, PanelStage::Centre(m_Stage->Tile("USB")));
    QTRY_COMPARE(m_Stage->Text("currentMode"), "USB"); // there is nothing more to read
    QTest::mouseRelease(m_Stage->Window(), Qt::LeftButton, {}, PanelStage::Centre(m_Stage->Tile("USB")));
    QTRY_VERIFY(!m_Stage->Model("modes")->property("busy").toBool());
    QCOMPARE(m_Stage->service.control.CallCount("setMode"), 1u);
}

KIV_PANEL_TEST_MAIN(tst_PanelStory, "")

#include "tst_PanelStory.moc"
