#!/usr/bin/env bash
# Two agents on a veth link learn each other; the frames each one sends decode
# cleanly in tshark on the other side with the values the sender has; an agent
# that is killed is aged out by its neighbour when its TTL (msgTxInterval x
# msgTxHold = 30 x 4 = 120 s, not configurable from the options file) has run
# out. Takes about two and a half minutes by design.
. "$(dirname "$0")/nslib.sh"
need_netns
need_tool tshark
need_tool tcpdump

mkns a
mkns b
veth a va b vb
ip -n "$(nsname a)" addr add 192.0.2.1/24 dev va
ip -n "$(nsname b)" addr add 192.0.2.2/24 dev vb
capture a va "$TMP/a.pcap"
capture b vb "$TMP/b.pcap"
start_agent a alpha 0x123
start_agent b bravo 0x123

wait_for alpha "New MSAP Cache Miss on portva" 1 45
wait_for bravo "New MSAP Cache Miss on portvb" 1 45
pass "both agents learnt their neighbour"

# The frames that arrived on each side, as tshark sees them.
check_side() {  # PCAP SENDER-NAME SENDER-PORT SENDER-MAC SENDER-ADDR
  local pcap=$1 name=$2 port=$3 mac=$4 addr=$5
  sleep 0.5
  [ "$(tshark -r "$pcap" -Y lldp 2>/dev/null | wc -l)" -ge 1 ] || fail "no LLDP frame from $name in $pcap"
  bad=$(tshark -r "$pcap" -Y '_ws.malformed || _ws.expert.severity >= error' 2>/dev/null | wc -l)
  [ "$bad" -eq 0 ] || fail "tshark finds $bad malformed or erroneous frames from $name: $(tshark -r "$pcap" -V -Y '_ws.malformed || _ws.expert.severity >= error' 2>/dev/null | grep -i -E 'malformed|expert' | head -5)"
  fields=$(tshark -r "$pcap" -Y lldp -T fields -E separator='|' -e eth.dst -e eth.src \
    -e lldp.chassis.id.mac -e lldp.port.id -e lldp.time_to_live -e lldp.tlv.system.name \
    -e lldp.mgn.addr.ip4 -e lldp.ieee.802_3.max_frame_size 2>/dev/null | head -1)
  want="01:80:c2:00:00:0e|$mac|$mac|$port|120|$name|$addr|1518"
  [ "$fields" = "$want" ] || fail "frame from $name decodes as '$fields', expected '$want'"
}
mac_a=$(ip -n "$(nsname a)" -o link show va | sed -E 's/.*link\/ether ([0-9a-f:]+).*/\1/')
mac_b=$(ip -n "$(nsname b)" -o link show vb | sed -E 's/.*link\/ether ([0-9a-f:]+).*/\1/')
check_side "$TMP/b.pcap" alpha va "$mac_a" 192.0.2.1
check_side "$TMP/a.pcap" bravo vb "$mac_b" 192.0.2.2
pass "frames decode cleanly in tshark with the senders' values"

# Kill bravo: alpha keeps it until its TTL runs out, then ages it out.
{ kill -9 "$PID_bravo"; wait "$PID_bravo"; } 2>/dev/null
killed=$(date +%s)
sleep 100
[ "$(count alpha 'MSAP is deleted on port va')" -eq 0 ] || fail "alpha aged bravo out before its TTL ran out"
wait_for alpha "MSAP is deleted on port va" 1 40
aged=$(( $(date +%s) - killed ))
# Bravo's last frame was sent at most 30 s before the kill.
[ "$aged" -ge 90 ] && [ "$aged" -le 125 ] || fail "aged out after ${aged}s, expected within the 120 s TTL"
pass "killed neighbour aged out after ${aged}s"
