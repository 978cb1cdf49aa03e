// SPDX-License-Identifier: MIT
#include "Parts.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVariant>

QPushButton* MakeButton(const QString& objectName, const QString& text, const QString& purpose)
{
    auto* const button = new QPushButton(text);
    button->setObjectName(objectName);
    button->setAccessibleName(purpose);
    button->setToolTip(purpose);
    button->setAutoDefault(true); // Enter presses it, as the space bar does
    return button;
}

QLabel* MakeHeading(const QString& text)
{
    auto* const heading = new QLabel(text);
    heading->setProperty("part", "heading");
    heading->setAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    return heading;
}

QHBoxLayout* MakeRow(const QList<QPushButton*>& buttons)
{
    auto* const row = new QHBoxLayout;
    row->setSpacing(Space::gap);
    for (QPushButton* const button : buttons) {
        row->addWidget(button, 1);
    }
    return row;
}
