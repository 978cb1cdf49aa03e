// SPDX-License-Identifier: MIT
#include "Requester.h"

#include <systemd/sd-bus.h>

namespace KivBenchmark {

namespace {

class SdBusRequester : public Requester
{
public:
    SdBusRequester() { CheckAnswer(sd_bus_open_system(&m_Bus) >= 0, "sd-bus"); }
    ~SdBusRequester() override { sd_bus_flush_close_unref(m_Bus); }

    QString Name() const override { return "sd-bus"; }

    void Block(const Payload& payload) override
    {
        sd_bus_message* answer = nullptr;
        CheckAnswer(sd_bus_call_method(m_Bus, Wire::Service, Wire::AppPath, Wire::Interface, Wire::Member,
                                       nullptr, &answer, "ss", qPrintable(payload.method),
                                       payload.utf8.constData()) >= 0,
                    "sd-bus");
        CheckAnswer(IsRight(answer, payload), "sd-bus");
        sd_bus_message_unref(answer);
    }

    void Fly(const Payload& payload, int count) override
    {
        m_Payload = &payload;
        m_Missing = count;
        for (int i = 0; i < count; ++i) {
            CheckAnswer(sd_bus_call_method_async(m_Bus, nullptr, Wire::Service, Wire::AppPath,
                                                 Wire::Interface, Wire::Member, &OnAnswer, this, "ss",
                                                 qPrintable(payload.method), payload.utf8.constData()) >= 0,
                        "sd-bus");
        }
        while (m_Missing > 0) {
            const int processed = sd_bus_process(m_Bus, nullptr);
            CheckAnswer(processed >= 0, "sd-bus");
            if (processed == 0) {
                sd_bus_wait(m_Bus, UINT64_MAX);
            }
        }
    }

private:
    static bool IsRight(sd_bus_message* answer, const Payload& payload)
    {
        const char* text = nullptr;
        return sd_bus_message_read(answer, "s", &text) >= 0 && payload.utf8 == text;
    }

    static int OnAnswer(sd_bus_message* answer, void* userData, sd_bus_error*)
    {
        auto* self = static_cast<SdBusRequester*>(userData);
        CheckAnswer(IsRight(answer, *self->m_Payload), "sd-bus");
        --self->m_Missing;
        return 1;
    }

    sd_bus* m_Bus = nullptr;
    const Payload* m_Payload = nullptr;
    int m_Missing = 0;
};

} // namespace

std::unique_ptr<Requester> MakeSdBusRequester()
{
    return std::make_unique<SdBusRequester>();
}

} // namespace KivBenchmark
