// SPDX-License-Identifier: MIT
#include "FocusFeed.h"
#include "ModesFixture.h"
#include "TestMain.h"

#include <QPointer>
#include <QProcess>

#include <functional>

using namespace KivTest;
using Audio::Utils::Kiv::Models::FocusFeed;
using Audio::Utils::Kiv::Models::HmiListModel;

namespace {

const QStringList kModes{"Radio", "Bluetooth"};
const QString kExportedPath = kClientPath + "/ServiceProviderClient";
const QString kEvent = R"({"streamName":"player","streamModeName":"","focusType":"permanent",)"
                       R"("streamType":"Media","destination":"all","newFocus":"gained"})";

template <typename Model>
std::unique_ptr<Model> Named(const QString& destination = QString())
{
    auto model = std::make_unique<Model>();
    model->setBusName(kClientName);
    model->setObjectPath(kClientPath);
    model->setDestination(destination);
    return model;
}

/** Has a model deleted when it emits some signal. */
using Connector = std::function<void(AudioModesModel*)>;

/** A monitor of the private bus, another program's. */
class BusMonitor
{
public:
    BusMonitor()
    {
        m_Process.start("dbus-monitor",
                        {"--address", QString::fromLatin1(qgetenv("DBUS_SYSTEM_BUS_ADDRESS"))});
        Mark("begin");
        while (!Has("begin") && m_Process.waitForStarted()) {
            Mark("begin"); // until it listens
            m_Process.waitForReadyRead(100);
        }
    }

    ~BusMonitor()
    {
        m_Process.kill();
        m_Process.waitForFinished();
    }

    /** The messages that this process has sent since a mark. */
    int MessagesSince(const QString& mark)
    {
        Mark("end");
        if (!QTest::qWaitFor([this] { return Has("end"); }, 30000)) {
            qFatal("the monitor is silent");
        }
        const QString part = m_Output.mid(m_Output.lastIndexOf(mark));
        const QString sender = "sender=" + QDBusConnection::systemBus().baseService() + ' ';
        return int(part.count(sender)) - 1; // the mark at the end
    }

    /** Sends a message that names the mark. */
    void Mark(const QString& mark)
    {
        QDBusConnection::systemBus().send(QDBusMessage::createSignal("/mark/" + mark, "test.Mark", "Mark"));
    }

private:
    bool Has(const QString& mark)
    {
        m_Output += QString::fromUtf8(m_Process.readAllStandardOutput());
        return m_Output.contains("/mark/" + mark);
    }

    QProcess m_Process;
    QString m_Output;
};

} // namespace

Q_DECLARE_METATYPE(Connector)

/** Models that share a client, their names, their end. */
class tst_ModelsTogether : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup();

    void names_followFromTheApplication();
    void settings_tellTheirChangesOnce();
    void settings_afterStart_areRefused_data();
    void settings_afterStart_areRefused();
    void sameSettings_shareOneClient();
    void sharedClient_showsWhatTheOtherModelAsked();
    void lastModel_closesTheSession_withoutWaiting();
    void otherDestinationOnThePath_isNotAvailable_untilThePathIsFree();
    void modelOnATakenPath_leavesTheOtherObjectAlone();
    void slot_mayDeleteTheModel_data();
    void slot_mayDeleteTheModel();
    void reading_causesNoBusMessage();
};

void tst_ModelsTogether::cleanup()
{
    Modes::Settle();
}

void tst_ModelsTogether::names_followFromTheApplication()
{
    const QString name = QCoreApplication::applicationName();
    AudioModesModel model;
    QCOMPARE(model.busName(), "com.quorvantel.audioclient.tst_ModelsTogether");
    QCOMPARE(model.objectPath(), "/com/quorvantel/audioclient/tst_ModelsTogether/hmi");
    QCoreApplication::setApplicationName("my hmi");
    QCOMPARE(model.busName(), "com.quorvantel.audioclient.my_hmi");
    QCOMPARE(FocusFeed().objectPath(), "/com/quorvantel/audioclient/my_hmi/hmi");
    QCoreApplication::setApplicationName(name);
    QCOMPARE(model.destination(), "");
    QVERIFY(!model.isAvailable());
}

void tst_ModelsTogether::settings_tellTheirChangesOnce()
{
    AudioModesModel model;
    ModelJournal journal(model);
    journal.Watch(&HmiListModel::busNameChanged, "busName");
    journal.Watch(&HmiListModel::objectPathChanged, "objectPath");
    journal.Watch(&HmiListModel::destinationChanged, "destination");
    model.setBusName("a.b-c");
    model.setBusName("a.b-c");
    QCOMPARE(journal.Take(), (QStringList{"busName=a.b-c", "objectPath=/a/b_c/hmi"}));
    model.setObjectPath("/a/b_c/hmi"); // what it is already
    model.setBusName("d.e");
    QCOMPARE(journal.Take(), QStringList{"busName=d.e"});
    model.setObjectPath("");
    model.setDestination("Rear");
    model.setDestination("Rear");
    QCOMPARE(journal.Take(), (QStringList{"objectPath=/d/e/hmi", "destination=Rear"}));
}

