// SPDX-License-Identifier: MIT
#ifndef LEVELVIEW_H
#define LEVELVIEW_H

#include <QWidget>

/** A picture beside the title: bars that move while the medium is heard, and lie flat while it is not. */
class LevelView : public QWidget
{
    Q_OBJECT

public:
    explicit LevelView(QWidget* parent = nullptr);

    void Show(qint64 position, bool isSounding);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    double Level(int bar) const;

    qint64 m_Position = 0;
    bool m_IsSounding = false;
};

#endif // LEVELVIEW_H
