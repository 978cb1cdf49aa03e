// SPDX-License-Identifier: MIT
#include "TestMain.h"

#include "protocol/Vocabulary.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QRegularExpression>
#include <QStringList>

using namespace Audio::Utils::Kiv::QtDbus;

namespace {

const QString kSourceDirectory = KIV_SOURCE_DIRECTORY;

// In the order of their declaration.
const QStringList kTexts{"gained",
                         "lost",
                         "temporarilyLost",
                         "granted",
                         "failed",
                         "abandoned",
                         "wouldBeGranted",
                         "wouldFail",
                         "permanent",
                         "transient",
                         "Media",
                         "add",
                         "remove",
                         "Cabin",
                         "{}",
                         "query",
                         "request",
                         "all",
                         "openSession",
                         "closeSession",
                         "setMode",
                         "getMode",
                         "getModeList",
                         "onModeChange",
                         "onModeListChange",
                         "audioFocusChangeEvent",
                         "requestAudioFocus",
                         "registerAudioStream",
                         "abandonAudioFocus",
                         "audioActive",
                         "onAudioFocusChange",
                         "onRequestAudioFocusResult",
                         "busName",
                         "objectPath",
                         "destination",
                         "sessionId",
                         "newMode",
                         "newFocus",
                         "focusType",
                         "streamType",
                         "streamModeName",
                         "activeMode",
                         "requestType",
                         "streamName",
                         "reason",
                         "playing",
                         "mode",
                         "action",
                         "modeList",
                         "currentMode",
                         "errCode",
                         "com.quorvantel.service.AudioManagement",
                         "/com/kiv/service/AudioManagement/HmiMode",
                         "/com/kiv/service/AudioManagement/AudioApplication",
                         "/ServiceProviderClient"};

QString ReadFile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        qFatal("cannot read %s", qPrintable(path));
    }
    return QString::fromUtf8(file.readAll());
}

QStringList FirstCaptures(const QRegularExpression& expression, const QString& text)
{
    QStringList captures;
    for (auto match = expression.globalMatch(text); match.hasNext();) {
        captures.append(match.next().captured(1));
    }
    return captures;
}

QStringList Literals(const QString& path)
{
    static const QRegularExpression literal("\"((?:[^\"\\\\\n]|\\\\.)*)\"");
    return FirstCaptures(literal, ReadFile(path));
}

QStringList SourceFiles()
{
    QStringList paths;
    QDirIterator files(kSourceDirectory, {"*.cpp", "*.h"}, QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        paths.append(files.next());
    }
    paths.sort();
    return paths;
}

} // namespace

class tst_Vocabulary : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void constant_isItsText_data();
    void constant_isItsText();
    void constants_areDeclaredInOrder();
    void constants_arePlainAscii();
    void values_beginInLowerCase_exceptStreamTypes();
    void sources_writeNoTextOfTheVocabularyThemselves();
    void sources_thatIncludeTheVocabulary();
};

