// SPDX-License-Identifier: MIT
#ifndef TIMESLIDER_H
#define TIMESLIDER_H

#include <QSlider>

/** The position in a medium, in milliseconds. A press anywhere goes there. */
class TimeSlider : public QSlider
{
    Q_OBJECT

public:
    explicit TimeSlider(QWidget* parent = nullptr);

    /** Shows a position, unless the user is moving the slider. Emits no valueChanged(). */
    void Show(qint64 position, qint64 duration);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    int ValueAt(int x) const;
};

#endif // TIMESLIDER_H
