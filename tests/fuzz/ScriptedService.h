// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_SCRIPTEDSERVICE_H
#define KIV_TESTS_SCRIPTEDSERVICE_H

#include "IServiceProviderProxy.h"
#include "IServiceProviderProxyFactory.h"
#include "Transcript.h"

#include <QDBusPendingReply>
#include <QString>

namespace KivFuzz {

/** How requests are answered. */
struct Reply
{
    enum Kind
    {
        Text,
        Error,     ///< a D-Bus error
        WrongType, ///< a value that is no text
        Refusal    ///< not sent
    };

    Kind kind = Text;
    QString text = QStringLiteral("{}");

    /** What a proxy makes of it for a blocking request. */
    QString Blocking() const { return kind == Text ? text : QStringLiteral("{ \"errCode\" : 0 }"); }
};

/** The reply that a line tells: a text, or "!" for an error, "?" for a wrong type, "-" for a refusal. */
Reply ReplyOf(const QString& line);

/**
 * Makes proxies without a bus whose asynchronous requests have their replies at once, which clients see with
 * their next events.
 *
 * The replies are real ones, received from a bus when the first is needed, since Qt takes no others; their
 * texts are replaced. There are #limit for use at one time.
 */
class ScriptedService : public Audio::Utils::Kiv::QtDbus::IServiceProviderProxyFactory
{
public:
    /** How many replies can be on their way. */
    static constexpr int limit = 32;

    /** @param transcript receives the requests. */
    explicit ScriptedService(Transcript& transcript)
        : m_Transcript(transcript)
    {
    }

    Audio::Utils::Kiv::QtDbus::IServiceProviderProxy* CreateProxy(QObject* parent) override;

    /** How requests are answered from now on. */
    void SetReply(const Reply& reply) { m_Reply = reply; }

    /** Says that all replies have been handled, and can be used again. */
    void ForgetReplies() { m_Used = 0; }

private:
    class Proxy;

    QDBusPendingReply<QString> MakeReply();

    Transcript& m_Transcript;
    Reply m_Reply;
    int m_Used = 0;
};

} // namespace KivFuzz

#endif // KIV_TESTS_SCRIPTEDSERVICE_H
