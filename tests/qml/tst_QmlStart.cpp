// SPDX-License-Identifier: MIT
#include "FakeService.h"
#include "PrivateBus.h"

#include <AudioModesModel.h>

#include <QProcess>
#include <QQmlApplicationEngine>
#include <QQmlComponent>
#include <QTest>

#include <memory>

using namespace KivTest;
using Audio::Utils::Kiv::Models::AudioModesModel;

namespace {

constexpr int kFarBelowTheTimeOut = 10000; // ms; a D-Bus request takes 25000 at most
constexpr int kStillAlive = 42;            // what the program in QML ends with

/** Ends with kStillAlive when its loop has a turn after the objects have started. */
QByteArray ProgramWith(const QString& object)
{
    return QStringLiteral(R"(
        import QtQml 2.15
        import Kiv.Audio 1.0
        QtObject {
            property QtObject audio: %1
            property Timer end: Timer { running: true; interval: 100; onTriggered: Qt.exit(%2) }
        })")
        .arg(object)
        .arg(kStillAlive)
        .toUtf8();
}

int RunProgram(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    QQmlApplicationEngine engine;
    engine.addImportPath(KIV_QML_IMPORTS);
    engine.loadData(ProgramWith(application.arguments().value(2)));
    return QCoreApplication::exec();
}

} // namespace

/** When the objects of the module start. */
class tst_QmlStart : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void busEndsInTheFirstRequest_programGoesOn_data();
    void busEndsInTheFirstRequest_programGoesOn();
    void deletedBeforeTheNextTurn_asksNobody();
};

void tst_QmlStart::busEndsInTheFirstRequest_programGoesOn_data()
{
    QTest::addColumn<QString>("object");
    QTest::addRow("modes") << "AudioModesModel {}";
    QTest::addRow("stream") << "AudioStream { name: \"Player\" }";
    QTest::addRow("feed") << "FocusFeed {}";
}

void tst_QmlStart::busEndsInTheFirstRequest_programGoesOn()
{
    QFETCH(QString, object);
    PrivateBus bus;
    FakeService service;
    service.Hold("openSession");
    service.Appear();
    QProcess program;
    program.start(QCoreApplication::applicationFilePath(), {"--program", object});
    const bool hasAsked = service.WaitForCalls("openSession", 1);
    bus.Kill();
    const bool hasEnded = program.waitForFinished(kFarBelowTheTimeOut);
    program.kill();
    program.waitForFinished();
    QVERIFY(hasAsked);
    QVERIFY(hasEnded);
    QCOMPARE(program.exitCode(), kStillAlive);
}

void tst_QmlStart::deletedBeforeTheNextTurn_asksNobody()
{
    const PrivateBus bus;
    FakeService service;
    service.Appear();
    QQmlEngine engine;
    engine.addImportPath(KIV_QML_IMPORTS);
    QQmlComponent component(&engine);
    component.setData("import Kiv.Audio 1.0; AudioModesModel {}", QUrl());
    const std::unique_ptr<QObject> kept(component.create());
    std::unique_ptr<QObject> deleted(component.create());
    QVERIFY2(kept && deleted, qPrintable(component.errorString()));
    kept->setProperty("objectPath", "/kept");
    deleted->setProperty("objectPath", "/deleted");
    QVERIFY(qobject_cast<AudioModesModel*>(kept.get()) != nullptr);
    QVERIFY(service.ArgumentsOf("openSession").isEmpty());
    deleted.reset();
    QTRY_COMPARE(service.ArgumentsOf("openSession").size(), 1);
    QCoreApplication::processEvents();
    QVERIFY(service.ArgumentsOf("openSession").first().contains("/kept"));
    QCOMPARE(service.ArgumentsOf("openSession").size(), 1);
}

int main(int argc, char** argv)
{
    if (argc > 1 && qstrcmp(argv[1], "--program") == 0) {
        return RunProgram(argc, argv);
    }
    const QCoreApplication application(argc, argv);
    tst_QmlStart test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_QmlStart.moc"
