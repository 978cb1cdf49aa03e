// SPDX-License-Identifier: MIT
#include "Codec.h"

#include "JsonParameterParser.h"
#include "OtherCodecs.h"
#include "StraightforwardCodec.h"

#include <QStringList>

namespace KivBenchmark {

namespace {

Parameters ListMap()
{
    QStringList modes;
    for (int i = 0; i < 50; ++i) {
        modes.append(QStringLiteral("Mode %1").arg(i));
    }
    return {{QStringLiteral("modeList"), modes}};
}

Parameters TextMap()
{
    return {{QStringLiteral("streamName"), QStringLiteral("Player")},
            {QStringLiteral("streamModeName"), QStringLiteral("/com/quorvantel/audioclient/player")},
            {QStringLiteral("focusType"), QStringLiteral("permanent")},
            {QStringLiteral("streamType"), QStringLiteral("Media")},
            {QStringLiteral("destination"), QStringLiteral("all")},
            {QStringLiteral("newFocus"), QStringLiteral("gained")}};
}

} // namespace

const std::vector<Codec>& Codecs()
{
    static const std::vector<Codec> codecs{
        {"library", &Audio::Utils::Kiv::QtDbus::AddParameters, &Audio::Utils::Kiv::QtDbus::GetParameters},
        {"cJSON", &Straightforward::AddParameters, &Straightforward::GetParameters},
        {"QJsonDocument", &EncodeWithQJson, &DecodeWithQJson},
        {"RapidJSON", &EncodeWithRapidJson, &DecodeWithRapidJson},
#ifdef KIV_HAVE_NLOHMANN
        {"nlohmann", &EncodeWithNlohmann, &DecodeWithNlohmann},
#endif
    };
    return codecs;
}

const std::vector<Sample>& Samples()
{
    static const std::vector<Sample> samples{
        {"2 entries", {{QStringLiteral("sessionId"), 7u}, {QStringLiteral("playing"), true}}},
        {"6 strings", TextMap()},
        {"list of 50", ListMap()},
    };
    return samples;
}

} // namespace KivBenchmark
