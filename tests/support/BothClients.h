// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_BOTHCLIENTS_H
#define KIV_TESTS_BOTHCLIENTS_H

#include "AdaptorConnection.h"
#include "BusSurroundings.h"
#include "LogCapture.h"
#include "ServiceProviderProxyAppFactory.h"
#include "TestClients.h"

#include <QPointer>

namespace KivTest {

const QString kHmiObject = kClientPath + "/hmi/ServiceProviderClient";
const QString kAppObject = kClientPath + "/app/ServiceProviderClient";

/** A base that comes first: everything is collected from the beginning. */
struct LogOfTest
{
    LogCapture log;
};

/**
 * A service that opens the session 7 and offers the modes A and B, and a client of either kind under one bus name, both
 * initialised, with nothing logged yet. The test may delete the clients.
 */
struct BothClients : LogOfTest, BusSurroundings
{
    BothClients()
    {
        service->Answer("openSession", R"({"sessionId":7})");
        service->Answer("getModeList", R"({"modeList":["A","B"]})");
        service->Answer("getMode", R"({"currentMode":["A"]})");
        service->Appear();
        Settle(); // the clients see nothing of its coming
        hmi = new OpenedHmi(registrator, kClientPath + "/hmi", connection, QString(), factory, true);
        app = new OpenedApp(registrator, kClientPath + "/app", "Player", appConnection, QString(), true,
                            QString(), appFactory, false);
        using Audio::Utils::Kiv::QtDbus::KivBaseClient;
        if (hmi->Initialize() != KivBaseClient::INIT_STATE_SUCCESS ||
            app->Initialize() != KivBaseClient::INIT_STATE_SUCCESS) {
            qFatal("the clients do not initialise");
        }
        log.Clear();
    }

    ~BothClients()
    {
        End(hmi);
        End(app);
    }

    BothClients(const BothClients&) = delete;
    BothClients& operator=(const BothClients&) = delete;

    /** The answer to a call of the service, or the name of the error. */
    QString Call(const QString& object, const QString& methodName, const QString& arguments)
    {
        const QDBusMessage answer = service->CallClient(kClientName, object, methodName, arguments);
        return answer.type() == QDBusMessage::ReplyMessage ? answer.arguments().value(0).toString()
                                                           : answer.errorName();
    }

    Audio::Utils::Kiv::QtDbus::AdaptorConnection appConnection{bus};
    Audio::Utils::Kiv::QtDbus::ServiceProviderProxyAppFactory appFactory;
    QPointer<OpenedHmi> hmi;
    QPointer<OpenedApp> app;

private:
    template <typename Client>
    static void End(const QPointer<Client>& client)
    {
        if (!client.isNull()) {
            client->Powerdown();
            delete client.data();
        }
    }
};

/** What of a text arrives over the bus: Qt sends it up to a NUL, half a surrogate pair as a question mark. */
inline QString AsSent(const QString& text)
{
    return QString::fromUtf8(text.toUtf8().constData());
}

} // namespace KivTest

#endif // KIV_TESTS_BOTHCLIENTS_H
