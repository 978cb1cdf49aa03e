// SPDX-License-Identifier: MIT
#ifndef TOOLS_USAGEERROR_H
#define TOOLS_USAGEERROR_H

#include <QString>

#include <exception>

namespace Tools {

/** Complains about the command line, or about a file that it names; the program then ends with exit code 2. */
class UsageError : public std::exception
{
public:
    /** @param text what is wrong, and what was expected. */
    explicit UsageError(const QString& text)
        : m_Text(text)
    {
    }

    QString Text() const { return m_Text; }

private:
    QString m_Text;
};

} // namespace Tools

#endif // TOOLS_USAGEERROR_H
