// SPDX-License-Identifier: MIT
#ifndef TOOLS_SHORTENEDTEXT_H
#define TOOLS_SHORTENEDTEXT_H

#include <QString>

namespace Tools {

/** A text for people: the text itself, or its first @p most characters and how many there are; none is cut in two. */
inline QString ShortenedText(const QString& text, int most)
{
    if (text.size() <= most) {
        return text;
    }
    const int size = text.at(most - 1).isHighSurrogate() ? most - 1 : most;
    return QStringLiteral("%1… (%2 characters)").arg(text.left(size), QString::number(text.size()));
}

} // namespace Tools

#endif // TOOLS_SHORTENEDTEXT_H
