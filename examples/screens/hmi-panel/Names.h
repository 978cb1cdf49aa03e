// SPDX-License-Identifier: MIT
#ifndef HMI_PANEL_NAMES_H
#define HMI_PANEL_NAMES_H

#include <QFont>
#include <QList>
#include <QObject>
#include <QString>

/** A name as it fits into its place. */
struct FittedName
{
    Q_GADGET
    Q_PROPERTY(QString text MEMBER text)
    Q_PROPERTY(int pixelSize MEMBER pixelSize)
    Q_PROPERTY(bool elided MEMBER isElided)

public:
    QString text;
    int pixelSize = 0;
    bool isElided = false;

    bool operator==(const FittedName& other) const
    {
        return text == other.text && pixelSize == other.pixelSize && isElided == other.isElided;
    }
    bool operator!=(const FittedName& other) const { return !(*this == other); }
};

/** Makes names showable that the service gives: they can be of any length, in any script, and hold anything. */
class Names : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    /**
     * Fits a name into some lines: in the first size in which whole words fit; else in the last one, broken
     * anywhere; else with its middle left out.
     *
     * @param sizes pixel sizes, the largest first.
     */
    Q_INVOKABLE FittedName fit(const QString& name, const QFont& font, qreal width, int lines,
                               const QList<int>& sizes) const;

    /** The name on one line, and at most some 200 characters of it. */
    Q_INVOKABLE QString shown(const QString& name) const;

    /** The same for a place in a sentence, whose direction it does not change. */
    Q_INVOKABLE QString quoted(const QString& name) const;

    /** What stands for a name in a circle: the first letter of what follows its last "/". */
    Q_INVOKABLE QString initial(const QString& name) const;
};

#endif // HMI_PANEL_NAMES_H
