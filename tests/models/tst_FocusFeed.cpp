// SPDX-License-Identifier: MIT
#include "FocusFeed.h"
#include "ModesFixture.h"
#include "TestMain.h"

#include <QDateTime>

using namespace KivTest;
using Audio::Utils::Kiv::Models::FocusFeed;
using Audio::Utils::Kiv::Models::HmiListModel;

namespace {

/** A feed on a service, and its journal. */
struct Stage
{
    Stage()
    {
        feed.setBusName(kClientName);
        feed.setObjectPath(kClientPath);
        journal.Watch(&HmiListModel::availableChanged, "available");
        journal.Watch(&HmiListModel::countChanged, "count");
        journal.Watch(&FocusFeed::limitChanged, "limit");
        service->Appear();
        feed.start();
        QCOMPARE(journal.Take(), QStringList{"available=true"});
    }

    void Send(const QString& stream, const QString& focus = "gained")
    {
        const QString event =
            R"({"streamName":"%1","streamModeName":"/mode","focusType":"permanent","streamType":"Media",)"
            R"("destination":"Cabin","newFocus":"%2"})";
        service->Notify(kHmiPath, "audioFocusChangeEvent", event.arg(stream, focus));
    }

    QVariantList Streams() const { return journal.Column(FocusFeed::StreamNameRole); }

    LogCapture log;
    std::unique_ptr<ModesService> service = std::make_unique<ModesService>(7, QStringList{"Radio"});
    FocusFeed feed;
    ModelJournal journal{feed};
};

} // namespace

/** The list of focus events. */
class tst_FocusFeed : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup();

    void event_isTheFirstRow();
    void events_newestFirst();
    void moreThanTheLimit_theOldestGoes();
    void limit_isAHundred();
    void smallerLimit_removesTheOldestAtOnce();
    void limitBelowOne_isRefused();
    void clear_removesEverythingOnce();
    void otherBroadcasts_areNoRows();
    void restart_theListStays();
    void slot_mayDeleteTheFeed();
    void slot_runsAnEventLoop_theOrderStays();
};

void tst_FocusFeed::cleanup()
{
    Modes::Settle();
}

void tst_FocusFeed::event_isTheFirstRow()
{
    Stage stage;
    QCOMPARE(stage.feed.roleNames(),
             (QHash<int, QByteArray>{{FocusFeed::StreamNameRole, "streamName"},
                                     {FocusFeed::StreamModeNameRole, "streamModeName"},
                                     {FocusFeed::FocusTypeRole, "focusType"},
                                     {FocusFeed::StreamTypeRole, "streamType"},
                                     {FocusFeed::DestinationRole, "destination"},
                                     {FocusFeed::NewFocusRole, "newFocus"},
                                     {FocusFeed::TimeRole, "time"}}));
    const QDateTime before = QDateTime::currentDateTime();
    stage.Send("player", "temporarilyLost");
    KIV_TRY_JOURNAL(stage.journal, QStringList{"+0..0", "count=1"});
    QStringList texts;
    for (int role = FocusFeed::StreamNameRole; role <= FocusFeed::NewFocusRole; ++role) {
        texts.append(stage.feed.index(0).data(role).toString());
    }
    QCOMPARE(texts, (QStringList{"player", "/mode", "permanent", "Media", "Cabin", "temporarilyLost"}));
    const QVariant time = stage.feed.index(0).data(FocusFeed::TimeRole);
    QCOMPARE(int(time.type()), int(QMetaType::QDateTime));
    QVERIFY(time.toDateTime() >= before && time.toDateTime() <= QDateTime::currentDateTime());
    QVERIFY(!stage.feed.index(0).data(Qt::UserRole).isValid());
    QVERIFY(!stage.feed.data(QModelIndex(), FocusFeed::TimeRole).isValid());
}

void tst_FocusFeed::events_newestFirst()
{
    Stage stage;
    for (const char* const stream : {"a", "b", "b", "c"}) {
        stage.Send(stream);
    }
    QTRY_COMPARE_WITH_TIMEOUT(stage.Streams(), (QVariantList{"c", "b", "b", "a"}), 30000);
    QCOMPARE(stage.journal.Take(),
             (QStringList{"+0..0", "count=1", "+0..0", "count=2", "+0..0", "count=3", "+0..0", "count=4"}));
}

void tst_FocusFeed::moreThanTheLimit_theOldestGoes()
{
    Stage stage;
    stage.feed.setLimit(2);
    for (const char* const stream : {"a", "b", "c"}) {
        stage.Send(stream);
    }
    QTRY_COMPARE_WITH_TIMEOUT(stage.Streams(), (QVariantList{"c", "b"}), 30000);
    QCOMPARE(stage.journal.Take(),
             (QStringList{"limit=2", "+0..0", "count=1", "+0..0", "count=2", "+0..0", "-2..2"}));
}

