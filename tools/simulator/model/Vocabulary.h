// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_MODEL_VOCABULARY_H
#define SIMULATOR_MODEL_VOCABULARY_H

#include <QLatin1String>

/** The texts of the protocol, written down a second time: a slip in either copy shows when both sides talk. */
namespace Simulator {

/** QLatin1String's own length is not a constant for every compiler. */
template <int size>
constexpr QLatin1String Text(const char (&text)[size])
{
    return QLatin1String(text, size - 1);
}

namespace Method {
constexpr QLatin1String OpenSession = Text("openSession");
constexpr QLatin1String CloseSession = Text("closeSession");
constexpr QLatin1String GetModeList = Text("getModeList");
constexpr QLatin1String GetMode = Text("getMode");
constexpr QLatin1String SetMode = Text("setMode");
constexpr QLatin1String RegisterAudioStream = Text("registerAudioStream");
constexpr QLatin1String RequestAudioFocus = Text("requestAudioFocus");
constexpr QLatin1String AudioActive = Text("audioActive");
constexpr QLatin1String AbandonAudioFocus = Text("abandonAudioFocus");
} // namespace Method

namespace Event {
constexpr QLatin1String ModeChange = Text("onModeChange");
constexpr QLatin1String ModeListChange = Text("onModeListChange");
constexpr QLatin1String AudioFocusChange = Text("onAudioFocusChange");
constexpr QLatin1String RequestAudioFocusResult = Text("onRequestAudioFocusResult");
constexpr QLatin1String AudioFocusBroadcast = Text("audioFocusChangeEvent");
} // namespace Event

namespace Key {
constexpr QLatin1String BusName = Text("busName");
constexpr QLatin1String ObjectPath = Text("objectPath");
constexpr QLatin1String Destination = Text("destination");
constexpr QLatin1String SessionId = Text("sessionId");
constexpr QLatin1String NewMode = Text("newMode");
constexpr QLatin1String NewFocus = Text("newFocus");
constexpr QLatin1String FocusType = Text("focusType");
constexpr QLatin1String StreamType = Text("streamType");
constexpr QLatin1String StreamModeName = Text("streamModeName");
constexpr QLatin1String ActiveMode = Text("activeMode");
constexpr QLatin1String RequestType = Text("requestType");
constexpr QLatin1String StreamName = Text("streamName");
constexpr QLatin1String Reason = Text("reason");
constexpr QLatin1String Playing = Text("playing");
constexpr QLatin1String Mode = Text("mode");
constexpr QLatin1String Action = Text("action");
constexpr QLatin1String ModeList = Text("modeList");
constexpr QLatin1String CurrentMode = Text("currentMode");
constexpr QLatin1String ErrCode = Text("errCode");
constexpr QLatin1String ErrMessage = Text("errMessage");
} // namespace Key

namespace Value {
constexpr QLatin1String Gained = Text("gained");
constexpr QLatin1String Lost = Text("lost");
constexpr QLatin1String TemporarilyLost = Text("temporarilyLost");
constexpr QLatin1String Granted = Text("granted");
constexpr QLatin1String Failed = Text("failed");
constexpr QLatin1String Abandoned = Text("abandoned");
constexpr QLatin1String WouldBeGranted = Text("wouldBeGranted");
constexpr QLatin1String WouldFail = Text("wouldFail");
constexpr QLatin1String Permanent = Text("permanent");
constexpr QLatin1String Transient = Text("transient");
constexpr QLatin1String Add = Text("add");
constexpr QLatin1String Remove = Text("remove");
constexpr QLatin1String Query = Text("query");
constexpr QLatin1String Request = Text("request");
constexpr QLatin1String All = Text("all");
} // namespace Value

} // namespace Simulator

#endif // SIMULATOR_MODEL_VOCABULARY_H
