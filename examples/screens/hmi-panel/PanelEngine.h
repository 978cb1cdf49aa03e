// SPDX-License-Identifier: MIT
#ifndef HMI_PANEL_PANELENGINE_H
#define HMI_PANEL_PANELENGINE_H

#include "PanelOptions.h"

#include <QQmlApplicationEngine>
#include <QQuickWindow>
#include <QTranslator>

/** Makes what the program's QML files need known: the files themselves, and the types of HmiPanel 1.0. */
void InitPanelResource();

/** The panel: its screen in the language, theme and size that the options ask for. */
class PanelEngine
{
public:
    explicit PanelEngine(const PanelOptions& options);
    ~PanelEngine();

    PanelEngine(const PanelEngine&) = delete;
    PanelEngine& operator=(const PanelEngine&) = delete;

    /** Loads the screen and shows it; Qt prints what is wrong. @return whether there is a screen. */
    bool Load();

    /** Shows all texts in another language: "en" or "de". */
    void SetLanguage(const QString& language);

    /** The screen; null before Load() or when that failed. */
    QQuickWindow* Window() const;

private:
    const PanelOptions m_Options;
    QTranslator m_Translator;
    QQmlApplicationEngine m_Engine;
};

#endif // HMI_PANEL_PANELENGINE_H
