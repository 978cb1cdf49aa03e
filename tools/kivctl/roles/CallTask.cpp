// SPDX-License-Identifier: MIT
#include "roles/CallTask.h"

#include "AudioManagerApp.h"
#include "AudioManagerHmi.h"
#include "roles/Record.h"

#include <QJsonDocument>
#include <QMap>
#include <QVariant>

using namespace Audio::Utils::Kiv::QtDbus;

namespace Kivctl {

CallTask::CallTask(Role role, const QString& destination, const RawRequest& request)
    : Task(role, Absence::Ends),
      m_ClientRole(role),
      m_Destination(destination),
      m_Request(request)
{
}

std::unique_ptr<Task::Client> CallTask::MakeClient(Surroundings& surroundings)
{
    std::unique_ptr<Client> client;
    if (m_ClientRole == Role::Hmi) {
        client = std::make_unique<AudioManagerHmi>(surroundings.name, ClientPath(), surroundings.connection,
                                                   m_Destination, surroundings.factory, false);
    } else {
        client = std::make_unique<AudioManagerApp>(surroundings.name, ClientPath(), QString(),
                                                   surroundings.connection, QString(), true, m_Destination,
                                                   surroundings.factory, false);
    }
    m_SessionClient = client.get();
    return client;
}

QString CallTask::Arguments() const
{
    const QString key = QStringLiteral("sessionId");
    if (m_Request.object.contains(key)) {
        return m_Request.text;
    }
    QJsonObject object = m_Request.object;
    object.insert(key, static_cast<qint64>(m_SessionClient->SessionId()));
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact));
}

void CallTask::Opened()
{
    const auto handler = [this](bool failed, const QMap<QString, QVariant>&, unsigned int) {
        Conclude();
        return !failed;
    };
    const QDBusPendingReply<QString> reply = m_SessionClient->StartRequest(m_Request.methodName, Arguments());
    if (m_SessionClient->WatchReply(reply, handler, 0) == 0) {
        Conclude(); // refused already
    }
}

void CallTask::Conclude()
{
    if (IsEnding()) {
        return;
    }
    const QString answer = AnswerTo(m_Request.methodName);
    if (!answer.isNull()) {
        QJsonObject record = Record(
            "answer", {{QStringLiteral("method"), m_Request.methodName}, {QStringLiteral("text"), answer}});
        const QJsonDocument document = QJsonDocument::fromJson(answer.toUtf8());
        if (document.isObject()) {
            record.insert(QStringLiteral("answer"), document.object());
        }
        Q_EMIT Printed(record, answer);
    }
    End(VerdictOf(m_Request.methodName));
}

} // namespace Kivctl
