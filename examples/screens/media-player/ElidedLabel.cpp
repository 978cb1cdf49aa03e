// SPDX-License-Identifier: MIT
#include "ElidedLabel.h"

ElidedLabel::ElidedLabel(QWidget* parent)
    : QLabel(parent)
{
    setTextFormat(Qt::PlainText);
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
}

void ElidedLabel::SetWhole(const QString& text)
{
    m_Whole = text;
    setToolTip(text);
    setAccessibleName(text);
    Fit();
}

void ElidedLabel::resizeEvent(QResizeEvent* event)
{
    QLabel::resizeEvent(event);
    Fit();
}

void ElidedLabel::Fit()
{
    setText(fontMetrics().elidedText(m_Whole, Qt::ElideMiddle, width()));
}
