// SPDX-License-Identifier: MIT
#include "Requester.h"

#include <dbus/dbus.h>

namespace KivBenchmark {

namespace {

class LibDBusRequester : public Requester
{
public:
    LibDBusRequester()
        : m_Connection(dbus_bus_get_private(DBUS_BUS_SYSTEM, nullptr))
    {
        CheckAnswer(m_Connection != nullptr, "libdbus");
        dbus_connection_set_exit_on_disconnect(m_Connection, FALSE);
    }

    ~LibDBusRequester() override
    {
        dbus_connection_close(m_Connection);
        dbus_connection_unref(m_Connection);
    }

    QString Name() const override { return "libdbus"; }

    void Block(const Payload& payload) override
    {
        DBusMessage* call = Call(payload);
        DBusMessage* answer = dbus_connection_send_with_reply_and_block(m_Connection, call, -1, nullptr);
        dbus_message_unref(call);
        Check(answer, payload);
    }

    void Fly(const Payload& payload, int count) override
    {
        m_Payload = &payload;
        m_Missing = count;
        for (int i = 0; i < count; ++i) {
            Start(payload);
        }
        while (m_Missing > 0) {
            CheckAnswer(dbus_connection_read_write_dispatch(m_Connection, -1), "libdbus");
        }
    }

private:
    void Start(const Payload& payload)
    {
        DBusMessage* call = Call(payload);
        DBusPendingCall* pending = nullptr;
        CheckAnswer(dbus_connection_send_with_reply(m_Connection, call, &pending, -1) && pending != nullptr,
                    "libdbus");
        dbus_pending_call_set_notify(pending, &OnAnswer, this, nullptr);
        dbus_pending_call_unref(pending);
        dbus_message_unref(call);
    }

    static DBusMessage* Call(const Payload& payload)
    {
        DBusMessage* call =
            dbus_message_new_method_call(Wire::Service, Wire::AppPath, Wire::Interface, Wire::Member);
        const QByteArray method = payload.method.toUtf8();
        const char* texts[] = {method.constData(), payload.utf8.constData()};
        dbus_message_append_args(call, DBUS_TYPE_STRING, &texts[0], DBUS_TYPE_STRING, &texts[1],
                                 DBUS_TYPE_INVALID);
        return call;
    }

    static void Check(DBusMessage* answer, const Payload& payload)
    {
        CheckAnswer(answer != nullptr, "libdbus");
        const char* text = nullptr;
        CheckAnswer(dbus_message_get_args(answer, nullptr, DBUS_TYPE_STRING, &text, DBUS_TYPE_INVALID) &&
                        payload.utf8 == text,
                    "libdbus");
        dbus_message_unref(answer);
    }

    static void OnAnswer(DBusPendingCall* pending, void* userData)
    {
        auto* self = static_cast<LibDBusRequester*>(userData);
        Check(dbus_pending_call_steal_reply(pending), *self->m_Payload);
        --self->m_Missing;
    }

    DBusConnection* m_Connection;
    const Payload* m_Payload = nullptr;
    int m_Missing = 0;
};

} // namespace

std::unique_ptr<Requester> MakeLibDBusRequester()
{
    return std::make_unique<LibDBusRequester>();
}

} // namespace KivBenchmark
