#!/usr/bin/env bash
# Agent bravo is configured with lldpctl call alone (an LLDP-MED device class
# that sends LLDP-MED, a voice policy, a civic address, two VLAN names); its
# neighbour alpha then answers lldpctl call walks of its remote tables and the
# Gets of their fields with exactly those values.
. "$(dirname "$0")/nslib.sh"
need_netns
CTL=$BUILD/lldpctl
[ -x "$CTL" ] || skip "lldpctl is not built ($CTL)"

mkns a
mkns b
veth a va b vb
start_agent a alpha 0x100
start_agent b bravo 0x104

at() { local ns=$1 name=$2; shift 2; ip netns exec "$(nsname "$ns")" "$CTL" -s "$TMP/$name.sock" "$@"; }
A() { at a alpha "$@"; }
B() { at b bravo "$@"; }
# field NAME JSON: one field of lldpctl's JSON line.
field() { python3 -c 'import json,sys; print(json.loads(sys.argv[2]).get(sys.argv[1], ""))' "$1" "$2"; }
ok() { [ "$(field result "$1")" = 0 ] || fail "$2: $1"; }

out=$(B call 1 0 1 --size 64)
[ "$(field result "$out")" = $((0x3E80010)) ] && skip "this agent has no management operations built"
# Changes made before the port's transmit machine has started would be
# forgotten by its initialisation.
wait_for bravo "TX_LLDP_INITIALIZE -> TX_IDLE" 1 10
unit=$(ip -n "$(nsname b)" -o link show vb | cut -d: -f1)

# Bravo: an LLDP-MED endpoint (class 3), which sends LLDP-MED without waiting
# for an endpoint neighbour; capabilities, policy and location TLVs on.
ok "$(B call 2 0 21 --int 3)" "device class"
ok "$(B call 7 "$unit" 54 --hex e000)" "LLDP-MED TLVs"
# The voice policy (type 1): VLAN 100, priority 6, DSCP 40, and tagged as
# the first change makes it (a Set of object 60 to 1 would put the default
# voice policy back).
for ov in 56:100 57:6 58:40; do
  ok "$(B call 60 0 "${ov%%:*}" --key-words "$unit,1" --int "${ov#*:}")" "voice policy object ${ov%%:*}"
done
# A civic address: what 2, country DE, city (type 3) Berlin.
civic=0b02444503064265726c696e
ok "$(B call 65 0 1 --key-words "$unit,2" --hex "$civic")" "civic location"
# VLAN names of VLANs 10 and 20 (bit n of the list is VLAN n + 1).
ok "$(B call 7 "$unit" 27 --hex 004010)" "VLAN names"
pass "bravo configured through lldpctl call"

# Alpha: wait for the frame that carries all of it (the last change made is
# the VLAN names), then read its remote tables.
end=$(( $(date +%s) + 20 ))
until [ "$(field result "$(A call 45 0 0 --key '')")" = 0 ] && \
      [ "$(field result "$(A call 54 0 0 --key '')")" = 0 ]; do
  [ "$(date +%s)" -ge "$end" ] && fail "alpha learnt no VLAN name and no location of bravo within 20 s"
  sleep 0.5
done

# 19/20: exactly one neighbour, bravo.
out=$(A call 19 0 0 --key '')
ok "$out" "remote walk"
rec=$(field key "$out")
[ "$(field result "$(A call 20 0 0 --key "$rec")")" = $((0x3E80002)) ] || fail "more than one neighbour"
name=$(field hex "$(A call 21 0 7 --key "$rec" --size 256)")
[ "$name" = "$(printf bravo | od -An -tx1 | tr -d ' \n')" ] || fail "system name $name"
[ "$(field value "$(A call 21 0 45 --key "$rec")")" = 3 ] || fail "LLDP-MED device class"
pass "alpha's remote walk finds bravo alone, an LLDP-MED class 3 endpoint"

# 51-53: the voice policy, and no other.
out=$(A call 51 0 0 --key '')
ok "$out" "policy walk"
pk=$(field key "$out")
[ "${pk:0:32}" = "${rec:0:32}" ] && [ "${pk:32:8}" = 01000000 ] || fail "policy key $pk"
got=""
for obj in 56 57 58 59 60; do got="$got $(field value "$(A call 53 0 $obj --key "$pk")")"; done
[ "$got" = " 100 6 40 0 1" ] || fail "voice policy VLAN, priority, DSCP, unknown, tagged:$got"
[ "$(field result "$(A call 52 0 0 --key "$pk")")" = $((0x3E80002)) ] || fail "a second policy"
pass "the voice policy reads VLAN 100, priority 6, DSCP 40, tagged"

# 54-56: the civic address (format 2), and no other location.
out=$(A call 54 0 0 --key '')
lk=$(field key "$out")
[ "${lk:32:8}" = 02000000 ] || fail "location key $lk"
[ "$(field hex "$(A call 56 0 2 --key "$lk" --size 512)")" = "$civic" ] || fail "civic address as received"
[ "$(field hex "$(A call 56 0 1 --key "$lk" --size 512)")" = "$civic" ] || fail "civic address as set"
[ "$(field result "$(A call 55 0 0 --key "$lk")")" = $((0x3E80002)) ] || fail "a second location"
pass "the civic address reads back byte for byte"

# 45-47: VLAN names of VLANs 10 and 20.
names=""
out=$(A call 45 0 0 --key '')
while [ "$(field result "$out")" = 0 ]; do
  k=$(field key "$out")
  names="$names $(python3 -c 'import sys; print(bytes.fromhex(sys.argv[1]).decode())' \
    "$(field hex "$(A call 47 0 1 --key "$k" --size 64)")")"
  out=$(A call 46 0 0 --key "$k")
done
[ "$names" = " vlan:10 vlan:20" ] || fail "VLAN names:$names"
pass "the VLAN names read vlan:10 and vlan:20"
