// SPDX-License-Identifier: MIT
#ifndef KIVCTL_OUTPUT_H
#define KIVCTL_OUTPUT_H

#include <QDeadlineTimer>
#include <QJsonObject>
#include <QString>

namespace Kivctl {

/**
 * What the program says: data on standard output, at once and nothing else there; everything else on standard error.
 *
 * Belongs to the main thread.
 */
class Output
{
public:
    enum class Format
    {
        Text,
        Json ///< one object per line
    };

    explicit Output(Format format);

    Format GetFormat() const;

    /** Prints one datum: @p record as a line of JSON, or else @p text with a line end. */
    void Print(const QJsonObject& record, const QString& text) const;

    /** Until when Print() waits for a reader that is stuck; for ever unless this is called. Holds for all objects. */
    static void SetDeadline(const QDeadlineTimer& deadline);

    /** Whether Print() has dropped something, since its reader was stuck. */
    static bool HasGivenUp();

    /** Prints "kivctl: <text>" on standard error. */
    static void Complain(const QString& text);

private:
    const Format m_Format;
};

} // namespace Kivctl

#endif // KIVCTL_OUTPUT_H
