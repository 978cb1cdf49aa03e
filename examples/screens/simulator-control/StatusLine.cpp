// SPDX-License-Identifier: MIT
#include "StatusLine.h"

#include <QAccessible>
#include <QStyle>

StatusLine::StatusLine()
{
    setObjectName("status");
    setWordWrap(true);
    setTextFormat(Qt::PlainText);
    setAlignment(Qt::AlignLeft | Qt::AlignTop);
    setTextInteractionFlags(Qt::TextSelectableByMouse);
    ensurePolished();
    setMinimumHeight(2 * fontMetrics().lineSpacing()); // what is above it stays where it is
}

void StatusLine::ShowSuccess(const QString& text)
{
    Show(text, "calm");
}

void StatusLine::ShowFailure(const QString& text)
{
    Show(text, "bad");
}

void StatusLine::Show(const QString& text, const char* tone)
{
    SetTone(this, tone);
    setText(text);
    setToolTip(text);
    QAccessibleEvent alert(this, QAccessible::Alert);
    QAccessible::updateAccessibility(&alert);
}

void SetTone(QWidget* widget, const char* tone)
{
    widget->setProperty("tone", tone);
    widget->style()->unpolish(widget);
    widget->style()->polish(widget);
}
