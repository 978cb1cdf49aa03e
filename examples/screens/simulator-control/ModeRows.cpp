// SPDX-License-Identifier: MIT
#include "ModeRows.h"

#include <AudioModesModel.h>
#include <QFont>
#include <QGuiApplication>
#include <QPainter>
#include <QPalette>
#include <QPixmap>

using Audio::Utils::Kiv::Models::AudioModesModel;

namespace {

QIcon Dot(const QColor& colour)
{
    QPixmap picture(16, 16);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(colour);
    painter.drawEllipse(4, 4, 8, 8);
    return QIcon(picture);
}

QFont Bold()
{
    QFont font;
    font.setBold(true);
    return font;
}

} // namespace

ModeRows::ModeRows(QObject* parent)
    : QIdentityProxyModel(parent),
      m_Dot(Dot(QGuiApplication::palette().color(QPalette::Highlight))),
      m_NoDot(Dot(Qt::transparent)) // the names stay below each other
{
}

QVariant ModeRows::data(const QModelIndex& index, int role) const
{
    const bool isActive = QIdentityProxyModel::data(index, AudioModesModel::ActiveRole).toBool();
    const QString name = QIdentityProxyModel::data(index, AudioModesModel::NameRole).toString();
    switch (role) {
    case Qt::DecorationRole:
        return isActive ? m_Dot : m_NoDot;
    case Qt::FontRole:
        return isActive ? QVariant(Bold()) : QVariant();
    case Qt::ToolTipRole:
        return name;
    case Qt::AccessibleTextRole:
        return isActive ? tr("%1, current mode").arg(name) : name;
    default:
        return QIdentityProxyModel::data(index, role);
    }
}