void tst_ModelsTogether::settings_afterStart_areRefused_data()
{
    QTest::addColumn<QString>("property");
    for (const char* const property : {"busName", "objectPath", "destination"}) {
        QTest::newRow(property) << property;
    }
}

void tst_ModelsTogether::settings_afterStart_areRefused()
{
    QFETCH(QString, property);
    const auto model = Named<AudioModesModel>("Rear");
    LogCapture log;
    model->start();
    const QVariant before = model->property(qPrintable(property));
    ModelJournal journal(*model);
    journal.Watch(&HmiListModel::busNameChanged, "busName");
    journal.Watch(&HmiListModel::objectPathChanged, "objectPath");
    journal.Watch(&HmiListModel::destinationChanged, "destination");
    log.Clear();
    QVERIFY(model->setProperty(qPrintable(property), "/other"));
    QCOMPARE(log.Complaints(),
             QVector<LogRecord>{Warning("Audio::Utils::Kiv::Models::AudioModesModel: " + property +
                                        " stays as it was: it can be set before start() only")});
    QCOMPARE(model->property(qPrintable(property)), before);
    QCOMPARE(journal.Take(), QStringList());
}

void tst_ModelsTogether::sameSettings_shareOneClient()
{
    ModesService service(7, kModes);
    service.Appear();
    LogCapture log;
    const auto modes = Named<AudioModesModel>();
    auto second = Named<AudioModesModel>();
    auto feed = Named<FocusFeed>();
    feed->start();
    QVERIFY(feed->isAvailable());
    modes->start();
    QVERIFY(modes->isAvailable());
    QTRY_VERIFY_WITH_TIMEOUT(modes->count() == 2 && modes->currentMode() == "Radio", 30000);
    second->start(); // finds everything
    QCOMPARE(second->count(), 2);
    QCOMPARE(second->currentMode(), "Radio");
    service.Notify(kHmiPath, "audioFocusChangeEvent", kEvent);
    QTRY_COMPARE_WITH_TIMEOUT(feed->count(), 1, 30000);
    QCOMPARE(service.Count("openSession"), 1);
    QCOMPARE(service.Count("getModeList"), 1);

    feed.reset();
    second.reset();
    service.Add("Tape"); // the first one lives on
    QTRY_COMPARE_WITH_TIMEOUT(modes->count(), 3, 30000);
    QCOMPARE(service.Count("closeSession"), 0);
}

void tst_ModelsTogether::sharedClient_showsWhatTheOtherModelAsked()
{
    ModesService service(7, kModes);
    service.Hold("setMode");
    service.Appear();
    LogCapture log;
    const auto first = Named<AudioModesModel>();
    const auto second = Named<AudioModesModel>();
    first->start();
    second->start();
    QTRY_COMPARE_WITH_TIMEOUT(second->count(), 2, 30000);
    QVERIFY(first->requestMode("Bluetooth"));
    QTRY_COMPARE_WITH_TIMEOUT(second->pendingMode(), "Bluetooth", 30000);
    QVERIFY(second->isBusy());
}

void tst_ModelsTogether::lastModel_closesTheSession_withoutWaiting()
{
    ModesService service(7, kModes);
    service.Hold("closeSession");
    service.Appear();
    LogCapture log;
    auto model = Named<AudioModesModel>();
    model->start();
    QVERIFY(service.WaitForCalls("getMode", 1));
    model.reset();
    QVERIFY(service.WaitForCalls("closeSession", 1));
    QCOMPARE(service.ArgumentsOf("closeSession"), QStringList{R"({"sessionId":7})"});
    QCOMPARE(QDBusConnection::systemBus().objectRegisteredAt(kExportedPath), nullptr);
    QCOMPARE(BusProbe().Owner(kClientName), "");

    model = Named<AudioModesModel>(); // everything anew
    model->start();
    QTRY_COMPARE_WITH_TIMEOUT(model->count(), 2, 30000);
    QCOMPARE(service.Count("openSession"), 2);
}

