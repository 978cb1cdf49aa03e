// SPDX-License-Identifier: MIT
#ifndef ICONS_H
#define ICONS_H

#include <QColor>
#include <QPainter>
#include <QRectF>

/** Signs that are drawn here: they need no theme, no plug-in, and are sharp in every size. */
enum class Icon
{
    Play,
    PlayOutlined,
    Pause,
    Stop,
    Open,
    Dots,
    Clock,
    Warning
};

/** Draws a sign in a square. */
void Draw(QPainter& painter, Icon icon, const QRectF& place, const QColor& color);

#endif // ICONS_H
