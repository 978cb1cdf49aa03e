// SPDX-License-Identifier: MIT
#ifndef KIVCTL_TRACE_MESSAGEPTR_H
#define KIVCTL_TRACE_MESSAGEPTR_H

#include <QString>

#include <dbus/dbus.h>

#include <memory>

namespace Kivctl {

struct MessageDeleter
{
    void operator()(DBusMessage* message) const { dbus_message_unref(message); }
};

/** A message of libdbus that its holder owns. */
using MessagePtr = std::unique_ptr<DBusMessage, MessageDeleter>;

/** libdbus's error, freed at the end of the scope. */
class BusError
{
public:
    BusError() { dbus_error_init(&m_Error); }
    ~BusError() { dbus_error_free(&m_Error); }
    BusError(const BusError&) = delete;
    BusError& operator=(const BusError&) = delete;

    DBusError* Get() { return &m_Error; }
    QString Text() const { return QString::fromUtf8(m_Error.message); }

private:
    DBusError m_Error;
};

} // namespace Kivctl

#endif // KIVCTL_TRACE_MESSAGEPTR_H
