// SPDX-License-Identifier: MIT
#include "ControlWindow.h"
#include "Picture.h"
#include "PrivateBus.h"
#include "ScreenLog.h"
#include "ScreenStage.h"
#include "Theme.h"
#include "Translation.h"
#include "WidgetDesign.h"

#include <QApplication>
#include <QLineEdit>
#include <QListView>
#include <QLoggingCategory>
#include <QProcess>
#include <QPushButton>
#include <QRegularExpression>
#include <QTest>
#include <QTranslator>

#include <csignal>

using namespace KivTest;

namespace {

const QStringList deviceModes{"Radio", "Bluetooth", "USB"};

/** Another client of the service: what it asks becomes a request, which a fault may hit. */
void AskForASession(BusProbe& probe)
{
    QDBusMessage call = QDBusMessage::createMethodCall("com.quorvantel.service.AudioManagement",
                                                       "/com/kiv/service/AudioManagement/HmiMode",
                                                       "com.quorvantel.ServiceProvider", "Request");
    call.setArguments({"openSession", R"({"busName":"test.Probe","objectPath":"/test/probe"})"});
    probe.Connection().asyncCall(call);
}

/** The window as a user has it. */
class Desk : public ControlWindow
{
public:
    Desk()
    {
        show();
        Start();
    }

    QPushButton* Button(const QString& name) const
    {
        auto* const button = findChild<QPushButton*>(name);
        return button ? button : (qFatal("there is no button %s", qPrintable(name)), nullptr);
    }

    void Click(const QString& name) { QTest::mouseClick(Button(name), Qt::LeftButton); }

    QListView* List() const { return findChild<QListView*>("modes"); }
    QLineEdit* NewMode() const { return findChild<QLineEdit*>("newMode"); }
    QString Status() const { return findChild<QLabel*>("status")->text(); }
    QString State() const { return findChild<QLabel*>("state")->text(); }

    QStringList Names() const
    {
        QStringList names;
        for (int row = 0; row < List()->model()->rowCount(); ++row) {
            names.append(List()->model()->index(row, 0).data().toString());
        }
        return names;
    }

    /** Names of the buttons, the list and the line that can be used. */
    QStringList Enabled() const
    {
        QStringList names;
        for (const QWidget* const widget : findChildren<QWidget*>()) {
            if (widget->isEnabled() && (widget->focusPolicy() & Qt::TabFocus) != 0 &&
                !widget->objectName().isEmpty()) {
                names.append(widget->objectName());
            }
        }
        names.sort();
        return names;
    }

    /** Clicks the row of a mode. */
    void Select(const QString& mode) const
    {
        const QModelIndex index = List()->model()->index(Names().indexOf(mode), 0);
        QTest::mouseClick(List()->viewport(), Qt::LeftButton, Qt::NoModifier,
                          List()->visualRect(index).center());
    }
};

/** An environment in which no program can show a window. */
QProcessEnvironment WithoutScreen()
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("QT_QPA_PLATFORM", "none");
    return environment;
}

} // namespace

class tst_ControlWindow : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void addMode_nameAndClick_isOfferedAndTheNameIsGone();
    void addMode_byKeyboard_isOffered();
    void addMode_blanks_cannotBeAsked();
    void addMode_simulatorEndsMeanwhile_keepsTheName();
    void removeMode_byDeleteKey_isOfferedNoLonger();
    void removeMode_lastOne_isRefusedAndStays();
    void pressMode_byEnter_isCurrent();
    void pressMode_goneMeanwhile_isRefused();
    void deed_data();
    void deed();
    void nextRequest_data();
    void nextRequest();
    void restartService_sessionsAreLost_modesAreThoseOfTheStart();
    void startCall_simulatorAnswersLate_windowDoesNotWait();
    void simulator_killedAndBack_nothingCanBeDoneMeanwhile();
    void simulator_late_isFound();

    void texts_haveRoomAndContrast_data();
    void texts_haveRoomAndContrast();
    void tabKey_reachesEverythingInOrder();
    void everythingUsable_hasANameForAssistiveTechnology();

    void keyboard_controlQ_closesTheWindow();

    void program_help_namesItsOptions();
    void program_badArguments_areErrors_data();
    void program_badArguments_areErrors();
    void everyText_isTranslated();
    void program_SIGTERM_endsWithZero();

