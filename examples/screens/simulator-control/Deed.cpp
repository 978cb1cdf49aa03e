// SPDX-License-Identifier: MIT
#include "Deed.h"

namespace {

const QString phone = QStringLiteral("Phone");

// Modes are the same at all destinations here.
QVariantList Everywhere(const QString& mode)
{
    return {mode, QString()};
}

Deed Step(const char* json)
{
    return {QStringLiteral("Do"), {QString::fromLatin1(json)}};
}

Deed Fault(const char* json)
{
    return {QStringLiteral("ArmFault"), {QString::fromLatin1(json)}};
}

} // namespace

Deed Deed::AddMode(const QString& mode)
{
    return {QStringLiteral("AddMode"), Everywhere(mode)};
}

Deed Deed::RemoveMode(const QString& mode)
{
    return {QStringLiteral("RemoveMode"), Everywhere(mode)};
}

Deed Deed::PressMode(const QString& mode)
{
    return {QStringLiteral("PressMode"), Everywhere(mode)};
}

Deed Deed::StartCall()
{
    return {QStringLiteral("StartStream"), {phone, QStringLiteral("Phone"), QStringLiteral("transient")}};
}

Deed Deed::EndCall()
{
    return {QStringLiteral("StopStream"), {phone}};
}

Deed Deed::StopService()
{
    return Step(R"({"do":"leave"})");
}

Deed Deed::StartService()
{
    return Step(R"({"do":"return"})");
}

Deed Deed::RestartService()
{
    return Step(R"({"do":"restart","milliseconds":2000})");
}

Deed Deed::DelayNextRequest()
{
    return Fault(R"({"kind":"delay","delay":3000})");
}

Deed Deed::RefuseNextRequest()
{
    return Fault(R"({"kind":"errCode"})");
}
