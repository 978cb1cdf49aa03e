// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_CONTRAST_H
#define KIV_TESTS_CONTRAST_H

#include <QColor>

#include <algorithm>
#include <cmath>

namespace KivTest {

/** The contrast of two colours as the Web Content Accessibility Guidelines define it: from 1 to 21. */
inline double Contrast(const QColor& one, const QColor& other)
{
    const auto linear = [](double part) {
        return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    const auto luminance = [linear](const QColor& color) {
        return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) +
               0.0722 * linear(color.blueF());
    };
    const auto [low, high] = std::minmax({luminance(one), luminance(other)});
    return (high + 0.05) / (low + 0.05);
}

} // namespace KivTest

#endif // KIV_TESTS_CONTRAST_H