private:
    void ShowDesk();
    QStringList NewSteps();

    ScreenLog m_Log;
    std::unique_ptr<ScreenStage> m_Stage;
    std::unique_ptr<Desk> m_Desk;
    quint32 m_LogStart = 0;
};

void tst_ControlWindow::init()
{
    m_Log.Begin();
    Apply(Theme::Day);
    m_Stage = std::make_unique<ScreenStage>(QStringList{"--modes", deviceModes.join(',')});
    m_Stage->StartService();
}

void tst_ControlWindow::cleanup()
{
    m_Desk.reset();
    m_Stage.reset();
    m_Log.End();
}

/** The window, when it shows what the device offers. */
void tst_ControlWindow::ShowDesk()
{
    m_Desk = std::make_unique<Desk>();
    QVERIFY(QTest::qWaitForWindowActive(m_Desk.get()));
    QTRY_COMPARE_WITH_TIMEOUT(m_Desk->Names(), deviceModes, kPatience);
    QTRY_COMPARE_WITH_TIMEOUT(m_Desk->State(), "● Service running", kPatience);
    QCOMPARE(m_Desk->Status(), "Choose what is to happen at the device.");
    m_LogStart = m_Stage->control.LogEnd();
}

/** What was done to the simulated device since the window is there: steps, faults, and what the service did. */
QStringList tst_ControlWindow::NewSteps()
{
    return Gist(m_Stage->control.Log(m_LogStart)).filter(QRegularExpression("^(step|fault|service) "));
}

void tst_ControlWindow::addMode_nameAndClick_isOfferedAndTheNameIsGone()
{
    ShowDesk();
    QTest::keyClicks(m_Desk->NewMode(), " Tape ");
    m_Desk->Click("addMode");
    QTRY_COMPARE_WITH_TIMEOUT(m_Desk->Names(), deviceModes + QStringList{"Tape"}, kPatience);
    QTRY_COMPARE_WITH_TIMEOUT(m_Desk->Status(), "The device offers “Tape”.", kPatience);
    QCOMPARE(NewSteps(), QStringList{"step addMode"});
    QCOMPARE(m_Desk->NewMode()->text(), QString());
}

void tst_ControlWindow::addMode_byKeyboard_isOffered()
{
    ShowDesk();
    QTest::keyClicks(m_Desk->NewMode(), "Tape 50 %1");
    QTest::keyClick(m_Desk->NewMode(), Qt::Key_Return);
    QTRY_COMPARE_WITH_TIMEOUT(m_Desk->Names(), deviceModes + QStringList{"Tape 50 %1"}, kPatience);
    QTRY_COMPARE_WITH_TIMEOUT(m_Desk->Status(), "The device offers “Tape 50 %1”.", kPatience);
    QCOMPARE(NewSteps(), QStringList{"step addMode"});
}

void tst_ControlWindow::addMode_blanks_cannotBeAsked()
{
    ShowDesk();
    QTest::keyClicks(m_Desk->NewMode(), "  ");
    QVERIFY(!m_Desk->Button("addMode")->isEnabled());
    QTest::keyClick(m_Desk->NewMode(), Qt::Key_Return);
    QVERIFY(HandleArrivedEvents(QDBusConnection::systemBus()));
    QCOMPARE(NewSteps(), QStringList());
}

void tst_ControlWindow::addMode_simulatorEndsMeanwhile_keepsTheName()
{
    ShowDesk();
    m_Stage->SignalService(SIGSTOP);
    QTest::keyClicks(m_Desk->NewMode(), "Tape");
    m_Desk->Click("addMode");
    m_Stage->KillService();
    QTRY_COMPARE_WITH_TIMEOUT(m_Desk->State(), "○ No simulator", kPatience);
    QCOMPARE(m_Desk->NewMode()->text(), "Tape");
}

