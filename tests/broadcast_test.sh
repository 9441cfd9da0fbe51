#!/usr/bin/env bash
# Agents in broadcast mode send to FF:FF:FF:FF:FF:FF with EtherType 0xFFCC and
# learn each other; between a broadcast-mode and a standard agent each side
# discards the other's frames as wrongly addressed.
#
#   alpha (broadcast) [va] --- [vb] bravo (broadcast) [vc] --- [vd] charlie (standard)
. "$(dirname "$0")/nslib.sh"
need_netns
need_tool tshark
need_tool tcpdump

mkns a
mkns b
mkns c
veth a va b vb
veth b vc c vd
capture a va "$TMP/a.pcap"
start_agent a alpha 0x123 "lldp.mode = broadcast"
start_agent b bravo 0x123 "lldp.mode = broadcast"
start_agent c charlie 0x123

wait_for alpha "New MSAP Cache Miss on portva" 1 45
wait_for bravo "New MSAP Cache Miss on portvb" 1 45
pass "broadcast-mode agents learn each other"

sleep 0.5
fields=$(tshark -r "$TMP/a.pcap" -Y 'eth.type == 0xffcc' -T fields -E separator='|' \
  -e eth.dst -e eth.type 2>/dev/null | sort -u)
[ "$fields" = "ff:ff:ff:ff:ff:ff|0xffcc" ] || fail "broadcast-mode frames on the wire: '$fields'"
[ "$(tshark -r "$TMP/a.pcap" -Y 'eth.type == 0x88cc' 2>/dev/null | wc -l)" -eq 0 ] ||
  fail "a broadcast-mode agent sent a standard frame"
pass "their frames go to the broadcast address with type 0xFFCC"

wait_for charlie "This frame is incorrectly addressed to: ff.ff.ff.ff.ff.ff" 1 10
wait_for bravo "This frame is incorrectly addressed to: 01.80.c2.00.00.0e" 1 10
[ "$(count charlie "New MSAP Cache Miss")" -eq 0 ] || fail "the standard agent learnt a broadcast-mode one"
[ "$(count bravo "New MSAP Cache Miss on portvc")" -eq 0 ] || fail "a broadcast-mode agent learnt a standard one"
pass "standard and broadcast-mode agents discard each other's frames"
