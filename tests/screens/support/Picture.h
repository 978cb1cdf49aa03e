// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_PICTURE_H
#define KIV_TESTS_PICTURE_H

#include <QDir>
#include <QImage>
#include <QString>

namespace KivTest {

/**
 * Keeps what a screen shows as NAME.png: in the folder that KIV_PICTURES names, else in "pictures" of the current one.
 *
 * @return whether there is a picture, and it was written.
 */
inline bool Keep(const QImage& image, const QString& name)
{
    const QDir folder(qEnvironmentVariable("KIV_PICTURES", QStringLiteral("pictures")));
    return !image.isNull() && folder.mkpath(QStringLiteral(".")) &&
           image.save(folder.filePath(name + QStringLiteral(".png")));
}

} // namespace KivTest

#endif // KIV_TESTS_PICTURE_H
