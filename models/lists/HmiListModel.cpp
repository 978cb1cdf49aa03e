// SPDX-License-Identifier: MIT
#include "HmiListModel.h"

#include "session/ClientNames.h"
#include "session/HmiSession.h"

#include <QCoreApplication>
#include <QPointer>

#include <utility>

namespace Audio::Utils::Kiv::Models {

struct HmiListModel::Data
{
    QString busName; ///< Empty for the default, like the path.
    QString objectPath;
    QString destination;
    std::shared_ptr<HmiSession> session;
    bool isAvailable = false;
    int count = 0;
};

HmiListModel::HmiListModel(QObject* parent)
    : QAbstractListModel(parent),
      m_Data(std::make_unique<Data>())
{
}

HmiListModel::~HmiListModel() = default;

QString HmiListModel::busName() const
{
    return m_Data->busName.isEmpty() ? DefaultBusName(QCoreApplication::applicationName()) : m_Data->busName;
}

QString HmiListModel::objectPath() const
{
    // Beside a stream of the same program, whose default is the path of the name itself.
    return m_Data->objectPath.isEmpty() ? DefaultObjectPath(busName()) + QLatin1String("/hmi")
                                        : m_Data->objectPath;
}

QString HmiListModel::destination() const
{
    return m_Data->destination;
}

bool HmiListModel::isAvailable() const
{
    return m_Data->isAvailable;
}

int HmiListModel::count() const
{
    return size();
}

int HmiListModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : size();
}

bool HmiListModel::configure(QString Data::*setting, const char* name, const QString& value)
{
    if (m_Data->session) {
        qWarning("%s: %s stays as it was: it can be set before start() only", metaObject()->className(),
                 name);
        return false;
    }
    return std::exchange((*m_Data).*setting, value) != value;
}

void HmiListModel::setBusName(const QString& name)
{
    const QString oldName = busName();
    const QString oldPath = objectPath();
    if (!configure(&Data::busName, "busName", name) || busName() == oldName) {
        return;
    }
    const QPointer<HmiListModel> self(this);
    Q_EMIT busNameChanged();
    if (!self.isNull() && objectPath() != oldPath) {
        Q_EMIT objectPathChanged();
    }
}

void HmiListModel::setObjectPath(const QString& path)
{
    const QString old = objectPath();
    if (configure(&Data::objectPath, "objectPath", path) && objectPath() != old) {
        Q_EMIT objectPathChanged();
    }
}

void HmiListModel::setDestination(const QString& destination)
{
    if (configure(&Data::destination, "destination", destination)) {
        Q_EMIT destinationChanged();
    }
}

void HmiListModel::start()
{
    if (m_Data->session) {
        return;
    }
    m_Data->session = HmiSession::Get({busName(), objectPath(), destination()});
    connect(m_Data->session.get(), &HmiSession::Changed, this, &HmiListModel::onChanged);
    attach();
    m_Data->session->Start();
    onChanged();
}

HmiSession* HmiListModel::session() const
{
    return m_Data->session.get();
}

void HmiListModel::onChanged()
{
    const bool isAvailable = session()->IsAvailable();
    const QPointer<HmiListModel> self(this);
    if (std::exchange(m_Data->isAvailable, isAvailable) != isAvailable) {
        Q_EMIT availableChanged();
    }
    if (!self.isNull()) {
        follow();
    }
}

bool HmiListModel::hasRow(const QModelIndex& index) const
{
    return index.isValid() && index.model() == this && index.row() < size();
}

void HmiListModel::tellCount()
{
    if (std::exchange(m_Data->count, size()) != size()) {
        Q_EMIT countChanged();
    }
}

} // namespace Audio::Utils::Kiv::Models
