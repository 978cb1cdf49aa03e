// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_FAKESTREAMSTAGE_H
#define KIV_TESTS_FAKESTREAMSTAGE_H

#include "BusSurroundings.h"
#include "FakeService.h"
#include "StreamEvents.h"
#include "TestClients.h"

#include <QTest>

#include <memory>

namespace KivTest {

/** A stream, and a service that says what a test wants it to. The service is there from the start. */
struct FakeStreamStage
{
    FakeStreamStage()
    {
        DrainBus();
        service->Answer("openSession", R"({"sessionId":7})");
        service->Appear();
        stream->setName("Player");
        stream->setBusName(kClientName);
        stream->setObjectPath(kClientPath);
    }

    ~FakeStreamStage()
    {
        stream.reset();
        if (QDBusConnection::systemBus().isConnected()) {
            Settle();
        }
    }

    /** Starts the stream, and waits until it is registered. The events so far are forgotten. */
    void Register()
    {
        stream->start();
        QVERIFY(QTest::qWaitFor([this] { return stream->isAvailable(); }, 30000));
        events.Take();
    }

    /** Registers the stream and gives it the focus, likewise. */
    void Focus()
    {
        Register();
        stream->requestFocus();
        QVERIFY(service->WaitForCalls("requestAudioFocus", 1));
        Settle();
        Decide("granted");
        events.Take();
    }

    /** The service decides on a request. Returns when the stream has heard it. */
    void Decide(const QString& decision) { Say("onRequestAudioFocusResult", decision); }

    /** The service changes the focus, likewise. */
    void Change(const QString& focus) { Say("onAudioFocusChange", focus); }

    /** Returns when both sides have handled what the other one has sent. */
    void Settle()
    {
        PingService();
        PingService(); // Qt tells a watcher that comes after its answer in two steps
        service->CallClient(QDBusConnection::systemBus().baseService(), "/nobody", "ping", "{}");
        QCoreApplication::processEvents();
    }

    /** The requests since the last call, without sessions: "method {arguments}". */
    QStringList TakeWire()
    {
        Settle();
        QStringList wire;
        const QVector<ServiceCall> calls = service->Calls();
        for (const ServiceCall& call : calls.mid(m_WireMark)) {
            if (call.methodName != "settle") {
                wire.append(call.methodName + ' ' + call.arguments);
            }
        }
        m_WireMark = int(calls.size());
        return wire;
    }

    void Say(const QString& method, const QString& focus)
    {
        const QDBusMessage answer = service->CallClient(
            QDBusConnection::systemBus().baseService(), kClientPath + "/ServiceProviderClient", method,
            QString(R"({"newFocus":"%1","sessionId":7})").arg(focus));
        QCOMPARE(answer.arguments(), QVariantList{"{}"});
    }

    std::unique_ptr<FakeService> service = std::make_unique<FakeService>();
    std::unique_ptr<AudioStream> stream = std::make_unique<AudioStream>();
    StreamEvents events{*stream};

private:
    // The bus keeps the order.
    void PingService()
    {
        QDBusMessage call =
            QDBusMessage::createMethodCall(service->UniqueName(), kAppPath, kInterfaceName, "Request");
        call.setArguments({"settle", "{}"});
        QDBusPendingCallWatcher watcher(QDBusConnection::systemBus().asyncCall(call));
        QSignalSpy finished(&watcher, &QDBusPendingCallWatcher::finished);
        QVERIFY(finished.wait(30000));
    }

    int m_WireMark = 0;
};

} // namespace KivTest

#endif // KIV_TESTS_FAKESTREAMSTAGE_H
