// SPDX-License-Identifier: MIT
#include "PrivateBus.h"
#include "ScreenLog.h"
#include "WindowStage.h"

#include <QDropEvent>
#include <QFileDialog>
#include <QLineEdit>
#include <QMimeData>
#include <QTemporaryDir>

using namespace KivTest;

namespace {

using Failure = PlaybackOutput::Failure;

/** A text in the language of the row. */
QString In(const QString& language, const QString& english, const QString& german)
{
    return language == "de" ? german : english;
}

void Drop(QWidget& window, const QUrl& url)
{
    QMimeData data;
    data.setUrls({url});
    QDragEnterEvent enter(QPoint(9, 9), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&window, &enter);
    if (enter.isAccepted()) {
        QDropEvent drop(QPointF(9, 9), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(&window, &drop);
    }
}

} // namespace

/** A user with a mouse and a keyboard, and a device that interferes. */
class tst_PlayerStory : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_Log.Begin(); }
    void cleanup() { m_Log.End(); }
    void musicAndAPhoneCall_data() { AddLooks(); }
    void musicAndAPhoneCall();
    void serviceComesAndGoes_data() { AddLooks(); }
    void serviceComesAndGoes();
    void filesAreOpened_data() { AddLooks(); }
    void filesAreOpened();
    void noAudioDevice_data() { AddLooks(); }
    void noAudioDevice();
    void keys_doWhatTheTipsSay();
    void slider_isMoved();

private:
    ScreenLog m_Log;
};

void tst_PlayerStory::musicAndAPhoneCall()
{
    QFETCH(QString, language);
    QFETCH(QString, theme);
    Wear({language, theme});
    WindowStage stage;
    stage.Begin();
    QVERIFY(stage.Says(In(language, "Ready.", "Bereit.")));
    QVERIFY(stage.KeepAs("1-ready"));
    stage.Click("play");
    QVERIFY(stage.Says(In(language, "Playing.", "Wiedergabe läuft.")));
    stage.outputs.Last().MoveTo(42300);
    QCOMPARE(stage.Find<QLabel>("elapsed")->text(), "0:42");
    QVERIFY(stage.KeepAs("2-playing"));
    QVERIFY(stage.service.control.Do(StartStep("phone", "transient")));
    QVERIFY(stage.Says(In(language, "Interrupted.", "Unterbrochen.")));
    QCOMPARE(stage.outputs.Sounding(), 0);
    QVERIFY(stage.KeepAs("3-interrupted"));
    QVERIFY(stage.service.control.Do(StopStep("phone")));
    QVERIFY(stage.Says(In(language, "Playing.", "Wiedergabe läuft.")));
    QCOMPARE(stage.outputs.Sounding(), 1);
    stage.Click("play");
    QVERIFY(stage.Says(In(language, "Paused by you.", "Von Ihnen pausiert.")));
    QVERIFY(stage.KeepAs("4-paused"));
    QVERIFY(stage.service.control.Do(StartStep("other", "permanent")));
    QVERIFY(
        stage.Says(In(language, "Another program has taken over.", "Ein anderes Programm hat übernommen.")));
    QVERIFY(stage.KeepAs("5-lost"));
    QVERIFY(stage.service.control.Arm(R"({"kind":"errCode","method":"requestAudioFocus"})") != 0);
    stage.Click("play");
    QVERIFY(stage.Says(In(language, "The focus was refused.", "Der Fokus wurde verweigert.")));
    QVERIFY(stage.KeepAs("6-refused"));
    stage.Click("play");
    QVERIFY(stage.Says(In(language, "Playing.", "Wiedergabe läuft.")));
    stage.Click("stop");
    QVERIFY(stage.Says(In(language, "Stopped by you.", "Von Ihnen angehalten.")));
    QCOMPARE(stage.Find<QLabel>("elapsed")->text(), "0:00");
    QCOMPARE(stage.wrongs, QStringList());
}

void tst_PlayerStory::serviceComesAndGoes()
{
    QFETCH(QString, language);
    QFETCH(QString, theme);
    Wear({language, theme});
    WindowStage stage;
    stage.stream.start();
    const QString absent =
        In(language, "The audio service is not available.", "Der Audiodienst ist nicht da.");
    QVERIFY(stage.Says(absent));
    QVERIFY(stage.KeepAs("7-no-service"));
    stage.Click("play");
    QVERIFY(stage.Says(absent));
    stage.service.StartService();
    QVERIFY(stage.Says(In(language, "Ready.", "Bereit.")));
    stage.Click("play");
    QVERIFY(stage.Says(In(language, "Playing.", "Wiedergabe läuft.")));
    stage.service.KillService();
    QVERIFY(stage.Says(In(language, "The audio service has gone.", "Der Audiodienst ist verschwunden.")));
    QCOMPARE(stage.outputs.Sounding(), 0);
    stage.service.StartService();
    QVERIFY(stage.Says(In(language, "The audio service is back.", "Der Audiodienst ist wieder da.")));
    QVERIFY(stage.KeepAs("8-service-back"));
    QCOMPARE(stage.outputs.Sounding(), 0);
    stage.Click("play");
    QVERIFY(stage.Says(In(language, "Playing.", "Wiedergabe läuft.")));
    QCOMPARE(stage.wrongs, QStringList());
}

