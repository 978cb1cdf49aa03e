// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_PANELSTAGE_H
#define KIV_TESTS_PANELSTAGE_H

#include "PanelEngine.h"
#include "Picture.h"
#include "PrivateBus.h"
#include "ScreenLog.h"
#include "ScreenStage.h"

#include <QAbstractItemModel>
#include <QGuiApplication>
#include <QQuickItem>
#include <QScreen>
#include <QTest>
#include <QTouchDevice>

#include <algorithm>

namespace KivTest {

/** How the panel is looked at. */
struct View
{
    QSize size;
    bool isNight;
    QString language;

    QString Name() const
    {
        return QStringLiteral("%1x%2-%3-%4")
            .arg(size.width())
            .arg(size.height())
            .arg(isNight ? QStringLiteral("night") : QStringLiteral("day"), language);
    }
};

/** Every combination of the two sizes, the two themes and the two languages. */
inline QVector<View> AllViews()
{
    QVector<View> views;
    for (const QSize& size : {QSize(1280, 480), QSize(480, 800)}) {
        for (const bool isNight : {false, true}) {
            for (const char* const language : {"en", "de"}) {
                views.append({size, isNight, QString::fromLatin1(language)});
            }
        }
    }
    return views;
}

/** Whether an item and all those around it are to be seen. */
inline bool IsShown(const QQuickItem* item)
{
    return item->isVisible() && item->width() > 0 && item->height() > 0;
}

/** Whether an item is what a list keeps for later, and does not paint. */
inline bool IsSpare(QQuickItem* item)
{
    QQuickItem* const view = item->parentItem()->parentItem();
    if (view == nullptr || !view->inherits("QQuickItemView") || !item->property("index").isValid()) {
        return false;
    }
    QQuickItem* shown = nullptr;
    QMetaObject::invokeMethod(view, "itemAtIndex", Q_RETURN_ARG(QQuickItem*, shown),
                              Q_ARG(int, item->property("index").toInt()));
    return shown != item;
}

/** All items below one that are shown, parents first. */
inline void AppendShown(QQuickItem* root, QList<QQuickItem*>& items)
{
    for (QQuickItem* const child : root->childItems()) {
        if (child->isVisible() && !IsSpare(child) && (IsShown(child) || !child->childItems().isEmpty())) {
            items.append(child);
            AppendShown(child, items);
        }
    }
}

/** Whether something below an item comes or goes, also what a list has given up already. */
inline bool HasFading(const QQuickItem* root)
{
    if (root->inherits("QQuickScrollIndicator") || root->inherits("QQuickScrollBar")) {
        return false;
    }
    const QList<QQuickItem*> items = root->childItems();
    return std::any_of(items.cbegin(), items.cend(), [](const QQuickItem* item) {
        const bool isFading = item->opacity() > 0 && item->opacity() < 1;
        return item->isVisible() &&
               ((isFading && item->objectName() != QLatin1String("waitingDot")) || HasFading(item));
    });
}

/** The panel in this process, beside the simulator. Input goes to it as events of its window. */
class PanelStage
{
public:
    explicit PanelStage(const PanelOptions& options = {}, const QStringList& simulator = {})
        : service(simulator),
          m_Engine(options)
    {
        if (!m_Engine.Load()) {
            qFatal("the panel cannot be loaded");
        }
        if (!QTest::qWaitForWindowExposed(Window(), kPatience)) {
            qFatal("the panel is not shown");
        }
    }

    QQuickWindow* Window() const { return m_Engine.Window(); }

    QObject* Model(const char* property) const { return Window()->property(property).value<QObject*>(); }

    /** A property of the model of the modes. */
    QString Modes(const char* property) const { return Model("modes")->property(property).toString(); }

    /** The items that are shown, in painting order of their parents. */
    QList<QQuickItem*> Items() const
    {
        QList<QQuickItem*> items;
        AppendShown(Window()->contentItem(), items);
        return items;
    }

    /** The shown items of a name. */
    QList<QQuickItem*> Items(const char* name) const
    {
        QList<QQuickItem*> named;
        for (QQuickItem* const item : Items()) {
            if (item->objectName() == QLatin1String(name)) {
                named.append(item);
            }
        }
        return named;
    }

    /** The first shown item of a name; null when there is none. */
    QQuickItem* Item(const char* name) const { return Items(name).value(0); }

    /** The text that an item shows; null when it does not. */
    QString Text(const char* name) const
    {
        const QQuickItem* const item = Item(name);
        return item == nullptr ? QString() : item->property("text").toString();
    }

    /** The texts of all shown items of a name. */
    QStringList Texts(const char* name) const
    {
        QStringList texts;
        for (const QQuickItem* const item : Items(name)) {
            texts.append(item->property("text").toString());
        }
        return texts;
    }

