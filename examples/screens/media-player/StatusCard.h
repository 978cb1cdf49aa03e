// SPDX-License-Identifier: MIT
#ifndef STATUSCARD_H
#define STATUSCARD_H

#include "StatusText.h"

#include <QFrame>
#include <QLabel>

/** Says what the player does, and why: a sign, a sentence, and what follows from it or what went wrong. */
class StatusCard : public QFrame
{
    Q_OBJECT

public:
    explicit StatusCard(QWidget* parent = nullptr);

    /** @param complaint takes the place of the detail, unless it is empty. */
    void Show(const Status& status, const QString& complaint);

protected:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void ApplyColors();

    QLabel m_Sentence;
    QLabel m_Detail;
    Marker m_Marker = Marker::Stopped;
    bool m_HasComplaint = false;
};

#endif // STATUSCARD_H