void tst_PlayerStory::filesAreOpened()
{
    QFETCH(QString, language);
    QFETCH(QString, theme);
    Wear({language, theme});
    const QTemporaryDir folder;
    const QString notes = folder.filePath("notes.txt");
    QVERIFY(QFile(notes).open(QIODevice::WriteOnly));
    WindowStage stage;
    stage.Begin();
    QTest::keyClick(&stage.window, Qt::Key_O, Qt::ControlModifier);
    auto* const dialog = stage.window.findChild<QFileDialog*>();
    QVERIFY(dialog && QTest::qWaitForWindowExposed(dialog));
    QTest::keyClicks(dialog->findChild<QLineEdit*>("fileNameEdit"), notes);
    QTest::keyClick(dialog->findChild<QLineEdit*>("fileNameEdit"), Qt::Key_Return);
    QTRY_COMPARE(stage.outputs.Last().Source(), notes);
    stage.outputs.Last().Break(Failure::NotAudio);
    QCOMPARE(stage.Find<QLabel>("detail")->text(),
             In(language, "“notes.txt” holds no sound that can be decoded.",
                "„notes.txt“ enthält keinen Ton, der sich decodieren lässt."));
    QCOMPARE(stage.Find<QLabel>("title")->text(), In(language, "Evening melody", "Abendmelodie"));
    QVERIFY(stage.KeepAs("9-bad-file"));
    const QString song =
        "/music/a folder/The very long name of a rather short song, as some bands have them.ogg";
    Drop(stage.window, QUrl("https://example.com/song.ogg")); // not of this machine: nothing happens
    QVERIFY(stage.player->LastComplaint());
    Drop(stage.window, QUrl::fromLocalFile(song));
    QCOMPARE(stage.outputs.Last().Source(), song);
    Q_EMIT stage.outputs.Last().Ready();
    stage.Click("play");
    QVERIFY(stage.Says(In(language, "Playing.", "Wiedergabe läuft.")));
    stage.outputs.Last().MoveTo(12000);
    QCOMPARE(stage.Find<QLabel>("title")->accessibleName(), QFileInfo(song).completeBaseName());
    QVERIFY(stage.KeepAs("10-file"));
}

void tst_PlayerStory::noAudioDevice()
{
    QFETCH(QString, language);
    QFETCH(QString, theme);
    Wear({language, theme});
    WindowStage stage({}, false);
    stage.Begin();
    stage.Click("play");
    QVERIFY(stage.Says(In(language, "Playing in silence.", "Wiedergabe läuft, aber stumm.")));
    stage.outputs.Last().MoveTo(64000);
    QVERIFY(stage.KeepAs("11-no-device"));
}

void tst_PlayerStory::keys_doWhatTheTipsSay()
{
    Wear({"en", "day"});
    WindowStage stage;
    stage.Begin();
    QCOMPARE(stage.Find<QWidget>("play")->toolTip(), "Play (Space)");
    QCOMPARE(stage.Find<QWidget>("stop")->toolTip(), "Stop (S)");
    QCOMPARE(stage.Find<QWidget>("open")->toolTip(), "Open… (Ctrl+O)");
    QVERIFY(stage.Find<QWidget>("play")->hasFocus());
    const auto press = [&](Qt::Key key) { QTest::keyClick(QApplication::focusWidget(), key); };
    press(Qt::Key_Space);
    QVERIFY(stage.Says("Playing."));
    QCOMPARE(stage.Find<QWidget>("play")->toolTip(), "Pause (Space)");
    stage.Find<QWidget>("slider")->setFocus();
    press(Qt::Key_Space); // not the slider's
    QVERIFY(stage.Says("Paused by you."));
    press(Qt::Key_Space);
    QVERIFY(stage.Says("Playing."));
    press(Qt::Key_S);
    QVERIFY(stage.Says("Stopped by you."));
    press(Qt::Key_Space);
    QVERIFY(stage.Says("Playing."));
    stage.Find<QWidget>("stop")->setFocus();
    press(Qt::Key_Space); // the button's
    QVERIFY(stage.Says("Stopped by you."));
    QTest::keyClick(&stage.window, Qt::Key_Q, Qt::ControlModifier);
    QVERIFY(!stage.window.isVisible());
}

void tst_PlayerStory::slider_isMoved()
{
    Wear({"en", "day"});
    WindowStage stage;
    auto* const slider = stage.Find<TimeSlider>("slider");
    QTest::mouseClick(slider, Qt::LeftButton, {}, slider->rect().center());
    QVERIFY(qAbs(stage.player->Output().Position() - 64000) < 1000);
    QCOMPARE(stage.Find<QLabel>("elapsed")->text().left(2), "1:");
    QWindow* const window = stage.window.windowHandle(); // where a mouse can move with a button held
    const auto at = [&](int x) { return slider->mapTo(&stage.window, QPoint(x, slider->height() / 2)); };
    QTest::mousePress(window, Qt::LeftButton, {}, at(slider->width() / 2));
    QTest::mouseMove(window, at(0));
    QTRY_COMPARE(stage.Find<QLabel>("elapsed")->text(), "0:00");
    stage.outputs.Last().MoveTo(70000); // while the user holds it
    QCOMPARE(stage.Find<QLabel>("elapsed")->text(), "0:00");
    QCOMPARE(slider->sliderPosition(), 0);
    QTest::mouseRelease(window, Qt::LeftButton, {}, at(0));
    QTRY_COMPARE(stage.player->Output().Position(), 0);
    QTest::keyClick(slider, Qt::Key_Right);
    QCOMPARE(stage.player->Output().Position(), 5000);
    QCOMPARE(stage.Find<QLabel>("elapsed")->text(), "0:05");
}

int main(int argc, char** argv)
{
    const PrivateBus bus;
    const QApplication application(argc, argv);
    Q_INIT_RESOURCE(player);
    tst_PlayerStory test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_PlayerStory.moc"
