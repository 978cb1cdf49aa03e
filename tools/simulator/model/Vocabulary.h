// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_MODEL_VOCABULARY_H
#define SIMULATOR_MODEL_VOCABULARY_H

#include <QLatin1String>

/** The texts of the protocol, written down a second time: a slip in either copy shows when both sides talk. */
namespace Simulator {

namespace Method {
constexpr QLatin1String OpenSession("openSession");
constexpr QLatin1String CloseSession("closeSession");
constexpr QLatin1String GetModeList("getModeList");
constexpr QLatin1String GetMode("getMode");
constexpr QLatin1String SetMode("setMode");
constexpr QLatin1String RegisterAudioStream("registerAudioStream");
constexpr QLatin1String RequestAudioFocus("requestAudioFocus");
constexpr QLatin1String AudioActive("audioActive");
constexpr QLatin1String AbandonAudioFocus("abandonAudioFocus");
} // namespace Method

namespace Event {
constexpr QLatin1String ModeChange("onModeChange");
constexpr QLatin1String ModeListChange("onModeListChange");
constexpr QLatin1String AudioFocusChange("onAudioFocusChange");
constexpr QLatin1String RequestAudioFocusResult("onRequestAudioFocusResult");
constexpr QLatin1String AudioFocusBroadcast("audioFocusChangeEvent");
} // namespace Event

namespace Key {
constexpr QLatin1String BusName("busName");
constexpr QLatin1String ObjectPath("objectPath");
constexpr QLatin1String Destination("destination");
constexpr QLatin1String SessionId("sessionId");
constexpr QLatin1String NewMode("newMode");
constexpr QLatin1String NewFocus("newFocus");
constexpr QLatin1String FocusType("focusType");
constexpr QLatin1String StreamType("streamType");
constexpr QLatin1String StreamModeName("streamModeName");
constexpr QLatin1String ActiveMode("activeMode");
constexpr QLatin1String RequestType("requestType");
constexpr QLatin1String StreamName("streamName");
constexpr QLatin1String Reason("reason");
constexpr QLatin1String Playing("playing");
constexpr QLatin1String Mode("mode");
constexpr QLatin1String Action("action");
constexpr QLatin1String ModeList("modeList");
constexpr QLatin1String CurrentMode("currentMode");
constexpr QLatin1String ErrCode("errCode");
constexpr QLatin1String ErrMessage("errMessage");
} // namespace Key

namespace Value {
constexpr QLatin1String Gained("gained");
constexpr QLatin1String Lost("lost");
constexpr QLatin1String TemporarilyLost("temporarilyLost");
constexpr QLatin1String Granted("granted");
constexpr QLatin1String Failed("failed");
constexpr QLatin1String Abandoned("abandoned");
constexpr QLatin1String WouldBeGranted("wouldBeGranted");
constexpr QLatin1String WouldFail("wouldFail");
constexpr QLatin1String Permanent("permanent");
constexpr QLatin1String Transient("transient");
constexpr QLatin1String Add("add");
constexpr QLatin1String Remove("remove");
constexpr QLatin1String Query("query");
constexpr QLatin1String Request("request");
constexpr QLatin1String All("all");
} // namespace Value

} // namespace Simulator

#endif // SIMULATOR_MODEL_VOCABULARY_H
