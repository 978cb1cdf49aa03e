// SPDX-License-Identifier: MIT
#ifndef PARTS_H
#define PARTS_H

#include <QList>
#include <QString>

class QHBoxLayout;
class QLabel;
class QPushButton;

/** Distances between what is in the window, in pixels. */
namespace Space {

constexpr int gap = 8;      ///< within a group
constexpr int padding = 12; ///< between a group's edge and what is in it
constexpr int margin = 16;  ///< between groups, and around them

} // namespace Space

/** A button. @param purpose what it does, in full: its tool tip, and its name for assistive technology. */
QPushButton* MakeButton(const QString& objectName, const QString& text, const QString& purpose);

/** The text above a group, or in front of a row. */
QLabel* MakeHeading(const QString& text);

/** Buttons beside each other, equally wide. */
QHBoxLayout* MakeRow(const QList<QPushButton*>& buttons);

#endif // PARTS_H
