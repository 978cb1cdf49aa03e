// SPDX-License-Identifier: MIT
#ifndef KIVCTL_CLI_USAGEERROR_H
#define KIVCTL_CLI_USAGEERROR_H

#include <QString>

#include <exception>

namespace Kivctl {

/** Complains about the command line; the program then ends with ExitUsage. */
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

} // namespace Kivctl

#endif // KIVCTL_CLI_USAGEERROR_H
