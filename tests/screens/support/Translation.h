// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_TRANSLATION_H
#define KIV_TESTS_TRANSLATION_H

#include "SimulatorProcess.h"

#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTemporaryDir>

namespace KivTest {

inline QByteArray Content(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/**
 * What is wrong with a translation: a text that is new, changed, gone or not translated, or whose translation names other
 * values ("%1") than the text. Empty when nothing is.
 *
 * @param sources the folder whose texts it translates.
 * @param translation the .ts file, which is left alone.
 */
inline QString Untranslated(const QString& sources, const QString& translation)
{
    const QTemporaryDir folder;
    const QString copy = folder.filePath(QFileInfo(translation).fileName());
    QProcess lupdate;
    if (!QFile::copy(translation, copy)) {
        return translation + " cannot be read";
    }
    lupdate.start(KIV_LUPDATE, {"-locations", "none", sources, "-ts", copy});
    if (!lupdate.waitForFinished(kPatience) || lupdate.exitCode() != 0) {
        return "lupdate: " + QString::fromUtf8(lupdate.readAllStandardError());
    }
    const QString texts = QString::fromUtf8(Content(copy));
    const bool isWhole = texts.contains("<translation>") &&
                         !texts.contains("type=\"") && // unfinished, vanished …
                         !texts.contains("<translation></translation>");
    if (!isWhole || texts != QString::fromUtf8(Content(translation))) {
        return texts;
    }
    static const QRegularExpression pair("<source>(.*?)</source>\\s*<translation>(.*?)</translation>",
                                         QRegularExpression::DotMatchesEverythingOption);
    QStringList wrongs;
    auto each = pair.globalMatch(texts);
    while (each.hasNext()) {
        const QRegularExpressionMatch match = each.next();
        for (const char* const value : {"%1", "%2", "%3", "%n"}) {
            if (match.captured(1).count(value) != match.captured(2).count(value)) {
                wrongs.append(match.captured(1) + ": " + match.captured(2));
            }
        }
    }
    return wrongs.join('\n');
}

} // namespace KivTest

#endif // KIV_TESTS_TRANSLATION_H
