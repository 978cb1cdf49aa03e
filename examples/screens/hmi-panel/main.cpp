// SPDX-License-Identifier: MIT
// The audio panel of a device: see docs/hmi-panel.md.
#include "PanelEngine.h"
#include "PanelOptions.h"
#include "QuitSignals.h"

#include <QGuiApplication>
#include <QLoggingCategory>
#include <QOpenGLContext>
#include <QQuickStyle>
#include <QQuickWindow>
#include <QTextStream>

namespace {

constexpr int kCannotLoad = 1;
constexpr int kWrongUsage = 2;

/** Without OpenGL, Qt Quick would end the program; its software renderer draws the panel, too. */
void ChooseRenderer()
{
    if (qEnvironmentVariableIsEmpty("QT_QUICK_BACKEND") && !QOpenGLContext().create()) {
        QQuickWindow::setSceneGraphBackend(QSGRendererInterface::Software);
    }
}

int Run(int argc, char** argv, const PanelOptions& options)
{
    QuitSignals::Block();
    const QGuiApplication application(argc, argv);
    // QT_LOGGING_RULES=default.debug=true shows the library's debug records.
    QLoggingCategory::setFilterRules(QStringLiteral("default.debug=false"));
    QQuickStyle::setStyle(QStringLiteral("Default")); // what the panel's own controls stand on
    const QuitSignals quitSignals;
    ChooseRenderer();
    PanelEngine engine(options);
    if (!engine.Load()) {
        QTextStream(stderr)
            << "hmi-panel: the screen cannot be loaded. It needs the QML module Kiv.Audio, in Qt's "
               "own folder or in one that QML2_IMPORT_PATH names.\n";
        return kCannotLoad;
    }
    return QGuiApplication::exec();
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication::setApplicationName(QStringLiteral("hmi-panel"));
    QStringList arguments;
    for (int i = 1; i < argc; ++i) {
        arguments.append(QString::fromLocal8Bit(argv[i]));
    }
    const PanelOptions options = PanelOptions::FromArguments(arguments);
    if (!options.error.isEmpty()) {
        QTextStream(stderr) << "hmi-panel: " << options.error << '\n';
        return kWrongUsage;
    }
    if (options.isHelp || options.isVersion) {
        QTextStream(stdout) << (options.isHelp ? PanelOptions::Help()
                                               : QStringLiteral("hmi-panel " KIV_EXAMPLE_VERSION "\n"));
        return 0;
    }
    return Run(argc, argv, options);
}
