// SPDX-License-Identifier: MIT
#include "LogCapture.h"
#include "TestClients.h"
#include "TestMain.h"

#include <QSignalSpy>

using namespace KivTest;
using Audio::Utils::Kiv::QtDbus::AudioManagerHmi;

class tst_ModeQueries : public QObject
{
    Q_OBJECT

private:
    FakeSurroundings m_Fakes;

private Q_SLOTS:
    void getModeListAsync_completesWithTheModes();
};

void tst_ModeQueries::getModeListAsync_completesWithTheModes()
{
    OpenedHmi hmi(m_Fakes.registrator, kClientPath, m_Fakes.connection, QString(), m_Fakes.factory, false);
    hmi.Open(7);
    m_Fakes.Exchange().Answer("getModeList", R"({"modeList":["A","B"]})");
    QSignalSpy completed(&hmi, &AudioManagerHmi::SignalGetModeListCompleted);

    QCOMPARE(hmi.GetModeListAsync(QString()), 1u);
    QVERIFY(completed.wait());

    QCOMPARE(completed.size(), 1);
    QCOMPARE(completed.first(), (QVariantList{1u, true}));
    QCOMPARE(hmi.ModeList(), (QStringList{"A", "B"}));
    QCOMPARE(m_Fakes.Exchange().Requests(),
             (QVector<RecordedRequest>{{false, "getModeList", R"({"destination":"all","sessionId":7})"}}));
}

KIV_UNIT_TEST_MAIN(tst_ModeQueries)
#include "tst_ModeQueries.moc"
