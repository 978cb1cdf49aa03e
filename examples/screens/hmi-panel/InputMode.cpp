// SPDX-License-Identifier: MIT
#include "InputMode.h"

#include <QCoreApplication>
#include <QEvent>

#include <utility>

InputMode::InputMode(QObject* parent)
    : QObject(parent)
{
    QCoreApplication::instance()->installEventFilter(this);
}

bool InputMode::eventFilter(QObject* watched, QEvent* event)
{
    switch (event->type()) {
    case QEvent::KeyPress:
        Set(true);
        break;
    case QEvent::MouseButtonPress:
    case QEvent::TouchBegin:
        Set(false);
        break;
    default:
        break;
    }
    return QObject::eventFilter(watched, event);
}

void InputMode::Set(bool isKeyboard)
{
    if (std::exchange(m_IsKeyboard, isKeyboard) != isKeyboard) {
        Q_EMIT keyboardChanged();
    }
}
