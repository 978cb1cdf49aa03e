// SPDX-License-Identifier: MIT
#ifndef KIVCTL_TRACE_BUSCLIENT_H
#define KIVCTL_TRACE_BUSCLIENT_H

#include "MessagePtr.h"

#include <QDeadlineTimer>
#include <QObject>
#include <QSet>
#include <QString>
#include <QStringList>

#include <deque>
#include <map>
#include <memory>

class QSocketNotifier;

namespace Kivctl {

/** How a question to the bus or to somebody on it has ended. */
struct BusAnswer
{
    enum class Outcome
    {
        Replied,
        Refused, ///< with a D-Bus error
        TimedOut,
        Gone,       ///< the bus has ended the connection
        Interrupted ///< by Interrupt()
    };

    Outcome outcome = Outcome::Gone;
    MessagePtr message; ///< the reply or the error
    QString errorName;
    QString errorText; ///< a sentence for people, whenever there is no reply
};

/**
 * A connection with a bus, on which no question takes longer than it may.
 *
 * A wait runs an event loop on the thread of this object. Unlike a connection of Qt it also bounds the
 * greeting of the bus.
 */
class BusClient : public QObject
{
    Q_OBJECT

public:
    BusClient();
    ~BusClient() override;

    /** Connects and greets the bus. */
    BusAnswer Open(const QString& address, const QDeadlineTimer& deadline);

    /** A call to the bus itself, with texts as arguments. */
    static MessagePtr BusCall(const char* member, const QStringList& texts = {});
    static MessagePtr Call(const QString& destination, const char* path, const char* interfaceName,
                           const char* member, const QStringList& texts = {});

    /** The texts of a reply that is one list of texts. */
    static QStringList NamesIn(DBusMessage* message);

    /** Sends a call; @return what to Wait() for. */
    quint32 Send(MessagePtr call);
    BusAnswer Wait(quint32 serial, const QDeadlineTimer& deadline);
    BusAnswer Ask(MessagePtr call, const QDeadlineTimer& deadline);

    /** Ends the wait and all later ones. */
    void Interrupt();

    /** The next message that is no awaited answer; null when there is none. */
    MessagePtr TakeMessage();

    bool IsGone() const;

Q_SIGNALS:
    /** TakeMessage() or IsGone() has news, or the wait of Wait() has. */
    void Changed();

private:
    struct Closer
    {
        void operator()(DBusConnection* connection) const;
    };

    void Pump();
    void Sort(MessagePtr message);
    bool MustWait(quint32 serial, const QDeadlineTimer& deadline) const;

    std::unique_ptr<DBusConnection, Closer> m_Connection;
    std::unique_ptr<QSocketNotifier> m_Notifier;
    QSet<quint32> m_Awaited;
    std::map<quint32, MessagePtr> m_Answers;
    std::deque<MessagePtr> m_Messages;
    bool m_IsGone = true;
    bool m_IsInterrupted = false;
    QString m_UniqueName;
};

} // namespace Kivctl

#endif // KIVCTL_TRACE_BUSCLIENT_H
