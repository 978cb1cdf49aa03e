// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_MODEL_REFUSAL_H
#define SIMULATOR_MODEL_REFUSAL_H

#include <QJsonObject>
#include <QString>

#include <exception>

namespace Simulator {

/** Why a request was refused: the "errCode" of the answer. The numbers are documented, and never reused. */
enum class ErrorCode
{
    ArgumentsNotAnObject = 1,
    UnknownMethod = 2,
    MethodOfOtherRole = 3,
    MissingParameter = 4,
    WrongType = 5,
    InvalidValue = 6,
    UnknownSession = 7,
    ForeignSession = 8,
    UnknownDestination = 9,
    ModeNotOffered = 10,
    NoStream = 11,
    StreamRegistered = 12,
    FocusNotHeld = 13
};

/**
 * Ends the handling of a request; nothing has changed when it is thrown.
 *
 * It never leaves AudioModel, which makes the answer of it, or the complaint about what was to be done at the
 * device.
 */
class Refusal : public std::exception
{
public:
    Refusal(ErrorCode code, const QString& message);

    /** {"errCode":…,"errMessage":…}. */
    QJsonObject Reply() const;

    /** What was expected, as a text. */
    QString Message() const;

    const char* what() const noexcept override;

private:
    ErrorCode m_Code;
    QString m_Message;
};

} // namespace Simulator

#endif // SIMULATOR_MODEL_REFUSAL_H
