// SPDX-License-Identifier: MIT
#include "Setup.h"

#include "Theme.h"

#include <QApplication>
#include <QLibraryInfo>
#include <QRegularExpression>
#include <QStyleFactory>
#include <QTranslator>

namespace {

const char* const kBusNamePrefix = "com.quorvantel.audioclient.player_";

void Install(const QString& file, const QString& folder)
{
    auto* const translator = new QTranslator(qApp);
    if (translator->load(file, folder)) {
        QCoreApplication::installTranslator(translator);
    }
}

} // namespace

void UseLanguage(const QString& language)
{
    if (language != "en") {
        Install("qtbase_" + language,
                QLibraryInfo::location(QLibraryInfo::TranslationsPath)); // dialogs, if it is there
        Install("media-player_" + language, ":/translations");
    }
}

void UseTheme(const QString& theme)
{
    if (!theme.isEmpty()) {
        QApplication::setStyle(QStyleFactory::create("Fusion")); // others may have colours of their own
        QApplication::setPalette(theme == "night" ? Theme::Night() : Theme::Day());
    }
}

void Configure(Audio::Utils::Kiv::Models::AudioStream& stream, const Options& options)
{
    static const QRegularExpression notAllowed("[^A-Za-z0-9_]");
    QString suffix = options.name;
    stream.setName(options.name);
    stream.setBusName(kBusNamePrefix + suffix.replace(notAllowed, "_").left(100));
    stream.setStreamType(options.type);
    stream.setPermanentFocus(!options.isTransient);
    stream.setDestination(options.destination);
}
