// SPDX-License-Identifier: MIT
#include "Icons.h"

#include <QPainterPath>

namespace {

constexpr double kGrid = 24; // all coordinates below
constexpr double kLine = 2;

/** A path, to be filled or drawn as lines. */
struct Drawing
{
    QPainterPath path;
    bool isFilled = true;
};

QPainterPath Polygon(const QVector<QPointF>& points)
{
    QPainterPath path;
    path.addPolygon(points);
    path.closeSubpath();
    return path;
}

Drawing Triangle(bool isFilled)
{
    return {Polygon({{7, 4.5}, {19.5, 12}, {7, 19.5}}), isFilled};
}

Drawing Bars()
{
    QPainterPath path;
    path.addRoundedRect(6, 5, 4.5, 14, 1, 1);
    path.addRoundedRect(13.5, 5, 4.5, 14, 1, 1);
    return {path};
}

Drawing Square()
{
    QPainterPath path;
    path.addRoundedRect(6, 6, 12, 12, 1.5, 1.5);
    return {path};
}

Drawing Folder()
{
    return {Polygon({{3.5, 6}, {9, 6}, {11, 8.5}, {20.5, 8.5}, {20.5, 18.5}, {3.5, 18.5}}), false};
}

Drawing Dots()
{
    QPainterPath path;
    for (const double x : {5.0, 12.0, 19.0}) {
        path.addEllipse(QPointF(x, 12), 2.2, 2.2);
    }
    return {path};
}

Drawing Clock()
{
    QPainterPath path;
    path.addEllipse(QPointF(12, 12), 8.5, 8.5);
    path.moveTo(12, 7);
    path.lineTo(12, 12.5);
    path.lineTo(15.5, 14.5);
    return {path, false};
}

Drawing Exclamation()
{
    QPainterPath path = Polygon({{12, 3.5}, {21, 20}, {3, 20}});
    path.moveTo(12, 9.5);
    path.lineTo(12, 14);
    path.moveTo(12, 16.9);
    path.lineTo(12, 17);
    return {path, false};
}

Drawing DrawingOf(Icon icon)
{
    switch (icon) {
    case Icon::Play:
        return Triangle(true);
    case Icon::PlayOutlined:
        return Triangle(false);
    case Icon::Pause:
        return Bars();
    case Icon::Stop:
        return Square();
    case Icon::Open:
        return Folder();
    case Icon::Dots:
        return Dots();
    case Icon::Clock:
        return Clock();
    case Icon::Warning:
        return Exclamation();
    }
    return {};
}

} // namespace

void Draw(QPainter& painter, Icon icon, const QRectF& place, const QColor& color)
{
    const Drawing drawing = DrawingOf(icon);
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(place.topLeft());
    painter.scale(place.width() / kGrid, place.height() / kGrid);
    // The line rounds the corners of what is filled.
    painter.setPen(QPen(color, drawing.isFilled ? 1 : kLine, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.setBrush(drawing.isFilled ? QBrush(color) : QBrush());
    painter.drawPath(drawing.path);
    painter.restore();
}
