// SPDX-License-Identifier: MIT
#include "Inbound.h"

#include "Clients.h"
#include "Flood.h"
#include "Requester.h"

#include <QDBusAbstractAdaptor>

namespace KivBenchmark {

namespace {

const QString kFocusChange = R"({"newFocus":"gained","sessionId":1234})";
const QString kFocusEvent =
    R"({"destination":"all","focusType":"permanent","newFocus":"gained",)"
    R"("streamModeName":"/com/quorvantel/audioclient/player","streamName":"Player","streamType":"Media"})";

} // namespace

/** What a program without the library would export. */
class BareAdaptor : public QDBusAbstractAdaptor
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.quorvantel.ServiceProvider")

public:
    BareAdaptor(QObject* parent, Flood& flood)
        : QDBusAbstractAdaptor(parent),
          m_Flood(flood)
    {
    }

public Q_SLOTS:
    QString Request(const QString&, const QString&)
    {
        m_Flood.CountOne();
        return QStringLiteral("{}");
    }

private:
    Flood& m_Flood;
};

/** What a program without the library would connect to a broadcast. */
class BareReceiver : public QObject
{
    Q_OBJECT

public:
    explicit BareReceiver(Flood& flood)
        : m_Flood(flood)
    {
    }

public Q_SLOTS:
    void Notify(const QString&, const QString&) { m_Flood.CountOne(); }

private:
    Flood& m_Flood;
};

namespace {

struct CalledApp
{
    CalledApp()
    {
        QObject::connect(&app.client, &AudioManagerApp::SignalAudioFocusChanged, &app.client,
                         [this](const QString& focus) {
                             CheckAnswer(focus == "gained", "library");
                             flood.CountOne();
                         });
    }

    Flood flood;
    App app;
};

struct BareObject
{
    BareObject()
    {
        QDBusConnection::systemBus().registerObject("/bare", &object, QDBusConnection::ExportAdaptors);
    }

    Flood flood;
    QObject object;
    BareAdaptor* adaptor = new BareAdaptor(&object, flood);
};

struct ListeningHmi
{
    ListeningHmi()
    {
        QObject::connect(&hmi.client, &AudioManagerHmi::SignalAudioFocusChange, &hmi.client,
                         [this] { flood.CountOne(); });
    }

    Flood flood;
    Hmi hmi;
};

// On another object of the service, so that no broadcast reaches both contestants.
struct ListeningReceiver
{
    ListeningReceiver()
    {
        QDBusConnection::systemBus().connect(Wire::Service, Wire::AppPath, Wire::Interface, "Notify",
                                             &receiver, SLOT(Notify(QString, QString)));
    }

    Flood flood;
    BareReceiver receiver{flood};
};

template <typename Target>
Contestant Called(const QString& name, const std::shared_ptr<Target>& target, const QString& path)
{
    return {name, [target, path](int operations) {
                target->flood.Calls(path, "onAudioFocusChange", kFocusChange, operations);
            }};
}

template <typename Target>
Contestant Listening(const QString& name, const std::shared_ptr<Target>& target, const QString& path)
{
    return {name, [target, path](int operations) {
                target->flood.Broadcasts(path, "audioFocusChangeEvent", kFocusEvent, operations);
            }};
}

} // namespace

std::vector<Contestant> CallContestants()
{
    return {Called("library", std::make_shared<CalledApp>(), "/app/ServiceProviderClient"),
            Called("raw Qt", std::make_shared<BareObject>(), "/bare")};
}

std::vector<Contestant> BroadcastContestants()
{
    return {Listening("library", std::make_shared<ListeningHmi>(), Wire::HmiPath),
            Listening("raw Qt", std::make_shared<ListeningReceiver>(), Wire::AppPath)};
}

} // namespace KivBenchmark

#include "Inbound.moc"
