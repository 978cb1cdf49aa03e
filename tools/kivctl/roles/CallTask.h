// SPDX-License-Identifier: MIT
#ifndef KIVCTL_ROLES_CALLTASK_H
#define KIVCTL_ROLES_CALLTASK_H

#include "roles/Task.h"

#include <QJsonObject>
#include <QString>

#include <memory>

namespace Kivctl {

/** A request as the user has written it. */
struct RawRequest
{
    QString methodName;
    QString text;       ///< the text of a JSON object
    QJsonObject object; ///< the same
};

/** `kivctl call`: sends one request in a session of its own, and prints the answer. */
class CallTask : public Task
{
    Q_OBJECT

public:
    CallTask(Role role, const QString& destination, const RawRequest& request);

protected:
    std::unique_ptr<Client> MakeClient(Surroundings& surroundings) override;
    void Opened() override;

private:
    QString Arguments() const;
    void Conclude();

    const Role m_ClientRole;
    const QString m_Destination;
    const RawRequest m_Request;
    Client* m_SessionClient = nullptr; ///< Owned by the task's base.
};

} // namespace Kivctl

#endif // KIVCTL_ROLES_CALLTASK_H