void tst_Vocabulary::constant_isItsText_data()
{
    QTest::addColumn<QString>("constant");
    const QList<QString> constants{Value::Gained,
                                   Value::Lost,
                                   Value::TemporarilyLost,
                                   Value::Granted,
                                   Value::Failed,
                                   Value::Abandoned,
                                   Value::WouldBeGranted,
                                   Value::WouldFail,
                                   Value::Permanent,
                                   Value::Transient,
                                   Value::Media,
                                   Value::Add,
                                   Value::Remove,
                                   Value::Cabin,
                                   Value::EmptyObject,
                                   Value::Query,
                                   Value::Request,
                                   Value::All,
                                   Method::OpenSession,
                                   Method::CloseSession,
                                   Method::SetMode,
                                   Method::GetMode,
                                   Method::GetModeList,
                                   Event::OnModeChange,
                                   Event::OnModeListChange,
                                   Event::AudioFocusChangeEvent,
                                   Method::RequestAudioFocus,
                                   Method::RegisterAudioStream,
                                   Method::AbandonAudioFocus,
                                   Method::AudioActive,
                                   Event::OnAudioFocusChange,
                                   Event::OnRequestAudioFocusResult,
                                   Key::BusName,
                                   Key::ObjectPath,
                                   Key::Destination,
                                   Key::SessionId,
                                   Key::NewMode,
                                   Key::NewFocus,
                                   Key::FocusType,
                                   Key::StreamType,
                                   Key::StreamModeName,
                                   Key::ActiveMode,
                                   Key::RequestType,
                                   Key::StreamName,
                                   Key::Reason,
                                   Key::Playing,
                                   Key::Mode,
                                   Key::Action,
                                   Key::ModeList,
                                   Key::CurrentMode,
                                   Key::ErrCode,
                                   Bus::ServiceName,
                                   Bus::HmiPath,
                                   Bus::AppPath,
                                   Bus::ClientPath};
    QCOMPARE(constants.size(), kTexts.size());
    for (int i = 0; i < kTexts.size(); ++i) {
        QTest::newRow(qPrintable(kTexts.at(i))) << constants.at(i);
    }
}

void tst_Vocabulary::constant_isItsText()
{
    QFETCH(const QString, constant);
    QCOMPARE(constant, QString::fromLatin1(QTest::currentDataTag()));
}

void tst_Vocabulary::constants_areDeclaredInOrder()
{
    static const QRegularExpression declaration("^const QString \\w+ = QStringLiteral\\(\"([^\"]*)\"\\);$",
                                                QRegularExpression::MultilineOption);
    const QStringList declared =
        FirstCaptures(declaration, ReadFile(kSourceDirectory + "/protocol/Vocabulary.h"));
    QCOMPARE(declared.size(), 55);
    QCOMPARE(declared, kTexts);
}

void tst_Vocabulary::constants_arePlainAscii()
{
    for (const QString& text : kTexts) {
        QCOMPARE(QString::fromLatin1(text.toLatin1()), text);
        QCOMPARE(text.toUtf8(), text.toLatin1());
    }
}

void tst_Vocabulary::values_beginInLowerCase_exceptStreamTypes()
{
    QStringList capitalised;
    for (const QString& text : kTexts) {
        if (text.at(0).isUpper()) {
            capitalised.append(text);
        }
    }
    QCOMPARE(capitalised, (QStringList{Value::Media, Value::Cabin}));
    QCOMPARE(Value::EmptyObject.size(), 2);
}

void tst_Vocabulary::sources_writeNoTextOfTheVocabularyThemselves()
{
    QStringList offences;
    for (const QString& path : SourceFiles()) {
        if (path.endsWith("/protocol/Vocabulary.h")) {
            continue;
        }
        for (const QString& literal : Literals(path)) {
            if (kTexts.contains(literal)) {
                offences.append(path + ": " + literal);
            }
        }
    }
    QCOMPARE(offences, QStringList());
}

void tst_Vocabulary::sources_thatIncludeTheVocabulary()
{
    QStringList including;
    for (const QString& path : SourceFiles()) {
        if (ReadFile(path).contains("#include \"protocol/Vocabulary.h\"")) {
            including.append(QDir(kSourceDirectory).relativeFilePath(path));
        }
    }
    QCOMPARE(
        including,
        (QStringList{"audio/AudioManagerApp.cpp", "audio/AudioManagerHmi.cpp", "client/KivBaseClient.cpp",
                     "client/ServiceProviderClient.cpp", "dbus/ConcreteServiceProviderProxy.cpp",
                     "dbus/ServiceProviderProxyAppFactory.cpp", "dbus/ServiceProviderProxyHmiFactory.cpp"}));
}

KIV_UNIT_TEST_MAIN(tst_Vocabulary)
#include "tst_Vocabulary.moc"
