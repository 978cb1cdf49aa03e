// SPDX-License-Identifier: MIT
#ifndef MODESBOX_H
#define MODESBOX_H

#include <QFrame>
#include <QString>

class QAbstractItemModel;
class QLineEdit;
class QListView;
class QPushButton;

/** The modes that the device offers, and what can be done with them. */
class ModesBox : public QFrame
{
    Q_OBJECT

public:
    /** @param modes an AudioModesModel. */
    explicit ModesBox(QAbstractItemModel* modes);

    /** Empties the line in which a new mode's name is written, unless it is another one by now. */
    void Forget(const QString& newMode);

Q_SIGNALS:
    void AddAsked(const QString& mode);
    void RemoveAsked(const QString& mode);
    void PressAsked(const QString& mode);

private:
    void LayOut();
    void Connect();
    void FollowSelection();
    void FollowNewName();
    QString SelectedMode() const;

    QListView* const m_List;
    QPushButton* const m_Press;
    QPushButton* const m_Remove;
    QLineEdit* const m_NewName;
    QPushButton* const m_Add;
};

#endif // MODESBOX_H
