// SPDX-License-Identifier: MIT
#include "Refusal.h"

#include "Vocabulary.h"

namespace Simulator {

Refusal::Refusal(ErrorCode code, const QString& message)
    : m_Code(code),
      m_Message(message)
{
}

QJsonObject Refusal::Reply() const
{
    return {{Key::ErrCode, static_cast<int>(m_Code)}, {Key::ErrMessage, m_Message}};
}

QString Refusal::Message() const
{
    return m_Message;
}

const char* Refusal::what() const noexcept
{
    return "request refused";
}

} // namespace Simulator
