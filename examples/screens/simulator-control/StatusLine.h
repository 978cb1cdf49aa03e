// SPDX-License-Identifier: MIT
#ifndef STATUSLINE_H
#define STATUSLINE_H

#include <QLabel>
#include <QString>

/** Tells what became of the last deed, in up to two lines; also to assistive technology. */
class StatusLine : public QLabel
{
    Q_OBJECT

public:
    StatusLine();

    /** It was done. */
    void ShowSuccess(const QString& text);

    /** It was not. */
    void ShowFailure(const QString& text);

private:
    void Show(const QString& text, const char* tone);
};

/** Has the style sheet look again at what a widget has in its property "tone". */
void SetTone(QWidget* widget, const char* tone);

#endif // STATUSLINE_H
