// SPDX-License-Identifier: MIT
#include "Output.h"

#include <QJsonDocument>

#include <cstdio>

namespace Kivctl {

Output::Output(Format format)
    : m_Format(format)
{
}

Output::Format Output::GetFormat() const
{
    return m_Format;
}

void Output::Print(const QJsonObject& record, const QString& text) const
{
    const QByteArray line =
        m_Format == Format::Json ? QJsonDocument(record).toJson(QJsonDocument::Compact) : text.toUtf8();
    std::printf("%s\n", line.constData());
    std::fflush(stdout);
}

void Output::Complain(const QString& text)
{
    std::fprintf(stderr, "kivctl: %s\n", text.toUtf8().constData());
}

} // namespace Kivctl
