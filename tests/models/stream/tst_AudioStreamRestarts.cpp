// SPDX-License-Identifier: MIT
#include "LogCapture.h"
#include "Nightly.h"
#include "SimulatedStreamStage.h"
#include "TestMain.h"

#include <QDir>

using namespace KivTest;

namespace {

int OpenFiles()
{
    return int(QDir("/proc/self/fd").entryList(QDir::System | QDir::Files).size());
}

} // namespace

/** A stream that outlives many services. */
class tst_AudioStreamRestarts : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void killedAndStarted_manyTimes_eachSignalHasAChange();
    void madeAndDestroyed_manyTimes_leavesNothingOpen();
};

void tst_AudioStreamRestarts::killedAndStarted_manyTimes_eachSignalHasAChange()
{
    LogCapture log;
    SimulatedStreamStage stage;
    stage.Register();
    stage.stream->setPlaying(true);
    QVERIFY(stage.Sees({"playing true"}));
    int filesAfterTheFirst = 0;
    for (int round = 0; round < Nightly(200, 20); ++round) {
        stage.stream->requestFocus();
        const QStringList again = round == 0 ? QStringList() : QStringList{"lastReason None"};
        QVERIFY(stage.Sees(QStringList{"state Requested"} + again +
                           QStringList{"state Focused", "hasFocus true"}));
        stage.simulator->Signal(SIGKILL);
        QVERIFY(stage.Sees(QStringList{"state Offline", "hasFocus false", "available false"} + kClaimEnds));
        stage.StartService();
        QVERIFY(stage.Sees(kRegistration));
        log.Clear();
        filesAfterTheFirst = round == 0 ? OpenFiles() : filesAfterTheFirst;
    }
    QCOMPARE(OpenFiles(), filesAfterTheFirst);
}

void tst_AudioStreamRestarts::madeAndDestroyed_manyTimes_leavesNothingOpen()
{
    LogCapture log;
    SimulatedStreamStage stage;
    int filesAfterTheFirst = 0;
    for (int round = 0; round < Nightly(200, 20); ++round) {
        AudioStream stream;
        stream.setName("Short");
        stream.setObjectPath("/short");
        stream.start();
        QTRY_VERIFY_WITH_TIMEOUT(stream.isAvailable(), kPatience);
        stream.requestFocus();
        QTRY_VERIFY_WITH_TIMEOUT(stream.hasFocus(), kPatience);
        log.Clear();
        filesAfterTheFirst = round == 0 ? OpenFiles() : filesAfterTheFirst;
    }
    QCOMPARE(OpenFiles(), filesAfterTheFirst);
    stage.Settle();
    const QStringList lines = stage.Log();
    QCOMPARE(lines.filter("request app closeSession").size(), lines.filter("request app openSession").size());
}

KIV_BUS_TEST_MAIN(tst_AudioStreamRestarts)
#include "tst_AudioStreamRestarts.moc"
