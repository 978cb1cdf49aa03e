// SPDX-License-Identifier: MIT
#include "Contrast.h"
#include "PrivateBus.h"
#include "ScreenLog.h"
#include "Translation.h"
#include "WindowStage.h"

using namespace KivTest;

namespace {

using Failure = PlaybackOutput::Failure;

constexpr double kReadable = 4.5; // the contrast that text has to have
constexpr double kVisible = 3;    // and what is no text
constexpr int kTouchTarget = 48;

/** The best contrast that a pixel of a widget has to the widget's first pixel in some place. */
double ContrastSeen(const QImage& image, const QRect& place)
{
    const QColor ground = image.pixelColor(place.topLeft());
    double best = 1;
    for (int y = place.top(); y <= place.bottom(); ++y) {
        for (int x = place.left(); x <= place.right(); ++x) {
            best = qMax(best, Contrast(ground, image.pixelColor(x, y)));
        }
    }
    return best;
}

QRect PlaceOf(const QWidget* widget, const QWidget* window)
{
    return {widget->mapTo(window, QPoint()), widget->size()};
}

/** What does not fit in a window: labels that are cut off, overlap, or leave the window. */
QStringList Misfits(const QWidget& window)
{
    QStringList misfits;
    const QList<QLabel*> labels = window.findChildren<QLabel*>();
    for (const QLabel* const label : labels) {
        const QSize need =
            label->wordWrap() ? QSize(0, label->heightForWidth(label->width())) : label->sizeHint();
        const bool isCut = need.width() > label->width() || need.height() > label->height();
        const bool isOutside = !window.rect().contains(PlaceOf(label, &window));
        if (isCut || isOutside) {
            misfits.append(QString("%1: %2x%3, needs %4x%5")
                               .arg(label->text())
                               .arg(label->width())
                               .arg(label->height())
                               .arg(need.width())
                               .arg(need.height()));
        }
        for (const QLabel* const other : labels) {
            if (other != label && PlaceOf(other, &window).intersects(PlaceOf(label, &window))) {
                misfits.append(label->text() + " / " + other->text());
            }
        }
    }
    return misfits;
}

/** Something that a card may say. */
struct Saying
{
    Status status;
    QString complaint;
};

QVector<Saying> AllSayings()
{
    QVector<Saying> sayings;
    QMap<QString, bool> isKnown;
    for (int index = 0; index < 8 * 5 * 5 * 8; ++index) {
        Player::Situation now;
        now.state = AudioStream::State(index % 8);
        now.reason = AudioStream::Reason(index / 8 % 5);
        now.ending = Player::Ending(index / 40 % 5);
        now.isAvailable = index / 200 % 2 == 1;
        now.isPlaying = index / 400 % 2 == 1;
        now.isAudible = index / 800 % 2 == 1;
        const Status status = Describe(now);
        if (!std::exchange(isKnown[status.sentence + status.detail], true)) {
            sayings.append({status, QString()});
        }
    }
    const QMetaEnum failures = QMetaEnum::fromType<Failure>();
    for (int index = 0; index < failures.keyCount(); ++index) {
        const QString longest = "A name as long as can.wav"; // longer ones are shortened
        sayings.append({Describe(Player::Situation()), Describe(Failure(failures.value(index)), longest)});
    }
    return sayings;
}

} // namespace

/** The window can be seen, read, pressed and reached, in every language and theme. */
class tst_PlayerDesign : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_Log.Begin(); }
    void cleanup() { m_Log.End(); }
    void texts_fitInEverySize_data() { AddLooks(); }
    void texts_fitInEverySize();
    void contrast_isEnough_data() { AddLooks(); }
    void contrast_isEnough();
    void targets_areLargeEnoughAndNamed();
    void tabulator_reachesEverything();
    void palette_ofTheDesktop_isFollowed();
    void longNames_areShortenedAndWholeInTheTip();
    void german_isCompleteAndUpToDate();

private:
    ScreenLog m_Log;
};

void tst_PlayerDesign::texts_fitInEverySize()
{
    QFETCH(QString, language);
    QFETCH(QString, theme);
    Wear({language, theme});
    WindowStage stage;
    PlayerWindow& window = stage.window;
    auto* const card = window.findChild<StatusCard*>();
    for (const QSize size : {window.minimumSizeHint(), QSize(500, 0), QSize(900, 700)}) {
        window.resize(size);
        QTRY_COMPARE(window.width(), size.width());
        for (const Saying& saying : AllSayings()) {
            card->Show(saying.status, saying.complaint);
            QCoreApplication::sendPostedEvents();
            QCOMPARE(Misfits(window).join(", "), "");
        }
    }
}

