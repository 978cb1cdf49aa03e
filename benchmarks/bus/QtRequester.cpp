// SPDX-License-Identifier: MIT
#include "Requester.h"

#include <QDBusAbstractInterface>
#include <QDBusConnection>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QEventLoop>

namespace KivBenchmark {

namespace {

class BareInterface : public QDBusAbstractInterface
{
public:
    BareInterface()
        : QDBusAbstractInterface(Wire::Service, Wire::AppPath, Wire::Interface, QDBusConnection::systemBus(),
                                 nullptr)
    {
    }
};

class QtRequester : public Requester
{
public:
    QString Name() const override { return "raw Qt"; }

    void Block(const Payload& payload) override
    {
        QDBusPendingReply<QString> reply = Send(payload);
        reply.waitForFinished();
        CheckAnswer(!reply.isError() && reply.value().size() == payload.text.size(), "raw Qt");
    }

    void Fly(const Payload& payload, int count) override
    {
        m_Missing = count;
        for (int i = 0; i < count; ++i) {
            auto* watcher = new QDBusPendingCallWatcher(Send(payload), &m_Interface);
            QObject::connect(watcher, &QDBusPendingCallWatcher::finished, &m_Loop,
                             [this, size = payload.text.size()](QDBusPendingCallWatcher* finished) {
                                 const QDBusPendingReply<QString> reply = *finished;
                                 CheckAnswer(!reply.isError() && reply.value().size() == size, "raw Qt");
                                 finished->deleteLater();
                                 CountOne();
                             });
        }
        m_Loop.exec();
    }

private:
    QDBusPendingCall Send(const Payload& payload)
    {
        return m_Interface.asyncCallWithArgumentList(QStringLiteral("Request"),
                                                     {payload.method, payload.text});
    }

    void CountOne()
    {
        if (--m_Missing == 0) {
            m_Loop.quit();
        }
    }

    BareInterface m_Interface;
    QEventLoop m_Loop;
    int m_Missing = 0;
};

} // namespace

std::unique_ptr<Requester> MakeQtRequester()
{
    return std::make_unique<QtRequester>();
}

} // namespace KivBenchmark
