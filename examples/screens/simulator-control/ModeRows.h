// SPDX-License-Identifier: MIT
#ifndef MODEROWS_H
#define MODEROWS_H

#include <QIcon>
#include <QIdentityProxyModel>

/** The rows of an AudioModesModel as a view of widgets shows them: the current mode has a dot and a bold name. */
class ModeRows : public QIdentityProxyModel
{
    Q_OBJECT

public:
    explicit ModeRows(QObject* parent = nullptr);

    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;

private:
    const QIcon m_Dot;
    const QIcon m_NoDot;
};

#endif // MODEROWS_H
