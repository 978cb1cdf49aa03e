// SPDX-License-Identifier: MIT
#include <QAbstractItemModel>
#include <QFile>
#include <QMetaMethod>
#include <QMetaProperty>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QRegularExpression>
#include <QTest>

#include <memory>

namespace {

const QStringList kTypes{"AudioModesModel", "AudioStream", "FocusFeed"};

/** As QML calls a C++ type. */
QString QmlType(const char* cppType)
{
    const QString type = QString::fromLatin1(cppType).section("::", -1);
    return type == "QString" ? "string" : type;
}

/** The first meta-object that is not Qt's, and all above it, with what Qt's have. */
const QMetaObject& QtPart(const QMetaObject& type)
{
    const QMetaObject* part = &type;
    while (part->className()[0] != 'Q') {
        part = part->superClass();
    }
    return *part;
}

QStringList PropertiesOf(const QMetaObject& type)
{
    QStringList all;
    for (int index = QtPart(type).propertyCount(); index < type.propertyCount(); ++index) {
        const QMetaProperty property = type.property(index);
        all += QStringLiteral("property %1: %2%3")
                   .arg(property.name(), QmlType(property.typeName()),
                        property.isWritable() ? "" : ", read only");
    }
    return all;
}

bool IsNotifier(const QMetaObject& type, int method)
{
    for (int index = 0; index < type.propertyCount(); ++index) {
        if (type.property(index).notifySignalIndex() == method) {
            return true;
        }
    }
    return false;
}

QStringList MethodsOf(const QMetaObject& type)
{
    QStringList all;
    for (int index = QtPart(type).methodCount(); index < type.methodCount(); ++index) {
        const QMetaMethod method = type.method(index);
        if (IsNotifier(type, index)) {
            continue;
        }
        const QString kind = method.methodType() == QMetaMethod::Signal ? "signal" : "method";
        all += QStringLiteral("%1 %2(%3): %4")
                   .arg(kind, method.name(), method.parameterNames().join(", "), QmlType(method.typeName()));
    }
    return all;
}

QStringList EnumsOf(const QMetaObject& type, const QString& name)
{
    QStringList all;
    for (int index = QtPart(type).enumeratorCount(); index < type.enumeratorCount(); ++index) {
        const QMetaEnum values = type.enumerator(index);
        for (int key = 0; key < values.keyCount() && qstrcmp(values.name(), "Role") != 0; ++key) {
            all += QStringLiteral("value %1.%2.%3").arg(name, values.name(), values.key(key));
        }
    }
    return all;
}

QStringList RolesOf(const QObject& object)
{
    QStringList all;
    const auto* const model = qobject_cast<const QAbstractItemModel*>(&object);
    const QMetaObject& type = *object.metaObject();
    const QMetaEnum roles = type.enumerator(type.indexOfEnumerator("Role"));
    for (int key = 0; model != nullptr && key < roles.keyCount(); ++key) {
        const QByteArray name = model->roleNames().value(roles.value(key));
        all += QStringLiteral("role %1 = %2").arg(name, roles.key(key));
    }
    return all;
}

/** What a row of a table says; empty for what is no row of a reference. */
QString Entry(const QString& kind, const QStringList& cells)
{
    if (kind == "property") {
        return QStringLiteral("property %1: %2%3")
            .arg(cells.at(0), cells.at(1), cells.at(2) == "read only" ? ", read only" : "");
    }
    if (kind == "method" || kind == "signal") {
        return QStringLiteral("%1 %2: %3").arg(kind, cells.at(0), kind == "signal" ? "void" : cells.at(1));
    }
    if (kind == "role") {
        return QStringLiteral("role %1 = %2").arg(cells.at(0), cells.at(1));
    }
    return kind == "value" ? "value " + cells.at(0) : QString();
}

QStringList CellsOf(const QString& line)
{
    QStringList cells;
    for (const QString& cell : line.mid(1).split('|')) {
        cells += cell.trimmed().remove('`');
    }
    return cells;
}

/** The entries of a type in the tables of the document, in the sections whose titles name it. */
QStringList Documented(const QString& type, const QString& document)
{
    QStringList entries;
    bool isOfType = false;
    QString kind;
    for (const QString& line : document.split('\n')) {
        if (line.startsWith("##")) {
            isOfType = line.contains(QRegularExpression("\\b" + type + "\\b"));
        }
        if (!line.startsWith('|')) {
            kind.clear();
        } else if (kind.isEmpty()) {
            kind = CellsOf(line).first().toLower();
        } else if (isOfType && !line.startsWith("|-")) {
            entries += Entry(kind, CellsOf(line));
        }
    }
    entries.removeAll(QString());
    return entries;
}

} // namespace

/** Compares the document of the module with the module. */
class tst_QmlReference : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyMember_isDocumented_data();
    void everyMember_isDocumented();
};

void tst_QmlReference::everyMember_isDocumented_data()
{
    QTest::addColumn<QString>("type");
    for (const QString& type : kTypes) {
        QTest::addRow("%s", qPrintable(type)) << type;
    }
}

void tst_QmlReference::everyMember_isDocumented()
{
    QFETCH(QString, type);
    QQmlEngine engine;
    engine.addImportPath(KIV_QML_IMPORTS);
    QQmlComponent component(&engine);
    component.setData("import Kiv.Audio 1.0; " + type.toUtf8() + " {}", QUrl());
    const std::unique_ptr<QObject> object(component.create());
    QVERIFY2(object, qPrintable(component.errorString()));

    const QMetaObject& meta = *object->metaObject();
    QStringList expected = PropertiesOf(meta) + MethodsOf(meta) + EnumsOf(meta, type) + RolesOf(*object);
    QFile file(KIV_QML_DOCUMENT);
    QVERIFY(file.open(QFile::ReadOnly));
    QStringList actual = Documented(type, QString::fromUtf8(file.readAll()));
    expected.sort();
    actual.sort();
    QCOMPARE(actual.join('\n'), expected.join('\n'));
}

int main(int argc, char** argv)
{
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/kiv-test-bus");
    const QCoreApplication application(argc, argv);
    tst_QmlReference test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_QmlReference.moc"
