// SPDX-License-Identifier: MIT
//
// Does one kind of work for a long time and prints, as JSON, the memory that is in use after each slice of
// it.
#include "Contest.h"
#include "Inbound.h"
#include "Requester.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>
#include <cstdio>
#include <map>

#include <malloc.h>

using namespace KivBenchmark;

namespace {

using Work = std::function<void(int operations)>;

constexpr int kInFlight = 100;

Work Blocking(std::shared_ptr<Requester> requester)
{
    return [requester, payload = PayloadOf("medium")](int operations) {
        for (int i = 0; i < operations; ++i) {
            requester->Block(payload);
        }
    };
}

Work Asynchronous(std::shared_ptr<Requester> requester)
{
    return [requester, payload = PayloadOf("medium")](int operations) {
        for (int left = operations; left > 0; left -= kInFlight) {
            requester->Fly(payload, std::min(left, kInFlight));
        }
    };
}

const std::map<QString, Work (*)()> works{
    {"blocking", [] { return Blocking(MakeLibraryRequester()); }},
    {"async", [] { return Asynchronous(MakeLibraryRequester()); }},
    {"async-raw", [] { return Asynchronous(MakeQtRequester()); }},
    {"inbound", []() -> Work { return CallContestants().front().perform; }}};

int NumberOf(const QCommandLineParser& parser, const QString& option, int least)
{
    bool isNumber = false;
    const int number = parser.value(option).toInt(&isNumber);
    if (!isNumber || number < least) {
        qCritical("--%s: expected a number, %d at least, got \"%s\"", qPrintable(option), least,
                  qPrintable(parser.value(option)));
        std::exit(2);
    }
    return number;
}

// Of all arenas, large blocks included.
double HeapKiB()
{
    const struct mallinfo2 info = ::mallinfo2();
    return double(info.uordblks + info.hblkhd) / 1024;
}

// What is to be deleted later would count, and how much it is depends on how the last replies have come.
void Settle()
{
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

// As a library would that forgets something at each operation.
void Leak(int operations, size_t bytes)
{
    static void* volatile last; // or the compiler would leave the allocation out
    for (int i = 0; bytes > 0 && i < operations; ++i) {
        last = std::calloc(1, bytes);
    }
    Q_UNUSED(last)
}

QJsonObject Soak(const Work& work, int slices, int operations, size_t leak)
{
    QJsonArray resident;
    QJsonArray heap;
    for (int slice = 0; slice < slices; ++slice) {
        work(operations);
        Leak(operations, leak);
        Settle();
        resident.append(ResidentKiB());
        heap.append(HeapKiB());
    }
    return {{"resident", resident}, {"heap", heap}};
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription("Prints how much memory is in use after each slice of a work.");
    parser.addHelpOption();
    parser.addPositionalArgument("work",
                                 "blocking, async, async-raw (by Qt, without the library) or inbound");
    parser.addOptions({{"slices", "number of slices", "number", "10"},
                       {"operations", "operations per slice", "number", "1000"},
                       {"leak", "bytes to lose at each operation, on purpose", "number", "0"}});
    parser.process(application);
    const auto work = works.find(parser.positionalArguments().value(0));
    if (work == works.end() || parser.positionalArguments().size() > 1) {
        qCritical("expected one work: blocking, async, async-raw or inbound");
        return 2;
    }
    const int slices = NumberOf(parser, "slices", 2);
    const int operations = NumberOf(parser, "operations", 1);
    const int leak = NumberOf(parser, "leak", 0);
    const QJsonObject result = Soak(work->second(), slices, operations, size_t(leak));
    std::puts(QJsonDocument(result).toJson(QJsonDocument::Compact).constData());
    return 0;
}
