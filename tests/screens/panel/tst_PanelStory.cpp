// SPDX-License-Identifier: MIT
#include "PanelStage.h"

using namespace KivTest;

/** What a user sees and does, from before the service is there until it is back after a crash. */
class tst_PanelStory : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void story();
};

namespace {
void Shoot(PanelStage& stage, const QString& name)
{
    for (const View& view : AllViews()) {
        stage.Show(view);
        QVERIFY(Keep(stage.Grab(), "panel-" + name + "-" + view.Name()));
    }
}
}

void tst_PanelStory::story()
{
    PanelOptions options;
    options.language = "en";
    PanelStage stage(options, {"--modes", "Radio,Bluetooth,USB,Navigation,Streaming Service,/com/quorvantel/audioclient/player"});
    Shoot(stage, "1-before");
    stage.service.StartService();
    QTRY_COMPARE_WITH_TIMEOUT(stage.Tiles().size(), 6, kPatience);
    Shoot(stage, "2-modes");
    QVERIFY(stage.service.control.Arm(R"({"kind":"stopAnswering","method":"setMode"})"));
    stage.Touch(stage.Tile("Bluetooth"));
    QTRY_VERIFY(stage.Tiles().contains("Bluetooth?"));
    Shoot(stage, "3-pending");
    QVERIFY(stage.service.control.Do(R"({"do":"answerAgain"})"));
    QTRY_VERIFY_WITH_TIMEOUT(stage.Tiles().contains("Bluetooth*"), kPatience);
    QMetaObject::invokeMethod(stage.Model("modes"), "requestMode", Q_ARG(QString, "Podcast"));
    Shoot(stage, "4-waiting");
    stage.Key(Qt::Key_Escape);
    QTRY_VERIFY(stage.Item("messageBar") == nullptr);
    QVERIFY(stage.service.control.Arm(R"({"kind":"errCode","method":"setMode"})"));
    stage.Click(stage.Tile("USB"));
    QTRY_VERIFY(stage.Item("messageBar") != nullptr);
    stage.service.control.Do(R"({"do":"startStream","name":"Player","type":"Media","focusType":"permanent"})");
    stage.service.control.Do(R"({"do":"startStream","name":"Phone","type":"Phone","focusType":"transient"})");
    stage.service.control.Do(R"({"do":"stopStream","name":"Phone"})");
    QTRY_VERIFY(stage.Feed().size() >= 4);
    Shoot(stage, "5-refused");
    stage.service.KillService();
    QTRY_VERIFY_WITH_TIMEOUT(stage.Modes("available") == "false", kPatience);
    Shoot(stage, "6-unavailable");
    stage.service.StartService();
    QTRY_VERIFY_WITH_TIMEOUT(stage.Modes("available") == "true", kPatience);
    stage.Key(Qt::Key_Right);
    Shoot(stage, "7-back");
}

KIV_PANEL_TEST_MAIN(tst_PanelStory, "")

#include "tst_PanelStory.moc"
