// SPDX-License-Identifier: MIT
#include "Clients.h"
#include "Inbound.h"
#include "Requester.h"

#include <QDBusAbstractInterface>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QEventLoop>
#include <QThread>

namespace KivBenchmark {

/** What a program without the library would write: an invokable that starts and watches a request. */
class BareStarter : public QDBusAbstractInterface
{
    Q_OBJECT

public:
    BareStarter()
        : QDBusAbstractInterface(Wire::Service, Wire::AppPath, Wire::Interface, QDBusConnection::systemBus(),
                                 nullptr)
    {
    }

    Q_INVOKABLE quint32 Start(bool playing)
    {
        const quint32 id = ++m_Id;
        const QDBusPendingCall call = asyncCallWithArgumentList(
            QStringLiteral("Request"), {m_Payload.method, playing ? m_Payload.text : QString()});
        auto* watcher = new QDBusPendingCallWatcher(call, this);
        connect(watcher, &QDBusPendingCallWatcher::finished, this,
                [this, id](QDBusPendingCallWatcher* finished) {
                    const QDBusPendingReply<QString> reply = *finished;
                    finished->deleteLater();
                    Q_EMIT Completed(id, !reply.isError() && reply.value() == m_Payload.text);
                });
        return id;
    }

Q_SIGNALS:
    void Completed(quint32 id, bool result);

private:
    const Payload m_Payload = PayloadOf("small");
    quint32 m_Id = 0;
};

namespace {

// Has operations started on a thread of their own, and waits on this one until all are completed.
class ForeignStarts
{
public:
    void Perform(int operations, const std::function<quint32()>& start)
    {
        m_Missing = operations;
        const std::unique_ptr<QThread> thread(QThread::create([operations, start] {
            for (int i = 0; i < operations; ++i) {
                CheckAnswer(start() != 0, "foreign thread");
            }
        }));
        thread->start();
        m_Loop.exec();
        thread->wait();
    }

    void Count(bool isRight)
    {
        CheckAnswer(isRight, "foreign thread");
        if (--m_Missing == 0) {
            m_Loop.quit();
        }
    }

private:
    QEventLoop m_Loop;
    int m_Missing = 0;
};

struct LibraryStarts
{
    LibraryStarts()
    {
        QObject::connect(&app.client, &AudioManagerApp::SignalAudioActiveCompleted, &app.client,
                         [this](quint32, bool result) { starts.Count(result); });
    }

    ForeignStarts starts;
    App app;
};

struct BareStarts
{
    BareStarts()
    {
        QObject::connect(&starter, &BareStarter::Completed, &starter,
                         [this](quint32, bool result) { starts.Count(result); });
    }

    quint32 Invoke()
    {
        quint32 id = 0;
        QMetaObject::invokeMethod(&starter, "Start", Qt::BlockingQueuedConnection, Q_RETURN_ARG(quint32, id),
                                  Q_ARG(bool, true));
        return id;
    }

    ForeignStarts starts;
    BareStarter starter;
};

} // namespace

std::vector<Contestant> ForeignThreadContestants()
{
    const auto library = std::make_shared<LibraryStarts>();
    const auto bare = std::make_shared<BareStarts>();
    return {{"library",
             [library](int operations) {
                 library->starts.Perform(operations,
                                         [library] { return library->app.client.AudioActiveAsync(true); });
             }},
            {"raw Qt", [bare](int operations) {
                 bare->starts.Perform(operations, [bare] { return bare->Invoke(); });
             }}};
}

} // namespace KivBenchmark

#include "ForeignThread.moc"
