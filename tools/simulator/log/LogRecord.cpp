// SPDX-License-Identifier: MIT
#include "LogRecord.h"

#include "ShortenedText.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace Simulator {

namespace {

constexpr int longestPayload = 4000;

struct KindText
{
    const char* arrow; ///< in a text
    const char* name;  ///< in JSON
    const char* who;   ///< in a text, where there is no role
};

KindText TextOf(LogRecord::Kind kind)
{
    switch (kind) {
    case LogRecord::Kind::Request:
        return {"<-", "request", ""};
    case LogRecord::Kind::Answer:
        return {"->", "answer", ""};
    case LogRecord::Kind::Error:
        return {"->", "error", ""};
    case LogRecord::Kind::Call:
        return {"->", "call", ""};
    case LogRecord::Kind::Broadcast:
        return {"=>", "broadcast", "all"};
    case LogRecord::Kind::Left:
        return {"--", "left", "bus"};
    case LogRecord::Kind::Failed:
        return {"!!", "failed", ""};
    case LogRecord::Kind::Fault:
        return {"**", "fault", "sim"};
    case LogRecord::Kind::Step:
        return {"**", "step", "sim"};
    case LogRecord::Kind::Service:
        return {"**", "service", "sim"};
    }
    return {"", "", ""};
}

const char* NameOf(Role role)
{
    return role == Role::Hmi ? "hmi" : "app";
}

// A client's JSON may have line breaks between its items.
QString OnOneLine(const QString& payload)
{
    QString text = Tools::ShortenedText(payload, longestPayload);
    return text.replace(QLatin1Char('\n'), QLatin1String("\\n"))
        .replace(QLatin1Char('\r'), QLatin1String("\\r"));
}

void InsertUnlessEmpty(QJsonObject& object, const char* key, const QString& value)
{
    if (!value.isEmpty()) {
        object.insert(QLatin1String(key), value);
    }
}

} // namespace

QByteArray ToText(const LogRecord& record)
{
    const KindText texts = TextOf(record.kind);
    QStringList parts;
    parts << QLatin1String(texts.arrow)
          << (record.role && !*texts.who ? QLatin1String(NameOf(*record.role)) : QLatin1String(texts.who))
          << QString();
    // The answer's line follows that of its request, and says less so.
    const bool isNamed = record.kind != LogRecord::Kind::Answer;
    const QString prefix = record.kind == LogRecord::Kind::Failed ? QStringLiteral("failed: ") : QString();
    for (const QString& part : {isNamed ? record.name : QString(), prefix + OnOneLine(record.payload)}) {
        if (!part.isEmpty()) {
            parts << part;
        }
    }
    QString line = parts.join(QLatin1Char(' '));
    if (!record.peer.isEmpty()) {
        const QString path = record.path.isEmpty() ? QString() : QLatin1Char(' ') + record.path;
        line += QStringLiteral("  [%1%2]").arg(record.peer, path);
    }
    return line.toUtf8();
}

QByteArray ToJson(const LogRecord& record)
{
    QJsonObject object{{QStringLiteral("time"), record.time},
                       {QStringLiteral("kind"), QLatin1String(TextOf(record.kind).name)}};
    if (record.role) {
        object.insert(QStringLiteral("role"), QLatin1String(NameOf(*record.role)));
    }
    InsertUnlessEmpty(object, "name", record.name);
    InsertUnlessEmpty(object, "payload", record.payload);
    InsertUnlessEmpty(object, "peer", record.peer);
    InsertUnlessEmpty(object, "path", record.path);
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

} // namespace Simulator
