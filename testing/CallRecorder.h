// SPDX-License-Identifier: MIT
#ifndef KIV_TESTING_CALLRECORDER_H
#define KIV_TESTING_CALLRECORDER_H

#include <QMutex>
#include <QMutexLocker>
#include <QString>
#include <QStringList>

namespace Audio::Utils::Kiv::QtDbus::Testing {

/**
 * One list of calls for several fakes, so that the order of their calls can be compared across them.
 *
 * Each fake takes one in its constructor, and appends a line to it for every call of its interface: the
 * function's name, followed by its texts, separated by blanks. Objects are not named.
 *
 * | Fake | Line |
 * |---|---|
 * | FakeServiceRegistrator | `GetServiceName` |
 * | FakeServiceProviderProxyFactory | `CreateProxy` |
 * | FakeAdaptorConnection | `RegisterObject com.quorvantel.audioclient.panel /panel/ServiceProviderClient` |
 * | FakeServiceProviderProxy, blocking | `Request setMode {"newMode":"Radio","sessionId":7}` |
 * | FakeServiceProviderProxy, not blocking | `AsyncRequest setMode {"newMode":"Radio","sessionId":7}` |
 *
 * **Ownership.** The fakes keep a pointer: the recorder must outlive them. **Threads.** Any.
 *
 * @code
 * CallRecorder calls;
 * FakeServiceRegistrator registrator(QStringLiteral("com.quorvantel.audioclient.panel"), &calls);
 * FakeAdaptorConnection connection(&calls);
 * FakeServiceProviderProxyFactory factory(&calls);
 * AudioManagerHmi hmi(registrator, QStringLiteral("/panel"), connection, QString(), factory, false);
 * Q_ASSERT(calls.Calls() == QStringList{QStringLiteral("GetServiceName")});
 * @endcode
 */
class CallRecorder
{
public:
    /** Begins with an empty list. */
    CallRecorder() = default;
    CallRecorder(const CallRecorder&) = delete;
    CallRecorder& operator=(const CallRecorder&) = delete;

    /**
     * Appends a line; a test may add lines of its own.
     *
     * @param call the line.
     */
    void Record(const QString& call)
    {
        const QMutexLocker lock(&m_Lock);
        m_Calls.append(call);
    }

    /** @return all lines so far, in order. */
    QStringList Calls() const
    {
        const QMutexLocker lock(&m_Lock);
        return m_Calls;
    }

    /** Forgets the lines so far. */
    void Clear()
    {
        const QMutexLocker lock(&m_Lock);
        m_Calls.clear();
    }

private:
    mutable QMutex m_Lock;
    QStringList m_Calls;
};

} // namespace Audio::Utils::Kiv::QtDbus::Testing

#endif // KIV_TESTING_CALLRECORDER_H