void tst_ModelsTogether::otherDestinationOnThePath_isNotAvailable_untilThePathIsFree()
{
    ModesService service(7, kModes);
    service.Appear();
    LogCapture log;
    auto first = Named<AudioModesModel>();
    const auto second = Named<AudioModesModel>("Rear");
    first->start();
    second->start();
    QVERIFY(first->isAvailable() && !second->isAvailable());
    QCOMPARE(second->lastError(), "The object path " + kExportedPath + " is taken or not valid.");
    QCOMPARE(service.Count("openSession"), 1);
    first.reset();
    QTRY_VERIFY_WITH_TIMEOUT(second->isAvailable(), 30000);
    QTRY_COMPARE_WITH_TIMEOUT(second->count(), 2, 30000);
    QCOMPARE(second->lastError(), "");
    service.Add("Tape"); // it can be called
    QTRY_COMPARE_WITH_TIMEOUT(second->count(), 3, 30000);
}

void tst_ModelsTogether::modelOnATakenPath_leavesTheOtherObjectAlone()
{
    ModesService service(7, kModes);
    service.Appear();
    LogCapture log;
    const auto first = Named<AudioModesModel>();
    auto second = Named<AudioModesModel>("Rear");
    first->start();
    second->start();
    second.reset();
    QTRY_COMPARE_WITH_TIMEOUT(first->count(), 2, 30000);
    service.Add("Tape");
    QTRY_COMPARE_WITH_TIMEOUT(first->count(), 3, 30000);
}

void tst_ModelsTogether::slot_mayDeleteTheModel_data()
{
    QTest::addColumn<Connector>("connectTo");
    const auto row = [](const char* name, auto signal) {
        QTest::newRow(name) << Connector(
            [signal](AudioModesModel* model) { connect(model, signal, model, [model] { delete model; }); });
    };
    row("available", &HmiListModel::availableChanged);
    row("count", &HmiListModel::countChanged);
    row("current mode", &AudioModesModel::currentModeChanged);
    row("pending mode", &AudioModesModel::pendingModeChanged);
    row("busy", &AudioModesModel::busyChanged);
    row("last error", &AudioModesModel::lastErrorChanged);
    row("data", &QAbstractItemModel::dataChanged);
    row("rows inserted", &QAbstractItemModel::rowsInserted);
    row("rows removed", &QAbstractItemModel::rowsRemoved);
}

// Its client goes with it, while the service tells something, or in the middle of the model's own functions.
void tst_ModelsTogether::slot_mayDeleteTheModel()
{
    QFETCH(Connector, connectTo);
    ModesService service(7, kModes);
    service.Answer("setMode", R"({"errCode":10})");
    LogCapture log;
    const QPointer<AudioModesModel> model(Named<AudioModesModel>().release());
    connectTo(model.data());
    const auto isGone = [&model](const std::function<void()>& step) {
        if (!model.isNull()) {
            step();
        }
        Modes::Settle();
        return model.isNull();
    };
    model->start();
    service.Appear();
    QTRY_VERIFY_WITH_TIMEOUT(model.isNull() || service.Count("getMode") == 1, 30000);
    const bool isDone = isGone([] {}) || isGone([&] {
                            model->requestMode("Bluetooth");
                            QTRY_VERIFY_WITH_TIMEOUT(model.isNull() || !model->isBusy(), 30000);
                        }) ||
                        isGone([&] { service.Remove("Radio"); });
    QVERIFY(isDone);
    QVERIFY(service.WaitForCalls("closeSession", 1));
    QCOMPARE(QDBusConnection::systemBus().objectRegisteredAt(kExportedPath), nullptr);
}

void tst_ModelsTogether::reading_causesNoBusMessage()
{
    ModesService service(7, kModes);
    service.Appear();
    LogCapture log;
    const auto modes = Named<AudioModesModel>();
    const auto feed = Named<FocusFeed>();
    modes->start();
    feed->start();
    service.Notify(kHmiPath, "audioFocusChangeEvent", kEvent);
    QTRY_VERIFY_WITH_TIMEOUT(modes->count() == 2 && feed->count() == 1, 30000);
    QTRY_COMPARE_WITH_TIMEOUT(modes->currentMode(), "Radio", 30000);
    Modes::Settle();
    BusMonitor monitor;
    monitor.Mark("reading");
    int reads = 0;
    for (const HmiListModel* const model :
         {static_cast<const HmiListModel*>(modes.get()), static_cast<const HmiListModel*>(feed.get())}) {
        for (int round = 0; round < 10000; ++round) {
            for (int i = 0; i < model->metaObject()->propertyCount(); ++i) {
                reads += model->metaObject()->property(i).read(model).isValid() ? 1 : 0;
            }
            for (const int role : model->roleNames().keys()) {
                reads += model->data(model->index(0), role).isValid() ? 1 : 0;
            }
        }
    }
    Modes::Settle(); // one message
    QCOMPARE(monitor.MessagesSince("/mark/reading"), 1);
    QCOMPARE(reads, 10000 * (10 + 3 + 7 + 7));
}

KIV_BUS_TEST_MAIN(tst_ModelsTogether)
#include "tst_ModelsTogether.moc"
