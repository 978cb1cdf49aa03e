// SPDX-License-Identifier: MIT
#ifndef SETTINGS_H
#define SETTINGS_H

#include "Theme.h"

#include <QString>
#include <QStringList>

/** What the command line says. */
struct Settings
{
    Theme theme = Theme::Day;
    QString language; ///< "en" or "de"
    QString answer;   ///< to --help or --version: printed, and nothing else is done
    QString error;    ///< what is wrong with the command line; empty when nothing is

    /** @param arguments those of the program, its own name first. */
    static Settings Read(const QStringList& arguments);
};

#endif // SETTINGS_H
