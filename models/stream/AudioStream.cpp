// SPDX-License-Identifier: MIT
#include "AudioStream.h"

#include "stream/FocusMachine.h"
#include "stream/StreamLink.h"
#include "stream/StreamSettings.h"

#include <QQueue>

#include <utility>

namespace Audio::Utils::Kiv::Models {

namespace {

const QString kTooLate = QStringLiteral("the answer came too late");

} // namespace

/** Connects the machine with the service and with the player. */
class Q_DECL_HIDDEN AudioStream::Private
{
public:
    explicit Private(AudioStream& stream)
        : q(stream)
    {
    }

    /** Whether the configuration can be changed no more, with a warning. */
    bool IsFixed(const char* property) const
    {
        if (link) {
            qWarning("%s: %s stays as it was: it can be set before start() only", q.metaObject()->className(),
                     property);
        }
        return link != nullptr;
    }

    /** Sets a member of the settings, unless the stream has started. */
    template <typename Value>
    void Configure(Value& setting, const Value& value, const char* property, void (AudioStream::*changed)())
    {
        if (!IsFixed(property) && setting != value) {
            setting = value;
            Q_EMIT(q.*changed)();
        }
    }

    /** Likewise, the bus name or the object path: the latter follows the former. */
    void ConfigureName(QString& setting, const QString& value, const char* property);

    void Start();
    void Handle(FocusMachine::Event event);

    /** Tells the service whether the stream is heard, if it has not been told yet. */
    void TellActive();

    AudioStream& q;
    StreamSettings settings;
    FocusMachine machine;
    std::unique_ptr<StreamLink> link;
    QString abandonReason;

private:
    void Process(FocusMachine::Event event);
    void Perform(FocusMachine::Action action);
    void Tell(FocusMachine::Notice notice);

