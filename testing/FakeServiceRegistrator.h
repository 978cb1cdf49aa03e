// SPDX-License-Identifier: MIT
#ifndef KIV_TESTING_FAKESERVICEREGISTRATOR_H
#define KIV_TESTING_FAKESERVICEREGISTRATOR_H

#include "CallRecorder.h"
#include "IServiceRegistrator.h"

#include <QString>

namespace Audio::Utils::Kiv::QtDbus::Testing {

/**
 * Gives clients a bus name without a bus.
 *
 * **Ownership.** Clients keep a reference: the object must outlive them. **Threads.** Any.
 *
 * @code
 * FakeServiceRegistrator registrator(QStringLiteral("com.quorvantel.audioclient.panel"));
 * Q_ASSERT(registrator.GetServiceName() == QStringLiteral("com.quorvantel.audioclient.panel"));
 * @endcode
 */
class FakeServiceRegistrator : public IServiceRegistrator
{
public:
    /**
     * @param serviceName the bus name that clients get; may be empty, as that of a program that shows none.
     * @param recorder receives every call, if given; not owned.
     */
    explicit FakeServiceRegistrator(const QString& serviceName, CallRecorder* recorder = nullptr)
        : m_ServiceName(serviceName),
          m_Recorder(recorder)
    {
    }

    const QString& GetServiceName() const override
    {
        if (m_Recorder != nullptr) {
            m_Recorder->Record(QStringLiteral("GetServiceName"));
        }
        return m_ServiceName;
    }

private:
    QString m_ServiceName;
    CallRecorder* m_Recorder;
};

} // namespace Audio::Utils::Kiv::QtDbus::Testing

#endif // KIV_TESTING_FAKESERVICEREGISTRATOR_H
