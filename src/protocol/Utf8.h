// SPDX-License-Identifier: MIT
#ifndef KIV_PROTOCOL_UTF8_H
#define KIV_PROTOCOL_UTF8_H

#include <QString>

#include <algorithm>
#include <cstddef>

namespace Audio::Utils::Kiv::QtDbus {

/** How many bytes CopyAsUtf8() writes at most. */
inline std::size_t MaximumUtf8Size(const QString& text)
{
    constexpr std::size_t bytesPerUnit = 3;
    return static_cast<std::size_t>(text.size()) * bytesPerUnit + 1;
}

/**
 * Writes a text as UTF-8 with a NUL at its end, without taking memory for an ASCII text.
 *
 * @return the place behind the NUL.
 */
inline char* CopyAsUtf8(const QString& text, char* target)
{
    const QChar* const units = text.constData();
    char* end = target + text.size();
    ushort allBits = 0;
    for (int i = 0; i < text.size(); ++i) {
        allBits |= units[i].unicode();
        target[i] = static_cast<char>(units[i].unicode());
    }
    if (allBits >= 0x80) { // what was written is of no use
        const QByteArray utf8 = text.toUtf8();
        end = std::copy(utf8.cbegin(), utf8.cend(), target);
    }
    *end++ = '\0';
    return end;
}

/** As QString::fromUtf8(), which takes longer for the short ASCII texts that most are. */
inline QString FromUtf8(const char* text)
{
    if (text == nullptr) {
        return QString();
    }
    const char* end = text;
    unsigned char allBits = 0;
    for (; *end != '\0'; ++end) {
        allBits |= static_cast<unsigned char>(*end);
    }
    const int size = static_cast<int>(end - text);
    return allBits < 0x80 ? QString::fromLatin1(text, size) : QString::fromUtf8(text, size);
}

} // namespace Audio::Utils::Kiv::QtDbus

#endif // KIV_PROTOCOL_UTF8_H