void tst_ControlWindow::removeMode_byDeleteKey_isOfferedNoLonger()
{
    ShowDesk();
    QVERIFY(!m_Desk->Button("removeMode")->isEnabled()); // nothing is selected
    m_Desk->Select("Bluetooth");
    QTest::keyClick(m_Desk->List(), Qt::Key_Delete);
    QTRY_COMPARE_WITH_TIMEOUT(m_Desk->Names(), QStringList({"Radio", "USB"}), kPatience);
    QTRY_COMPARE_WITH_TIMEOUT(m_Desk->Status(), "The device no longer offers “Bluetooth”.", kPatience);
    QCOMPARE(NewSteps(), QStringList{"step removeMode"});
}

void tst_ControlWindow::removeMode_lastOne_isRefusedAndStays()
{
    ShowDesk();
    for (const QString& mode : deviceModes.mid(1)) {
        QVERIFY(m_Stage->control.Tell("RemoveMode", {mode, ""}));
    }
    QTRY_COMPARE_WITH_TIMEOUT(m_Desk->Names(), QStringList{"Radio"}, kPatience);
    m_Desk->Select("Radio");
    m_Desk->Click("removeMode");
    const QString refusal =
        R"(destination "Cabin" must keep a mode of the device itself: "Radio" is its last one)";
    QTRY_COMPARE_WITH_TIMEOUT(m_Desk->Status(), "Not done: " + refusal, kPatience);
    QCOMPARE(NewSteps().last(), "step removeMode impossible: " + refusal);
    QCOMPARE(m_Desk->Names(), QStringList{"Radio"});
    QVERIFY(Keep(m_Desk->grab().toImage(), "control-last-mode"));
}

void tst_ControlWindow::pressMode_byEnter_isCurrent()
{
    ShowDesk();
    m_Desk->Select("USB");
    QTest::keyClick(m_Desk->List(), Qt::Key_Return);
    QTRY_COMPARE_WITH_TIMEOUT(m_Desk->Status(), "“USB” was pressed.", kPatience);
    const QModelIndex usb = m_Desk->List()->model()->index(2, 0);
    QTRY_COMPARE_WITH_TIMEOUT(usb.data(Qt::AccessibleTextRole).toString(), "USB, current mode", kPatience);
    QVERIFY(usb.data(Qt::FontRole).value<QFont>().bold());
    QCOMPARE(NewSteps(), QStringList{"step pressMode"});
}

void tst_ControlWindow::pressMode_goneMeanwhile_isRefused()
{
    ShowDesk();
    m_Desk->Click("stopService"); // what the device offers is not told now
    QTRY_COMPARE_WITH_TIMEOUT(m_Desk->State(), "○ Service stopped", kPatience);
    QVERIFY(m_Stage->control.Tell("RemoveMode", {"USB", ""}));
    m_Desk->Select("USB");
    m_Desk->Click("pressMode");
    QTRY_COMPARE_WITH_TIMEOUT(m_Desk->Status(), R"(Not done: mode "USB" is not offered)", kPatience);
    QCOMPARE(m_Desk->Names(), deviceModes);
    m_Desk->Click("startService");
    QTRY_COMPARE_WITH_TIMEOUT(m_Desk->Names(), QStringList({"Radio", "Bluetooth"}), kPatience);
}

void tst_ControlWindow::deed_data()
{
    QTest::addColumn<QStringList>("clicks"); // one after the other
    QTest::addColumn<QString>("status");     // after the last one
    QTest::addColumn<QStringList>("steps");
    QTest::newRow("a call") << QStringList{"startCall"} << "A phone call has the audio focus."
                            << QStringList{"step startStream"};
    QTest::newRow("a second call")
        << QStringList{"startCall", "startCall"} << R"(Not done: the device has a stream "Phone" already)"
        << QStringList{"step startStream",
                       R"(step startStream impossible: the device has a stream "Phone" already)"};
    QTest::newRow("end of a call") << QStringList{"startCall", "endCall"} << "The phone call is over."
                                   << QStringList{"step startStream", "step stopStream"};
    QTest::newRow("end of no call") << QStringList{"endCall"}
                                    << R"(Not done: the device has no stream "Phone")"
                                    << QStringList{
                                           R"(step stopStream impossible: the device has no stream "Phone")"};
    QTest::newRow("stop") << QStringList{"stopService"} << "The service has left the bus."
                          << QStringList{"service left", "step leave"};
    QTest::newRow("stop and start") << QStringList{"stopService", "startService"}
                                    << "The service is on the bus."
                                    << QStringList{"service left", "step leave", "service came",
                                                   "step return"};
    QTest::newRow("restart") << QStringList{"restartService"}
                             << "The service comes back in 2 seconds, without sessions."
                             << QStringList{"service left", "step restart"};
}

