// SPDX-License-Identifier: MIT
#include "PanelUnderLoad.h"

#include <QGuiApplication>
#include <QMouseEvent>

#include <algorithm>

namespace KivBenchmark {

namespace {

void Collect(const QQuickItem* root, const char* name, QVector<QQuickItem*>& found)
{
    for (QQuickItem* const child : root->childItems()) {
        if (!child->isVisible()) {
            continue;
        }
        if (child->objectName() == QLatin1String(name)) {
            found.append(child);
        }
        Collect(child, name, found);
    }
}

/** The part of an item that no ancestor cuts off, in the scene. */
QRectF ShownPart(const QQuickItem* item)
{
    QRectF shown = item->mapRectToScene(item->boundingRect());
    for (const QQuickItem* each = item->parentItem(); each != nullptr; each = each->parentItem()) {
        if (each->clip() || each->parentItem() == nullptr) {
            shown &= each->mapRectToScene(each->boundingRect());
        }
    }
    return shown;
}

bool IsWhole(const QQuickItem* item)
{
    return ShownPart(item) == item->mapRectToScene(item->boundingRect());
}

} // namespace

PanelUnderLoad::PanelUnderLoad(const PanelOptions& options)
    : m_Engine(options)
{
    if (!m_Engine.Load()) {
        qFatal("the panel cannot be loaded");
    }
    QObject::connect(Model("feed"), &QAbstractItemModel::rowsInserted, Window(),
                     [this](const QModelIndex&, int first, int last) { m_Rows += last - first + 1; });
}

QAbstractItemModel* PanelUnderLoad::Model(const char* name) const
{
    return qobject_cast<QAbstractItemModel*>(Window()->property(name).value<QObject*>());
}

QVector<QQuickItem*> PanelUnderLoad::Tiles() const
{
    QVector<QQuickItem*> tiles = Items("tile");
    tiles.erase(std::remove_if(tiles.begin(), tiles.end(), [](QQuickItem* tile) { return !IsWhole(tile); }),
                tiles.end());
    std::sort(tiles.begin(), tiles.end(), [](QQuickItem* one, QQuickItem* other) {
        return one->property("index").toInt() < other->property("index").toInt();
    });
    return tiles;
}

void PanelUnderLoad::Tap(QQuickItem* item) const
{
    const QPointF place = item->mapToScene(item->boundingRect().center());
    QMouseEvent press(QEvent::MouseButtonPress, place, Qt::LeftButton, Qt::LeftButton, {});
    QMouseEvent release(QEvent::MouseButtonRelease, place, Qt::LeftButton, {}, {});
    QCoreApplication::sendEvent(Window(), &press);
    QCoreApplication::sendEvent(Window(), &release);
}

QStringList PanelUnderLoad::ActiveTiles() const
{
    QStringList names;
    for (const QQuickItem* const tile : Tiles()) {
        QVector<QQuickItem*> marks;
        Collect(tile, "activeMark", marks);
        if (!marks.isEmpty()) {
            names.append(tile->property("name").toString());
        }
    }
    return names;
}

QString PanelUnderLoad::TopRow() const
{
    const QVector<QQuickItem*> rows = Items("focusRow");
    const auto top =
        std::min_element(rows.begin(), rows.end(), [](const QQuickItem* one, const QQuickItem* other) {
            return one->mapToScene({}).y() < other->mapToScene({}).y();
        });
    return top == rows.end() ? QString() : (*top)->property("streamName").toString();
}

QVector<QQuickItem*> PanelUnderLoad::Items(const char* name) const
{
    QVector<QQuickItem*> found;
    Collect(Window()->contentItem(), name, found);
    return found;
}

} // namespace KivBenchmark
