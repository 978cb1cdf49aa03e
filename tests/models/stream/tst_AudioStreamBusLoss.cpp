// SPDX-License-Identifier: MIT
#include "FakeStreamStage.h"
#include "LogCapture.h"
#include "PrivateBus.h"

using namespace KivTest;

/** A stream whose bus ends. Qt does not connect again, so that there is one test. */
class tst_AudioStreamBusLoss : public QObject
{
    Q_OBJECT

public:
    explicit tst_AudioStreamBusLoss(PrivateBus& bus)
        : m_Bus(bus)
    {
    }

private Q_SLOTS:
    void busLost_endsTheClaimForGood();

private:
    PrivateBus& m_Bus;
};

void tst_AudioStreamBusLoss::busLost_endsTheClaimForGood()
{
    const LogCapture log;
    FakeStreamStage stage;
    stage.Focus();
    AudioStream asking;
    asking.setName("Asking");
    asking.setObjectPath("/asking");
    asking.start();
    QTRY_VERIFY_WITH_TIMEOUT(asking.isAvailable(), 30000);
    int losses = 0;
    connect(&asking, &AudioStream::focusLost, this, [&losses] { ++losses; });

    m_Bus.Kill();
    asking.requestFocus(); // it does not know yet; refused at once, or lost with the bus
    const QStringList expected{"state Offline", "hasFocus false", "available false", "lastReason ServiceLeft",
                               "focusLost ServiceLeft"};
    QTRY_COMPARE_WITH_TIMEOUT(stage.events.All(), expected, 30000);
    QTRY_COMPARE_WITH_TIMEOUT(asking.state(), AudioStream::State::Offline, 30000);
    QCOMPARE(losses, 1);
    stage.stream->requestFocus();
    stage.stream->queryFocus();
    QCOMPARE(stage.events.All(), expected + QStringList{"focusQueried false"});
}

int main(int argc, char** argv)
{
    PrivateBus bus;
    const QCoreApplication application(argc, argv);
    tst_AudioStreamBusLoss test(bus);
    return QTest::qExec(&test, argc, argv);
}

#include "tst_AudioStreamBusLoss.moc"
