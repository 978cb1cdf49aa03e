// SPDX-License-Identifier: MIT
#include "LevelView.h"

#include "Theme.h"

#include <QPainter>

#include <cmath>

namespace {

constexpr int kSize = 72;
constexpr int kBars = 5;
constexpr double kBarWidth = 6;
constexpr double kGap = 4;
constexpr double kHighest = 36;

} // namespace

LevelView::LevelView(QWidget* parent)
    : QWidget(parent)
{
    setFixedSize(kSize, kSize);
}

void LevelView::Show(qint64 position, bool isSounding)
{
    m_Position = position;
    m_IsSounding = isSounding;
    update();
}

void LevelView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(m_IsSounding ? palette().color(QPalette::Highlight) : Theme::Surface(palette()));
    painter.drawRoundedRect(rect(), Theme::kRadius, Theme::kRadius);
    painter.setBrush(palette().color(m_IsSounding ? QPalette::HighlightedText : QPalette::WindowText));
    double x = (kSize - kBars * kBarWidth - (kBars - 1) * kGap) / 2;
    for (int bar = 0; bar < kBars; ++bar, x += kBarWidth + kGap) {
        const double height = qMax(kBarWidth, kHighest * Level(bar));
        painter.drawRoundedRect(QRectF(x, (kSize - height) / 2, kBarWidth, height), kBarWidth / 2,
                                kBarWidth / 2);
    }
}

// Not what is heard, but as lively, and the same at the same position.
double LevelView::Level(int bar) const
{
    if (!m_IsSounding) {
        return 0;
    }
    const double seconds = double(m_Position) / 1000;
    return 0.55 + 0.25 * std::sin(7 * seconds + 1.9 * bar) + 0.2 * std::sin(11 * seconds + 4.1 * bar);
}
