// SPDX-License-Identifier: MIT
#include "TimeSlider.h"

#include "Theme.h"

#include <QMouseEvent>
#include <QPainter>
#include <QSignalBlocker>
#include <QStyle>

namespace {

constexpr int kStep = 5000;      // ms: the arrow keys
constexpr int kPageStep = 30000; // ms
constexpr int kHandle = 8;       // its radius
constexpr int kGroove = 5;       // its height
constexpr int kShortest = 120;

} // namespace

TimeSlider::TimeSlider(QWidget* parent)
    : QSlider(Qt::Horizontal, parent)
{
    setTracking(false); // it goes there when it is let go
    setSingleStep(kStep);
    setPageStep(kPageStep);
    setFocusPolicy(Qt::StrongFocus);
}

void TimeSlider::Show(qint64 position, qint64 duration)
{
    if (isSliderDown()) {
        return;
    }
    const QSignalBlocker blocker(this);
    setMaximum(int(duration));
    setValue(int(position));
    update();
}

QSize TimeSlider::sizeHint() const
{
    return minimumSizeHint();
}

QSize TimeSlider::minimumSizeHint() const
{
    return {kShortest, Theme::kTouchTarget};
}

void TimeSlider::mousePressEvent(QMouseEvent* event)
{
    setSliderDown(true);
    setSliderPosition(ValueAt(event->x()));
}

void TimeSlider::mouseMoveEvent(QMouseEvent* event)
{
    setSliderPosition(ValueAt(event->x()));
}

void TimeSlider::mouseReleaseEvent(QMouseEvent*)
{
    setSliderDown(false);
}

void TimeSlider::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    const int width = this->width() - 2 * kHandle;
    const int done = QStyle::sliderPositionFromValue(minimum(), maximum(), sliderPosition(), width);
    const QRectF groove(kHandle, (height() - kGroove) / 2.0, width, kGroove);
    const QColor accent = palette().color(QPalette::Highlight);
    painter.setBrush(Theme::Faint(palette()));
    painter.drawRoundedRect(groove, kGroove / 2.0, kGroove / 2.0);
    painter.setBrush(accent);
    painter.drawRoundedRect(QRectF(groove.topLeft(), QSizeF(done, kGroove)), kGroove / 2.0, kGroove / 2.0);
    const QPointF center(kHandle + done, height() / 2.0);
    painter.drawEllipse(center, kHandle - 1, kHandle - 1);
    if (hasFocus()) {
        painter.setPen(QPen(accent, 2));
        painter.setBrush(palette().color(QPalette::Window));
        painter.drawEllipse(center, kHandle - 1, kHandle - 1);
    }
}

int TimeSlider::ValueAt(int x) const
{
    return QStyle::sliderValueFromPosition(minimum(), maximum(), x - kHandle, width() - 2 * kHandle);
}
