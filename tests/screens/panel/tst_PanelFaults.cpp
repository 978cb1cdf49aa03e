// SPDX-License-Identifier: MIT
#include "PanelStage.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>

using namespace KivTest;

namespace {

const QString kPlainScenario = R"({"modes":{"Cabin":["Radio","Bluetooth","USB"]}})";
const QStringList kPlainTiles{"Radio*", "Bluetooth", "USB"};

QString TextOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

/** The example of each kind of fault in the document of the scenarios, by its kind. */
QMap<QString, QJsonObject> DocumentedFaults()
{
    const QString table =
        TextOf(KIV_SCENARIOS_DOCUMENT).section("| Kind | What goes wrong", 1).section("\n\n", 0, 0);
    static const QRegularExpression row("\n\\| `([a-zA-Z]+)` \\|[^|]*\\| `([^`]*)` \\|");
    QMap<QString, QJsonObject> faults;
    for (auto match = row.globalMatch(table); match.hasNext();) {
        const QRegularExpressionMatch next = match.next();
        faults.insert(next.captured(1), LogObject(next.captured(2)));
    }
    return faults;
}

/** The documented fault in a method, once, and without its long times. */
QString FaultIn(const QString& method, QJsonObject fault)
{
    fault.insert("method", method);
    fault.remove("role");
    fault.remove("skip");
    fault.remove("times");
    fault.remove("probability");
    if (fault.contains("milliseconds")) {
        fault.insert("milliseconds", 100);
    }
    return QString::fromUtf8(QJsonDocument(fault).toJson());
}

/** What the panel shows in the end of a scenario. */
struct Ending
{
    QString scenario;
    quint32 sessions;  ///< so many were asked for, at least
    QString chosen;    ///< the mode that the user touches, if any
    QStringList tiles; ///< of the modes
    QString currentMode;
    QString message; ///< over the tiles or in their place
};

const QString kNoService = "Waiting for the audio service";
const QString kUnavailable = "Audio service not available";
const QStringList kRadio{"Radio*", "Bluetooth"};
const QStringList kBluetooth{"Radio", "Bluetooth*"};

const QVector<Ending> kEndings{
    {"answers-errors", 2, {}, {}, "Audio", kNoService},
    {"answers-garbage", 3, {}, {}, "Audio", "No audio sources"},
    {"appears-late", 1, {}, kRadio, "Radio", {}},
    {"calls-back-while-waiting", 1, "Bluetooth", kBluetooth, "Bluetooth", {}},
    {"crashes-in-call", 1, "Bluetooth", kRadio, "Radio", kUnavailable},
    {"flood", 1, {}, {"Radio", "Bluetooth"}, "flood-5000", {}},
    {"never-answers", 2, {}, {}, "Audio", kNoService},
    {"not-running", 0, {}, {}, "Audio", kNoService},
    {"phone-call-interrupts-music", 1, "Bluetooth", kBluetooth, "Bluetooth", {}},
    {"restarts", 2, {}, kRadio, "Radio", {}},
    {"two-hmis", 1, "Bluetooth", {"Radio*", "Bluetooth", "USB"}, "Radio", {}},
};

/** Whether the service came back, and was asked for its mode in a session that was opened then. */
bool HasBegunAnew(const QStringList& log)
{
    static const QRegularExpression open("request hmi openSession.*");
    static const QRegularExpression ask("request hmi getMode( .*)?");
    const int opened = log.indexOf(open, qMax(0, log.indexOf("service came")));
    return log.contains("service came") && opened >= 0 && log.indexOf(ask, opened) >= 0;
}

} // namespace

/** Whatever goes wrong at the service, the panel stays usable, and shows afterwards what the service says. */
class tst_PanelFaults : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void everyFault_isOvercome_data();
    void everyFault_isOvercome();
    void everyScenario_isTried();
    void everyScenario_endsAsItShould_data();
    void everyScenario_endsAsItShould();

private:
    void Meet(const QString& method, const QJsonObject& fault);
    void CheckUsable();
    void Recover();
    void CheckRecovery();
    QString Message() const;

    ScreenLog m_Log;
    std::unique_ptr<PanelStage> m_Stage;
};

void tst_PanelFaults::init()
{
    m_Log.Begin();
}

void tst_PanelFaults::cleanup()
{
    m_Stage.reset();
    m_Log.End();
}

/** The panel answers its user, whatever the service does. */
void tst_PanelFaults::CheckUsable()
{
    const bool isNight = m_Stage->IsNight();
    m_Stage->Click(m_Stage->Item("themeButton"));
    QCOMPARE(m_Stage->IsNight(), !isNight);
}

/** The service starts anew, without faults: the panel shows all that it offers. */
void tst_PanelFaults::Recover()
{
    SimulatorControl& control = m_Stage->service.control;
    const auto load = [&control] { return control.Tell("LoadScenario", {kPlainScenario}); };
    QVERIFY2(m_Stage->service.Reach(load), qPrintable(control.Error()));
    const quint32 start = control.LogEnd();
    QVERIFY(control.Do(R"({"do":"restart","milliseconds":0})"));
    const auto isAsked = [&] { return HasBegunAnew(Gist(control.Log(start))); };
    QVERIFY(QTest::qWaitFor(isAsked, kPatience));
    QTRY_COMPARE_WITH_TIMEOUT(m_Stage->Tiles(), kPlainTiles, kPatience);
    QTRY_VERIFY_WITH_TIMEOUT(m_Stage->Tile("USB")->isEnabled(), kPatience);
}