    QQueue<FocusMachine::Event> m_Events; ///< What has happened and is not processed.
    bool m_IsBusy = false;
    bool m_IsToldActive = false;
};

void AudioStream::Private::ConfigureName(QString& setting, const QString& value, const char* property)
{
    if (IsFixed(property)) {
        return;
    }
    const StreamSettings before = settings;
    setting = value;
    if (settings.UsedBusName() != before.UsedBusName()) {
        Q_EMIT q.busNameChanged();
    }
    if (settings.UsedObjectPath() != before.UsedObjectPath()) {
        Q_EMIT q.objectPathChanged();
    }
}

void AudioStream::Private::Start()
{
    link = std::make_unique<StreamLink>(settings);
    connect(link.get(), &StreamLink::Happened, &q, [this](FocusMachine::Event event) { Handle(event); });
    connect(link.get(), &StreamLink::QueryAnswered, &q, &AudioStream::focusQueried);
    link->Start();
}

// One after the other: a slot can cause the next event while signals of this one are still to be emitted.
void AudioStream::Private::Handle(FocusMachine::Event event)
{
    m_Events.enqueue(event);
    if (std::exchange(m_IsBusy, true)) {
        return;
    }
    while (!m_Events.isEmpty()) {
        Process(m_Events.dequeue());
    }
    m_IsBusy = false;
}

void AudioStream::Private::Process(FocusMachine::Event event)
{
    const FocusMachine before = machine;
    const FocusMachine::Outcome outcome = machine.Handle(event);
    TellActive();
    Perform(outcome.action);

    const FocusMachine after = machine;
    if (after.PublicState() != before.PublicState()) {
        Q_EMIT q.stateChanged();
    }
    if (after.HasFocus() != before.HasFocus()) {
        Q_EMIT q.hasFocusChanged();
    }
    if (after.IsAvailable() != before.IsAvailable()) {
        Q_EMIT q.availableChanged();
    }
    if (after.LastReason() != before.LastReason()) {
        Q_EMIT q.lastReasonChanged();
    }
    Tell(outcome.notice);
}

// A stream that is not registered is not heard, as far as the service knows.
void AudioStream::Private::TellActive()
{
    const bool isActive = machine.IsActive();
    if (std::exchange(m_IsToldActive, isActive) != isActive && machine.IsAvailable()) {
        link->TellActive(isActive);
    }
}

void AudioStream::Private::Perform(FocusMachine::Action action)
{
    switch (action) {
    case FocusMachine::Action::None:
        break;
    case FocusMachine::Action::Register:
        link->Register();
        break;
    case FocusMachine::Action::Request:
        link->RequestFocus();
        break;
    case FocusMachine::Action::Abandon:
        link->Abandon(abandonReason);
        break;
    case FocusMachine::Action::GiveBack:
        link->Abandon(kTooLate);
        break;
    }
}

void AudioStream::Private::Tell(FocusMachine::Notice notice)
{
    switch (notice) {
    case FocusMachine::Notice::None:
        break;
    case FocusMachine::Notice::Pause:
        Q_EMIT q.pauseRequested();
        break;
    case FocusMachine::Notice::Resume:
        Q_EMIT q.resumeSuggested();
        break;
    case FocusMachine::Notice::Lost:
        Q_EMIT q.focusLost(machine.LastReason());
        break;
    }
}

AudioStream::AudioStream(QObject* parent)
    : QObject(parent),
      m_Private(std::make_unique<Private>(*this))
{
}

AudioStream::~AudioStream() = default;

// Configuration

QString AudioStream::name() const
{
    return m_Private->settings.name;
}

void AudioStream::setName(const QString& name)
{
    m_Private->Configure(m_Private->settings.name, name, "name", &AudioStream::nameChanged);
}

QString AudioStream::streamType() const
{
    return m_Private->settings.streamType;
}

void AudioStream::setStreamType(const QString& streamType)
{
    m_Private->Configure(m_Private->settings.streamType, streamType, "streamType",
                         &AudioStream::streamTypeChanged);
}

bool AudioStream::permanentFocus() const
{
    return m_Private->settings.isPermanent;
}

void AudioStream::setPermanentFocus(bool isPermanent)
{
    m_Private->Configure(m_Private->settings.isPermanent, isPermanent, "permanentFocus",
                         &AudioStream::permanentFocusChanged);
}

QString AudioStream::busName() const
{
    return m_Private->settings.UsedBusName();
}

void AudioStream::setBusName(const QString& busName)
{
    m_Private->ConfigureName(m_Private->settings.busName, busName, "busName");
}

QString AudioStream::objectPath() const
{
    return m_Private->settings.UsedObjectPath();
}

void AudioStream::setObjectPath(const QString& objectPath)
{
    m_Private->ConfigureName(m_Private->settings.objectPath, objectPath, "objectPath");
}

QString AudioStream::destination() const
{
    return m_Private->settings.destination;
}

void AudioStream::setDestination(const QString& destination)
{
    m_Private->Configure(m_Private->settings.destination, destination, "destination",
                         &AudioStream::destinationChanged);
}

void AudioStream::start()
{
    if (m_Private->link) {
        return;
    }
    if (m_Private->settings.name.isEmpty()) {
        qWarning("%s: start() needs a name", metaObject()->className());
        return;
    }
    m_Private->Start();
}

// State

AudioStream::State AudioStream::state() const
{
    return m_Private->machine.PublicState();
}

bool AudioStream::hasFocus() const
{
    return m_Private->machine.HasFocus();
}

bool AudioStream::isAvailable() const
{
    return m_Private->machine.IsAvailable();
}

AudioStream::Reason AudioStream::lastReason() const
{
    return m_Private->machine.LastReason();
}

bool AudioStream::isPlaying() const
{
    return m_Private->machine.IsPlaying();
}

void AudioStream::setPlaying(bool isPlaying)
{
    if (isPlaying == m_Private->machine.IsPlaying()) {
        return;
    }
    m_Private->machine.SetPlaying(isPlaying);
    m_Private->TellActive();
    Q_EMIT playingChanged();
}

// Focus

void AudioStream::requestFocus()
{
    if (!isAvailable()) {
        qWarning("%s: requestFocus() needs an available stream", metaObject()->className());
        return;
    }
    m_Private->Handle(FocusMachine::Event::RequestFocus);
}

void AudioStream::queryFocus()
{
    if (isAvailable()) {
        m_Private->link->QueryFocus();
    } else {
        Q_EMIT focusQueried(false);
    }
}

void AudioStream::abandon(const QString& reason)
{
    if (reason.isEmpty()) {
        qWarning("%s: abandon() needs a reason", metaObject()->className());
        return;
    }
    m_Private->abandonReason = reason;
    m_Private->Handle(FocusMachine::Event::Abandon);
}

} // namespace Audio::Utils::Kiv::Models
