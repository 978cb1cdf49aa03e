// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_TEXTCORPUS_H
#define KIV_TESTS_TEXTCORPUS_H

#include <QFile>
#include <QMap>
#include <QRegularExpression>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVector>

namespace KivTest {

/** A text that should be JSON, and what is known of it. */
struct CorpusText
{
    QString kind;
    QString notation; ///< As the file has it.
    QString outcome;  ///< Described() of what the codec makes of it.
    QString text;
};

/** The text of a notation: `<U+FEFF>` is that unit, `<9*x>` nine times x; everything else stands for itself. */
inline QString TextOf(const QString& notation)
{
    static const QRegularExpression marks(QStringLiteral("<(?:U\\+([0-9A-F]{4})|([0-9]+)\\*([^>]+))>"));
    QString text;
    int end = 0;
    for (auto match = marks.globalMatch(notation); match.hasNext();) {
        const QRegularExpressionMatch mark = match.next();
        text += notation.mid(end, int(mark.capturedStart()) - end);
        end = int(mark.capturedEnd());
        text += mark.captured(1).isEmpty() ? mark.captured(3).repeated(mark.captured(2).toInt())
                                           : QString(QChar(mark.captured(1).toUShort(nullptr, 16)));
    }
    return text + notation.mid(end);
}

/** A value as `int:1`, `bool:true`, `text:a`, `list:a,b`, or `null` for a null text. */
inline QString Described(const QVariant& value)
{
    switch (value.userType()) {
    case QMetaType::Int:
        return QStringLiteral("int:") + value.toString();
    case QMetaType::Bool:
        return QStringLiteral("bool:") + value.toString();
    case QMetaType::QStringList:
        return QStringLiteral("list:") + value.toStringList().join(QLatin1Char(','));
    case QMetaType::QString:
        return value.toString().isNull() ? QStringLiteral("null")
                                         : QStringLiteral("text:") + value.toString();
    default:
        return QStringLiteral("unexpected:") + QString::fromLatin1(value.typeName());
    }
}

/** A map as `key=value;key=value`; "-" when it is empty. */
inline QString Described(const QMap<QString, QVariant>& parameters)
{
    QStringList members;
    for (auto entry = parameters.constBegin(); entry != parameters.constEnd(); ++entry) {
        members.append(entry.key() + QLatin1Char('=') + Described(*entry));
    }
    return members.isEmpty() ? QStringLiteral("-") : members.join(QLatin1Char(';'));
}

/** Reads a corpus: lines `outcome TAB notation` under headings `# kind`; empty when there is no such file. */
inline QVector<CorpusText> ReadCorpus(const QString& fileName)
{
    QFile file(fileName);
    QVector<CorpusText> corpus;
    QString kind;
    if (!file.open(QIODevice::ReadOnly)) {
        return corpus;
    }
    for (const QString& line : QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'))) {
        const int tab = int(line.indexOf(QLatin1Char('\t')));
        if (tab > 0) {
            const QString notation = line.mid(tab + 1);
            corpus.append({kind, notation, TextOf(line.left(tab)), TextOf(notation)});
        } else if (line.startsWith(QLatin1String("# "))) {
            kind = line.mid(2);
        }
    }
    return corpus;
}

} // namespace KivTest

#endif // KIV_TESTS_TEXTCORPUS_H
