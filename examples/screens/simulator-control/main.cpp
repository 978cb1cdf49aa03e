// SPDX-License-Identifier: MIT
// A small window that plays the device beside a demo: it steers kiv-audio-simulator.
#include "ControlWindow.h"
#include "QuitSignals.h"
#include "Settings.h"
#include "Theme.h"

#include <QApplication>
#include <QDBusConnection>
#include <QLoggingCategory>
#include <QTextStream>
#include <QTimer>
#include <QTranslator>

namespace {

constexpr int usageError = 2;

// Needs no screen, so that help and complaints are seen everywhere.
Settings SettingsOf(int argc, char** argv)
{
    const QCoreApplication withoutScreen(argc, argv);
    return Settings::Read(QCoreApplication::arguments());
}

void Translate(QTranslator& translator, const QString& language)
{
    if (translator.load(":/simulator-control/simulator-control_" + language)) {
        QCoreApplication::installTranslator(&translator);
    }
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication::setApplicationName("simulator-control");
    QCoreApplication::setApplicationVersion(KIV_EXAMPLE_VERSION);
    const Settings settings = SettingsOf(argc, argv);
    if (!settings.error.isEmpty()) {
        QTextStream(stderr) << "simulator-control: " << settings.error << Qt::endl;
        return usageError;
    }
    if (!settings.answer.isEmpty()) {
        QTextStream(stdout) << settings.answer;
        return 0;
    }
    QuitSignals::Block();
    const QApplication application(argc, argv);
    const QuitSignals quitSignals;
    Q_INIT_RESOURCE(simulator_control);
    Apply(settings.theme);
    QTranslator translator;
    Translate(translator, settings.language);
    // QT_LOGGING_RULES=default.debug=true shows the library's debug records.
    QLoggingCategory::setFilterRules("default.debug=false");
    QDBusConnection::systemBus(); // a turn of the loop before the models: else Qt does not notice a lost bus
    ControlWindow window;
    window.show();
    QTimer::singleShot(0, &window, [&window] { window.Start(); });
    return QApplication::exec();
}
