// SPDX-License-Identifier: MIT
// Times the frames of the example program's panel, beside a simulator whose scenario the driver has written.
#include "Measurement.h"
#include "PanelUnderLoad.h"
#include "SimulatorControl.h"

#include <QCommandLineParser>
#include <QEventLoop>
#include <QGuiApplication>
#include <QLoggingCategory>
#include <QTest>
#include <QTimer>

#include <cstdio>

using namespace KivBenchmark;

namespace {

constexpr int kPatience = 30000;   // ms
constexpr int kStandstill = 500;   // ms without a frame
constexpr int kTapInterval = 1000; // ms
constexpr int kLastFrames = 100;   // ms, for what came last

struct Options
{
    PanelOptions panel;
    int modes = 0;
    int events = 0;
    int seconds = 0;
};

Options OptionsOf(const QGuiApplication& application)
{
    QCommandLineParser parser;
    parser.setApplicationDescription("Times the frames of the panel, beside a simulator with a scenario.");
    parser.addHelpOption();
    parser.addOptions(
        {{"size", "of the window", "WIDTHxHEIGHT", "1280x480"},
         {"night", "in night colours"},
         {"modes", "so many the service offers", "number", "100"},
         {"events", "so many events of the focus follow the first tap", "number", "500"},
         {"seconds", "how long idleness and a pending tile are looked at; so many taps", "number", "10"}});
    parser.process(application);
    const QStringList size = parser.value("size").split('x');
    Options options;
    options.panel.size = QSize(size.value(0).toInt(), size.value(1).toInt());
    options.panel.isNight = parser.isSet("night");
    options.modes = parser.value("modes").toInt();
    options.events = parser.value("events").toInt();
    options.seconds = parser.value("seconds").toInt();
    if (options.panel.size.isEmpty() || options.modes < 1 || options.events < 1 || options.seconds < 1) {
        qCritical("expected a size such as 1280x480, and numbers above 0");
        std::exit(2);
    }
    return options;
}

/** Ends the program: a figure of a panel that does not show what it should is worth nothing. */
void Require(bool isSo, const QString& what)
{
    if (!isSo) {
        qCritical("%s", qPrintable(what));
        std::exit(1);
    }
}

void RunFor(int milliseconds)
{
    QEventLoop loop;
    QTimer::singleShot(milliseconds, Qt::PreciseTimer, &loop, &QEventLoop::quit);
    loop.exec();
}

/** Waits until nothing moves. */
void Settle(FrameClock& clock)
{
    for (int patience = kPatience; patience > 0; patience -= kStandstill) {
        clock.TakeFrames();
        RunFor(kStandstill);
        if (clock.TakeFrames().empty()) {
            return;
        }
    }
    Require(false, "the panel never stands still");
}

/**
 * Taps a tile a second, of which the first lets the events begin, until all of them have arrived.
 *
 * @return the name of the tile that was tapped last.
 */
QString BearLoad(const PanelUnderLoad& panel, const Options& options)
{
    const QVector<QQuickItem*> tiles = panel.Tiles();
    Require(tiles.size() > 1, "fewer than two tiles are to be seen");
    QString last;
    int taps = 0;
    QEventLoop loop;
    QTimer timer;
    const auto tap = [&] {
        QQuickItem* const tile = tiles.at(++taps % tiles.size()); // at first not the one that is on
        last = tile->property("name").toString();
        panel.Tap(tile);
        if (taps == options.seconds) {
            timer.stop();
        }
    };
    QObject::connect(&timer, &QTimer::timeout, &loop, tap);
    QObject::connect(panel.Model("feed"), &QAbstractItemModel::rowsInserted, &loop, [&] {
        if (panel.Rows() >= options.events && !timer.isActive()) {
            loop.quit();
        }
    });
    QTimer::singleShot(2 * options.seconds * kTapInterval + kPatience, &loop, &QEventLoop::quit);
    timer.start(kTapInterval);
    tap();
    loop.exec();
    RunFor(kLastFrames);
    return last;
}

/** Nothing is lost on the way from the service to the screen. */
QJsonObject Compare(const PanelUnderLoad& panel, const Options& options, const QString& lastMode)
{
    KivTest::SimulatorControl control;
    Require(control.Tell("WaitForSteps", {uint(kPatience)}), control.Error());
    Require(KivTest::HandleArrivedEvents(QDBusConnection::systemBus()), "the bus does not answer");
    const QStringList sent = KivTest::Gist(control.Log()).filter("audioFocusChangeEvent");
    Require(sent.size() == options.events && panel.Rows() == options.events,
            QStringLiteral("%1 events were to be sent, %2 were, %3 have become rows")
                .arg(options.events)
                .arg(sent.size())
                .arg(panel.Rows()));
    const QAbstractItemModel& feed = *panel.Model("feed");
    const QString newest = feed.index(0, 0).data(feed.roleNames().key("streamName")).toString();
    Require(sent.last().contains('"' + newest + '"') && panel.TopRow() == newest,
            QStringLiteral("the last event was %1, the first row is of \"%2\", the screen shows \"%3\"")
                .arg(sent.last(), newest, panel.TopRow()));
    const QString current = panel.Model("modes")->property("currentMode").toString();
    Require(current == lastMode && panel.ActiveTiles() == QStringList{lastMode},
            QStringLiteral("\"%1\" was tapped last, \"%2\" is the mode, the tiles show \"%3\"")
                .arg(lastMode, current, panel.ActiveTiles().join("\", \"")));
    return {{"events", options.events}, {"taps", options.seconds}};
}

QJsonObject MeasureIdleness(FrameClock& clock, int milliseconds)
{
    Settle(clock);
    Measurement measurement(clock);
    RunFor(milliseconds);
    return measurement.Result();
}

/** A tile waits for the service's answer meanwhile. */
QJsonObject MeasurePendingTile(const PanelUnderLoad& panel, FrameClock& clock, int milliseconds)
{
    constexpr int margin = 500; // ms before and after
    KivTest::SimulatorControl control;
    const QString fault = R"({"kind": "delay", "method": "setMode", "delay": %1})";
    Require(control.Arm(fault.arg(milliseconds + 2 * margin)) != 0, control.Error());
    panel.Tap(panel.Tiles().first());
    RunFor(margin);
    const QAbstractItemModel* const modes = panel.Model("modes");
    Require(!modes->property("pendingMode").toString().isEmpty(), "no mode is pending");
    Measurement measurement(clock);
    RunFor(milliseconds);
    const QJsonObject result = measurement.Result();
    Require(!modes->property("pendingMode").toString().isEmpty(), "the mode is no longer pending");
    return result;
}

QJsonObject Measure(const Options& options)
{
    const PanelUnderLoad panel(options.panel);
    FrameClock clock(panel.Window());
    const QAbstractItemModel* const modes = panel.Model("modes");
    const QAbstractItemModel* const feed = panel.Model("feed");
    Require(QTest::qWaitFor(
                [&] { return modes->rowCount() == options.modes && feed->property("available").toBool(); },
                kPatience),
            QStringLiteral("%1 modes are there").arg(modes->rowCount()));
    Settle(clock);
    Measurement load(clock);
    const QString lastMode = BearLoad(panel, options);
    QJsonObject result{{"load", load.Result()}};
    result.insert("arrived", Compare(panel, options, lastMode));
    result.insert("idle", MeasureIdleness(clock, options.seconds * 500));
    result.insert("pending", MeasurePendingTile(panel, clock, options.seconds * 500));
    return result;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication::setApplicationName("hmi-panel");
    const QGuiApplication application(argc, argv);
    QLoggingCategory::setFilterRules("default.debug=false\ndefault.warning=false\n"
                                     "qt.scenegraph.time.renderloop.debug=true");
    const Options options = OptionsOf(application);
    QDBusConnection::systemBus();
    std::puts(QJsonDocument(Measure(options)).toJson(QJsonDocument::Compact).constData());
    return 0;
}
