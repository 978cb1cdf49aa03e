// SPDX-License-Identifier: MIT
#include "ControlWindow.h"

#include "Parts.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QPushButton>
#include <QShortcut>
#include <QVBoxLayout>

namespace {

constexpr QSize usualSize{420, 520};

} // namespace

ControlWindow::ControlWindow()
    : m_Device(QDBusConnection::systemBus()),
      m_State(new QLabel),
      m_ModesBox(new ModesBox(&m_Modes)),
      m_Status(new StatusLine)
{
    setWindowTitle(tr("Simulated device"));
    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(Space::margin, Space::margin, Space::margin, Space::margin);
    column->setSpacing(Space::margin);
    m_EventsBox = MakeEventsBox();
    column->addWidget(MakeHeader());
    column->addWidget(m_ModesBox, 1);
    column->addWidget(m_EventsBox);
    column->addWidget(m_Status);
    Connect();
    FollowState();
    resize(usualSize);
}

void ControlWindow::Start()
{
    m_Modes.start();
}

QWidget* ControlWindow::MakeHeader()
{
    auto* const header = new QWidget;
    auto* const row = new QHBoxLayout(header);
    row->setContentsMargins(0, 0, 0, 0);
    auto* const title = new QLabel(tr("Simulated device"));
    title->setProperty("part", "title");
    m_State->setObjectName("state");
    m_State->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    row->addWidget(title, 1);
    row->addWidget(m_State);
    return header;
}

QWidget* ControlWindow::MakeEventsBox()
{
    auto* const box = new QFrame;
    box->setProperty("part", "group");
    auto* const grid = new QGridLayout(box);
    grid->setContentsMargins(Space::padding, Space::padding, Space::padding, Space::padding);
    grid->setHorizontalSpacing(Space::margin);
    grid->setVerticalSpacing(Space::gap);
    grid->addWidget(MakeHeading(tr("Phone call")), 0, 0);
    grid->addLayout(MakeCallRow(), 0, 1);
    grid->addWidget(MakeHeading(tr("Service")), 1, 0);
    grid->addLayout(MakeServiceRow(), 1, 1);
    grid->addWidget(MakeHeading(tr("Next request")), 2, 0);
    grid->addLayout(MakeRequestRow(), 2, 1);
    grid->setColumnStretch(1, 1);
    return box;
}

QLayout* ControlWindow::MakeCallRow()
{
    return MakeRow({MakeDeedButton("startCall", tr("Start", "call"), tr("A phone call takes the audio focus"),
                                   Deed::StartCall(), tr("A phone call has the audio focus.")),
                    MakeDeedButton("endCall", tr("End", "call"), tr("The phone call ends"), Deed::EndCall(),
                                   tr("The phone call is over."))});
}

QLayout* ControlWindow::MakeServiceRow()
{
    m_StopService = MakeDeedButton("stopService", tr("Stop", "service"), tr("The service leaves the bus"),
                                   Deed::StopService(), tr("The service has left the bus."));
    m_StartService =
        MakeDeedButton("startService", tr("Start", "service"), tr("The service returns to the bus"),
                       Deed::StartService(), ServiceIsThere());
    return MakeRow(
        {m_StopService, m_StartService,
         MakeDeedButton("restartService", tr("Restart"), tr("The service loses all sessions, as in a crash"),
                        Deed::RestartService(),
                        tr("The service comes back in 2 seconds, without sessions."))});
}

QLayout* ControlWindow::MakeRequestRow()
{
    return MakeRow(
        {MakeDeedButton("delayNext", tr("Delay"), tr("The next request is answered 3 seconds late"),
                        Deed::DelayNextRequest(), tr("The next request will be answered 3 seconds late.")),
         MakeDeedButton("refuseNext", tr("Refuse"), tr("The next request is refused"),
                        Deed::RefuseNextRequest(), tr("The next request will be refused."))});
}

QPushButton* ControlWindow::MakeDeedButton(const QString& objectName, const QString& text,
                                           const QString& purpose, const Deed& deed, const QString& success)
{
    QPushButton* const button = MakeButton(objectName, text, purpose);
    connect(button, &QPushButton::clicked, this, [this, deed, success] { Perform(deed, success); });
    return button;
}

void ControlWindow::Connect()
{
    connect(new QShortcut(QKeySequence("Ctrl+Q"), this), &QShortcut::activated, this, &QWidget::close);
    connect(&m_Device, &Device::StateChanged, this, &ControlWindow::FollowState);
    connect(m_ModesBox, &ModesBox::AddAsked, this, [this](const QString& mode) {
        Perform(Deed::AddMode(mode), tr("The device offers “%1”.").arg(mode),
                [this, mode] { m_ModesBox->Forget(mode); });
    });
    connect(m_ModesBox, &ModesBox::RemoveAsked, this, [this](const QString& mode) {
        Perform(Deed::RemoveMode(mode), tr("The device no longer offers “%1”.").arg(mode));
    });
    connect(m_ModesBox, &ModesBox::PressAsked, this, [this](const QString& mode) {
        Perform(Deed::PressMode(mode), tr("“%1” was pressed.").arg(mode));
    });
}

void ControlWindow::Perform(const Deed& deed, const QString& success, const std::function<void()>& then)
{
    m_HasActed = true;
    m_Device.Do(deed, [this, success, then](const QString& refusal) {
        if (!refusal.isEmpty()) {
            m_Status->ShowFailure(tr("Not done: %1").arg(refusal));
            return;
        }
        m_Status->ShowSuccess(success);
        then();
    });
}

void ControlWindow::FollowState()
{
    const Device::State state = m_Device.CurrentState();
    const bool isThere = state != Device::State::Absent;
    const bool isRunning = state == Device::State::ServiceRunning;
    m_ModesBox->setEnabled(isThere);
    m_EventsBox->setEnabled(isThere);
    // The one that is enabled comes first: it gets the keyboard focus of the other.
    (isRunning ? m_StopService : m_StartService)->setEnabled(true);
    (isRunning ? m_StartService : m_StopService)->setEnabled(false);
    m_State->setText(StateText(state));
    SetTone(m_State, isRunning ? "good" : "bad");
    Announce(state);
    m_LastState = state;
}

void ControlWindow::Announce(Device::State state)
{
    if (state == Device::State::Absent) {
        m_HasActed = false;
        m_Status->ShowSuccess(tr("This window goes on when kiv-audio-simulator runs on the same bus."));
    } else if (m_LastState == Device::State::Absent) {
        m_Status->ShowSuccess(tr("Choose what is to happen at the device."));
    } else if (state == Device::State::ServiceRunning && m_HasActed) { // not when it is found at first
        m_Status->ShowSuccess(ServiceIsThere());
    }
}

QString ControlWindow::ServiceIsThere()
{
    return tr("The service is on the bus.");
}

QString ControlWindow::StateText(Device::State state)
{
    switch (state) {
    case Device::State::ServiceRunning:
        return "● " + tr("Service running");
    case Device::State::ServiceStopped:
        return "○ " + tr("Service stopped");
    case Device::State::Absent:
        break;
    }
    return "○ " + tr("No simulator");
}