void tst_ControlWindow::deed()
{
    QFETCH(const QStringList, clicks);
    QFETCH(const QString, status);
    QFETCH(const QStringList, steps);
    ShowDesk();
    QString before = m_Desk->Status();
    for (const QString& button : clicks) {
        QTRY_VERIFY_WITH_TIMEOUT(m_Desk->Button(button)->isEnabled(), kPatience);
        m_Desk->Click(button);
        QTRY_VERIFY_WITH_TIMEOUT(m_Desk->Status() != before, kPatience);
        before = m_Desk->Status();
    }
    QCOMPARE(before, status);
    QCOMPARE(NewSteps(), steps);
    const bool isRunning = steps.filter("left").size() == steps.filter("came").size();
    QTRY_COMPARE_WITH_TIMEOUT(m_Desk->Button("stopService")->isEnabled(), isRunning, kPatience);
    QCOMPARE(m_Desk->Button("startService")->isEnabled(), !isRunning);
    QCOMPARE(m_Desk->State(), isRunning ? "● Service running" : "○ Service stopped");
}

void tst_ControlWindow::nextRequest_data()
{
    QTest::addColumn<QString>("button");
    QTest::addColumn<QString>("status");
    QTest::addColumn<QString>("fault");
    QTest::newRow("delay") << "delayNext"
                           << "The next request will be answered 3 seconds late."
                           << "fault delay openSession";
    QTest::newRow("refuse") << "refuseNext"
                            << "The next request will be refused."
                            << "fault errCode openSession";
}

void tst_ControlWindow::nextRequest()
{
    QFETCH(const QString, button);
    QFETCH(const QString, status);
    QFETCH(const QString, fault);
    ShowDesk();
    m_Desk->Click(button);
    QTRY_COMPARE_WITH_TIMEOUT(m_Desk->Status(), status, kPatience);
    BusProbe client;
    AskForASession(client);
    QTRY_COMPARE_WITH_TIMEOUT(NewSteps(), QStringList{fault}, kPatience);
}

void tst_ControlWindow::restartService_sessionsAreLost_modesAreThoseOfTheStart()
{
    QVERIFY(m_Stage->control.Tell("RemoveMode", {"Bluetooth", ""}));
    m_Desk = std::make_unique<Desk>();
    QTRY_COMPARE_WITH_TIMEOUT(m_Desk->Names(), QStringList({"Radio", "USB"}), kPatience);
    m_Desk->Click("restartService");
    QTRY_COMPARE_WITH_TIMEOUT(m_Desk->State(), "○ Service stopped", kPatience);
    QCOMPARE(m_Desk->Names(), QStringList({"Radio", "USB"})); // what was known last
    QTRY_COMPARE_WITH_TIMEOUT(m_Desk->State(), "● Service running", kPatience);
    QCOMPARE(m_Desk->Status(), "The service is on the bus.");
    QTRY_COMPARE_WITH_TIMEOUT(m_Desk->Names(), deviceModes, kPatience);
}

void tst_ControlWindow::startCall_simulatorAnswersLate_windowDoesNotWait()
{
    ShowDesk();
    const QString before = m_Desk->Status();
    m_Stage->SignalService(SIGSTOP);
    m_Desk->Click("startCall"); // would wait for half a minute, and then show an error
    QCOMPARE(m_Desk->Status(), before);
    m_Stage->SignalService(SIGCONT);
    QTRY_COMPARE_WITH_TIMEOUT(m_Desk->Status(), "A phone call has the audio focus.", kPatience);
}

