// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_WINDOWSTAGE_H
#define KIV_TESTS_WINDOWSTAGE_H

#include "Picture.h"
#include "PlayerStage.h"
#include "PlayerWindow.h"
#include "Setup.h"

#include <QApplication>
#include <QStyle>
#include <QTranslator>

namespace KivTest {

/** A language and a theme, in which everything has to be fine; "desktop" is what there is without one. */
struct Look
{
    QString language;
    QString theme;
};

inline void AddLooks()
{
    QTest::addColumn<QString>("language");
    QTest::addColumn<QString>("theme");
    for (const Look& look :
         QVector<Look>{{"en", "day"}, {"en", "night"}, {"de", "desktop"}, {"de", "day"}, {"de", "night"}}) {
        QTest::newRow(qPrintable(look.language + '-' + look.theme)) << look.language << look.theme;
    }
}

/** Makes everything look so from here on. */
inline void Wear(const Look& look)
{
    qDeleteAll(qApp->findChildren<QTranslator*>());
    UseLanguage(look.language);
    if (look.theme == "desktop") {
        QApplication::setPalette(QApplication::style()->standardPalette());
    } else {
        UseTheme(look.theme);
    }
}

/** A player with its window. */
class WindowStage : public PlayerStage
{
public:
    explicit WindowStage(const QStringList& options = {}, bool hasDevice = true)
        : PlayerStage(options, hasDevice),
          window(*player)
    {
        window.show();
        window.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&window));
    }

    template <typename Widget>
    Widget* Find(const char* name) const
    {
        return window.findChild<Widget*>(QLatin1String(name));
    }

    void Click(const char* button) { QTest::mouseClick(Find<QWidget>(button), Qt::LeftButton); }

    /** Whether the sentence is shown, now or soon, and stays. */
    bool Says(const QString& sentence)
    {
        const QLabel* const label = Find<QLabel>("sentence");
        const auto isSaid = [&] { return label->text() == sentence; };
        const bool isDone = QTest::qWaitFor(isSaid, kPatience) && Settle() && isSaid();
        if (!isDone) {
            qWarning("expected \"%s\", found \"%s\"", qPrintable(sentence), qPrintable(label->text()));
        }
        return isDone;
    }

    /** Keeps what is seen as player-NAME-LANGUAGE-THEME.png. */
    bool KeepAs(const QString& name)
    {
        QCoreApplication::sendPostedEvents(); // that ask for another layout
        return Keep(window.grab().toImage(),
                    QStringLiteral("player-%1-%2").arg(name, QTest::currentDataTag()));
    }

    PlayerWindow window;
};

} // namespace KivTest

#endif // KIV_TESTS_WINDOWSTAGE_H
