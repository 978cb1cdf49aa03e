// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_WIDGETDESIGN_H
#define KIV_TESTS_WIDGETDESIGN_H

#include "Contrast.h"

#include <QAbstractButton>
#include <QColor>
#include <QHash>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QList>
#include <QString>
#include <QStringList>
#include <QStyle>
#include <QStyleOptionButton>
#include <QWidget>

#include <algorithm>

namespace KivTest {

/** The text that a widget shows itself; empty when it shows none. */
inline QString ShownText(const QWidget* widget)
{
    if (const auto* const label = qobject_cast<const QLabel*>(widget)) {
        return label->text();
    }
    if (const auto* const button = qobject_cast<const QAbstractButton*>(widget)) {
        return button->text();
    }
    if (const auto* const line = qobject_cast<const QLineEdit*>(widget)) {
        return line->text().isEmpty() ? line->placeholderText() : line->text();
    }
    return QString();
}

/** The visible widgets of a window that show a text. */
inline QList<QWidget*> TextWidgets(const QWidget* window)
{
    QList<QWidget*> found;
    for (QWidget* const widget : window->findChildren<QWidget*>()) {
        if (widget->isVisible() && !ShownText(widget).isEmpty()) {
            found.append(widget);
        }
    }
    return found;
}

/** Whether a widget has the room that its text needs. */
inline bool HasRoom(const QWidget* widget)
{
    const auto* const label = qobject_cast<const QLabel*>(widget);
    if (label && label->wordWrap()) {
        const QRect needed = label->fontMetrics().boundingRect(
            QRect(0, 0, label->contentsRect().width(), 1000), Qt::TextWordWrap, label->text());
        return needed.width() <= label->contentsRect().width() &&
               needed.height() <= label->contentsRect().height();
    }
    const QSize needed = qobject_cast<const QLineEdit*>(widget)
                             ? QSize(widget->fontMetrics().horizontalAdvance(ShownText(widget)) + 20, 0)
                             : widget->sizeHint();
    const QRect window = widget->window()->rect();
    const QRect place(widget->mapTo(widget->window(), QPoint()), widget->size());
    return widget->width() >= needed.width() && widget->height() >= needed.height() && window.contains(place);
}

/** The contrast of a text as it is painted: of the commonest colour inside the widget and the one farthest from it. */
inline double PaintedContrast(QWidget* widget)
{
    constexpr int frame = 4;
    const QImage window = widget->window()->grab().toImage();
    const QRect place(widget->mapTo(widget->window(), QPoint()), widget->size());
    QHash<QRgb, int> colours;
    for (int y = place.top() + frame; y <= place.bottom() - frame; ++y) {
        for (int x = place.left(); x <= place.right(); ++x) {
            const bool isFrame = x < place.left() + frame || x > place.right() - frame;
            colours[window.pixel(x, y)] += isFrame && !qobject_cast<QLabel*>(widget) ? 0 : 1;
        }
    }
    const auto commonest = std::max_element(colours.cbegin(), colours.cend());
    double contrast = 1;
    for (auto colour = colours.cbegin(); colour != colours.cend(); ++colour) {
        contrast = std::max(contrast, colour.value() == 0 ? 1 : Contrast(commonest.key(), colour.key()));
    }
    return contrast;
}

} // namespace KivTest

#endif // KIV_TESTS_WIDGETDESIGN_H
