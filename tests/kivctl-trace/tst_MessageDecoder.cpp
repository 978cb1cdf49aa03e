// SPDX-License-Identifier: MIT
#include "MessageDecoder.h"

#include <QTest>

#include <cstdlib>

using Kivctl::BusMessage;
using Kivctl::MessageDecoder;
using Kivctl::MessagePtr;

namespace {

constexpr qint64 kTime = 1600000000123456;

QByteArray Bytes(const MessagePtr& message)
{
    dbus_message_set_serial(message.get(), 77);
    char* data = nullptr;
    int length = 0;
    if (dbus_message_marshal(message.get(), &data, &length) == FALSE) {
        qFatal("cannot marshal");
    }
    const QByteArray bytes(data, length);
    std::free(data);
    return bytes;
}

MessagePtr RequestCall(const QByteArray& arguments)
{
    MessagePtr call(
        dbus_message_new_method_call("com.example.service", "/path", "com.example.Interface", "Request"));
    dbus_message_set_sender(call.get(), ":1.5");
    const char* method = "setMode";
    const char* text = arguments.constData();
    dbus_message_append_args(call.get(), DBUS_TYPE_STRING, &method, DBUS_TYPE_STRING, &text,
                             DBUS_TYPE_INVALID);
    return call;
}

/** Every field in one text, so that a comparison shows them all. */
QString Picture(const BusMessage& message)
{
    return QStringList{QString::number(static_cast<int>(message.type)),
                       QString::number(message.time),
                       QString::number(message.serial),
                       QString::number(message.replySerial),
                       message.isReplyExpected ? "reply" : "no reply",
                       message.sender,
                       message.destination,
                       message.path,
                       message.interfaceName,
                       message.member,
                       message.errorName,
                       message.signature,
                       message.texts.join('+'),
                       message.isCut ? "cut" : "whole"}
        .join('|');
}

QString Decoded(const QByteArray& bytes, qint64 fullLength)
{
    QString error;
    const auto message = MessageDecoder::Decode(bytes, fullLength, kTime, &error);
    return message ? Picture(*message) : "error: " + error;
}

} // namespace

class tst_MessageDecoder : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void call_hasAllItsParts();
    void callWithoutReply_saysSo();
    void reply_hasNoMember();
    void error_hasItsName();
    void otherArguments_endTheTexts();
    void cutText_isShownAsFarAsItGoes();
    void cutInsideACharacter_leavesTheCharacterOut();
    void cutBeforeTheLastText_isAnError();
    void noMessage_isAnError_data();
    void noMessage_isAnError();
};

void tst_MessageDecoder::call_hasAllItsParts()
{
    const MessagePtr call = RequestCall("{\"a\":\"\xC3\xA4\"}");
    const QByteArray bytes = Bytes(call);
    const QString expected =
        QString::fromUtf8("0|1600000000123456|77|0|reply|:1.5|com.example.service|/path|"
                          "com.example.Interface|Request||ss|setMode+{\"a\":\"\xC3\xA4\"}|whole");
    QCOMPARE(Picture(MessageDecoder::Decode(call.get(), kTime)), expected);
    QCOMPARE(Decoded(bytes, bytes.size()), expected);
}

void tst_MessageDecoder::callWithoutReply_saysSo()
{
    const MessagePtr call = RequestCall("{}");
    dbus_message_set_no_reply(call.get(), TRUE);
    QCOMPARE(Picture(MessageDecoder::Decode(call.get(), 0)),
             QString("0|0|0|0|no reply|:1.5|com.example.service|/path|com.example.Interface|Request||ss|"
                     "setMode+{}|whole"));
}

void tst_MessageDecoder::reply_hasNoMember()
{
    const MessagePtr call = RequestCall("{}");
    Bytes(call); // gives it its serial number
    const MessagePtr reply(dbus_message_new_method_return(call.get()));
    QCOMPARE(Picture(MessageDecoder::Decode(reply.get(), 1)), QString("1|1|0|77|no reply||:1.5||||||"
                                                                      "|whole"));
}

void tst_MessageDecoder::error_hasItsName()
{
    const MessagePtr call = RequestCall("{}");
    Bytes(call);
    const MessagePtr error(dbus_message_new_error(call.get(), "com.example.Error", "no"));
    QCOMPARE(Picture(MessageDecoder::Decode(error.get(), 1)),
             QString("2|1|0|77|no reply||:1.5||||com.example.Error|s|no|whole"));
}

void tst_MessageDecoder::otherArguments_endTheTexts()
{
    const MessagePtr signal(dbus_message_new_signal("/path", "com.example.Interface", "Notify"));
    const char* text = "a";
    const dbus_uint32_t number = 1;
    dbus_message_append_args(signal.get(), DBUS_TYPE_STRING, &text, DBUS_TYPE_UINT32, &number,
                             DBUS_TYPE_STRING, &text, DBUS_TYPE_INVALID);
    QCOMPARE(Picture(MessageDecoder::Decode(signal.get(), 1)),
             QString("3|1|0|0|no reply|||/path|com.example.Interface|Notify||sus|a|whole"));
}

void tst_MessageDecoder::cutText_isShownAsFarAsItGoes()
{
    const QByteArray bytes = Bytes(RequestCall("{\"a\":\"0123456789\"}"));
    const QString start =
        "0|1600000000123456|77|0|reply|:1.5|com.example.service|/path|com.example.Interface|Request||"
        "ss|setMode+";
    QCOMPARE(Decoded(bytes.chopped(1), bytes.size()),
             start + "{\"a\":\"0123456789\"}|cut"); // without its end mark
    QCOMPARE(Decoded(bytes.chopped(8), bytes.size()), start + "{\"a\":\"01234|cut");
    QCOMPARE(Decoded(bytes.chopped(19), bytes.size()), start + "|cut");
}

void tst_MessageDecoder::cutInsideACharacter_leavesTheCharacterOut()
{
    const QByteArray bytes = Bytes(RequestCall("ab\xE2\x82\xAC"));
    for (const int missing : {2, 3}) {
        QVERIFY(Decoded(bytes.chopped(missing), bytes.size()).endsWith("|setMode+ab|cut"));
    }
}

void tst_MessageDecoder::cutBeforeTheLastText_isAnError()
{
    const QByteArray bytes = Bytes(RequestCall("{}"));
    QVERIFY(Decoded(bytes.chopped(6), bytes.size()).startsWith("error: "));
}

void tst_MessageDecoder::noMessage_isAnError_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<qint64>("fullLength");

    QTest::newRow("empty") << QByteArray() << qint64(0);
    QTest::newRow("shorter than a header") << QByteArray(15, 'l') << qint64(15);
    QTest::newRow("zeros") << QByteArray(64, '\0') << qint64(64);
    QTest::newRow("longer than any message") << QByteArray(64, 'l') << qint64(1) * 1024 * 1024 * 1024;
    QTest::newRow("text") << QByteArray("this is no message, but a text of some length") << qint64(45);
}

void tst_MessageDecoder::noMessage_isAnError()
{
    QFETCH(QByteArray, bytes);
    QFETCH(qint64, fullLength);
    QVERIFY(Decoded(bytes, fullLength).startsWith("error: "));
    QVERIFY(Decoded(bytes, fullLength).size() > 10);
}

QTEST_GUILESS_MAIN(tst_MessageDecoder)
#include "tst_MessageDecoder.moc"
