// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_USAGEERROR_H
#define SIMULATOR_USAGEERROR_H

#include <QString>

#include <exception>

namespace Simulator {

/** Complains about the command line, or about a file that it names. */
class UsageError : public std::exception
{
public:
    explicit UsageError(const QString& text)
        : m_Text(text)
    {
    }

    QString Text() const { return m_Text; }

private:
    QString m_Text;
};

} // namespace Simulator

#endif // SIMULATOR_USAGEERROR_H
