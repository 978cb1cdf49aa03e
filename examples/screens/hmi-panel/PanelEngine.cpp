// SPDX-License-Identifier: MIT
#include "PanelEngine.h"

#include "InputMode.h"
#include "Names.h"

#include <QGuiApplication>
#include <QtQml>

namespace {

template <typename Type>
QObject* Make(QQmlEngine*, QJSEngine*)
{
    return new Type; // the engine deletes it
}

} // namespace

void InitPanelResource() // in no namespace, because Q_INIT_RESOURCE has to be
{
    Q_INIT_RESOURCE(hmi_panel);
    Q_INIT_RESOURCE(hmi_panel_translations);
    qRegisterMetaType<FittedName>();
    qmlRegisterSingletonType<InputMode>("HmiPanel", 1, 0, "InputMode", &Make<InputMode>);
    qmlRegisterSingletonType<Names>("HmiPanel", 1, 0, "Names", &Make<Names>);
    qmlRegisterSingletonType(QUrl(QStringLiteral("qrc:/hmi-panel/Theme.qml")), "HmiPanel", 1, 0, "Theme");
}

PanelEngine::PanelEngine(const PanelOptions& options)
    : m_Options(options)
{
    InitPanelResource();
    SetLanguage(options.language);
}

PanelEngine::~PanelEngine()
{
    QCoreApplication::removeTranslator(&m_Translator);
}

bool PanelEngine::Load()
{
    m_Engine.setInitialProperties({{QStringLiteral("width"), m_Options.size.width()},
                                   {QStringLiteral("height"), m_Options.size.height()},
                                   {QStringLiteral("night"), m_Options.isNight},
                                   {QStringLiteral("destination"), m_Options.destination},
                                   {QStringLiteral("firstMode"), m_Options.mode}});
    m_Engine.load(QUrl(QStringLiteral("qrc:/hmi-panel/Main.qml")));
    if (Window() == nullptr) {
        return false;
    }
    Window()->setVisibility(m_Options.isFullScreen ? QWindow::FullScreen : QWindow::Windowed);
    return true;
}

void PanelEngine::SetLanguage(const QString& language)
{
    QCoreApplication::removeTranslator(&m_Translator);
    if (m_Translator.load(QStringLiteral(":/hmi-panel/hmi-panel_%1.qm").arg(language))) {
        QCoreApplication::installTranslator(&m_Translator); // there is none for English
    }
    m_Engine.retranslate();
}

QQuickWindow* PanelEngine::Window() const
{
    return qobject_cast<QQuickWindow*>(m_Engine.rootObjects().value(0));
}
