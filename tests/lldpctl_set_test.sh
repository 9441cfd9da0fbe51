#!/usr/bin/env bash
# lldpctl set / port PORT set / clear statistics against a running agent:
# each kind of setting is sent and read back through the raw operations
# (lldpctl call), a TLV change is seen on the wire by tshark, and bad input
# (unknown command, bad port, out-of-range values, agent not running, socket
# without permission) gives one clear line and the documented status.
. "$(dirname "$0")/nslib.sh"
need_netns
need_tool tshark
need_tool tcpdump
need_tool setpriv
CTL=$BUILD/lldpctl
[ -x "$CTL" ] || skip "lldpctl is not built ($CTL)"

mkns a
mkns b
veth a ab b ba
start_agent a alpha 0x104
SOCK=$TMP/alpha.sock
ctl() { ip netns exec "$(nsname a)" "$CTL" -s "$SOCK" "$@"; }
json() { python3 -c 'import json,sys; print(json.loads(sys.argv[2])[sys.argv[1]])' "$1" "$2"; }
unit=$(ip -n "$(nsname a)" -o link show ab | cut -d: -f1)
# port_get OBJECT [SIZE]: a port object of ab, its value or its hex.
port_get() {
  local out
  if [ $# -gt 1 ]; then
    out=$(ctl call 6 "$unit" "$1" --size "$2"); json hex "$out"
  else
    out=$(ctl call 6 "$unit" "$1"); json value "$out"
  fi
}
glob_get() { json value "$(ctl call 1 0 "$1")"; }
wait_for alpha "TX_LLDP_INITIALIZE -> TX_IDLE" 1 10

# ---- Bad input: one line on standard error, status 2 (1 when unreachable).
# expect STATUS TEXT ARGS...: lldpctl ARGS exits STATUS and its first line of
# standard error contains TEXT.
expect() {
  local want=$1 text=$2 err rc
  shift 2
  err=$(ctl "$@" 2>&1 >/dev/null); rc=$?
  [ "$rc" = "$want" ] || fail "lldpctl $* exited $rc, expected $want ($err)"
  [[ "$(echo "$err" | head -1)" == *"$text"* ]] || fail "lldpctl $*: first line '$(echo "$err" | head -1)', expected '$text'"
}
# Values out of range: one line, no usage text.
one_line() {
  local err
  err=$(ctl "$@" 2>&1 >/dev/null)
  [ "$(echo "$err" | wc -l)" = 1 ] || fail "lldpctl $* printed more than one line: $err"
}
expect 2 "unknown command 'frobnicate'" frobnicate
expect 2 "unknown setting 'intervall'" set intervall 30
expect 2 "no port eth9" port eth9 set adminstatus disabled
expect 2 "no port eth9" clear statistics eth9
expect 2 "interval (msgTxInterval) must be 5..32768, not '4'" set interval 4
expect 2 "must be 5..32768, not '32769'" set interval 32769
expect 2 "hold (msgTxHold) must be 2..10, not '11'" set hold 11
expect 2 "reinit-delay (reinitDelay) must be 1..10" set reinit-delay 0
expect 2 "notification-interval (notification interval) must be 5..3600" set notification-interval 3601
expect 2 "fast-start (LLDP-MED fast start count) must be 1..10" set fast-start 11
expect 2 "tx-delay (txDelay) must be at most a quarter of the interval (30 s): 1..7, not 8" set tx-delay 8
expect 2 "mode must be standard|broadcast" set mode multicast
expect 2 "tlvs is a port setting" set tlvs all
expect 2 "adminstatus must be tx|rx|txrx|rxtx|disabled, not 'off'" port ab set adminstatus off
expect 2 "VLAN IDs must be 1..4094" port ab set vlan-names add 4095
expect 2 "the priority must be 0..7, not '8'" port ab set policy voice priority 8
expect 2 "the DSCP value must be 0..63, not '64'" port ab set policy voice dscp 64
expect 2 "the VLAN ID must be 0..4094" port ab set policy voice vlan 4095
expect 2 "only the voice policy" port ab set policy video-conferencing vlan 10
expect 2 "an ELIN is 10..25 digits" port ab set location elin 123456789
expect 2 "latitude must be 0..90 degrees" port ab set location coordinate north,90.5,east,1,meters,1,wgs84
expect 2 "longitude must be 0..180 degrees" port ab set location coordinate north,1,west,181,meters,1,wgs84
expect 2 "civic: give CC;TYPE=VALUE" port ab set location civic Germany
expect 2 "capabilities must be sent" port ab set med-tlvs location
for args in "set interval 4" "port eth9 set adminstatus disabled" "port ab set policy voice dscp 64"; do
  one_line $args
done
# Nothing of the above reached the agent.
[ "$(glob_get 2)" = 30 ] && [ "$(glob_get 3)" = 4 ] && [ "$(glob_get 5)" = 2 ] || fail "a refused value was sent"
expect 1 "$TMP/nobody.sock" -s "$TMP/nobody.sock" set interval 30
err=$(ip netns exec "$(nsname a)" "$CTL" -s "$TMP/nobody.sock" set interval 30 2>&1); rc=$?
[ $rc = 1 ] && [ "$(echo "$err" | wc -l)" = 1 ] || fail "an absent agent: status $rc, '$err'"
# A socket the caller may not open (mode 0660, root's, in a private directory).
err=$(setpriv --reuid=65534 --regid=65534 --clear-groups "$CTL" -s "$SOCK" set interval 30 2>&1); rc=$?
[ $rc = 1 ] && [ "$(echo "$err" | wc -l)" = 1 ] && [[ "$err" == *"$SOCK"*"ermission denied"* ]] ||
  fail "a socket without permission: status $rc, '$err'"
pass "bad input: one clear line each, status 2 for bad commands and values, 1 for an unreachable agent"

# ---- Global settings read back through the raw operations.
ctl set hold 3 notification-interval 30 fast-start 4 reinit-delay 5 trace 0x105 || fail "global set"
[ "$(glob_get 3)/$(glob_get 6)/$(glob_get 22)/$(glob_get 4)/$(glob_get 20)" = 3/30/4/5/261 ] ||
  fail "global settings read back $(glob_get 3)/$(glob_get 6)/$(glob_get 22)/$(glob_get 4)/$(glob_get 20)"
ctl set med-device-class network || fail "med-device-class"
[ "$(glob_get 21)" = 4 ] || fail "med-device-class reads back $(glob_get 21)"
# A shorter interval takes tx-delay down with it, and says so.
err=$(ctl set interval 6 2>&1) || fail "set interval 6: $err"
[[ "$err" == *"tx-delay lowered from 2 to 1"* ]] || fail "no notice of the lowered tx-delay: '$err'"
[ "$(glob_get 2)/$(glob_get 5)" = 6/1 ] || fail "interval/tx-delay read back $(glob_get 2)/$(glob_get 5)"
ctl set interval 30 tx-delay 7 || fail "set interval 30 tx-delay 7"
[ "$(glob_get 2)/$(glob_get 5)" = 30/7 ] || fail "interval/tx-delay read back $(glob_get 2)/$(glob_get 5)"
pass "global settings are stored as given; tx-delay follows a shorter interval"

# ---- Port settings.
ctl port ab set tlvs system-name,capabilities || fail "tlvs"
[ "$(port_get 4 1)" = 50 ] || fail "basic TLVs read back $(port_get 4 1), expected 50"
ctl port ab set tlvs +port-description,-capabilities || fail "tlvs relative"
[ "$(port_get 4 1)" = c0 ] || fail "basic TLVs read back $(port_get 4 1), expected c0"
ctl port "$unit" set notifications off port-id-subtype mac-address || fail "by unit number"
[ "$(port_get 2)/$(port_get 5)" = 2/3 ] || fail "notifications/port ID subtype read back $(port_get 2)/$(port_get 5)"
ctl port ab set port-id-subtype interface-name || fail "port-id-subtype"
ctl port ab set vlan-names add 10,12-13 || fail "vlan-names add"
[ "$(port_get 27 512)" = 0058 ] || fail "VLAN-name list reads $(port_get 27 512), expected 0058"
ctl port ab set vlan-names remove 12 || fail "vlan-names remove"
[ "$(port_get 27 512)" = 0048 ] || fail "VLAN-name list reads $(port_get 27 512), expected 0048"
medsup=$(port_get 53 2)
if [ $(( 0x$medsup & 0xe000 )) = $((0xe000)) ]; then
  ctl port ab set med-tlvs capabilities,network-policy,location || fail "med-tlvs"
  [ "$(port_get 54 2)" = e000 ] || fail "LLDP-MED TLVs read $(port_get 54 2), expected e000"
  ctl port ab set policy voice tagging tagged policy voice vlan 10 policy voice priority 6 policy voice dscp 40 ||
    fail "policy"
  pol=""
  for o in 56 57 58 60; do pol="$pol/$(json value "$(ctl call 59 0 $o --key-words "$unit,1")")"; done
  [ "$pol" = /10/6/40/1 ] || fail "voice policy reads back $pol, expected /10/6/40/1"
  ctl port ab set location coordinate north,35.5,east,139.25,meters,12.5,wgs84 || fail "coordinates"
  text=$(ctl call 64 0 1 --key-words "$unit,1" --size 100)
  text=$(python3 -c 'import sys; print(bytes.fromhex(sys.argv[1]).decode())' "$(json hex "$text")")
  [ "$text" = "north,35.500000,east,139.250000,meters,12.5,wgs84," ] || fail "coordinates read back '$text'"
  ctl port ab set location civic 'de;a3=Berlin;hno=7' || fail "civic"
  civic=$(json hex "$(ctl call 64 0 2 --key-words "$unit,2" --size 300)")
  [ "$civic" = 0e01444503064265726c696e130137 ] || fail "civic address stored as $civic"
  ctl port ab set location elin 4989123456789 || fail "elin"
  [ "$(json hex "$(ctl call 64 0 2 --key-words "$unit,3" --size 64)")" = 34393839313233343536373839 ] ||
    fail "ELIN stored wrongly"
  ctl port ab set location elin none || fail "elin none"
  [ "$(json value "$(ctl call 64 0 0 --key-words "$unit,3")")" = 2 ] || fail "the ELIN is still configured"
  pass "port settings read back: TLV maps, VLAN list, voice policy, the three location formats"
else
  pass "port settings read back: TLV maps, VLAN list (no LLDP-MED support on this port: $medsup)"
fi

# Management addresses: an address added twice is one row; deleting an
# absent one is refused with status 1.
ctl port ab set mgmt-address add 192.0.2.99 || fail "mgmt-address add"
err=$(ctl port ab set mgmt-address add 192.0.2.99 2>&1) || fail "second add: $err"
[[ "$err" == *"already configured"* ]] || fail "second add said '$err'"
[ "$(glob_get 38)" = 1 ] || fail "two adds of one address count $(glob_get 38) rows"
ctl set mgmt-address add 2001:db8::1 || fail "agent-wide mgmt-address add"
[ "$(glob_get 38)" = 2 ] || fail "$(glob_get 38) addresses after the agent-wide add"
ctl port ab set mgmt-address delete 192.0.2.99 || fail "mgmt-address delete"
expect 1 "192.0.2.99 is not configured" port ab set mgmt-address delete 192.0.2.99
pass "management addresses: added once, deleted, an absent one refused"

# ---- The wire: the frame after 'tlvs none' carries no system name, the one
# after 'tlvs all' does, and the VLAN name of VLAN 10.
capture b ba "$TMP/b.pcap"
t0=$(date +%s.%N)
ctl port ab set tlvs none || fail "tlvs none"
sleep 8  # tx-delay is 7 s
t1=$(date +%s.%N)
ctl port ab set tlvs all || fail "tlvs all"
sleep 8
names0=$(tshark -r "$TMP/b.pcap" -Y "lldp && frame.time_epoch > $t0 && frame.time_epoch < $t1" -T fields -e lldp.tlv.system.name 2>/dev/null)
names1=$(tshark -r "$TMP/b.pcap" -Y "lldp && frame.time_epoch > $t1" -T fields -e lldp.tlv.system.name 2>/dev/null | head -1)
vlans1=$(tshark -r "$TMP/b.pcap" -Y "lldp && frame.time_epoch > $t1" -T fields -e lldp.ieee.802_1.vlan.name 2>/dev/null | head -1)
n0=$(tshark -r "$TMP/b.pcap" -Y "lldp && frame.time_epoch > $t0 && frame.time_epoch < $t1" 2>/dev/null | wc -l)
[ "$n0" -ge 1 ] && [ -z "$(echo "$names0" | tr -d '\n')" ] || fail "after 'tlvs none': $n0 LLDPDUs, names '$names0'"
[ "$names1" = alpha ] || fail "after 'tlvs all' the system name is '$names1'"
[[ "$vlans1" == *"vlan:10"* ]] || fail "the VLAN names sent are '$vlans1'"
pass "tlvs none / all and vlan-names show in the next LLDPDU"

# ---- clear statistics: the port's frames-out count starts again at 0.
[ "$(port_get 8)" -gt 0 ] || fail "no frames counted before the clear"
ctl clear statistics ab || fail "clear statistics ab"
[ "$(port_get 8)" = 0 ] || fail "frames out after the clear: $(port_get 8)"
[ "$(glob_get 46)" -gt 0 ] || fail "the global counters were cleared with a port's"
ctl clear statistics || fail "clear statistics"
[ "$(glob_get 46)" = 0 ] || fail "global frames out after the clear: $(glob_get 46)"

# With the agent disabled, a port change is refused in one line, status 1.
ctl set adminstatus disabled || fail "set adminstatus disabled"
expect 1 "the agent is disabled" port ab set notifications on
ctl set adminstatus enabled || fail "set adminstatus enabled"
pass "clear statistics; a change refused by a disabled agent exits 1 with one line"
