# SPDX-License-Identifier: MIT
"""Who may send what to whom: a table, and what plays it on a bus."""

from gi.repository import Gio, GLib

from rawbus import BUS, BUS_PATH, ERROR, REPLY, Connection, call, signal, texts

SERVICE = "com.quorvantel.service.AudioManagement"
PREFIX = "com.quorvantel.audioclient"
PLAYER = PREFIX + ".player"
PANEL = PREFIX + ".panel"
INTERFACE = "com.quorvantel.ServiceProvider"
INTROSPECTABLE = "org.freedesktop.DBus.Introspectable"
PROPERTIES = "org.freedesktop.DBus.Properties"
PEER = "org.freedesktop.DBus.Peer"
OTHER = "com.example.Interface"
AGENT = "com.example.Agent"  # what systembus.py lets everybody call
SERVICE_PATH = "/com/kiv/service/AudioManagement/HmiMode"
CLIENT_PATH = "/com/quorvantel/audioclient/player/ServiceProviderClient"

DENIED = "org.freedesktop.DBus.Error.AccessDenied"
ARRIVES = "arrives"
NOTHING = "nothing"

# Who asks for which name, and what the bus says.
NAMES = (
    ("service", SERVICE, "done"),
    ("player", PLAYER, "done"),
    ("panel", PANEL, "done"),
    ("player", PREFIX + ".player.second", "done"),
    ("player", SERVICE, DENIED),
    ("intruder", SERVICE, DENIED),
    ("root", SERVICE, DENIED),
    ("service", PREFIX + ".service", DENIED),
    ("intruder", PREFIX + ".intruder", DENIED),
    ("root", PREFIX + ".root", DENIED),
    ("player", PREFIX + "s", DENIED),
    ("player", "com.quorvantel.other", DENIED),
    ("service", "com.quorvantel.other", DENIED),
)

# Who calls whom with which interface, and what comes of it. Each is done with the bus name and with the unique name.
CALLS = (
    ("player", "service", INTERFACE, ARRIVES),
    ("panel", "service", INTERFACE, ARRIVES),
    ("player", "service", INTROSPECTABLE, ARRIVES),
    ("player", "service", PEER, ARRIVES),
    ("player", "service", PROPERTIES, DENIED),
    ("player", "service", OTHER, DENIED),
    ("player", "service", None, DENIED),
    ("service", "player", INTERFACE, ARRIVES),
    ("service", "panel", INTERFACE, ARRIVES),
    ("service", "player", INTROSPECTABLE, ARRIVES),
    ("service", "player", PEER, DENIED),
    ("service", "player", PROPERTIES, DENIED),
    ("service", "player", OTHER, DENIED),
    ("service", "player", None, DENIED),
    *((caller, callee, interface, DENIED)
      for caller, callee in (("player", "panel"), ("intruder", "service"), ("intruder", "player"), ("root", "service"),
                             ("root", "player"))
      for interface in (INTERFACE, INTROSPECTABLE, PROPERTIES, PEER, None)),
    ("service", "intruder", INTERFACE, DENIED),
    ("service", "intruder", INTROSPECTABLE, DENIED),
    ("intruder", "player", AGENT, ARRIVES),
    ("intruder", "service", AGENT, ARRIVES),
    ("player", "intruder", INTERFACE, DENIED),
)

# Who sends a signal to one connection alone, and what comes of it.
DIRECTED_SIGNALS = (
    ("service", "player", INTERFACE, ARRIVES),
    ("service", "player", OTHER, DENIED),
    ("intruder", "root", OTHER, ARRIVES),
    *((sender, receiver, interface, DENIED)
      for sender in ("intruder", "root", "player")
      for receiver in ("service", "panel")
      for interface in (INTERFACE, OTHER)),
)

# Who broadcasts a signal, and who of all that listen hears it.
BROADCASTS = (
    ("service", INTERFACE, {"player", "panel"}),
    ("player", INTERFACE, set()),
    ("intruder", INTERFACE, set()),
    ("root", INTERFACE, set()),
    ("intruder", OTHER, {"service", "player", "panel", "root"}),
)


