// SPDX-License-Identifier: MIT
#ifndef HMI_PANEL_INPUTMODE_H
#define HMI_PANEL_INPUTMODE_H

#include <QObject>

/** Whether the user works with the keyboard at the moment: only then the focus is shown. */
class InputMode : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool keyboard READ isKeyboard NOTIFY keyboardChanged)

public:
    /** Looks at all input events of the application, and takes none of them. */
    explicit InputMode(QObject* parent = nullptr);

    bool isKeyboard() const { return m_IsKeyboard; }

    bool eventFilter(QObject* watched, QEvent* event) override;

Q_SIGNALS:
    void keyboardChanged();

private:
    void Set(bool isKeyboard);

    bool m_IsKeyboard = false;
};

#endif // HMI_PANEL_INPUTMODE_H
