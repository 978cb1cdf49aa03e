// SPDX-License-Identifier: MIT
#include "Device.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

namespace {

const QString simulatorName = QStringLiteral("com.kiv.AudioSimulator");
const QString serviceName = QStringLiteral("com.quorvantel.service.AudioManagement");

QDBusMessage CallFor(const Deed& deed)
{
    QDBusMessage call = QDBusMessage::createMethodCall(simulatorName, "/com/kiv/AudioSimulator",
                                                       "com.kiv.AudioSimulator.Control", deed.method);
    call.setArguments(deed.arguments);
    call.setAutoStartService(false);
    return call;
}

} // namespace

Device::Device(const QDBusConnection& bus)
    : m_Bus(bus),
      m_Service(bus, serviceName),
      m_Simulator(bus, simulatorName)
{
    connect(&m_Simulator, &NamePresence::Changed, this, &Device::StateChanged);
    connect(&m_Service, &NamePresence::Changed, this, &Device::StateChanged);
}

Device::State Device::CurrentState() const
{
    if (!m_Simulator.IsPresent()) {
        return State::Absent;
    }
    return m_Service.IsPresent() ? State::ServiceRunning : State::ServiceStopped;
}

void Device::Do(const Deed& deed, const Outcome& outcome)
{
    auto* const answer = new QDBusPendingCallWatcher(m_Bus.asyncCall(CallFor(deed)), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [answer, outcome] {
        answer->deleteLater();
        outcome(answer->isError() ? answer->error().message() : QString());
    });
}
