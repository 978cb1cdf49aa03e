// SPDX-License-Identifier: MIT
#include "Output.h"

#include "PatientWriter.h"

#include <QJsonDocument>

#include <cstdio>

namespace Kivctl {

namespace {

Tools::PatientWriter& StandardOutput()
{
    static Tools::PatientWriter writer(stdout);
    return writer;
}

} // namespace

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
    StandardOutput().Write(line + '\n');
}

void Output::SetDeadline(const QDeadlineTimer& deadline)
{
    StandardOutput().SetDeadline(deadline);
}

bool Output::HasGivenUp()
{
    return StandardOutput().HasGivenUp();
}

void Output::Complain(const QString& text)
{
    std::fprintf(stderr, "kivctl: %s\n", text.toUtf8().constData());
}

} // namespace Kivctl
