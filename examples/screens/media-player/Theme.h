// SPDX-License-Identifier: MIT
#ifndef THEME_H
#define THEME_H

#include <QPalette>

/** Colours and measures of the player's window. All colours follow from a palette. */
namespace Theme {

constexpr int kWindowWidth = 440;
constexpr int kMargin = 20;
constexpr int kSpacing = 12;
constexpr int kTouchTarget = 48; ///< nothing that can be pressed is smaller
constexpr int kSmallButton = 52;
constexpr int kLargeButton = 72;
constexpr double kRadius = 12; ///< of the corners of cards

/** Dark on light. */
QPalette Day();

/** Light on dark. */
QPalette Night();

/** Of text that is less important; it can be read all the same. */
QColor Secondary(const QPalette& palette);

/** Of signs that warn. */
QColor Warning(const QPalette& palette);

/** Of what can be pressed, and of pictures: near the window's, but not the same. */
QColor Surface(const QPalette& palette);

/** Of lines and grooves that only separate. */
QColor Faint(const QPalette& palette);

} // namespace Theme

#endif // THEME_H