/** The panel also shows what happens later, and does what its user wants. */
void tst_PanelFaults::CheckRecovery()
{
    Recover();
    SimulatorControl& control = m_Stage->service.control;
    QVERIFY(control.Do(R"({"do":"addMode","mode":"Tape"})"));
    QVERIFY(control.Do(R"({"do":"pressMode","mode":"Bluetooth"})"));
    QTRY_COMPARE(m_Stage->Tiles(), (QStringList{"Radio", "Bluetooth*", "USB", "Tape"}));
    QVERIFY(m_Stage->Settle());
    m_Stage->Touch(m_Stage->Tile("Tape"));
    QTRY_COMPARE(m_Stage->Tiles(), (QStringList{"Radio", "Bluetooth", "USB", "Tape*"}));
    QCOMPARE(m_Stage->Text("currentMode"), "Tape");
    QCOMPARE(Message(), QString());
}

/** What stands over the tiles, or in their place. */
QString tst_PanelFaults::Message() const
{
    const QStringList placeholders = m_Stage->Texts("placeholderHeadline");
    return m_Stage->Text("messageHeadline") +
           (m_Stage->Tiles().isEmpty() ? placeholders.value(0) : QString());
}

void tst_PanelFaults::everyFault_isOvercome_data()
{
    QTest::addColumn<QJsonObject>("fault");
    const QMap<QString, QJsonObject> faults = DocumentedFaults();
    QCOMPARE(faults.size(), 20);
    for (auto fault = faults.cbegin(); fault != faults.cend(); ++fault) {
        QCOMPARE(fault.value().value("kind").toString(), fault.key());
        QTest::newRow(qPrintable(fault.key())) << fault.value();
    }
}

/** Has a request of the panel meet a fault. */
void tst_PanelFaults::Meet(const QString& method, const QJsonObject& fault)
{
    SimulatorControl& control = m_Stage->service.control;
    const quint32 calls = control.CallCount(method);
    QVERIFY2(control.Arm(FaultIn(method, fault)) != 0, qPrintable(control.Error()));
    if (method == "setMode") {
        QVERIFY(m_Stage->Settle());
        m_Stage->Click(m_Stage->Tile("USB"));
    } else {
        QVERIFY(control.Do(R"({"do":"restart","milliseconds":0})"));
    }
    const auto isMet = [&] {
        return !m_Stage->service.IsServiceRunning() || control.CallCount(method) > calls;
    };
    QVERIFY(QTest::qWaitFor(isMet, kPatience));
}

void tst_PanelFaults::everyFault_isOvercome()
{
    QFETCH(QJsonObject, fault);
    m_Stage = std::make_unique<PanelStage>();
    Recover();
    for (const char* const method : {"openSession", "getModeList", "getMode", "setMode"}) {
        Meet(method, fault);
        CheckUsable();
        Recover();
        QVERIFY2(!QTest::currentTestFailed(), method);
    }
    CheckRecovery();
}

void tst_PanelFaults::everyScenario_isTried()
{
    QStringList tried;
    for (const Ending& ending : kEndings) {
        tried.append(ending.scenario + ".json");
    }
    QCOMPARE(tried, QDir(KIV_SCENARIOS_FOLDER).entryList({"*.json"}, QDir::Files, QDir::Name));
}

void tst_PanelFaults::everyScenario_endsAsItShould_data()
{
    QTest::addColumn<int>("row");
    for (int row = 0; row < kEndings.size(); ++row) {
        QTest::newRow(qPrintable(kEndings.at(row).scenario)) << row;
    }
}

void tst_PanelFaults::everyScenario_endsAsItShould()
{
    QFETCH(int, row);
    const Ending& ending = kEndings.at(row);
    m_Stage = std::make_unique<PanelStage>(PanelOptions(), QStringList{"--scenario", ending.scenario});
    m_Stage->service.StartService();
    SimulatorControl& control = m_Stage->service.control;
    QVERIFY(QTest::qWaitFor([&] { return control.CallCount("openSession") >= ending.sessions; }, kPatience));
    if (!ending.chosen.isEmpty()) {
        QTRY_VERIFY_WITH_TIMEOUT(m_Stage->Tile(ending.chosen) != nullptr, kPatience);
        QVERIFY(m_Stage->Settle());
        m_Stage->Click(m_Stage->Tile(ending.chosen));
    }
    QTRY_COMPARE_WITH_TIMEOUT(m_Stage->Text("currentMode"), ending.currentMode, kPatience);
    QTRY_COMPARE_WITH_TIMEOUT(m_Stage->Tiles(), ending.tiles, kPatience);
    QTRY_COMPARE_WITH_TIMEOUT(Message(), ending.message, kPatience);
    CheckUsable();
    CheckRecovery();
}

KIV_PANEL_TEST_MAIN(tst_PanelFaults,
                    R"(<limit name="reply_timeout">300</limit>)") // for requests without an answer

#include "tst_PanelFaults.moc"
