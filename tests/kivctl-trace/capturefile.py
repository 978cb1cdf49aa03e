# SPDX-License-Identifier: MIT
"""D-Bus messages as bytes and capture files of them, in either byte order, for the cases that busctl does not write."""

import struct

DBUS = 231  # the link type of D-Bus in capture files
CALL, REPLY, ERROR, SIGNAL = 1, 2, 3, 4
NO_REPLY_EXPECTED = 1

# Header fields: code and type.
FIELDS = {"path": (1, "o"), "interface": (2, "s"), "member": (3, "s"), "error_name": (4, "s"),
          "reply_serial": (5, "u"), "destination": (6, "s"), "sender": (7, "s"), "signature": (8, "g"),
          "unix_fds": (9, "u")}


def _pad(data, size):
    return data + b"\0" * (-len(data) % size)


def _text(order, text):
    data = text if isinstance(text, bytes) else text.encode()
    return struct.pack(order + "I", len(data)) + data + b"\0"


def _signature(signature):
    return bytes([len(signature)]) + signature.encode() + b"\0"


def _value(order, kind, value):
    if kind == "u":
        return struct.pack(order + "I", value)
    return _signature(value) if kind == "g" else _text(order, value)


def message(kind, serial, texts=(), *, order="<", flags=0, **fields):
    """A message whose arguments are texts."""
    body = b""
    for text in texts:
        body = _pad(body, 4) + _text(order, text)
    if texts:
        fields.setdefault("signature", "s" * len(texts))
    array = b""
    for name, value in fields.items():
        code, field_type = FIELDS[name]
        array = _pad(array, 8) + bytes([code]) + _signature(field_type)
        array = _pad(array, 4) + _value(order, field_type, value)
    head = struct.pack(order + "cBBBIII", b"l" if order == "<" else b"B", kind, flags, 1, len(body), serial,
                       len(array))
    return _pad(head + array, 8) + body


def pcap(messages, *, order="<", magic=0xA1B2C3D4, link_type=DBUS):
    """A pcap file of (seconds, fraction, bytes) or (seconds, fraction, bytes, full length)."""
    parts = [struct.pack(order + "IHHiIII", magic, 2, 4, 0, 0, 65535, link_type)]
    for seconds, fraction, content, *full in messages:
        parts.append(struct.pack(order + "IIII", seconds, fraction, len(content), full[0] if full else len(content)))
        parts.append(content)
    return b"".join(parts)


def block(kind, body, order="<"):
    """A block of a pcapng file."""
    body = _pad(body, 4)
    length = struct.pack(order + "I", 12 + len(body))
    return struct.pack(order + "I", kind) + length + body + length


def section(order="<"):
    return block(0x0A0D0D0A, struct.pack(order + "IHHq", 0x1A2B3C4D, 1, 0, -1), order)


def interface(order="<", link_type=DBUS, resolution=None):
    options = b"" if resolution is None else struct.pack(order + "HHBxxxHH", 9, 1, resolution, 0, 0)
    return block(1, struct.pack(order + "HHI", link_type, 0, 0) + options, order)


def packet(ticks, content, order="<", index=0, full_length=None):
    return block(6, struct.pack(order + "IIIII", index, ticks >> 32, ticks & 0xFFFFFFFF, len(content),
                                len(content) if full_length is None else full_length) + content, order)
