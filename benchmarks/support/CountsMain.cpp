// SPDX-License-Identifier: MIT
#include "Contest.h"
#include "codec/Codec.h"
#include "log/LogLines.h"

#include <QCoreApplication>
#include <QJsonDocument>

#include <cstdio>
#include <cstring>

/** The library's codec and log line, counted: instructions under callgrind (--instructions), else allocations. */
using namespace KivBenchmark;

namespace {

Contestant Repeating(const QString& name, const std::function<void()>& operation)
{
    return {name, [operation](int operations) {
                for (int i = 0; i < operations; ++i) {
                    operation();
                }
            }};
}

std::vector<Contestant> CodecContestants()
{
    std::vector<Contestant> contestants;
    const Codec codec = Codecs().front();
    for (const Sample& sample : Samples()) {
        QString text;
        codec.encode(sample.parameters, text);
        contestants.push_back(
            Repeating(QStringLiteral("encode, %1").arg(QLatin1String(sample.name)), [codec, sample] {
                QString json;
                codec.encode(sample.parameters, json);
            }));
        contestants.push_back(
            Repeating(QStringLiteral("decode, %1").arg(QLatin1String(sample.name)), [codec, text] {
                Parameters decoded;
                codec.decode(text, decoded);
            }));
    }
    return contestants;
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent"); // nothing here needs a bus
    const QCoreApplication application(argc, argv);
    const SilentLog log(false);
    const QString text = QStringLiteral("text");
    std::vector<Contestant> contestants = CodecContestants();
    contestants.push_back(Repeating(QStringLiteral("disabled log line"), [text] { OneLine(text, text); }));
    Plan plan;
    plan.slices = 1;
    plan.operations = 1000;
    plan.countsInstructions = argc == 2 && std::strcmp(argv[1], "--instructions") == 0;
    std::puts(QJsonDocument(Compete(contestants, plan)).toJson(QJsonDocument::Compact).constData());
    return 0;
}
