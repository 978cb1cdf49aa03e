// SPDX-License-Identifier: MIT
#ifndef THEME_H
#define THEME_H

/** How the program looks. */
enum class Theme
{
    Day,  ///< dark on light
    Night ///< light on dark
};

/** Gives all windows of the program a look, those that are made from now on. */
void Apply(Theme theme);

#endif // THEME_H
