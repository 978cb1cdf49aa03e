// SPDX-License-Identifier: MIT
#ifndef CONTROLWINDOW_H
#define CONTROLWINDOW_H

#include "Device.h"
#include "ModesBox.h"
#include "StatusLine.h"

#include <AudioModesModel.h>
#include <QWidget>

#include <functional>

class QLayout;
class QPushButton;

/**
 * Plays what happens at the device, beside the programs that are shown: modes come and go, a phone call
 * interrupts, the service stops and restarts, a request goes wrong.
 *
 * What is refused is told in the status line. Without a simulator nothing can be done; it is noticed when there
 * is one again.
 */
class ControlWindow : public QWidget
{
    Q_OBJECT

public:
    /** On the system bus. */
    ControlWindow();

    /** Begins to follow the modes. Call it from within the event loop. */
    void Start();

private:
    QWidget* MakeHeader();
    QWidget* MakeEventsBox();
    QLayout* MakeCallRow();
    QLayout* MakeServiceRow();
    QLayout* MakeRequestRow();
    QPushButton* MakeDeedButton(const QString& objectName, const QString& text, const QString& purpose,
                                const Deed& deed, const QString& success);
    void Connect();
    void Perform(
        const Deed& deed, const QString& success, const std::function<void()>& then = [] {});
    void FollowState();
    void Announce(Device::State state);
    static QString StateText(Device::State state);
    static QString ServiceIsThere();

    Device m_Device;
    Audio::Utils::Kiv::Models::AudioModesModel m_Modes;
    QLabel* const m_State;
    ModesBox* const m_ModesBox;
    QWidget* m_EventsBox = nullptr;
    QPushButton* m_StopService = nullptr;
    QPushButton* m_StartService = nullptr;
    StatusLine* const m_Status;
    Device::State m_LastState = Device::State::Absent;
    bool m_HasActed = false; // since there is a simulator
};

#endif // CONTROLWINDOW_H
