// SPDX-License-Identifier: MIT
#include "Theme.h"

#include <QApplication>
#include <QColor>
#include <QFile>
#include <QPalette>
#include <QStyleFactory>

namespace {

struct Colours
{
    const char* window;
    const char* group;
    const char* field;
    const char* edge;
    const char* text;
    const char* quiet;
    const char* faint; // of what is disabled
    const char* button;
    const char* hovered;
    const char* pressed;
    const char* accent;
    const char* onAccent;
    const char* good;
    const char* bad;
};

const Colours day = {"#e9edf2", "#ffffff", "#f5f7fa", "#cbd4df", "#12171e", "#4b5766", "#95a0ad",
                     "#dde3eb", "#d2dae4", "#c2ccd8", "#0b57c2", "#ffffff", "#116b3c", "#b0271d"};
const Colours night = {"#0d1015", "#171c24", "#0f1319", "#343e4c", "#f1f4f8", "#a9b4c2", "#5d6875",
                       "#2a323e", "#323c49", "#3d4857", "#62adff", "#06162a", "#5dce94", "#ff9d92"};

QString StyleSheet(const Colours& colours)
{
    QFile file(":/simulator-control/style.qss");
    file.open(QIODevice::ReadOnly);
    QString sheet = QString::fromUtf8(file.readAll());
    const QList<QPair<const char*, const char*>> names = {
        {"@window", colours.window},   {"@group", colours.group},   {"@field", colours.field},
        {"@edge", colours.edge},       {"@text", colours.text},     {"@quiet", colours.quiet},
        {"@faint", colours.faint},     {"@button", colours.button}, {"@hovered", colours.hovered},
        {"@pressed", colours.pressed}, {"@accent", colours.accent}, {"@onAccent", colours.onAccent},
        {"@good", colours.good},       {"@bad", colours.bad}};
    for (const auto& [name, colour] : names) {
        sheet.replace(QLatin1String(name), QLatin1String(colour));
    }
    return sheet;
}

// For texts, and for what the style sheet does not draw: the dot of the current mode, placeholders, selections.
QPalette PaletteOf(const Colours& colours)
{
    QPalette palette(QColor(colours.button), QColor(colours.window));
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
        palette.setColor(role, QColor(colours.text));
        palette.setColor(QPalette::Disabled, role, QColor(colours.faint));
    }
    palette.setColor(QPalette::Base, QColor(colours.field));
    palette.setColor(QPalette::PlaceholderText, QColor(colours.quiet));
    palette.setColor(QPalette::Disabled, QPalette::PlaceholderText, QColor(colours.faint));
    palette.setColor(QPalette::Highlight, QColor(colours.accent));
    palette.setColor(QPalette::HighlightedText, QColor(colours.onAccent));
    return palette;
}

} // namespace

void Apply(Theme theme)
{
    const Colours& colours = theme == Theme::Day ? day : night;
    QApplication::setStyle(QStyleFactory::create("Fusion"));
    QApplication::setPalette(PaletteOf(colours));
    qApp->setStyleSheet(StyleSheet(colours));
}