void tst_PlayerDesign::contrast_isEnough()
{
    QFETCH(QString, language);
    QFETCH(QString, theme);
    Wear({language, theme});
    WindowStage stage;
    auto* const card = stage.window.findChild<StatusCard*>();
    for (const bool hasComplaint : {false, true}) {
        card->Show({Marker::Warning, "Sentence.", "Detail."}, hasComplaint ? "Complaint." : QString());
        const QImage image = stage.window.grab().toImage();
        for (const QLabel* const label : stage.window.findChildren<QLabel*>()) {
            const double contrast = ContrastSeen(image, PlaceOf(label, &stage.window));
            QVERIFY2(contrast >= kReadable, qPrintable(label->text() + ' ' + QString::number(contrast)));
        }
        const QRect sign(card->pos() + QPoint(10, 10), QSize(26, card->height() - 20));
        QVERIFY(ContrastSeen(image, sign) >= kReadable);
    }
    for (const auto* const button : stage.window.findChildren<RoundButton*>()) {
        const QRect place = PlaceOf(button, &stage.window);
        const QRect sign(place.center() - QPoint(place.width() / 4, place.width() / 4), place.size() / 2);
        QVERIFY2(ContrastSeen(stage.window.grab().toImage(), sign) >= kVisible,
                 qPrintable(button->objectName()));
    }
    const QPalette colors = stage.window.palette();
    QVERIFY(Contrast(colors.color(QPalette::Highlight), colors.color(QPalette::Window)) >= kVisible);
}

void tst_PlayerDesign::targets_areLargeEnoughAndNamed()
{
    Wear({"en", "day"});
    const WindowStage stage;
    QStringList names;
    for (const char* const name : {"slider", "stop", "play", "open"}) {
        const auto* const target = stage.Find<QWidget>(name);
        QVERIFY2(target->width() >= kTouchTarget && target->height() >= kTouchTarget, name);
        QVERIFY2(!target->toolTip().isEmpty(), name);
        names.append(target->accessibleName());
    }
    QCOMPARE(names, (QStringList{"Position", "Stop", "Play", "Open…"}));
    QCOMPARE(stage.Find<QWidget>("play")->accessibleDescription(), "The audio service is not available.");
    QCOMPARE(stage.window.findChild<StatusCard*>()->accessibleName(),
             "The audio service is not available. The player waits for it.");
}

void tst_PlayerDesign::tabulator_reachesEverything()
{
    WindowStage stage;
    QStringList reached;
    for (int time = 0; time < 4; ++time) {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        reached.append(QApplication::focusWidget()->objectName());
    }
    QCOMPARE(reached, (QStringList{"open", "slider", "stop", "play"})); // from the play button on
}

void tst_PlayerDesign::palette_ofTheDesktop_isFollowed()
{
    Wear({"en", "day"});
    WindowStage stage;
    const QImage day = stage.window.grab().toImage();
    Wear({"en", "night"}); // while the window is there
    QCoreApplication::sendPostedEvents();
    const QImage night = stage.window.grab().toImage();
    QCOMPARE(day.pixelColor(2, 2), QColor(0xfff3f5f8));
    QCOMPARE(night.pixelColor(2, 2), QColor(0xff11171e));
    for (const QLabel* const label : stage.window.findChildren<QLabel*>()) {
        QVERIFY2(ContrastSeen(night, PlaceOf(label, &stage.window)) >= kReadable, qPrintable(label->text()));
    }
}

void tst_PlayerDesign::longNames_areShortenedAndWholeInTheTip()
{
    Wear({"en", "day"});
    WindowStage stage;
    const QString name = QString("long ").repeated(40) + "name";
    stage.player->Open("/" + name + ".ogg");
    stage.outputs.Last().Break(Failure::NotThere);
    QCOMPARE(stage.Find<QLabel>("detail")->text(), "“long long lo…ng name.ogg” is not there.");
    stage.player->Open("/" + name + ".ogg");
    Q_EMIT stage.outputs.Last().Ready();
    const auto* const title = stage.Find<QLabel>("title");
    QVERIFY(title->text().contains(QChar(0x2026)) && title->text().size() < name.size());
    QCOMPARE(title->toolTip(), name);
    QCOMPARE(Misfits(stage.window).join(", "), "");
    QVERIFY(stage.window.windowTitle().endsWith(" – Media player"));
}

void tst_PlayerDesign::german_isCompleteAndUpToDate()
{
    QCOMPARE(Untranslated(KIV_PLAYER_FOLDER, KIV_PLAYER_FOLDER "/translations/media-player_de.ts"),
             QString());
}

int main(int argc, char** argv)
{
    const PrivateBus bus;
    const QApplication application(argc, argv);
    Q_INIT_RESOURCE(player);
    tst_PlayerDesign test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_PlayerDesign.moc"
