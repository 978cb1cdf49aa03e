// SPDX-License-Identifier: MIT
#ifndef PLAYERWINDOW_H
#define PLAYERWINDOW_H

#include "ElidedLabel.h"
#include "LevelView.h"
#include "Player.h"
#include "RoundButton.h"
#include "StatusCard.h"
#include "TimeSlider.h"

#include <QLabel>
#include <QWidget>

class QBoxLayout;

/** The window of a player: what is played, where it is, and why it is silent if it is. */
class PlayerWindow : public QWidget
{
    Q_OBJECT

public:
    /** @param player lives longer. */
    explicit PlayerWindow(Player& player);

protected:
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    QBoxLayout* TitleRow();
    QBoxLayout* TimeRow();
    QBoxLayout* ButtonRow();
    void ConnectPlayer();
    void AddKeys();
    void AskForFile();
    void ShowAll();
    void ShowTitle();
    void ShowButtons();
    void ShowPosition();
    void ApplyColors();
    QString Complaint() const;

    Player& m_Player;
    LevelView m_Levels;
    ElidedLabel m_Title;
    ElidedLabel m_Origin;
    QLabel m_Elapsed;
    QLabel m_Total;
    TimeSlider m_Slider;
    RoundButton m_Stop;
    RoundButton m_Play;
    RoundButton m_Open;
    StatusCard m_Status;
};

#endif // PLAYERWINDOW_H
