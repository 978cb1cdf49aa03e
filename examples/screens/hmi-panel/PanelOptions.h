// SPDX-License-Identifier: MIT
#ifndef HMI_PANEL_PANELOPTIONS_H
#define HMI_PANEL_PANELOPTIONS_H

#include <QSize>
#include <QString>
#include <QStringList>

/** What the command line says. */
struct PanelOptions
{
    QSize size{1280, 480};
    bool isNight = false;
    bool isFullScreen = false;
    QString language;    ///< "en" or "de"
    QString destination; ///< empty: all
    QString mode;        ///< what is asked for at first; empty: nothing
    bool isHelp = false;
    bool isVersion = false;
    QString error; ///< what is wrong, and what was expected; empty when nothing is.

    /** @param arguments without the program's name. */
    static PanelOptions FromArguments(const QStringList& arguments);

    /** The answer to --help. */
    static QString Help();
};

#endif // HMI_PANEL_PANELOPTIONS_H