void tst_ControlWindow::simulator_killedAndBack_nothingCanBeDoneMeanwhile()
{
    ShowDesk();
    m_Desk->Select("Radio");
    QTest::keyClicks(m_Desk->NewMode(), "Tape");
    const QStringList usable = m_Desk->Enabled();
    m_Stage->KillService();
    QTRY_COMPARE_WITH_TIMEOUT(m_Desk->State(), "○ No simulator", kPatience);
    QCOMPARE(m_Desk->Enabled(), QStringList());
    QCOMPARE(m_Desk->Status(), "This window goes on when kiv-audio-simulator runs on the same bus.");
    QVERIFY(Keep(m_Desk->grab().toImage(), "control-alone"));
    m_Stage->StartService();
    QTRY_COMPARE_WITH_TIMEOUT(m_Desk->State(), "● Service running", kPatience);
    QCOMPARE(m_Desk->Enabled(), usable);
    QCOMPARE(m_Desk->NewMode()->text(), "Tape");
    m_Desk->Click("addMode");
    QTRY_COMPARE_WITH_TIMEOUT(m_Desk->Names(), deviceModes + QStringList{"Tape"}, kPatience);
}

void tst_ControlWindow::simulator_late_isFound()
{
    m_Stage->KillService();
    m_Desk = std::make_unique<Desk>();
    QVERIFY(HandleArrivedEvents(QDBusConnection::systemBus()));
    QCOMPARE(m_Desk->State(), "○ No simulator");
    QCOMPARE(m_Desk->Enabled(), QStringList());
    m_Stage->StartService();
    QTRY_COMPARE_WITH_TIMEOUT(m_Desk->State(), "● Service running", kPatience);
    QTRY_COMPARE_WITH_TIMEOUT(m_Desk->Names(), deviceModes, kPatience);
}

void tst_ControlWindow::texts_haveRoomAndContrast_data()
{
    QTest::addColumn<bool>("isNight");
    QTest::addColumn<QString>("language");
    QTest::newRow("day-en") << false << "en";
    QTest::newRow("day-de") << false << "de";
    QTest::newRow("night-en") << true << "en";
    QTest::newRow("night-de") << true << "de";
}

void tst_ControlWindow::texts_haveRoomAndContrast()
{
    QFETCH(const bool, isNight);
    QFETCH(const QString, language);
    Apply(isNight ? Theme::Night : Theme::Day);
    QTranslator translator;
    QVERIFY(language == "en" || translator.load(":/simulator-control/simulator-control_" + language));
    QCoreApplication::installTranslator(&translator);
    m_Desk = std::make_unique<Desk>();
    QTRY_COMPARE_WITH_TIMEOUT(m_Desk->Names(), deviceModes, kPatience);
    QTRY_VERIFY_WITH_TIMEOUT(m_Desk->State().startsWith("●"), kPatience);
    QCOMPARE(m_Desk->size(), QSize(420, 520)); // as it was designed; larger where texts need it
    m_Desk->Select("Bluetooth");
    QVERIFY(Keep(m_Desk->grab().toImage(), "control-" + QString(QTest::currentDataTag())));
    m_Desk->Click("endCall"); // a refusal, which is long
    QTRY_VERIFY_WITH_TIMEOUT(m_Desk->Status().endsWith("Phone\""), kPatience);
    QVERIFY(Keep(m_Desk->grab().toImage(), "control-refused-" + QString(QTest::currentDataTag())));
    const QList<QWidget*> widgets = TextWidgets(m_Desk.get());
    QCOMPARE(widgets.size(), 18);
    for (QWidget* const widget : widgets) {
        QVERIFY2(HasRoom(widget), qPrintable(ShownText(widget)));
        const double contrast = widget->isEnabled() ? PaintedContrast(widget) : 21;
        QVERIFY2(contrast >= 4.5, qPrintable(QString("%1: %2").arg(ShownText(widget)).arg(contrast)));
    }
}

