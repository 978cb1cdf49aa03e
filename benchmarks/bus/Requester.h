// SPDX-License-Identifier: MIT
#ifndef KIV_BENCHMARKS_REQUESTER_H
#define KIV_BENCHMARKS_REQUESTER_H

#include "Payload.h"

#include <QString>

#include <memory>
#include <vector>

namespace KivBenchmark {

/** A library that sends requests to the service. An answer that is not the payload's text ends the program. */
class Requester
{
public:
    Requester() = default;
    Requester(const Requester&) = delete;
    Requester& operator=(const Requester&) = delete;
    virtual ~Requester() = default;

    virtual QString Name() const = 0;

    /** Sends one request and waits for its answer. */
    virtual void Block(const Payload& payload) = 0;

    /** Sends a number of requests at once, and waits until all of them have been answered. */
    virtual void Fly(const Payload& payload, int count) = 0;
};

/** All that were found when the benchmarks were configured; this project's library first, bare Qt second. */
std::vector<std::unique_ptr<Requester>> AllRequesters();

std::unique_ptr<Requester> MakeLibraryRequester();
std::unique_ptr<Requester> MakeQtRequester();
std::unique_ptr<Requester> MakeSdBusRequester();
std::unique_ptr<Requester> MakeSdbusCppRequester();
std::unique_ptr<Requester> MakeGDBusRequester();
std::unique_ptr<Requester> MakeLibDBusRequester();

/** Ends the program unless an answer is what was asked for. */
inline void CheckAnswer(bool isRight, const char* who)
{
    if (!isRight) {
        qFatal("%s: an answer is missing or wrong", who);
    }
}

namespace Wire {
constexpr auto Service = "com.quorvantel.service.AudioManagement";
constexpr auto HmiPath = "/com/kiv/service/AudioManagement/HmiMode";
constexpr auto AppPath = "/com/kiv/service/AudioManagement/AudioApplication";
constexpr auto Interface = "com.quorvantel.ServiceProvider";
constexpr auto Member = "Request";
} // namespace Wire

} // namespace KivBenchmark

#endif // KIV_BENCHMARKS_REQUESTER_H
