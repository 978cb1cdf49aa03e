// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_FAKEADAPTORCONNECTION_H
#define KIV_TESTS_FAKEADAPTORCONNECTION_H

#include "IAdaptorConnection.h"

#include <QObject>
#include <QString>
#include <QVector>

namespace KivTest {

/** Records exports instead of making them. */
class FakeAdaptorConnection : public Audio::Utils::Kiv::QtDbus::IAdaptorConnection
{
public:
    struct Export
    {
        QString busName;
        QString objectPath;
        QObject* object;
    };

    bool RegisterObject(const QString& busName, const QString& objectPath, QObject* object) override
    {
        m_Exports.append({busName, objectPath, object});
        return m_Result;
    }

    /** What later exports return. */
    void SetResult(bool result) { m_Result = result; }

    QVector<Export> Exports() const { return m_Exports; }

private:
    QVector<Export> m_Exports;
    bool m_Result = true;
};

} // namespace KivTest

#endif // KIV_TESTS_FAKEADAPTORCONNECTION_H
