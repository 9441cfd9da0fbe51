#!/usr/bin/env bash
# Frames crafted with scapy, sent into the namespace of one agent: a good
# LLDPDU is learnt; broken ones are refused for the right reason (the traces
# name the counters moved); frames of the wrong destination or of the
# broadcast mode are discarded by a standard agent; a tagged LLDPDU reaches
# the agent with its tag (the kernel had taken it off) and is held against
# the PVID; a neighbour with a short TTL ages out.
. "$(dirname "$0")/nslib.sh"
need_netns
[ -x /usr/bin/python3 ] && /usr/bin/python3 -c 'import scapy.all' 2>/dev/null || skip "needs python3-scapy"

mkns a
mkns b
veth a va b vb
start_agent a alpha 0x123
sleep 1

# A good frame.
scapy_send b vb <<'PY'
frames = [Ether(dst=LLDP_MC, src="02:00:00:00:00:01", type=0x88CC) /
          Raw(lldpdu(b"\x02\x00\x00\x00\x00\x01", b"p1", 120, tlv(5, b"scapy-good")))]
PY
wait_for alpha "New MSAP Cache Miss on portva" 1 5
pass "a good LLDPDU is learnt"

# Mandatory TLVs out of order: counted as discarded and in error.
scapy_send b vb <<'PY'
body = (tlv(2, b"\x05p1") + tlv(1, b"\x04\x02\x00\x00\x00\x00\x02") + tlv(3, b"\x00\x78") + tlv(0, b""))
frames = [Ether(dst=LLDP_MC, src="02:00:00:00:00:02", type=0x88CC) / Raw(body)]
PY
wait_for alpha "TLV number 1 should have tlv_type 1, but is actually 2" 1 5
wait_for alpha "statsFramesDiscardedTotal and statsFramesInErrorsTotal willbe incremented" 1 5

# A TLV that runs past the end of the frame.
scapy_send b vb <<'PY'
body = lldpdu(b"\x02\x00\x00\x00\x00\x03", b"p3", 120)[:-2] + bytes([0x0A, 0x40]) + b"short"
frames = [Ether(dst=LLDP_MC, src="02:00:00:00:00:03", type=0x88CC) / Raw(body)]
PY
wait_for alpha "bytes too long!  Frame will be skipped." 1 5
[ "$(count alpha "New MSAP Cache Miss on portva")" -eq 1 ] || fail "a broken LLDPDU was learnt"
pass "broken LLDPDUs are refused for their reason"

# Wrong destination, and a broadcast-mode frame, at a standard agent.
scapy_send b vb <<'PY'
frames = [Ether(dst=BCAST, src="02:00:00:00:00:04", type=0x88CC) /
          Raw(lldpdu(b"\x02\x00\x00\x00\x00\x04", b"p4", 120)),
          Ether(dst=BCAST, src="02:00:00:00:00:05", type=0xFFCC) /
          Raw(lldpdu(b"\x02\x00\x00\x00\x00\x05", b"p5", 120))]
PY
wait_for alpha "This frame is incorrectly addressed to: ff.ff.ff.ff.ff.ff" 2 5
wait_for alpha "statsFramesInTotal will *NOT* be incremented" 2 5
pass "frames to another destination, broadcast mode included, are discarded"

# Tagged LLDPDUs: VLAN 1 (the PVID) is accepted, VLAN 100 is not.
scapy_send b vb <<'PY'
frames = [Ether(dst=LLDP_MC, src="02:00:00:00:00:06") / Dot1Q(vlan=1, type=0x88CC) /
          Raw(lldpdu(b"\x02\x00\x00\x00\x00\x06", b"p6", 120)),
          Ether(dst=LLDP_MC, src="02:00:00:00:00:07") / Dot1Q(vlan=100, type=0x88CC) /
          Raw(lldpdu(b"\x02\x00\x00\x00\x00\x07", b"p7", 120))]
PY
wait_for alpha "This frame is from vlan 100, port va pvid is 1." 1 5
wait_for alpha "New MSAP Cache Miss on portva" 2 5
# The frame handed to the agent still carries its tag.
grep -q -F "02 00 00 00 00 06 81 00 00 01" "$TMP/alpha.log" || fail "the tag of the VLAN 1 frame did not reach the agent"
sleep 0.5
[ "$(count alpha "New MSAP Cache Miss on portva")" -eq 2 ] || fail "the VLAN 100 frame was learnt"
pass "tagged LLDPDUs arrive tagged and are held against the PVID"

# A neighbour announcing a 3 s TTL is aged out 3 s later.
scapy_send b vb <<'PY'
frames = [Ether(dst=LLDP_MC, src="02:00:00:00:00:08", type=0x88CC) /
          Raw(lldpdu(b"\x02\x00\x00\x00\x00\x08", b"p8", 3))]
PY
wait_for alpha "New MSAP Cache Miss on portva" 3 5
wait_for alpha "MSAP is deleted on port va" 1 6
pass "a short-TTL neighbour ages out"

# The command socket: mode 0660; an operation outside the table answers
# 0x3E80010; the agent version (operation 1, object 1) answers either that
# (operations not built) or the version string.
[ "$(stat -c %a "$TMP/alpha.sock")" = 660 ] || fail "command socket mode $(stat -c %a "$TMP/alpha.sock")"
/usr/bin/python3 - "$TMP/alpha.sock" <<'PY' || fail "command socket answers wrongly"
import socket, struct, sys
s = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
s.settimeout(5)
s.connect(sys.argv[1])
MAGIC = 0x4C4C4450
def ask(op, index, obj, flags, value, length):
    s.sendall(struct.pack("=8I", MAGIC, 32, op, index, obj, flags, value, length))
    hdr = b""
    while len(hdr) < 20:
        hdr += s.recv(20 - len(hdr))
    magic, total, rc, val, ln = struct.unpack("=5I", hdr)
    data = b""
    while len(data) < total - 20:
        data += s.recv(total - 20 - len(data))
    assert magic == MAGIC and (ln == len(data) or not flags), (magic, ln, data)
    return rc, data
rc, _ = ask(200, 0, 1, 0, 0, 4)
assert rc == 0x3E80010, hex(rc)
rc, data = ask(1, 0, 1, 1, 0, 16)
assert rc == 0x3E80010 or (rc == 0 and data == b"LLDP_V7.01.00.00"), (hex(rc), data)
PY
pass "the command socket serves the agent's table"
