// SPDX-License-Identifier: MIT
#include "Theme.h"

namespace {

/** The seven colours that a palette is made of. */
struct Colors
{
    QRgb window, card, text, button, accent, onAccent, link;
};

QPalette Make(const Colors& colors)
{
    QPalette palette(QColor(colors.button), QColor(colors.window));
    for (const auto role :
         {QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::ToolTipText}) {
        palette.setColor(role, QColor(colors.text));
    }
    palette.setColor(QPalette::Base, QColor(colors.card));
    palette.setColor(QPalette::AlternateBase, QColor(colors.window));
    palette.setColor(QPalette::ToolTipBase, QColor(colors.card));
    palette.setColor(QPalette::Highlight, QColor(colors.accent));
    palette.setColor(QPalette::HighlightedText, QColor(colors.onAccent));
    palette.setColor(QPalette::Link, QColor(colors.link));
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
        palette.setColor(QPalette::Disabled, role, Theme::Secondary(palette));
    }
    return palette;
}

QColor Mix(const QColor& one, const QColor& other, double part)
{
    const auto mix = [part](double a, double b) { return a * part + b * (1 - part); };
    return QColor::fromRgbF(mix(one.redF(), other.redF()), mix(one.greenF(), other.greenF()),
                            mix(one.blueF(), other.blueF()));
}

bool IsDark(const QPalette& palette)
{
    return palette.color(QPalette::Window).lightness() < palette.color(QPalette::WindowText).lightness();
}

} // namespace

QPalette Theme::Day()
{
    return Make({0xfff3f5f8, 0xffffffff, 0xff18222d, 0xffdfe5ec, 0xff1763b8, 0xffffffff, 0xff1763b8});
}

QPalette Theme::Night()
{
    return Make({0xff11171e, 0xff1b242e, 0xffe9eef3, 0xff2a3643, 0xff6cb6ff, 0xff0b1825, 0xff6cb6ff});
}

QColor Theme::Secondary(const QPalette& palette)
{
    return Mix(palette.color(QPalette::Active, QPalette::WindowText), palette.color(QPalette::Window), 0.72);
}

QColor Theme::Warning(const QPalette& palette)
{
    return IsDark(palette) ? QColor(0xffffb3a7) : QColor(0xffb3261e);
}

QColor Theme::Surface(const QPalette& palette)
{
    return Mix(palette.color(QPalette::Active, QPalette::WindowText), palette.color(QPalette::Window), 0.11);
}

QColor Theme::Faint(const QPalette& palette)
{
    return Mix(palette.color(QPalette::Active, QPalette::WindowText), palette.color(QPalette::Window), 0.2);
}
