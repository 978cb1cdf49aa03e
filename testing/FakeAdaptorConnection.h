// SPDX-License-Identifier: MIT
#ifndef KIV_TESTING_FAKEADAPTORCONNECTION_H
#define KIV_TESTING_FAKEADAPTORCONNECTION_H

#include "CallRecorder.h"
#include "IAdaptorConnection.h"

#include <QObject>
#include <QString>
#include <QVector>

namespace Audio::Utils::Kiv::QtDbus::Testing {

/**
 * Records exports instead of making them, and lets them succeed or fail.
 *
 * An exported object is the client. What the service would call on it over the bus, a test calls directly,
 * with ServiceProviderClient::Request() or, for a broadcast, KivBaseClient::Notification().
 *
 * **Ownership.** Clients keep a reference: the object must outlive them. The exported objects are not owned,
 * and not watched: an entry of an object that was deleted still holds its address. **Threads.** Those of the
 * clients, one at a time.
 *
 * @code
 * FakeServiceRegistrator registrator(QStringLiteral("com.quorvantel.audioclient.panel"));
 * FakeAdaptorConnection connection;
 * FakeServiceProviderProxyFactory factory;
 * AudioManagerHmi hmi(registrator, QStringLiteral("/panel"), connection, QString(), factory, false);
 * connection.SetResult(false); // the object path is taken, say
 * hmi.Initialize();
 * Q_ASSERT(factory.ServiceAppears(hmi) == KivBaseClient::INIT_STATE_FAILED);
 * Q_ASSERT(connection.Exports().first().objectPath == QStringLiteral("/panel/ServiceProviderClient"));
 * @endcode
 */
class FakeAdaptorConnection : public IAdaptorConnection
{
public:
    /** One call of RegisterObject(). */
    struct Export
    {
        QString busName;    ///< The client's bus name.
        QString objectPath; ///< Where it is exported.
        QObject* object;    ///< The client, not owned.
    };

    /** @param recorder receives every call, if given; not owned. */
    explicit FakeAdaptorConnection(CallRecorder* recorder = nullptr)
        : m_Recorder(recorder)
    {
    }

    bool RegisterObject(const QString& busName, const QString& objectPath, QObject* object) override
    {
        if (m_Recorder != nullptr) {
            m_Recorder->Record(QStringLiteral("RegisterObject %1 %2").arg(busName, objectPath));
        }
        m_Exports.append({busName, objectPath, object});
        return m_Result;
    }

    /**
     * Lets later exports succeed or fail; they succeed at first.
     *
     * @param result what they return.
     */
    void SetResult(bool result) { m_Result = result; }

    /** @return all calls of RegisterObject() so far, in order, also those that returned false. */
    QVector<Export> Exports() const { return m_Exports; }

private:
    CallRecorder* m_Recorder;
    QVector<Export> m_Exports;
    bool m_Result = true;
};

} // namespace Audio::Utils::Kiv::QtDbus::Testing

#endif // KIV_TESTING_FAKEADAPTORCONNECTION_H
