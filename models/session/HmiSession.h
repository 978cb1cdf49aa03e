// SPDX-License-Identifier: MIT
#ifndef KIV_MODELS_HMISESSION_H
#define KIV_MODELS_HMISESSION_H

#include "HmiModes.h"
#include "ObjectExport.h"
#include "SessionKeeper.h"

#include <AudioManagerHmi.h>
#include <ServiceProviderProxyHmiFactory.h>
#include <ServiceRegistrator.h>

#include <QDBusConnection>
#include <QDateTime>
#include <QList>
#include <QObject>
#include <QString>

#include <memory>

namespace Audio::Utils::Kiv::Models {

/** What an HMI client is made with. */
struct HmiSettings
{
    QString busName;
    QString objectPath;
    QString destination;
};

/** What the service has told of the focus of a stream, and when it came. */
struct FocusEvent
{
    QString streamName;
    QString streamModeName;
    QString focusType;
    QString streamType;
    QString destination;
    QString newFocus;
    QDateTime time;
};

/**
 * An HMI client with all that it needs, shared by the models of a thread that have the same settings: there can be one
 * client on an object path only.
 *
 * Its signals come from the event loop, never from within the client, so that whoever hears them may give the session
 * up. The last user takes the client with it, which closes its session without waiting for the answer.
 */
class HmiSession : public QObject, public std::enable_shared_from_this<HmiSession>
{
    Q_OBJECT

public:
    /** The session of this thread with these settings; a new one when there is none. */
    static std::shared_ptr<HmiSession> Get(const HmiSettings& settings);

    /** Use Get(). */
    explicit HmiSession(const HmiSettings& settings);
    ~HmiSession() override;

    /** Initialises the client, unless somebody has done so. Blocks as SessionKeeper::Start() does. */
    void Start();

    /** Whether there is a session with the service. */
    bool IsAvailable() const;

    /** What went wrong last, as a sentence; empty when something went well afterwards. */
    QString LastError() const;

    HmiModes& Modes();
    const HmiModes& Modes() const;

Q_SIGNALS:
    /** Availability, modes or the last error may have changed. */
    void Changed();

    /** One event of the service, in the order in which they came. */
    void FocusChanged(const Audio::Utils::Kiv::Models::FocusEvent& event);

private:
    void OnOpened();
    void OnFocus(const QString& streamName, const QString& streamModeName, const QString& focusType,
                 const QString& streamType, const QString& destination, const QString& newFocus);
    void SetLastError(const QString& text);
    void PublishLater();
    void Publish();

    QDBusConnection m_Bus = QDBusConnection::systemBus();
    QtDbus::ServiceRegistrator m_Registrator;
    ObjectExport m_Export{m_Bus};
    QtDbus::ServiceProviderProxyHmiFactory m_Factory;
    QtDbus::AudioManagerHmi m_Client;
    HmiModes m_Modes;
    SessionKeeper m_Keeper;
    QString m_LastError;
    QList<FocusEvent> m_Events; ///< Not published yet.
    bool m_IsToPublish = false;
};

} // namespace Audio::Utils::Kiv::Models

#endif // KIV_MODELS_HMISESSION_H
