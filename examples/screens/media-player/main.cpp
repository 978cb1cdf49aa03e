// SPDX-License-Identifier: MIT
// A media player that is heard only while the audio service gives it the focus.
#include "DeviceOutputs.h"
#include "Options.h"
#include "Player.h"
#include "PlayerWindow.h"
#include "QuitSignals.h"
#include "Setup.h"

#include <QApplication>
#include <QDBusConnection>
#include <QLoggingCategory>
#include <QTextStream>
#include <QTimer>

using Audio::Utils::Kiv::Models::AudioStream;

namespace {

/** Needs no screen, so that help and complaints are seen everywhere. */
std::optional<Options> OptionsOf(int argc, char** argv)
{
    const QCoreApplication withoutScreen(argc, argv);
    QString error;
    std::optional<Options> options = ReadOptions(QCoreApplication::arguments(), error);
    if (!options) {
        QTextStream(stderr) << "media-player: " << error << "\nTry media-player --help" << Qt::endl;
    }
    return options;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication::setApplicationName("media-player");
    QCoreApplication::setApplicationVersion(KIV_EXAMPLE_VERSION);
    const std::optional<Options> options = OptionsOf(argc, argv);
    if (!options) {
        return 2;
    }
    QuitSignals::Block();
    const QApplication application(argc, argv);
    const QuitSignals quitSignals;
    Q_INIT_RESOURCE(player); // it is in a library
    // QT_LOGGING_RULES=default.debug=true shows the library's debug records.
    QLoggingCategory::setFilterRules("default.debug=false");
    UseLanguage(options->language);
    UseTheme(options->theme);
    QDBusConnection::systemBus(); // before the event loop runs: else Qt does not notice a lost bus

    AudioStream stream;
    Configure(stream, *options);
    DeviceOutputs outputs;
    Player player(stream, outputs);
    PlayerWindow window(player);
    if (!options->file.isEmpty()) {
        player.Open(options->file);
    }
    window.show();
    QTimer::singleShot(0, &stream, &AudioStream::start);
    return QApplication::exec();
}