class Stage:
    """Everybody is connected, has the names that are asked for, and listens to all that they can."""

    LISTENED_TO = "type='signal',interface='%s'"

    def __init__(self, path, accounts):
        self._people = {who: Connection(account, path) for who, account in accounts.items()}
        self._well_known = {"service": SERVICE, "player": PLAYER, "panel": PANEL}
        for connection in self._people.values():
            for interface in (INTERFACE, OTHER):
                connection.listen(self.LISTENED_TO % interface)

    def close(self):
        for connection in self._people.values():
            connection.close()

    def _settle(self, sender):
        """What everybody has got: all that was sent before has been delivered or refused."""
        mine = self._people[sender].arrived()
        return mine, {who: connection.arrived() for who, connection in self._people.items() if who != sender}

    def _send(self, sender, message):
        """Sends, and tells who got it; and the error that the sender got."""
        serial = self._people[sender].send(message)
        mine, others = self._settle(sender)
        errors = [answer.get_error_name() for answer in mine
                  if answer.get_message_type() == ERROR and answer.get_reply_serial() == serial]
        name = self._people[sender].name
        got = {who: [message for message in messages if message.get_sender() == name]
               for who, messages in others.items()}
        return errors, {who: messages for who, messages in got.items() if messages}

    def _outcome(self, sender, receiver, message):
        errors, got = self._send(sender, message)
        if errors:
            return errors[0] if not got else f"{errors[0]}, but {', '.join(got)} got it"
        return self._reached(receiver, got)

    @staticmethod
    def _reached(receiver, got):
        if not got:
            return NOTHING
        return ARRIVES if set(got) == {receiver} else f"{', '.join(sorted(got))} got it"

    def _address(self, who, is_unique):
        return self._people[who].name if is_unique else self._well_known.get(who, self._people[who].name)

    def check_names(self):
        for who, name, expected in NAMES:
            yield f"{who} owns {name}", expected, self._people[who].own(name)

    def check_calls(self):
        for caller, callee, interface, expected in CALLS:
            for is_unique in (False, True):
                message = call(self._address(callee, is_unique), CLIENT_PATH, interface, "Request", texts("m", "{}"))
                title = f"{caller} calls {callee} at its {'unique' if is_unique else 'bus'} name: {interface}"
                yield title, expected, self._outcome(caller, callee, message)

    def check_signals(self):
        for sender, receiver, interface, expected in DIRECTED_SIGNALS:
            message = signal(self._address(receiver, True), SERVICE_PATH, interface, "Notify", texts("s", "{}"))
            yield f"{sender} signals {receiver}: {interface}", expected, self._outcome(sender, receiver, message)

    def check_broadcasts(self):
        for sender, interface, expected in BROADCASTS:
            _, got = self._send(sender, signal(None, SERVICE_PATH, interface, "Notify", texts("s", "{}")))
            yield f"{sender} broadcasts {interface}", expected, set(got)

    def check_answers(self):
        """An answer to a call arrives, in both directions; one that nobody has asked for does not."""
        for caller, callee in (("player", "service"), ("service", "player")):
            message = call(self._address(callee, False), CLIENT_PATH, INTERFACE, "Request", texts("m", "{}"))
            serial = self._people[caller].send(message)
            for kind, expected in ((REPLY, ARRIVES), (REPLY, DENIED)):
                self._settle(caller)
                _, got = self._answer(callee, caller, serial, kind)
                title = f"{callee} answers {caller}" + (" again" if expected == DENIED else "")
                yield title, expected, got
        for kind in (REPLY, ERROR):
            yield (f"intruder answers player, {kind.value_nick}", DENIED,
                   self._answer("intruder", "player", 1, kind)[1])

    def _answer(self, sender, receiver, serial, kind):
        message = Gio.DBusMessage()
        message.set_message_type(kind)
        message.set_reply_serial(serial)
        message.set_destination(self._people[receiver].name)
        if kind == ERROR:
            message.set_error_name("com.example.Error")
        message.set_flags(Gio.DBusMessageFlags.NO_REPLY_EXPECTED)
        return serial, self._outcome(sender, receiver, message)

    def check_eavesdropping(self):
        """Nobody but root may listen to what is for others: the system bus's own policy."""
        for who in ("service", "player", "intruder"):
            rule = texts("eavesdrop='true',type='method_call'")
            yield f"{who} eavesdrops", DENIED, self._refusal(who, BUS, "AddMatch", rule)
            monitoring = GLib.Variant("(asu)", ([], 0))
            yield f"{who} monitors", DENIED, self._refusal(who, BUS + ".Monitoring", "BecomeMonitor", monitoring)

    def _refusal(self, who, interface, member, body):
        answer = self._people[who].exchange(call(BUS, BUS_PATH, interface, member, body))
        return answer.get_error_name() if answer.get_message_type() == ERROR else "done"

    def check_all(self):
        """Triples of what is tried, what is to come of it, and what has."""
        for check in (self.check_names, self.check_calls, self.check_signals, self.check_broadcasts,
                      self.check_answers, self.check_eavesdropping):
            yield from check()


def failures(path, accounts):
    """What comes out otherwise than it is to."""
    stage = Stage(path, accounts)
    try:
        return [f"{title}: {outcome} instead of {expected}"
                for title, expected, outcome in stage.check_all() if outcome != expected]
    finally:
        stage.close()
