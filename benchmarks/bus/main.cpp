// SPDX-License-Identifier: MIT
#include "Contest.h"
#include "Inbound.h"
#include "Requester.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QLoggingCategory>

#include <cstdio>

using namespace KivBenchmark;

namespace {

struct Options
{
    QString work;
    QString payload;
    int flight = 100;
    bool onlyQt = false;
    Plan plan;
};

int NumberOf(const QCommandLineParser& parser, const QString& option)
{
    bool isNumber = false;
    const int number = parser.value(option).toInt(&isNumber);
    if (!isNumber || number < 1) {
        qCritical("--%s: expected a number above 0, got \"%s\"", qPrintable(option),
                  qPrintable(parser.value(option)));
        std::exit(2);
    }
    return number;
}

Options OptionsOf(const QCoreApplication& application)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        "Measures the library and others at work on the bus that stands in for the system bus.");
    parser.addHelpOption();
    parser.addPositionalArgument("work", "blocking, async, calls, broadcasts, foreign or endurance");
    parser.addOptions({{"payload", "small, medium or list", "name", "small"},
                       {"flight", "requests in flight", "number", "100"},
                       {"slices", "slices per contestant", "number", "20"},
                       {"operations", "operations per slice", "number", "500"},
                       {"instructions", "count instructions, under callgrind"},
                       {"only-qt", "only the library and bare Qt"}});
    parser.process(application);
    return {parser.positionalArguments().value(0),
            parser.value("payload"),
            NumberOf(parser, "flight"),
            parser.isSet("only-qt"),
            {NumberOf(parser, "slices"), NumberOf(parser, "operations"), parser.isSet("instructions")}};
}

using SharedRequester = std::shared_ptr<Requester>;

std::vector<SharedRequester> RequestersFor(const Options& options)
{
    std::vector<SharedRequester> requesters;
    if (options.onlyQt) {
        requesters.push_back(MakeLibraryRequester());
        requesters.push_back(MakeQtRequester());
        return requesters;
    }
    for (std::unique_ptr<Requester>& requester : AllRequesters()) {
        requesters.push_back(std::move(requester));
    }
    return requesters;
}

std::vector<Contestant> BlockingContestants(const Options& options)
{
    const Payload payload = PayloadOf(options.payload);
    std::vector<Contestant> contestants;
    for (const SharedRequester& requester : RequestersFor(options)) {
        contestants.push_back(
            OneByOne(requester->Name(), [requester, payload] { requester->Block(payload); }));
    }
    return contestants;
}

std::vector<Contestant> AsyncContestants(const Options& options)
{
    const Payload payload = PayloadOf(options.payload);
    std::vector<Contestant> contestants;
    for (const SharedRequester& requester : RequestersFor(options)) {
        const auto perform = [requester, payload, flight = options.flight](int operations) {
            for (int left = operations; left > 0; left -= flight) {
                requester->Fly(payload, std::min(left, flight));
            }
        };
        contestants.push_back({requester->Name(), perform});
    }
    return contestants;
}

// Slice after slice of one contestant, with the memory that is resident after each.
QJsonObject Endure(const Contestant& contestant, const Plan& plan)
{
    QJsonArray cpu;
    QJsonArray resident;
    for (int slice = 0; slice < plan.slices; ++slice) {
        const Used before = UsedSoFar();
        contestant.perform(plan.operations);
        cpu.append(double(UsedSoFar().cpu - before.cpu) / plan.operations);
        resident.append(ResidentKiB());
    }
    return {{"cpu", cpu}, {"resident", resident}};
}

// One after the other: both clients are exported at the same path.
QJsonObject Endurance(Options options)
{
    options.onlyQt = true;
    const QJsonObject requests = Endure(AsyncContestants(options).front(), options.plan);
    const QJsonObject calls = Endure(CallContestants().front(), options.plan);
    return {{"requests", requests}, {"inbound calls", calls}};
}

QJsonObject ResultOf(const Options& options)
{
    if (options.work == "blocking") {
        return Compete(BlockingContestants(options), options.plan);
    }
    if (options.work == "async") {
        return Compete(AsyncContestants(options), options.plan);
    }
    if (options.work == "calls") {
        return Compete(CallContestants(), options.plan);
    }
    if (options.work == "broadcasts") {
        return Compete(BroadcastContestants(), options.plan);
    }
    if (options.work == "foreign") {
        return Compete(ForeignThreadContestants(), options.plan);
    }
    if (options.work == "endurance") {
        return Endurance(options);
    }
    qCritical("work \"%s\": expected blocking, async, calls, broadcasts, foreign or endurance",
              qPrintable(options.work));
    std::exit(2);
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    QLoggingCategory::setFilterRules("default.debug=false\ndefault.warning=false");
    const QJsonObject result = ResultOf(OptionsOf(application));
    std::puts(QJsonDocument(result).toJson(QJsonDocument::Compact).constData());
    return 0;
}
