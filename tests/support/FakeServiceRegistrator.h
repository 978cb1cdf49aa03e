// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_FAKESERVICEREGISTRATOR_H
#define KIV_TESTS_FAKESERVICEREGISTRATOR_H

#include "IServiceRegistrator.h"

namespace KivTest {

/** Gives clients a bus name without a bus. */
class FakeServiceRegistrator : public Audio::Utils::Kiv::QtDbus::IServiceRegistrator
{
public:
    explicit FakeServiceRegistrator(const QString& serviceName)
        : m_ServiceName(serviceName)
    {
    }

    const QString& GetServiceName() const override { return m_ServiceName; }

private:
    QString m_ServiceName;
};

} // namespace KivTest

#endif // KIV_TESTS_FAKESERVICEREGISTRATOR_H
