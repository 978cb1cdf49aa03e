// SPDX-License-Identifier: MIT
#ifndef OPTIONS_H
#define OPTIONS_H

#include <QString>
#include <QStringList>

#include <optional>

/** What the program was started with. */
struct Options
{
    QString file; ///< empty: the generated melody
    QString name;
    QString type;
    QString destination;
    QString language; ///< "en" or "de"
    QString theme;    ///< "day", "night"; empty: that of the desktop
    bool isTransient = false;
};

/**
 * Reads the arguments of the program, the first of which is its name. Ends the program for --help and --version.
 *
 * @param error what was wrong, and what was expected.
 */
std::optional<Options> ReadOptions(const QStringList& arguments, QString& error);

#endif // OPTIONS_H
