// SPDX-License-Identifier: MIT
#ifndef KIVCTL_STATUS_SERVICECHECK_H
#define KIVCTL_STATUS_SERVICECHECK_H

#include "BusClient.h"
#include "Output.h"

#include <QString>
#include <QVector>

namespace Kivctl {

/**
 * Asks a bus and the service on it whether they are well, and prints each finding when it is known.
 *
 * An object speaks the interface when its introspection says so. Since a service need not be introspectable,
 * any other answer is followed by a Request of a method that no service has: a text is a service's answer,
 * whether it holds errCode or not.
 */
class ServiceCheck
{
public:
    /** @param bus not open yet. @param timeout milliseconds for each question. */
    ServiceCheck(BusClient& bus, int timeout, const Output& output);

    /** @return an ExitCode, that of the first finding that is not as it should be. */
    int Run(const QString& address);

private:
    struct Object
    {
        QString role;
        const char* path;
        quint32 question = 0;
    };

    bool CheckBus(const QString& address);
    bool CheckService();
    void CheckObjects();
    void CheckObject(const Object& object, const QDeadlineTimer& deadline);
    void CheckRoundTrip();

    void AddCredentials(QJsonObject& record, QString& text);
    bool IsActivatable();
    BusAnswer AskBus(const char* member, const QStringList& texts = {});
    QDeadlineTimer Deadline() const;
    void Fail(int exitCode, const QString& text);
    void FailWith(const BusAnswer& answer, const QString& question);

    BusClient& m_Bus;
    const int m_Timeout;
    const Output& m_Output;
    QString m_Owner;
    bool m_HasAnswered = false; // the service, to whatever
    int m_ExitCode;
};

} // namespace Kivctl

#endif // KIVCTL_STATUS_SERVICECHECK_H