void tst_ControlWindow::tabKey_reachesEverythingInOrder()
{
    ShowDesk();
    m_Desk->Select("Radio");
    QTest::keyClicks(m_Desk->NewMode(), "Tape");
    m_Desk->List()->setFocus();
    QStringList reached;
    for (int press = 0; press < 11; ++press) {
        reached.append(QApplication::focusWidget()->objectName());
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    }
    const QStringList order{"modes",   "pressMode",   "removeMode",     "newMode",   "addMode",   "startCall",
                            "endCall", "stopService", "restartService", "delayNext", "refuseNext"};
    QCOMPARE(reached, order);
    QCOMPARE(QApplication::focusWidget(), m_Desk->List()); // and around
    reached.sort();
    QCOMPARE(reached, m_Desk->Enabled());
}

void tst_ControlWindow::everythingUsable_hasANameForAssistiveTechnology()
{
    ShowDesk();
    for (const QString& name : m_Desk->Enabled()) {
        QVERIFY2(!m_Desk->findChild<QWidget*>(name)->accessibleName().isEmpty(), qPrintable(name));
    }
}

void tst_ControlWindow::keyboard_controlQ_closesTheWindow()
{
    ShowDesk();
    QTest::keyClick(m_Desk.get(), Qt::Key_Q, Qt::ControlModifier);
    QVERIFY(!m_Desk->isVisible());
}

void tst_ControlWindow::program_help_namesItsOptions()
{
    QProcess program;
    program.setProcessEnvironment(WithoutScreen());
    program.start(KIV_CONTROL_PROGRAM, {"--help"});
    QVERIFY(program.waitForFinished(kPatience));
    QCOMPARE(program.exitCode(), 0);
    QCOMPARE(program.readAllStandardError(), QByteArray());
    const QString help = QString::fromUtf8(program.readAllStandardOutput());
    for (const char* const option : {"--theme <THEME>", "--language <LANGUAGE>", "--help", "--version"}) {
        QVERIFY2(help.contains(QLatin1String(option)), option);
    }
}

void tst_ControlWindow::program_badArguments_areErrors_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("error");
    QTest::newRow("theme") << QStringList{"--theme", "dusk"}
                           << QByteArray(
                                  "simulator-control: --theme: expected day or night, found \"dusk\"\n");
    QTest::newRow("language") << QStringList{"--language", "fr"}
                              << QByteArray(
                                     "simulator-control: --language: expected en or de, found \"fr\"\n");
    QTest::newRow("no value") << QStringList{"--theme"}
                              << QByteArray("simulator-control: Missing value after '--theme'.\n");
    QTest::newRow("option") << QStringList{"--colour"}
                            << QByteArray("simulator-control: Unknown option 'colour'.\n");
    QTest::newRow("argument") << QStringList{"more"}
                              << QByteArray("simulator-control: unexpected argument \"more\"\n");
}

void tst_ControlWindow::program_badArguments_areErrors()
{
    QFETCH(const QStringList, arguments);
    QProcess program;
    program.setProcessEnvironment(WithoutScreen());
    program.start(KIV_CONTROL_PROGRAM, arguments);
    QVERIFY(program.waitForFinished(kPatience));
    QTEST(program.readAllStandardError(), "error");
    QCOMPARE(program.exitCode(), 2);
    QCOMPARE(program.readAllStandardOutput(), QByteArray());
}

void tst_ControlWindow::program_SIGTERM_endsWithZero()
{
    QProcess program;
    program.start(KIV_CONTROL_PROGRAM, {"--theme", "night", "--language", "de"});
    QVERIFY(m_Stage->control.WaitForCalls("getMode", 1)); // it is at work
    program.terminate();
    QVERIFY(program.waitForFinished(kPatience));
    QCOMPARE(program.exitStatus(), QProcess::NormalExit);
    QCOMPARE(program.exitCode(), 0);
    QCOMPARE(program.readAllStandardOutput(), QByteArray());
}

void tst_ControlWindow::everyText_isTranslated()
{
    QCOMPARE(Untranslated(KIV_CONTROL_FOLDER, KIV_CONTROL_FOLDER "/translations/simulator-control_de.ts"),
             QString());
}

int main(int argc, char** argv)
{
    const PrivateBus bus;
    const QApplication application(argc, argv);
    QLoggingCategory::setFilterRules("default.debug=false");
    Q_INIT_RESOURCE(simulator_control);
    tst_ControlWindow test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_ControlWindow.moc"