    /** The tiles that are to be seen, each as "name", with "*" when it is on and "?" when it waits. */
    QStringList Tiles() const
    {
        QMap<int, QString> tiles;
        for (const QQuickItem* const tile : Items("tile")) {
            const bool isActive = tile->findChild<QQuickItem*>("activeMark")->isVisible();
            const bool isPending = tile->findChild<QQuickItem*>("pendingMark")->isVisible();
            tiles.insert(tile->property("index").toInt(),
                         tile->property("name").toString() + (isActive ? "*" : "") + (isPending ? "?" : ""));
        }
        return tiles.values();
    }

    QQuickItem* Tile(const QString& name) const
    {
        for (QQuickItem* const tile : Items("tile")) {
            if (tile->property("name").toString() == name) {
                return tile;
            }
        }
        return nullptr;
    }

    /** The rows of the feed, the first one first: "who: what". */
    QStringList Feed() const
    {
        QMap<qreal, QString> rows;
        for (const QQuickItem* const row : Items("focusRow")) {
            rows.insert(row->y(),
                        row->findChild<QQuickItem*>("streamName")->property("text").toString() + ": " +
                            row->findChild<QQuickItem*>("focusSentence")->property("text").toString());
        }
        return rows.values();
    }

    static QPoint Centre(const QQuickItem* item)
    {
        return item->mapToScene(QPointF(item->width() / 2, item->height() / 2)).toPoint();
    }

    void Click(const QQuickItem* item) { QTest::mouseClick(Window(), Qt::LeftButton, {}, Centre(item)); }

    void Touch(const QQuickItem* item)
    {
        static QTouchDevice* const device = QTest::createTouchDevice();
        QTest::touchEvent(Window(), device).press(0, Centre(item), Window());
        QTest::touchEvent(Window(), device).release(0, Centre(item), Window());
    }

    void Key(Qt::Key key) { QTest::keyClick(Window(), key); }

    /** The name of the item that has the keyboard. */
    QString Focused() const
    {
        const QQuickItem* const item = Window()->activeFocusItem();
        return item == nullptr ? QString() : item->objectName();
    }

    /** Waits until all is painted, and nothing moves or fades any more, but for the dots of what waits. */
    bool Settle()
    {
        QString last;
        int same = 0;
        const auto look = [&] {
            const QString now = Look();
            same = now == last && !IsFading() ? same + 1 : 0;
            last = now;
            Window()->update();
        };
        const auto connection = QObject::connect(Window(), &QQuickWindow::frameSwapped, look);
        Window()->update();
        const bool isSettled = QTest::qWaitFor([&] { return same > 1 && Look() == last; }, kPatience);
        QObject::disconnect(connection);
        return isSettled;
    }

    void Show(const View& view)
    {
        Window()->resize(view.size);
        m_Engine.SetLanguage(view.language);
        QVERIFY(Settle());
        if (IsNight() != view.isNight) {
            Click(Item("themeButton"));
            QVERIFY(Settle());
        }
        QCOMPARE(IsNight(), view.isNight);
    }

    bool IsNight() const { return Window()->color().lightness() < 128; }

    /** What stands on the screen: the offscreen platform cannot grab a window of the software renderer. */
    QImage Grab() const { return Window()->screen()->grabWindow(Window()->winId()).toImage(); }

    ScreenStage service;

private:
    /** Whether something comes or goes; not the dots, and not what shows how far a list is scrolled. */
    bool IsFading() const
    {
        const QList<QQuickItem*> items = Items();
        const bool isComing = std::any_of(items.cbegin(), items.cend(), [](const QQuickItem* item) {
            return item->opacity() == 0 && !item->parentItem()->inherits("QQuickScrollIndicator") &&
                   !item->parentItem()->inherits("QQuickScrollBar");
        });
        return isComing || HasFading(Window()->contentItem());
    }

    /** Where everything is, and in which colour. */
    QString Look() const
    {
        QString text;
        for (const QQuickItem* const item : Items()) {
            const QPointF place = item->mapToScene({});
            const bool isDot = item->objectName() == "waitingDot";
            text += QStringLiteral("%1 %2 %3 %4 %5 %6\n")
                        .arg(place.x())
                        .arg(place.y())
                        .arg(item->width())
                        .arg(item->height())
                        .arg(isDot ? 0 : item->opacity())
                        .arg(item->property("color").toString());
        }
        return text;
    }

    PanelEngine m_Engine;
};

} // namespace KivTest

/** The main function of a test of the panel, with a bus of its own, whose limits may be empty. */
#define KIV_PANEL_TEST_MAIN(TestClass, limits)                                                               \
    int main(int argc, char** argv)                                                                          \
    {                                                                                                        \
        const KivTest::PrivateBus bus(QStringLiteral(limits));                                               \
        QCoreApplication::setApplicationName("hmi-panel");                                                   \
        const QGuiApplication application(argc, argv);                                                       \
        TestClass test;                                                                                      \
        return QTest::qExec(&test, argc, argv);                                                              \
    }

#endif // KIV_TESTS_PANELSTAGE_H
