// SPDX-License-Identifier: MIT
#ifndef KIV_PROTOCOL_VOCABULARY_H
#define KIV_PROTOCOL_VOCABULARY_H

#include <QString>

/**
 * Every text of the protocol that the library sends, reads or compares with, once each.
 *
 * The constants have internal linkage: each source file that includes this header owns its copies, which are
 * constructed when the library is loaded, in this order. The texts themselves lie in the data segment and are
 * not copied. A client object must therefore not be created by a static initialiser of this library.
 */
namespace Audio::Utils::Kiv::QtDbus {

/** Values of parameters. */
namespace Value {
const QString Gained = QStringLiteral("gained");
const QString Lost = QStringLiteral("lost");
const QString TemporarilyLost = QStringLiteral("temporarilyLost");
const QString Granted = QStringLiteral("granted");
const QString Failed = QStringLiteral("failed");
const QString Abandoned = QStringLiteral("abandoned");
const QString WouldBeGranted = QStringLiteral("wouldBeGranted");
const QString WouldFail = QStringLiteral("wouldFail");
const QString Permanent = QStringLiteral("permanent");
const QString Transient = QStringLiteral("transient");
const QString Media = QStringLiteral("Media");
const QString Add = QStringLiteral("add");
const QString Remove = QStringLiteral("remove");
const QString Cabin = QStringLiteral("Cabin");
const QString EmptyObject = QStringLiteral("{}");
const QString Query = QStringLiteral("query");
const QString Request = QStringLiteral("request");
const QString All = QStringLiteral("all");
} // namespace Value

/** Names of the requests that clients send. */
namespace Method {
const QString OpenSession = QStringLiteral("openSession");
const QString CloseSession = QStringLiteral("closeSession");
const QString SetMode = QStringLiteral("setMode");
const QString GetMode = QStringLiteral("getMode");
const QString GetModeList = QStringLiteral("getModeList");
} // namespace Method

/** Names of the calls and notifications that the service sends. */
namespace Event {
const QString OnModeChange = QStringLiteral("onModeChange");
const QString OnModeListChange = QStringLiteral("onModeListChange");
const QString AudioFocusChangeEvent = QStringLiteral("audioFocusChangeEvent");
} // namespace Event

namespace Method {
const QString RequestAudioFocus = QStringLiteral("requestAudioFocus");
const QString RegisterAudioStream = QStringLiteral("registerAudioStream");
const QString AbandonAudioFocus = QStringLiteral("abandonAudioFocus");
const QString AudioActive = QStringLiteral("audioActive");
} // namespace Method

namespace Event {
const QString OnAudioFocusChange = QStringLiteral("onAudioFocusChange");
const QString OnRequestAudioFocusResult = QStringLiteral("onRequestAudioFocusResult");
} // namespace Event

/** Names of the members of argument, result and payload objects. */
namespace Key {
const QString BusName = QStringLiteral("busName");
const QString ObjectPath = QStringLiteral("objectPath");
const QString Destination = QStringLiteral("destination");
const QString SessionId = QStringLiteral("sessionId");
const QString NewMode = QStringLiteral("newMode");
const QString NewFocus = QStringLiteral("newFocus");
const QString FocusType = QStringLiteral("focusType");
const QString StreamType = QStringLiteral("streamType");
const QString StreamModeName = QStringLiteral("streamModeName");
const QString ActiveMode = QStringLiteral("activeMode");
const QString RequestType = QStringLiteral("requestType");
const QString StreamName = QStringLiteral("streamName");
const QString Reason = QStringLiteral("reason");
const QString Playing = QStringLiteral("playing");
const QString Mode = QStringLiteral("mode");
const QString Action = QStringLiteral("action");
const QString ModeList = QStringLiteral("modeList");
const QString CurrentMode = QStringLiteral("currentMode");
const QString ErrCode = QStringLiteral("errCode");
} // namespace Key

/** Names and paths on the bus. */
namespace Bus {
const QString ServiceName = QStringLiteral("com.quorvantel.service.AudioManagement");
const QString HmiPath = QStringLiteral("/com/kiv/service/AudioManagement/HmiMode");
const QString AppPath = QStringLiteral("/com/kiv/service/AudioManagement/AudioApplication");
const QString ClientPath = QStringLiteral("/ServiceProviderClient");
} // namespace Bus

} // namespace Audio::Utils::Kiv::QtDbus

#endif // KIV_PROTOCOL_VOCABULARY_H