void tst_FocusFeed::limit_isAHundred()
{
    Stage stage;
    QCOMPARE(stage.feed.limit(), 100);
    for (int i = 0; i <= 100; ++i) {
        stage.Send(QString::number(i));
    }
    QTRY_COMPARE_WITH_TIMEOUT(stage.Streams().value(0), QVariant("100"), 30000);
    QCOMPARE(stage.feed.count(), 100);
    QCOMPARE(stage.Streams().last(), QVariant("1"));
}

void tst_FocusFeed::smallerLimit_removesTheOldestAtOnce()
{
    Stage stage;
    for (const char* const stream : {"a", "b", "c", "d"}) {
        stage.Send(stream);
    }
    QTRY_COMPARE_WITH_TIMEOUT(stage.feed.count(), 4, 30000);
    stage.journal.Take();
    stage.feed.setLimit(2);
    QCOMPARE(stage.journal.Take(), (QStringList{"-2..3", "count=2", "limit=2"}));
    QCOMPARE(stage.Streams(), (QVariantList{"d", "c"}));
    stage.feed.setLimit(2);
    stage.feed.setLimit(3);
    QCOMPARE(stage.journal.Take(), QStringList{"limit=3"});
}

void tst_FocusFeed::limitBelowOne_isRefused()
{
    Stage stage;
    stage.log.Clear();
    stage.feed.setLimit(0);
    QCOMPARE(stage.log.Complaints(),
             QVector<LogRecord>{
                 Warning("Audio::Utils::Kiv::Models::FocusFeed: limit 0: expected a number from 1")});
    QCOMPARE(stage.feed.limit(), 100);
    QCOMPARE(stage.journal.Take(), QStringList());
}

void tst_FocusFeed::clear_removesEverythingOnce()
{
    Stage stage;
    stage.feed.clear();
    QCOMPARE(stage.journal.Take(), QStringList());
    stage.Send("a");
    stage.Send("b");
    QTRY_COMPARE_WITH_TIMEOUT(stage.feed.count(), 2, 30000);
    stage.journal.Take();
    stage.feed.clear();
    QCOMPARE(stage.journal.Take(), (QStringList{"-0..1", "count=0"}));
}

void tst_FocusFeed::otherBroadcasts_areNoRows()
{
    Stage stage;
    stage.service->Notify(kHmiPath, "audioFocusChangeEvent", R"({"streamName":"half"})");
    stage.service->Notify(kHmiPath, "another", "{}");
    stage.Send("a");
    QTRY_COMPARE_WITH_TIMEOUT(stage.Streams(), QVariantList{"a"}, 30000);
}

void tst_FocusFeed::restart_theListStays()
{
    Stage stage;
    stage.Send("a");
    QTRY_COMPARE_WITH_TIMEOUT(stage.feed.count(), 1, 30000);
    stage.journal.Take();
    stage.service.reset();
    KIV_TRY_JOURNAL(stage.journal, QStringList{"available=false"});
    stage.service = std::make_unique<ModesService>(8, QStringList{"Radio"});
    stage.service->Appear();
    KIV_TRY_JOURNAL(stage.journal, QStringList{"available=true"});
    stage.Send("b");
    QTRY_COMPARE_WITH_TIMEOUT(stage.Streams(), (QVariantList{"b", "a"}), 30000);
}

void tst_FocusFeed::slot_mayDeleteTheFeed()
{
    ModesService service(7, {"Radio"});
    service.Appear();
    LogCapture log;
    QPointer<FocusFeed> feed(new FocusFeed);
    feed->start();
    connect(feed.data(), &FocusFeed::rowsInserted, feed.data(), [&feed] { delete feed.data(); });
    const QString event = R"({"streamName":"a","streamModeName":"","focusType":"","streamType":"",)"
                          R"("destination":"","newFocus":""})";
    service.Notify(kHmiPath, "audioFocusChangeEvent", event);
    service.Notify(kHmiPath, "audioFocusChangeEvent", event);
    QTRY_VERIFY_WITH_TIMEOUT(feed.isNull(), 30000);
    QVERIFY(service.WaitForCalls("closeSession", 1));
}

void tst_FocusFeed::slot_runsAnEventLoop_theOrderStays()
{
    Stage stage;
    bool isFirst = true;
    connect(&stage.feed, &FocusFeed::countChanged, &stage.feed, [&] {
        if (std::exchange(isFirst, false)) {
            stage.Send("c");
            QTRY_COMPARE_WITH_TIMEOUT(stage.feed.count(), 3, 30000);
        }
    });
    stage.Send("a");
    stage.Send("b");
    QTRY_COMPARE_WITH_TIMEOUT(stage.Streams(), (QVariantList{"c", "b", "a"}), 30000);
}

KIV_BUS_TEST_MAIN(tst_FocusFeed)
#include "tst_FocusFeed.moc"
