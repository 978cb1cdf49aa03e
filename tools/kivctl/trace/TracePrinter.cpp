// SPDX-License-Identifier: MIT
#include "TracePrinter.h"

#include "ShortenedText.h"

#include <QDateTime>
#include <QJsonArray>

#include <array>
#include <cstdio>

namespace Kivctl {

namespace {

using Kind = TraceRecord::Kind;
using Direction = TraceRecord::Direction;

constexpr int longestText = 400;

struct KindTexts
{
    const char* name;       // of the kind
    const char* methodKey;  // what the method is called
    const char* contentKey; // what JSON text is called
};

// In the order of TraceRecord::Kind.
constexpr std::array<KindTexts, 6> kindTexts{{
    {"call", "method", "arguments"},
    {"reply", "method", "result"},
    {"error", "method", ""},
    {"signal", "signal", "payload"},
    {"service", "", ""},
    {"unanswered", "method", ""},
}};

const KindTexts& TextsOf(Kind kind)
{
    return kindTexts.at(static_cast<size_t>(kind));
}

QString TimeText(qint64 time, const QString& format)
{
    const qint64 second = time >= 0 ? time / 1000000 : (time - 999999) / 1000000;
    return QDateTime::fromSecsSinceEpoch(second, Qt::UTC).toString(format) +
           QStringLiteral(".%1").arg(time - second * 1000000, 6, 10, QLatin1Char('0'));
}

void InsertText(QJsonObject& json, const char* key, const QString& text)
{
    if (!text.isEmpty()) {
        json.insert(QLatin1String(key), text);
    }
}

void InsertNames(QJsonObject& json, const char* key, const QStringList& names)
{
    if (!names.isEmpty()) {
        json.insert(QLatin1String(key), QJsonArray::fromStringList(names));
    }
}

void InsertContent(QJsonObject& json, const TraceRecord& record)
{
    const QLatin1String key(TextsOf(record.kind).contentKey);
    if (key.isEmpty()) {
        return;
    }
    if (record.json.isNull()) {
        json.insert(QStringLiteral("text"), record.text);
    } else if (record.json.isArray()) {
        json.insert(key, record.json.array());
    } else {
        json.insert(key, record.json.object());
    }
}

void InsertParties(QJsonObject& json, const TraceRecord& record)
{
    InsertText(json, "sender", record.sender);
    InsertNames(json, "senderNames", record.senderNames);
    InsertText(json, "destination", record.destination);
    InsertNames(json, "destinationNames", record.destinationNames);
    InsertText(json, "path", record.path);
    InsertText(json, "role", record.role);
}

void InsertCall(QJsonObject& json, const TraceRecord& record)
{
    json.insert(QStringLiteral("direction"), record.direction == Direction::ToService
                                                 ? QStringLiteral("toService")
                                                 : QStringLiteral("toClient"));
    json.insert(QStringLiteral("serial"), qint64(record.serial));
    if (record.session) {
        json.insert(QStringLiteral("session"), *record.session);
    }
    if (record.duration) {
        json.insert(QStringLiteral("durationMicroseconds"), *record.duration);
    }
}

QString Escaped(const QString& text)
{
    QString escaped;
    escaped.reserve(text.size());
    for (const QChar character : text) {
        if (character == QLatin1Char('\n')) {
            escaped += QLatin1String("\\n");
        } else if (character == QLatin1Char('\r')) {
            escaped += QLatin1String("\\r");
        } else if (character.category() == QChar::Other_Control) {
            escaped += QStringLiteral("\\u%1").arg(character.unicode(), 4, 16, QLatin1Char('0'));
        } else {
            escaped += character;
        }
    }
    return escaped;
}

QString Shown(const QString& text)
{
    return Escaped(Tools::ShortenedText(text, longestText));
}

QString Arrow(const TraceRecord& record)
{
    const bool isToService = record.direction == Direction::ToService;
    switch (record.kind) {
    case Kind::Call:
        return isToService ? QStringLiteral("<-") : QStringLiteral("->");
    case Kind::Reply:
        return isToService ? QStringLiteral("->") : QStringLiteral("<-");
    case Kind::Signal:
        return QStringLiteral("=>");
    case Kind::Service:
        return QStringLiteral("--");
    case Kind::Error:
    case Kind::Unanswered:
        break;
    }
    return QStringLiteral("!!");
}

QString Peer(const TraceRecord& record)
{
    QStringList peer{record.client};
    for (const QString& name : record.clientNames) {
        if (name != record.client) {
            peer.append(name);
        }
    }
    if (record.direction == Direction::ToClient) {
        peer.append(record.path);
    }
    return QStringLiteral("  [%1]").arg(peer.join(QLatin1Char(' ')));
}

QString What(const TraceRecord& record)
{
    const QString method = Shown(record.method);
    switch (record.kind) {
    case Kind::Reply:
        return method + QLatin1String(" = ") + Shown(record.text);
    case Kind::Error:
        return method + QLatin1String(" failed: ") + record.errorName + QLatin1String(": ") +
               Shown(record.text);
    case Kind::Unanswered:
        return method + QLatin1String(" unanswered: ") + record.state;
    default:
        return method + QLatin1Char(' ') + Shown(record.text);
    }
}

QString Remarks(const TraceRecord& record)
{
    QStringList remarks;
    if (record.session) {
        remarks.append(QStringLiteral("session %1").arg(*record.session));
    }
    if (record.duration) {
        remarks.append(QStringLiteral("%1 us").arg(*record.duration));
    }
    if (!record.fault.isEmpty()) {
        remarks.append(record.fault);
    }
    if (record.isCut) {
        remarks.append(QStringLiteral("cut in the capture"));
    }
    return remarks.isEmpty() ? QString() : QLatin1String("  ") + remarks.join(QLatin1String(", "));
}

} // namespace

TracePrinter::TracePrinter(const Output& output)
    : m_Output(output)
{
}

bool TracePrinter::Print(const TraceRecord& record) const
{
    if (m_Output.GetFormat() == Output::Format::Json) {
        m_Output.Print(ToJson(record), QString());
    } else {
        m_Output.Print(QJsonObject(), ToLine(record));
    }
    return std::ferror(stdout) == 0;
}

QJsonObject TracePrinter::ToJson(const TraceRecord& record)
{
    const KindTexts& texts = TextsOf(record.kind);
    QJsonObject json{{QStringLiteral("record"), QLatin1String(texts.name)},
                     {QStringLiteral("time"),
                      TimeText(record.time, QStringLiteral("yyyy-MM-ddTHH:mm:ss")) + QLatin1Char('Z')}};
    InsertText(json, "state", record.state);
    if (record.kind == Kind::Service) {
        InsertText(json, "owner", record.sender);
        return json;
    }
    json.insert(QLatin1String(texts.methodKey), record.method);
    InsertParties(json, record);
    if (record.kind != Kind::Signal) {
        InsertCall(json, record);
    }
    if (record.kind == Kind::Error) {
        json.insert(QStringLiteral("errorName"), record.errorName);
        json.insert(QStringLiteral("errorText"), record.text);
    }
    InsertContent(json, record);
    InsertText(json, "fault", record.fault);
    if (record.isCut) {
        json.insert(QStringLiteral("cut"), true);
    }
    return json;
}

QString TracePrinter::ToLine(const TraceRecord& record)
{
    const QString start =
        TimeText(record.time, QStringLiteral("HH:mm:ss")) + QLatin1Char(' ') + Arrow(record);
    if (record.kind == Kind::Service) {
        const QString owner =
            record.sender.isEmpty() ? QString() : QStringLiteral("  [%1]").arg(record.sender);
        return start + QLatin1String(" bus  service ") + record.state + owner;
    }
    const QString role = record.role.isEmpty() ? QStringLiteral("???") : record.role;
    return start + QLatin1Char(' ') + role + QLatin1String("  ") + What(record) + Peer(record) +
           Remarks(record);
}

} // namespace Kivctl
