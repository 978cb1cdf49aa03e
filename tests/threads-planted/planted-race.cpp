// SPDX-License-Identifier: MIT
//
// Races on purpose, or takes care not to: shows what ThreadSanitizer sees of a program that uses the library
// from two threads. Its argument says how; scripts/sanitize-threads knows which of them have to be reported.
#include "BusSurroundings.h"
#include "MediaApp.h"
#include "PrivateBus.h"
#include "ServiceProviderProxyAppFactory.h"

#include <QMutex>
#include <QTest>
#include <QThread>

#include <cstdio>
#include <functional>
#include <map>

using namespace KivTest;
using namespace Audio::Utils::Kiv::QtDbus;

namespace {

/** An application client on the main thread, with a count that belongs to this thread. */
struct App
{
    App()
    {
        service.Answer("openSession", R"({"sessionId":7})");
        service.Appear();
        if (client.Initialize() != KivBaseClient::INIT_STATE_SUCCESS) {
            qFatal("the client does not initialise");
        }
        QObject::connect(&client, &AudioManagerApp::SignalAudioActiveCompleted, &client, [this] { Count(); });
    }

    ~App() { client.Powerdown(); }

    void Count() { ++completions; }

    FakeService service;
    QDBusConnection bus = QDBusConnection::systemBus();
    ServiceRegistrator registrator{bus, kClientName};
    AdaptorConnection connection{bus};
    ServiceProviderProxyAppFactory factory;
    OpenedApp client{registrator, kClientPath, "Player", connection, {}, true, {}, factory, false};
    int completions = 0;
};

/** Handles events until something is so. */
void Await(const std::function<bool()>& isSo)
{
    if (!QTest::qWaitFor(isSo, 30000)) {
        qFatal("what is waited for does not come");
    }
}

/** Runs functions, each on a thread of its own; handles events until something is so and all have ended. */
void RunThreads(
    const std::vector<std::function<void()>>& functions,
    const std::function<bool()>& isSo = [] { return true; })
{
    std::vector<std::unique_ptr<QThread>> threads;
    for (const std::function<void()>& function : functions) {
        threads.emplace_back(QThread::create(function));
    }
    for (const auto& thread : threads) {
        thread->start();
    }
    Await(isSo); // first: the end of a thread is seen after all that it did
    for (const auto& thread : threads) {
        Await([&thread] { return thread->isFinished(); });
    }
}

void RequestFromAnotherThread(App& app, const std::function<void()>& afterwards)
{
    bool isCompleted = false;
    QObject::connect(&app.client, &AudioManagerApp::SignalAudioActiveCompleted, &app.client,
                     [&isCompleted] { isCompleted = true; });
    const auto work = [&] {
        app.client.AudioActiveAsync(true);
        afterwards();
    };
    RunThreads({work}, [&isCompleted] { return isCompleted; });
}

// The other thread has the client's thread count: no race.
void Orderly()
{
    App app;
    int seen = 0;
    RequestFromAnotherThread(app, [&] {
        const auto count = [&] {
            app.Count();
            seen = app.completions;
        };
        QMetaObject::invokeMethod(&app.client, count, Qt::BlockingQueuedConnection);
        ++seen;
    });
    ++seen;
}

// The other thread counts itself, after its request was started, while the client's thread completes it.
void RaceOnAMember()
{
    App app;
    RequestFromAnotherThread(app, [&app] { app.Count(); });
}

// The other thread looks at a member of the library that changes when the reply comes.
void RaceInTheLibrary()
{
    App app;
    RunThreads({[&app] {
        app.client.CloseSessionAsync();
        for (int i = 0; i < 30000 && app.client.SessionId() != 0; ++i) {
            QThread::msleep(1);
        }
    }});
}

// Two threads count, each under a mutex of its own.
void RaceUnderTwoMutexes()
{
    int count = 0;
    QMutex one;
    QMutex other;
    const auto countUnder = [&count](QMutex& mutex) {
        const QMutexLocker lock(&mutex);
        ++count;
    };
    RunThreads({[&] { countUnder(one); }, [&] { countUnder(other); }});
}

// Only Qt, which is not compiled with ThreadSanitizer, touches the memory that is raced on.
void RaceInsideQt()
{
    QString text;
    text.reserve(100);
    QString* const shared = &text;
    const auto work = [shared] { shared->append(QLatin1String("x")); };
    RunThreads({work, work});
}

const std::map<QString, void (*)()> kinds{{"orderly", &Orderly},
                                          {"member", &RaceOnAMember},
                                          {"library", &RaceInTheLibrary},
                                          {"mutexes", &RaceUnderTwoMutexes},
                                          {"inside-qt", &RaceInsideQt}};

} // namespace

int main(int argc, char** argv)
{
    const auto kind = kinds.find(argc == 2 ? QString::fromLocal8Bit(argv[1]) : QString());
    if (kind == kinds.end()) {
        std::fputs("planted-race: expected orderly, member, library, mutexes or inside-qt\n", stderr);
        return 2;
    }
    const PrivateBus bus;
    const QCoreApplication application(argc, argv);
    kind->second();
    return 0;
}
