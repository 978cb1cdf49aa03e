// SPDX-License-Identifier: MIT
#ifndef ROUNDBUTTON_H
#define ROUNDBUTTON_H

#include "Icons.h"

#include <QPushButton>

/** A round button with a sign. Its text is not shown: it is the tool tip and what screen readers say. */
class RoundButton : public QPushButton
{
    Q_OBJECT

public:
    /** @param isPrimary whether it is the one that a user looks for: filled with the accent. */
    RoundButton(int diameter, bool isPrimary, QWidget* parent = nullptr);

    /** @param keys the shortcut, for the tool tip. */
    void SetAction(Icon icon, const QString& text, const QString& keys);

    /** Whether it looks as if it did nothing now; the description says why. It keeps the keyboard's focus. */
    void SetDimmed(bool isDimmed, const QString& description);

    QSize sizeHint() const override;

protected:
    bool event(QEvent* event) override;
    bool hitButton(const QPoint& position) const override;
    void paintEvent(QPaintEvent* event) override;

private:
    QColor Face() const;
    QColor Sign() const;

    const int m_Diameter;
    const bool m_IsPrimary;
    Icon m_Icon = Icon::Play;
    bool m_IsDimmed = false;
};

#endif // ROUNDBUTTON_H
