// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_SIMULATEDSTREAMSTAGE_H
#define KIV_TESTS_SIMULATEDSTREAMSTAGE_H

#include "SimulatorControl.h"
#include "SimulatorProcess.h"
#include "StreamEvents.h"

#include <QDBusPendingCallWatcher>

#include <cstdio>
#include <memory>

namespace KivTest {

const QStringList kRegistration{"state Registering", "state Idle", "available true"};
const QStringList kOffline{"state Offline", "available false"};
const QStringList kClaimEnds{"lastReason ServiceLeft", "focusLost ServiceLeft"};

/** A stream with the simulator. */
struct SimulatedStreamStage
{
    explicit SimulatedStreamStage(const QStringList& options = {})
        : m_Options(options)
    {
        StartService();
        stream->setName("Player");
        stream->setBusName(kClientName);
        stream->setObjectPath(kClientPath);
    }

    /** Starts the simulator, also again after it has ended. */
    void StartService()
    {
        simulator = std::make_unique<SimulatorProcess>(m_Options);
        if (!simulator->WaitUntilReady()) {
            qFatal("the simulator does not become ready: %s", qPrintable(simulator->Errors()));
        }
    }

    /** Starts the stream, and waits until it is registered. The events so far are forgotten. */
    void Register()
    {
        stream->start();
        QVERIFY(QTest::qWaitFor([this] { return stream->isAvailable(); }, kPatience));
        events.Take();
    }

    /**
     * Waits for events; then nothing else may come that the service has sent already.
     *
     * @param other what may come as well, where a reply and the end of the service race.
     */
    bool Sees(const QStringList& expected, const QStringList& other = {})
    {
        const auto isSeen = [&] {
            return events.All() == expected || (!other.isEmpty() && events.All() == other);
        };
        const bool isDone = QTest::qWaitFor(isSeen, kPatience) && Settle() && isSeen();
        const QStringList seen = events.Take();
        if (!isDone) {
            fprintf(stderr, "expected: %s\nseen:     %s\n", qPrintable(expected.join(", ")),
                    qPrintable(seen.join(", ")));
        }
        return isDone;
    }

    /** Handles everything that the service has sent so far, if it is there and answers. */
    bool Settle() { return Ping() && Ping(); } // Qt tells a watcher that comes after its answer in two steps

    bool Ping()
    {
        QDBusMessage call = QDBusMessage::createMethodCall(
            "com.quorvantel.service.AudioManagement", "/com/kiv/service/AudioManagement/AudioApplication",
            "com.quorvantel.ServiceProvider", "Request");
        call.setArguments({"settle", "{}"});
        QDBusPendingCallWatcher watcher(QDBusConnection::systemBus().asyncCall(call));
        QSignalSpy finished(&watcher, &QDBusPendingCallWatcher::finished);
        return finished.wait(kPatience);
    }

    /** The lines of the simulator's log, short. */
    QStringList Log() { return simulator->IsRunning() ? Gist(control.Log()) : QStringList(); }

    std::unique_ptr<SimulatorProcess> simulator;
    SimulatorControl control;
    std::unique_ptr<AudioStream> stream = std::make_unique<AudioStream>();
    StreamEvents events{*stream};

private:
    const QStringList m_Options;
};

} // namespace KivTest

#endif // KIV_TESTS_SIMULATEDSTREAMSTAGE_H
