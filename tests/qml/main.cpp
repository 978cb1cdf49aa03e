// SPDX-License-Identifier: MIT
#include "Simulator.h"

#include <QLoggingCategory>
#include <QtQml>
#include <QtQuickTest>

namespace {

/** What the test cases import. */
class Setup : public QObject
{
    Q_OBJECT

public Q_SLOTS:
    void qmlEngineAvailable(QQmlEngine* engine)
    {
        QLoggingCategory::setFilterRules("default.debug=false");
        engine->addImportPath(KIV_QML_IMPORTS);
        qmlRegisterSingletonType<KivTest::Simulator>(
            "Kiv.Tests", 1, 0, "Simulator",
            [](QQmlEngine*, QJSEngine*) -> QObject* { return new KivTest::Simulator; });
    }
};

} // namespace

QUICK_TEST_MAIN_WITH_SETUP(qml, Setup)

#include "main.moc"
