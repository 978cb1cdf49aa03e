// SPDX-License-Identifier: MIT
#include "Requester.h"

#include <sdbus-c++/sdbus-c++.h>

#include <string>

#include <poll.h>

namespace KivBenchmark {

namespace {

class SdbusCppRequester : public Requester
{
public:
    QString Name() const override { return "sdbus-c++"; }

    void Block(const Payload& payload) override
    {
        std::string answer;
        m_Proxy->callMethod(Wire::Member)
            .onInterface(Wire::Interface)
            .withArguments(payload.method.toStdString(), payload.utf8.toStdString())
            .storeResultsTo(answer);
        CheckAnswer(payload.utf8 == answer.c_str(), "sdbus-c++");
    }

    void Fly(const Payload& payload, int count) override
    {
        m_Missing = count;
        for (int i = 0; i < count; ++i) {
            m_Proxy->callMethodAsync(Wire::Member)
                .onInterface(Wire::Interface)
                .withArguments(payload.method.toStdString(), payload.utf8.toStdString())
                .uponReplyInvoke([this, &payload](const sdbus::Error* error, const std::string& answer) {
                    CheckAnswer(error == nullptr && payload.utf8 == answer.c_str(), "sdbus-c++");
                    --m_Missing;
                });
        }
        while (m_Missing > 0) {
            if (!m_Connection->processPendingRequest()) {
                Wait();
            }
        }
    }

private:
    void Wait()
    {
        const auto data = m_Connection->getEventLoopPollData();
        pollfd descriptor{data.fd, data.events, 0};
        ::poll(&descriptor, 1, data.getPollTimeout());
    }

    std::unique_ptr<sdbus::IConnection> m_Connection = sdbus::createSystemBusConnection();
    std::unique_ptr<sdbus::IProxy> m_Proxy = sdbus::createProxy(*m_Connection, Wire::Service, Wire::AppPath);
    int m_Missing = 0;
};

} // namespace

std::unique_ptr<Requester> MakeSdbusCppRequester()
{
    return std::make_unique<SdbusCppRequester>();
}

} // namespace KivBenchmark
