// SPDX-License-Identifier: MIT
#include "Names.h"

#include <QTextBoundaryFinder>
#include <QTextLayout>
#include <QTextOption>

#include <algorithm>

namespace {

constexpr int kMostShown = 200;     // characters of a name
constexpr int kIsolate = 0x2068;    // FIRST STRONG ISOLATE
constexpr int kEndIsolate = 0x2069; // POP DIRECTIONAL ISOLATE
const QChar kEllipsis(0x2026);

/** Whether a text, broken as the mode says, needs no more than these lines, each no wider than the width. */
bool Fits(const QString& text, const QFont& font, qreal width, int lines, QTextOption::WrapMode wrapping)
{
    QTextOption option(Qt::AlignLeft);
    option.setWrapMode(wrapping);
    option.setUseDesignMetrics(true); // as Qt Quick lays texts out
    QTextLayout layout(text, font);
    layout.setTextOption(option);
    layout.beginLayout();
    int count = 0;
    bool fits = true;
    for (QTextLine line = layout.createLine(); fits && line.isValid(); line = layout.createLine()) {
        line.setLineWidth(width);
        fits = ++count <= lines && line.naturalTextWidth() <= width;
    }
    layout.endLayout();
    return fits;
}

/** Where what a reader takes for characters ends. */
QVector<int> Boundaries(const QString& text)
{
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    QVector<int> boundaries;
    for (int place = 0; place >= 0; place = finder.toNextBoundary()) {
        boundaries.append(place);
    }
    return boundaries;
}

/** The text with so many characters left, half of them at each end. */
QString WithoutMiddle(const QString& text, const QVector<int>& boundaries, int left)
{
    const int head = boundaries.at((left + 1) / 2);
    const int tail = boundaries.at(boundaries.size() - 1 - left / 2);
    return text.left(head) + kEllipsis + text.mid(tail);
}

/** The longest text without its middle that fits. */
QString Elided(const QString& text, const QFont& font, qreal width, int lines)
{
    const QVector<int> boundaries = Boundaries(text);
    int fitting = 0;
    for (int tooMany = boundaries.size() - 1; tooMany - fitting > 1;) {
        const int middle = (fitting + tooMany) / 2;
        const QString candidate = WithoutMiddle(text, boundaries, middle);
        (Fits(candidate, font, width, lines, QTextOption::WrapAnywhere) ? fitting : tooMany) = middle;
    }
    return WithoutMiddle(text, boundaries, fitting);
}

} // namespace

FittedName Names::fit(const QString& name, const QFont& font, qreal width, int lines,
                      const QList<int>& sizes) const
{
    const QString text = shown(name);
    QFont sized(font);
    for (const int size : sizes) {
        sized.setPixelSize(size);
        if (Fits(text, sized, width, lines, QTextOption::WordWrap)) {
            return {text, size, false};
        }
    }
    if (Fits(text, sized, width, lines, QTextOption::WrapAnywhere)) {
        return {text, sized.pixelSize(), false};
    }
    return {Elided(text, sized, width, lines), sized.pixelSize(), true};
}

QString Names::shown(const QString& name) const
{
    const QString ends =
        name.size() <= 4 * kMostShown ? name : name.left(kMostShown) + name.right(kMostShown);
    const QString line = ends.simplified();
    const QVector<int> boundaries = Boundaries(line);
    return boundaries.size() > kMostShown ? WithoutMiddle(line, boundaries, kMostShown) : line;
}

QString Names::quoted(const QString& name) const
{
    return QChar(kIsolate) + shown(name) + QChar(kEndIsolate);
}

QString Names::initial(const QString& name) const
{
    const QString text = shown(name.right(4 * kMostShown).section(QLatin1Char('/'), -1));
    const auto letter =
        std::find_if(text.cbegin(), text.cend(), [](QChar each) { return each.isLetterOrNumber(); });
    const int first = letter == text.cend() ? 0 : int(letter - text.cbegin());
    const QString rest = text.mid(first);
    return rest.left(Boundaries(rest).value(1)).toUpper();
}
