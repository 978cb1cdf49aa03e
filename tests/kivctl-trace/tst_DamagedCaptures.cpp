// SPDX-License-Identifier: MIT
#include "CaptureReader.h"
#include "MessageDecoder.h"
#include "TracePrinter.h"
#include "Tracer.h"

#include <QBuffer>
#include <QFile>
#include <QTest>

#include <random>

using namespace Kivctl;

namespace {

/** What reading a capture has come to. */
struct Result
{
    QStringList lines;
    QString error;
};

void Append(QStringList& lines, const QVector<TraceRecord>& records)
{
    for (const TraceRecord& record : records) {
        lines.append(TracePrinter::ToLine(record));
        TracePrinter::ToJson(record);
    }
}

Result Read(QByteArray bytes)
{
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    Result result;
    const auto reader = CaptureReader::Open(buffer, &result.error);
    if (!reader) {
        return result;
    }
    Tracer tracer;
    while (const auto captured = reader->Next()) {
        QString ignored;
        const auto message =
            MessageDecoder::Decode(captured->bytes, captured->fullLength, captured->time, &ignored);
        if (message) {
            Append(result.lines, tracer.Handle(*message));
        }
    }
    result.error = reader->Error();
    return result;
}

} // namespace

/** Damaged captures end in an error or in other records, never in a crash. */
class tst_DamagedCaptures : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void wholeCapture_isReadWithoutAnError();
    void everyTruncation_givesABeginningOfTheLines();
    void changedBytes_doNoHarm();
    void changedBytesAndTruncation_doNoHarm();

private:
    QByteArray m_Bytes;
    QStringList m_Lines;
};

void tst_DamagedCaptures::initTestCase()
{
    QFile file(KIV_CAPTURE_FILE);
    QVERIFY(file.open(QIODevice::ReadOnly));
    m_Bytes = file.readAll();
    m_Lines = Read(m_Bytes).lines;
}

void tst_DamagedCaptures::wholeCapture_isReadWithoutAnError()
{
    QCOMPARE(Read(m_Bytes).error, QString());
    QCOMPARE(m_Lines.size(), KIV_CAPTURE_RECORDS);
}

void tst_DamagedCaptures::everyTruncation_givesABeginningOfTheLines()
{
    int ends = 0;
    for (int size = 0; size < m_Bytes.size(); ++size) {
        const Result result = Read(m_Bytes.left(size));
        QCOMPARE(result.lines, m_Lines.mid(0, result.lines.size()));
        ends += result.error.isEmpty() ? 1 : 0;
    }
    // Where a block ends the file could have ended, too.
    QCOMPARE(ends, KIV_CAPTURE_BLOCKS - 1);
}

void tst_DamagedCaptures::changedBytes_doNoHarm()
{
    std::mt19937 random(1);
    int different = 0;
    for (int i = 0; i < 2000; ++i) {
        QByteArray bytes = m_Bytes;
        const int place = static_cast<int>(random() % static_cast<unsigned>(bytes.size()));
        bytes[place] =
            static_cast<char>(static_cast<unsigned char>(bytes.at(place)) ^ (1U + random() % 255U));
        const Result result = Read(bytes);
        different += !result.error.isEmpty() || result.lines != m_Lines ? 1 : 0;
    }
    QVERIFY2(different > 100, "the changes were seen nowhere");
}

void tst_DamagedCaptures::changedBytesAndTruncation_doNoHarm()
{
    std::mt19937 random(2);
    for (int i = 0; i < 1000; ++i) {
        QByteArray bytes =
            m_Bytes.left(static_cast<int>(random() % static_cast<unsigned>(m_Bytes.size())) + 1);
        for (int change = 0; change < 8; ++change) {
            bytes[static_cast<int>(random() % static_cast<unsigned>(bytes.size()))] =
                static_cast<char>(random() % 256U);
        }
        const Result result = Read(bytes);
        QVERIFY(result.lines.size() <= 10 * m_Lines.size());
    }
}

QTEST_GUILESS_MAIN(tst_DamagedCaptures)
#include "tst_DamagedCaptures.moc"
