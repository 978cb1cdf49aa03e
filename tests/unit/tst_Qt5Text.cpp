// SPDX-License-Identifier: MIT
#include "TestMain.h"
#include "logging/Qt5Text.h"

#include <QTest>

#include <functional>

using namespace Audio::Utils::Kiv::QtDbus;

namespace {

using Stream = std::function<void(QDebug&)>;

/** Streams a value as the library does. */
template <typename Value>
Stream Logged(const Value& value)
{
    return [value](QDebug& debug) { debug << Qt5Text(value); };
}

QString TextOf(const Stream& stream)
{
    QString text;
    {
        QDebug debug(&text);
        debug << "before";
        stream(debug);
        debug << "after";
    }
    return text;
}

} // namespace

Q_DECLARE_METATYPE(Stream)

class tst_Qt5Text : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void record_hasTheTextOfQt5_data();
    void record_hasTheTextOfQt5();
};

void tst_Qt5Text::record_hasTheTextOfQt5_data()
{
    QTest::addColumn<Stream>("stream");
    QTest::addColumn<QString>("text");

    QTest::newRow("no text") << Logged(QStringList()) << "()";
    QTest::newRow("one text") << Logged(QStringList{"a"}) << R"(("a"))";
    QTest::newRow("texts") << Logged(QStringList{"a", "", "b \"c\""}) << R"x(("a", "", "b \"c\""))x";
    QTest::newRow("flag") << Logged(QVariant(true)) << "QVariant(bool, true)";
    QTest::newRow("number") << Logged(QVariant(-5)) << "QVariant(int, -5)";
    QTest::newRow("fraction") << Logged(QVariant(0.5)) << "QVariant(double, 0.5)";
    QTest::newRow("text") << Logged(QVariant("a")) << R"(QVariant(QString, "a"))";
    QTest::newRow("null text") << Logged(QVariant(QString())) << R"(QVariant(QString, ""))";
    QTest::newRow("nothing") << Logged(QVariant()) << "QVariant(Invalid)";
    QTest::newRow("held texts") << Logged(QVariant(QStringList{"a", "b"}))
                                << R"(QVariant(QStringList, ("a", "b")))";
    QTest::newRow("held list")
        << Logged(QVariant(QVariantList{1, QStringList{"a"}}))
        << R"(QVariant(QVariantList, (QVariant(int, 1), QVariant(QStringList, ("a")))))";
    QTest::newRow("held map") << Logged(QVariant(QVariantMap{{"k", QStringList{"a"}}}))
                              << R"(QVariant(QVariantMap, QMap(("k", QVariant(QStringList, ("a"))))))";
    QTest::newRow("empty map") << Logged(QVariantMap()) << "QMap()";
    QTest::newRow("map") << Logged(QVariantMap{{"n", 5}, {"l", QStringList{"a", "b"}}})
                         << R"(QMap(("l", QVariant(QStringList, ("a", "b")))("n", QVariant(int, 5))))";
}

void tst_Qt5Text::record_hasTheTextOfQt5()
{
    QFETCH(const Stream, stream);
    QFETCH(const QString, text);
    QCOMPARE(TextOf(stream), "before " + text + " after ");
}

KIV_UNIT_TEST_MAIN(tst_Qt5Text)
#include "tst_Qt5Text.moc"
