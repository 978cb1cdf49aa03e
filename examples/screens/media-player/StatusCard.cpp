// SPDX-License-Identifier: MIT
#include "StatusCard.h"

#include "Icons.h"
#include "Theme.h"

#include <QEvent>
#include <QPainter>
#include <QVBoxLayout>

namespace {

constexpr int kPadding = 12;
constexpr int kSign = 22;
constexpr int kColumns = 35; // so many letters, and so many lines, hold all that is said, in every font
constexpr int kLines = 3;

Icon IconOf(Marker marker)
{
    switch (marker) {
    case Marker::Sounding:
        return Icon::Play;
    case Marker::Silent:
        return Icon::PlayOutlined;
    case Marker::Waiting:
        return Icon::Dots;
    case Marker::Interrupted:
        return Icon::Clock;
    case Marker::Paused:
        return Icon::Pause;
    case Marker::Stopped:
        return Icon::Stop;
    case Marker::Warning:
        return Icon::Warning;
    }
    return Icon::Warning;
}

QColor ColorOf(Marker marker, const QPalette& palette)
{
    if (marker == Marker::Warning) {
        return Theme::Warning(palette);
    }
    const bool isActive = marker == Marker::Sounding || marker == Marker::Silent;
    return isActive ? palette.color(QPalette::Highlight) : Theme::Secondary(palette);
}

} // namespace

StatusCard::StatusCard(QWidget* parent)
    : QFrame(parent)
{
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(2 * kPadding + kSign, kPadding, kPadding, kPadding);
    layout->setSpacing(2);
    layout->addStretch();
    layout->addWidget(&m_Sentence);
    layout->addWidget(&m_Detail);
    layout->addStretch();
    m_Sentence.setObjectName(QStringLiteral("sentence"));
    m_Detail.setObjectName(QStringLiteral("detail"));
    QFont bold = font();
    bold.setBold(true);
    m_Sentence.setFont(bold);
    for (QLabel* const label : {&m_Sentence, &m_Detail}) {
        label->setWordWrap(true);
        label->setTextFormat(Qt::PlainText);
    }
    // The card does not jump when its text changes.
    const int line = m_Sentence.fontMetrics().lineSpacing() + layout->spacing();
    const int letter = m_Sentence.fontMetrics().averageCharWidth();
    const QMargins margins = layout->contentsMargins();
    setMinimumSize(kColumns * letter + margins.left() + margins.right(), kLines * line + 2 * kPadding);
    ApplyColors();
}

void StatusCard::Show(const Status& status, const QString& complaint)
{
    m_HasComplaint = !complaint.isEmpty();
    m_Marker = m_HasComplaint ? Marker::Warning : status.marker;
    m_Sentence.setText(status.sentence);
    m_Detail.setText(m_HasComplaint ? complaint : status.detail);
    setAccessibleName(m_Sentence.text() + QLatin1Char(' ') + m_Detail.text());
    ApplyColors();
    update();
}

void StatusCard::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(palette().color(QPalette::Base));
    painter.drawRoundedRect(rect(), Theme::kRadius, Theme::kRadius);
    const int top =
        m_Sentence.y() + (m_Sentence.fontMetrics().lineSpacing() - kSign) / 2; // beside the first line
    Draw(painter, IconOf(m_Marker), QRectF(kPadding, top, kSign, kSign), ColorOf(m_Marker, palette()));
}

void StatusCard::changeEvent(QEvent* event)
{
    QFrame::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) {
        ApplyColors();
    }
}

void StatusCard::ApplyColors()
{
    QPalette colors = palette();
    colors.setColor(QPalette::WindowText,
                    m_HasComplaint ? Theme::Warning(palette()) : Theme::Secondary(palette()));
    m_Detail.setPalette(colors);
}
