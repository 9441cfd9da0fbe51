#!/usr/bin/env python3
"""Writes pcap files of typical LLDP frames for the namespace benchmarks.

    lldpdu_pcap.py OUT.pcap KIND NEIGHBOURS [VERSIONS]

KIND:
  same       NEIGHBOURS copies of one neighbour's frame (one neighbour refreshing)
  many       one frame from each of NEIGHBOURS neighbours, in turn
  change     VERSIONS (2) passes over NEIGHBOURS neighbours; each pass changes
             the port description, so every frame, also when the file is
             replayed in a loop, differs from its neighbour's previous one
  malformed  as `many`, with every fifth frame (20%) broken in one of several
             ways: a TLV longer than the frame, a missing TTL, the TLVs out of
             order, an empty chassis ID, a frame cut inside a TLV, no end TLV
             before trailing bytes, an unknown chassis ID subtype

Every valid frame is 317 bytes on the wire without the FCS: a 303-byte
LLDPDU (chassis ID, port ID, TTL 120, port description, system name and
description, capabilities, a management address, 802.1 port VLAN and VLAN
name, 802.3 MAC/PHY and maximum frame size, LLDP-MED capabilities, network
policy and hardware revision, end) behind the LLDP group address and
EtherType 0x88CC. Neighbour i has chassis ID "chassis-NNNNN" (i) and source
address 02:00:00:xx:xx:xx; the TTL is TTL (env, 120), 65535 with TTL=max.
Only the standard library is used, so generating 100,000 frames takes a
second or two.
"""
import os
import struct
import sys

DOT1, DOT3, MED = b"\x00\x80\xc2", b"\x00\x12\x0f", b"\x00\x12\xbb"
LLDP_MC = b"\x01\x80\xc2\x00\x00\x0e"
LLDPDU_LEN = 303


def tlv(t, v):
    return struct.pack(">H", (t << 9) | len(v)) + v


def org(oui, sub, v):
    return tlv(127, oui + bytes([sub]) + v)


def ttl_value():
    t = os.environ.get("TTL", "120")
    return 65535 if t == "max" else int(t)


def lldpdu_head(i, ttl):
    """Chassis ID, port ID and TTL of neighbour i."""
    return (tlv(1, b"\x07" + b"chassis-%05d" % i) + tlv(2, b"\x05GigabitEthernet1/0/24")
            + tlv(3, struct.pack(">H", ttl)))


def lldpdu(i, version=0, ttl=None):
    """Neighbour i's LLDPDU, LLDPDU_LEN bytes; `version` changes the port description."""
    head = lldpdu_head(i, ttl_value() if ttl is None else ttl)
    rest = (tlv(5, b"access-sw-%05d" % i)
            + tlv(6, b"Switch OS 15.2(7)E3, compiled 2026-03-01 by release engineering")
            + tlv(7, bytes([0x00, 0x14, 0x00, 0x04]))
            + tlv(8, bytes([5, 1, 10, 1, 7, 17, 2, 0, 0, 0, 24, 11, 0x06, 0x09, 0x2B, 0x06, 0x01,
                            0x02, 0x01, 0x04, 0x14, 0x01, 0x01]))
            + org(DOT1, 1, b"\x00\x64") + org(DOT1, 3, b"\x00\x64\x05users")
            + org(DOT3, 1, bytes([0x03, 0x6C, 0x01, 0x00, 0x1E])) + org(DOT3, 4, b"\x05\xf2")
            + org(MED, 1, b"\x00\x33\x04") + org(MED, 2, b"\x01\x40\x15\x6e")
            + org(MED, 5, b"HW 2.1"))
    # The port description fills the LLDPDU to its typical size.
    room = LLDPDU_LEN - len(head) - len(rest) - 2 - 2
    desc = (b"uplink to distribution switch, rack 7, version %d" % version).ljust(room, b".")
    body = head + tlv(4, desc[:room]) + rest + tlv(0, b"")
    assert len(body) == LLDPDU_LEN, len(body)
    return body


def src_mac(i):
    return bytes([0x02, 0x00, 0x00, (i >> 16) & 255, (i >> 8) & 255, i & 255])


def frame(i, body):
    return LLDP_MC + src_mac(i) + b"\x88\xcc" + body


def broken(i, k):
    """Neighbour i's frame broken in way k (0-6)."""
    good = lldpdu(i)
    k %= 7
    if k == 0:  # the port description claims 511 bytes, past the frame's end
        p = len(lldpdu_head(i, ttl_value()))
        return frame(i, good[:p] + b"\x09\xff" + good[p + 2:])
    if k == 1:  # no TTL TLV
        ttl_tlv = tlv(3, struct.pack(">H", ttl_value()))
        return frame(i, good.replace(ttl_tlv, b"", 1))
    if k == 2:  # port ID first, then chassis ID
        c = tlv(1, b"\x07" + b"chassis-%05d" % i)
        p = tlv(2, b"\x05GigabitEthernet1/0/24")
        return frame(i, good.replace(c + p, p + c, 1))
    if k == 3:  # an empty chassis ID
        c = tlv(1, b"\x07" + b"chassis-%05d" % i)
        return frame(i, good.replace(c, tlv(1, b""), 1))
    if k == 4:  # cut inside the system description
        return frame(i, good[:150])
    if k == 5:  # no end TLV: the last 2 bytes are a TLV header claiming 40 bytes
        return frame(i, good[:-2] + b"\x10\x28")
    # k == 6: a chassis ID subtype of 0 (reserved)
    c = tlv(1, b"\x07" + b"chassis-%05d" % i)
    return frame(i, good.replace(c, tlv(1, b"\x00" + b"chassis-%05d" % i), 1))


def frames(kind, n, versions):
    if kind == "same":
        f = frame(0, lldpdu(0))
        return [f] * n
    if kind == "many":
        return [frame(i, lldpdu(i)) for i in range(n)]
    if kind == "change":
        return [frame(i, lldpdu(i, v)) for v in range(versions) for i in range(n)]
    if kind == "malformed":
        out = []
        for i in range(n):
            out.append(broken(i, i // 5) if i % 5 == 4 else frame(i, lldpdu(i)))
        return out
    raise SystemExit("lldpdu_pcap: unknown kind %r" % kind)


def write_pcap(path, fs):
    with open(path, "wb") as f:
        f.write(struct.pack("<IHHiIII", 0xA1B2C3D4, 2, 4, 0, 0, 65535, 1))
        for n, fr in enumerate(fs):
            # Microsecond time stamps 10 µs apart; tcpreplay's --pps and
            # --topspeed ignore them.
            f.write(struct.pack("<IIII", n // 100000, (n % 100000) * 10, len(fr), len(fr)) + fr)


def main(argv):
    if len(argv) < 4:
        raise SystemExit(__doc__)
    path, kind, n = argv[1], argv[2], int(argv[3])
    versions = int(argv[4]) if len(argv) > 4 else 2
    write_pcap(path, frames(kind, n, versions))


if __name__ == "__main__":
    main(sys.argv)
