// SPDX-License-Identifier: MIT
#include "RoundButton.h"

#include "Theme.h"

#include <QKeyEvent>

namespace {

constexpr int kRing = 4;         // around the face, for the ring that shows the keyboard's focus
constexpr double kMargin = 0.23; // around the sign, as a part of the face
constexpr int kHoverShade = 108;
constexpr int kDownShade = 125;

} // namespace

RoundButton::RoundButton(int diameter, bool isPrimary, QWidget* parent)
    : QPushButton(parent),
      m_Diameter(diameter),
      m_IsPrimary(isPrimary)
{
    setFixedSize(sizeHint());
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_Hover);
    setCursor(Qt::PointingHandCursor);
}

void RoundButton::SetAction(Icon icon, const QString& text, const QString& keys)
{
    m_Icon = icon;
    setAccessibleName(text);
    setToolTip(QStringLiteral("%1 (%2)").arg(text, keys));
    update();
}

void RoundButton::SetDimmed(bool isDimmed, const QString& description)
{
    m_IsDimmed = isDimmed;
    setAccessibleDescription(description);
    update();
}

QSize RoundButton::sizeHint() const
{
    return {m_Diameter + 2 * kRing, m_Diameter + 2 * kRing};
}

// The space bar presses the button that has the keyboard's focus, also where it is a shortcut of the window.
bool RoundButton::event(QEvent* event)
{
    if (event->type() == QEvent::ShortcutOverride && static_cast<QKeyEvent*>(event)->key() == Qt::Key_Space) {
        event->accept();
        return true;
    }
    return QPushButton::event(event);
}

bool RoundButton::hitButton(const QPoint& position) const
{
    return rect().contains(position);
}

void RoundButton::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF face = QRectF(rect()).adjusted(kRing, kRing, -kRing, -kRing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Face());
    painter.drawEllipse(face);
    if (hasFocus()) {
        painter.setPen(QPen(palette().color(QPalette::Highlight), 2));
        painter.setBrush(Qt::NoBrush);
        painter.drawEllipse(QRectF(rect()).adjusted(1, 1, -1, -1));
    }
    const double margin = face.width() * kMargin;
    Draw(painter, m_Icon, face.adjusted(margin, margin, -margin, -margin), Sign());
}

QColor RoundButton::Face() const
{
    const bool isAccented = m_IsPrimary && !m_IsDimmed;
    const QColor color = isAccented ? palette().color(QPalette::Highlight) : Theme::Surface(palette());
    if (isDown()) {
        return color.darker(kDownShade);
    }
    return underMouse() ? color.darker(kHoverShade) : color;
}

QColor RoundButton::Sign() const
{
    if (m_IsDimmed) {
        return Theme::Secondary(palette());
    }
    return palette().color(m_IsPrimary ? QPalette::HighlightedText : QPalette::WindowText);
}
