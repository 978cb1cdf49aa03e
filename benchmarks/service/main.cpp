// SPDX-License-Identifier: MIT
#include <systemd/sd-bus.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include <csignal>
#include <sys/prctl.h>

/**
 * The service of the benchmarks: answers each request with the request's own arguments, as fast as can be.
 *
 * On its object /com/kiv/Benchmark it can be asked for floods: calls into a client, and broadcasts.
 */
namespace {

const char* const serviceName = "com.quorvantel.service.AudioManagement";
const char* const providerInterface = "com.quorvantel.ServiceProvider";
const char* const session = R"({"sessionId":1234})";

void Check(int result, const char* what)
{
    if (result < 0) {
        std::fprintf(stderr, "kiv-benchmark-service: %s: %s\n", what, std::strerror(-result));
        std::exit(EXIT_FAILURE);
    }
}

int Echo(sd_bus_message* call, void*, sd_bus_error*)
{
    const char* method = nullptr;
    const char* arguments = nullptr;
    Check(sd_bus_message_read(call, "ss", &method, &arguments), "cannot read a request");
    const bool opensSession = std::strcmp(method, "openSession") == 0;
    return sd_bus_reply_method_return(call, "s", opensSession ? session : arguments);
}

struct MessageDeleter
{
    void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
using Message = std::unique_ptr<sd_bus_message, MessageDeleter>;

// Calls into a client: a number of them outstanding all the time. Deletes itself when all have been answered.
class CallFlood
{
public:
    explicit CallFlood(sd_bus_message* order)
        : m_Order(sd_bus_message_ref(order))
    {
        const char* texts[4] = {};
        unsigned window = 0;
        Check(sd_bus_message_read(order, "ssssuu", &texts[0], &texts[1], &texts[2], &texts[3], &m_Unsent,
                                  &window),
              "cannot read an order");
        m_Name = texts[0];
        m_Path = texts[1];
        m_Method = texts[2];
        m_Arguments = texts[3];
        m_Unanswered = m_Unsent;
        for (unsigned i = std::min(window, m_Unsent); i > 0; --i) {
            SendOne();
        }
    }

private:
    void SendOne()
    {
        --m_Unsent;
        Check(sd_bus_call_method_async(sd_bus_message_get_bus(m_Order.get()), nullptr, m_Name.c_str(),
                                       m_Path.c_str(), providerInterface, "Request", &OnAnswer, this, "ss",
                                       m_Method.c_str(), m_Arguments.c_str()),
              "cannot call a client");
    }

    static int OnAnswer(sd_bus_message* answer, void* userData, sd_bus_error*)
    {
        auto* flood = static_cast<CallFlood*>(userData);
        const char* text = nullptr;
        Check(sd_bus_message_read(answer, "s", &text), "a client has not answered with a text");
        if (flood->m_Unsent > 0) {
            flood->SendOne();
        }
        if (--flood->m_Unanswered == 0) {
            Check(sd_bus_reply_method_return(flood->m_Order.get(), ""), "cannot report a flood");
            delete flood;
        }
        return 1;
    }

    Message m_Order;
    std::string m_Name;
    std::string m_Path;
    std::string m_Method;
    std::string m_Arguments;
    unsigned m_Unsent = 0;
    unsigned m_Unanswered = 0;
};

int FloodWithCalls(sd_bus_message* order, void*, sd_bus_error*)
{
    new CallFlood(order);
    return 1;
}

int FloodWithBroadcasts(sd_bus_message* order, void*, sd_bus_error*)
{
    const char* path = nullptr;
    const char* name = nullptr;
    const char* payload = nullptr;
    unsigned count = 0;
    Check(sd_bus_message_read(order, "sssu", &path, &name, &payload, &count), "cannot read an order");
    for (unsigned i = 0; i < count; ++i) {
        Check(sd_bus_emit_signal(sd_bus_message_get_bus(order), path, providerInterface, "Notify", "ss", name,
                                 payload),
              "cannot broadcast");
    }
    return sd_bus_reply_method_return(order, "");
}

const sd_bus_vtable provider[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD("Request", "ss", "s", &Echo, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_SIGNAL("Notify", "ss", 0),
    SD_BUS_VTABLE_END,
};

const sd_bus_vtable floods[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD("Calls", "ssssuu", "", &FloodWithCalls, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("Broadcasts", "sssu", "", &FloodWithBroadcasts, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_VTABLE_END,
};

void Export(sd_bus* bus, const char* path, const char* interface, const sd_bus_vtable* table)
{
    Check(sd_bus_add_object_vtable(bus, nullptr, path, interface, table, nullptr), "cannot export an object");
}

} // namespace

int main()
{
    ::prctl(PR_SET_PDEATHSIG, SIGTERM);
    sd_bus* bus = nullptr;
    Check(sd_bus_open_system(&bus), "cannot reach the bus");
    Export(bus, "/com/kiv/service/AudioManagement/HmiMode", providerInterface, provider);
    Export(bus, "/com/kiv/service/AudioManagement/AudioApplication", providerInterface, provider);
    Export(bus, "/com/kiv/Benchmark", "com.kiv.Benchmark", floods);
    Check(sd_bus_request_name(bus, serviceName, 0), "cannot take the service's bus name");
    std::puts("ready");
    std::fflush(stdout);
    for (;;) {
        const int processed = sd_bus_process(bus, nullptr);
        if (processed == -ECONNRESET || processed == -ENOTCONN) {
            return EXIT_SUCCESS; // the bus has ended
        }
        Check(processed, "cannot go on");
        if (processed == 0) {
            Check(sd_bus_wait(bus, UINT64_MAX), "cannot wait");
        }
    }
}
