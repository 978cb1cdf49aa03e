// SPDX-License-Identifier: MIT
#ifndef ELIDEDLABEL_H
#define ELIDEDLABEL_H

#include <QLabel>

/** A line of text of any length: without its middle where it does not fit, whole in the tool tip. */
class ElidedLabel : public QLabel
{
    Q_OBJECT

public:
    explicit ElidedLabel(QWidget* parent = nullptr);

    void SetWhole(const QString& text);

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void Fit();

    QString m_Whole;
};

#endif // ELIDEDLABEL_H
