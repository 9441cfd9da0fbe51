#!/usr/bin/env bash
# Frames crafted with scapy, sent into the namespace of one agent whose port
# receives only: a good LLDPDU is learnt; broken ones are refused for the
# right reason (the traces name the counters moved); frames of the wrong
# destination or of the broadcast mode are discarded by a standard agent;
# ordinary traffic never reaches the agent; a tagged LLDPDU reaches the agent
# with its tag (the kernel had taken it off) and is held against the PVID
# whatever its priority; a neighbour with a short TTL ages out; the agent
# sends nothing all along, not even when a management Set marks its port
# changed; its command socket has mode 0660.
. "$(dirname "$0")/nslib.sh"
need_netns
need_tool tcpdump
[ -x "$BUILD/lldpctl" ] || skip "lldpctl is not built ($BUILD/lldpctl)"
[ -x /usr/bin/python3 ] && /usr/bin/python3 -c 'import scapy.all' 2>/dev/null || skip "needs python3-scapy"

mkns a
mkns b
veth a va b vb
capture b vb "$TMP/b.pcap"
start_agent a alpha 0x123 "lldp.defaultportmode = rx"
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

# Ordinary traffic, to the host, to broadcast and multicast groups and to the
# LLDP group, untagged, tagged and double-tagged, never reaches the agent:
# every frame that does is traced ("packet len=") and discarded. Only the
# LLDPDU behind them may arrive.
seen=$(count alpha "packet len=")
VA_MAC=$(ip -n "$(nsname a)" -o link show va | sed -E 's/.*link\/ether ([0-9a-f:]+).*/\1/')
export VA_MAC
scapy_send b vb <<'PY'
import os
from scapy.all import ARP, IP, IPv6, UDP
SRC = "02:00:00:00:00:0a"
frames = [Ether(dst=BCAST, src=SRC) / ARP(pdst="192.0.2.1"),
          Ether(dst=os.environ["VA_MAC"], src=SRC) / IP(dst="192.0.2.1") / UDP(),
          Ether(dst="33:33:00:00:00:01", src=SRC) / IPv6(dst="ff02::1") / UDP(),
          Ether(dst=LLDP_MC, src=SRC) / IP(dst="192.0.2.1") / UDP(),
          Ether(dst=BCAST, src=SRC) / Dot1Q(vlan=1) / IP(dst="192.0.2.1") / UDP(),
          Ether(dst=LLDP_MC, src=SRC) / Dot1Q(vlan=1) / IPv6(dst="ff02::1") / UDP(),
          Ether(dst=BCAST, src=SRC) / Dot1Q(vlan=1) / Dot1Q(vlan=2) / IP(dst="192.0.2.1") / UDP(),
          Ether(dst=LLDP_MC, src=SRC, type=0x88CC) /
          Raw(lldpdu(b"\x02\x00\x00\x00\x00\x0a", b"p10", 120))]
PY
wait_for alpha "New MSAP Cache Miss on portva" 2 5
[ "$(count alpha "packet len=")" -eq $((seen + 1)) ] ||
  fail "$(( $(count alpha "packet len=") - seen - 1 )) ordinary frames reached the agent"
pass "ordinary traffic does not reach the agent"

# Tagged LLDPDUs: VLAN 1 (the PVID) is accepted, whatever its priority and
# drop-eligible bit; VLAN 100 is not, whatever its priority.
scapy_send b vb <<'PY'
def tagged(n, **tag):
    mac = "02:00:00:00:00:%02x" % n
    return (Ether(dst=LLDP_MC, src=mac) / Dot1Q(type=0x88CC, **tag) /
            Raw(lldpdu(bytes([2, 0, 0, 0, 0, n]), b"p%d" % n, 120)))
frames = [tagged(6, vlan=1), tagged(7, vlan=100), tagged(11, vlan=1, prio=5, id=1),
          tagged(12, vlan=100, prio=7, id=1), tagged(13, vlan=1, prio=7)]
PY
wait_for alpha "This frame is from vlan 100, port va pvid is 1." 2 5
wait_for alpha "New MSAP Cache Miss on portva" 5 5
# The frames handed to the agent still carry their tags, priority included.
for tag in "06 81 00 00 01" "0b 81 00 b0 01" "0d 81 00 e0 01"; do
  grep -q -F "02 00 00 00 00 $tag" "$TMP/alpha.log" || fail "the tag $tag did not reach the agent"
done
sleep 0.5
[ "$(count alpha "New MSAP Cache Miss on portva")" -eq 5 ] || fail "a VLAN 100 frame was learnt"
pass "tagged LLDPDUs arrive tagged and are held against the PVID, whatever their priority"

# A neighbour announcing a 3 s TTL is aged out 3 s later.
scapy_send b vb <<'PY'
frames = [Ether(dst=LLDP_MC, src="02:00:00:00:00:08", type=0x88CC) /
          Raw(lldpdu(b"\x02\x00\x00\x00\x00\x08", b"p8", 3))]
PY
wait_for alpha "New MSAP Cache Miss on portva" 6 5
wait_for alpha "MSAP is deleted on port va" 1 6
pass "a short-TTL neighbour ages out"

# The command socket has mode 0660. A Set of the port's notification switch
# marks the port changed, which would make a transmitting port send at once.
[ "$(stat -c %a "$TMP/alpha.sock")" = 660 ] || fail "command socket mode $(stat -c %a "$TMP/alpha.sock")"
unit=$(ip -n "$(nsname a)" -o link show va | cut -d: -f1)
out=$("$BUILD/lldpctl" -s "$TMP/alpha.sock" call 7 "$unit" 2 --int 1)
[[ "$out" == '{"result":0,'* ]] || fail "Set of the port's notification switch: $out"
sleep 2.5
sent=$(tcpdump -r "$TMP/b.pcap" 2>/dev/null | wc -l)
[ "$sent" -eq 0 ] || fail "the receive-only agent sent $sent frames"
pass "the receive-only agent sent nothing, not even after a change"
