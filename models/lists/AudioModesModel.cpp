// SPDX-License-Identifier: MIT
#include "AudioModesModel.h"

#include "lists/ListDiff.h"
#include "session/HmiSession.h"

#include <QPointer>

#include <utility>

namespace Audio::Utils::Kiv::Models {

namespace {

/** Whether a row is the mode that is meant; without a mode, none is, not even one without a name. */
bool Is(const QString& name, const QString& mode)
{
    return !mode.isEmpty() && name == mode;
}

} // namespace

struct AudioModesModel::Data
{
    QStringList rows;
    QString currentMode;
    QString pendingMode;
    QString lastError;
    bool isBusy = false;
    bool isFollowingList = false;
};

AudioModesModel::AudioModesModel(QObject* parent)
    : HmiListModel(parent),
      m_Data(std::make_unique<Data>())
{
}

AudioModesModel::~AudioModesModel() = default;

QString AudioModesModel::currentMode() const
{
    return m_Data->currentMode;
}

QString AudioModesModel::pendingMode() const
{
    return m_Data->pendingMode;
}

bool AudioModesModel::isBusy() const
{
    return m_Data->isBusy;
}

QString AudioModesModel::lastError() const
{
    return m_Data->lastError;
}

bool AudioModesModel::requestMode(const QString& name)
{
    if (session() == nullptr) {
        setText(&Data::lastError, QStringLiteral("The model has not been started."),
                &AudioModesModel::lastErrorChanged);
        return false;
    }
    const bool isAccepted = session()->Modes().Request(name);
    follow();
    return isAccepted;
}

bool AudioModesModel::cancelPending()
{
    const bool isDropped = session() != nullptr && session()->Modes().DropWaiting();
    if (isDropped) {
        follow();
    }
    return isDropped;
}

QVariant AudioModesModel::data(const QModelIndex& index, int role) const
{
    if (!hasRow(index)) {
        return {};
    }
    const QString& name = m_Data->rows.at(index.row());
    switch (role) {
    case Qt::DisplayRole:
    case NameRole:
        return name;
    case ActiveRole:
        return Is(name, m_Data->currentMode);
    case PendingRole:
        return Is(name, m_Data->pendingMode);
    default:
        return {};
    }
}

QHash<int, QByteArray> AudioModesModel::roleNames() const
{
    return {{NameRole, "name"}, {ActiveRole, "active"}, {PendingRole, "pending"}};
}

int AudioModesModel::size() const
{
    return int(m_Data->rows.size());
}

void AudioModesModel::attach() {}

// Each step tells, and a slot may delete the model: false then. Rows come in with what is current already.
void AudioModesModel::follow()
{
    const HmiSession& now = *session();
    if (setMode(&Data::currentMode, now.Modes().Current(), ActiveRole,
                &AudioModesModel::currentModeChanged) &&
        setMode(&Data::pendingMode, now.Modes().Pending(), PendingRole,
                &AudioModesModel::pendingModeChanged) &&
        followList() && setBusy(now.Modes().IsBusy())) {
        setText(&Data::lastError, now.LastError(), &AudioModesModel::lastErrorChanged);
    }
}

bool AudioModesModel::setText(QString Data::*text, const QString& value, void (AudioModesModel::*changed)())
{
    const QPointer<AudioModesModel> self(this);
    if (std::exchange((*m_Data).*text, value) != value) {
        Q_EMIT(this->*changed)();
    }
    return !self.isNull();
}

bool AudioModesModel::setMode(QString Data::*mode, const QString& value, Role role,
                              void (AudioModesModel::*changed)())
{
    const QPointer<AudioModesModel> self(this);
    const QString old = (*m_Data).*mode;
    if (!setText(mode, value, changed) || old == value) {
        return !self.isNull();
    }
    for (int row = 0; !self.isNull() && row < size(); ++row) {
        const QString name = m_Data->rows.at(row);
        if (Is(name, old) || Is(name, value)) {
            Q_EMIT dataChanged(index(row), index(row), {role});
        }
    }
    return !self.isNull();
}

bool AudioModesModel::setBusy(bool isBusy)
{
    const QPointer<AudioModesModel> self(this);
    if (std::exchange(m_Data->isBusy, isBusy) != isBusy) {
        Q_EMIT busyChanged();
    }
    return !self.isNull();
}

// A slot may run an event loop, in which the list changes again: what is under way is finished first.
bool AudioModesModel::followList()
{
    const QPointer<AudioModesModel> self(this);
    if (std::exchange(m_Data->isFollowingList, true)) {
        return true;
    }
    while (!self.isNull() && m_Data->rows != session()->Modes().List()) {
        if (!doSteps(session()->Modes().List())) {
            return false;
        }
        tellCount();
    }
    if (self.isNull()) {
        return false;
    }
    m_Data->isFollowingList = false;
    return true;
}

bool AudioModesModel::doSteps(const QStringList& target)
{
    const QPointer<AudioModesModel> self(this);
    for (const ListStep& step : StepsBetween(m_Data->rows, target)) {
        const int last = step.first + int(step.texts.size()) - 1;
        if (step.kind == ListStep::Insert) {
            beginInsertRows(QModelIndex(), step.first, last);
            m_Data->rows = m_Data->rows.mid(0, step.first) + step.texts + m_Data->rows.mid(step.first);
            endInsertRows();
        } else {
            beginRemoveRows(QModelIndex(), step.first, last);
            m_Data->rows.erase(m_Data->rows.begin() + step.first, m_Data->rows.begin() + last + 1);
            endRemoveRows();
        }
        if (self.isNull()) {
            return false;
        }
    }
    return true;
}

} // namespace Audio::Utils::Kiv::Models
