// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_MODESFIXTURE_H
#define KIV_TESTS_MODESFIXTURE_H

#include "AudioModesModel.h"
#include "BusProbe.h"
#include "FakeService.h"
#include "LogCapture.h"
#include "ModelJournal.h"
#include "TestClients.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

#include <memory>

namespace KivTest {

using Audio::Utils::Kiv::Models::AudioModesModel;

/** A member that is a list of texts, as the service answers it. */
inline QString ListText(const char* member, const QStringList& texts)
{
    const QJsonObject object{{QLatin1String(member), QJsonArray::fromStringList(texts)}};
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact));
}

/** A service that offers modes; the first is the current one. */
struct ModesService : FakeService
{
    explicit ModesService(int sessionId, const QStringList& modes)
        : session(sessionId)
    {
        Answer("openSession", QStringLiteral(R"({"sessionId":%1})").arg(sessionId));
        Answer("getModeList", ListText("modeList", modes));
        Answer("getMode", ListText("currentMode", modes.mid(0, 1)));
    }

    /** Calls the model's client; handles events until it has answered. */
    void Tell(const QString& method, const QString& members)
    {
        const QString arguments = QStringLiteral(R"({"sessionId":%1,%2})").arg(session).arg(members);
        const QDBusMessage answer = CallClient(QDBusConnection::systemBus().baseService(),
                                               kClientPath + "/ServiceProviderClient", method, arguments);
        QCOMPARE(answer.arguments(), QVariantList{"{}"});
        QCoreApplication::processEvents();
    }

    void Switch(const QString& mode)
    {
        Tell("onModeChange", QStringLiteral(R"("activeMode":"%1")").arg(mode));
    }

    void Add(const QString& mode)
    {
        Tell("onModeListChange", QStringLiteral(R"("action":"add","mode":"%1")").arg(mode));
    }

    void Remove(const QString& mode)
    {
        Tell("onModeListChange", QStringLiteral(R"("action":"remove","mode":"%1")").arg(mode));
    }

    int Count(const char* method) const
    {
        return static_cast<int>(ArgumentsOf(QLatin1String(method)).size());
    }

    int session;
};

/** A model on the path of the tests' clients, and its journal. */
struct Modes
{
    Modes()
    {
        model.setBusName(kClientName);
        model.setObjectPath(kClientPath);
        journal.Watch(&AudioModesModel::availableChanged, "available");
        journal.Watch(&AudioModesModel::currentModeChanged, "currentMode");
        journal.Watch(&AudioModesModel::pendingModeChanged, "pendingMode");
        journal.Watch(&AudioModesModel::busyChanged, "busy");
        journal.Watch(&AudioModesModel::lastErrorChanged, "lastError");
        journal.Watch(&AudioModesModel::countChanged, "count");
    }

    /** Starts, and returns when everything is read; forgets what the journal says of it. */
    void StartAndRead(const QStringList& modes)
    {
        model.start();
        QTRY_COMPARE_WITH_TIMEOUT(Names(), modes, 30000);
        QTRY_COMPARE_WITH_TIMEOUT(model.currentMode(), modes.value(0), 30000);
        Settle();
        journal.Take();
    }

    /** Returns when everything has been handled that was sent to this process before. */
    static void Settle()
    {
        HandleArrivedEvents(QDBusConnection::systemBus());
        QCoreApplication::processEvents();
    }

    QStringList Names() const
    {
        QStringList names;
        for (const QVariant& name : journal.Column(AudioModesModel::NameRole)) {
            names.append(name.toString());
        }
        return names;
    }

    LogCapture log;
    AudioModesModel model;
    ModelJournal journal{model};
};

} // namespace KivTest

#endif // KIV_TESTS_MODESFIXTURE_H
