// SPDX-License-Identifier: MIT
#include <gio/gio.h> // before Qt: it has a member called signals

#include "Requester.h"

namespace KivBenchmark {

namespace {

class GDBusRequester : public Requester
{
public:
    GDBusRequester()
        : m_Connection(g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr))
    {
        CheckAnswer(m_Connection != nullptr, "GDBus");
    }
    ~GDBusRequester() override { g_object_unref(m_Connection); }

    QString Name() const override { return "GDBus"; }

    void Block(const Payload& payload) override
    {
        GVariant* answer = g_dbus_connection_call_sync(m_Connection, Wire::Service, Wire::AppPath,
                                                       Wire::Interface, Wire::Member, Arguments(payload),
                                                       nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr);
        Check(answer, payload);
    }

    void Fly(const Payload& payload, int count) override
    {
        m_Payload = &payload;
        m_Missing = count;
        for (int i = 0; i < count; ++i) {
            g_dbus_connection_call(m_Connection, Wire::Service, Wire::AppPath, Wire::Interface, Wire::Member,
                                   Arguments(payload), nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr,
                                   &OnAnswer, this);
        }
        while (m_Missing > 0) {
            g_main_context_iteration(nullptr, TRUE);
        }
    }

private:
    static GVariant* Arguments(const Payload& payload)
    {
        return g_variant_new("(ss)", qPrintable(payload.method), payload.utf8.constData());
    }

    static void Check(GVariant* answer, const Payload& payload)
    {
        CheckAnswer(answer != nullptr, "GDBus");
        const char* text = nullptr;
        g_variant_get(answer, "(&s)", &text);
        CheckAnswer(payload.utf8 == text, "GDBus");
        g_variant_unref(answer);
    }

    static void OnAnswer(GObject* connection, GAsyncResult* result, gpointer userData)
    {
        auto* self = static_cast<GDBusRequester*>(userData);
        Check(g_dbus_connection_call_finish(G_DBUS_CONNECTION(connection), result, nullptr),
              *self->m_Payload);
        --self->m_Missing;
    }

    GDBusConnection* m_Connection;
    const Payload* m_Payload = nullptr;
    int m_Missing = 0;
};

} // namespace

std::unique_ptr<Requester> MakeGDBusRequester()
{
    return std::make_unique<GDBusRequester>();
}

} // namespace KivBenchmark
