#!/usr/bin/env bash
# lldpctl call against a running agent over its real command socket: the
# version string, a global Set cut to its field's width, an agent-wide
# management address that the neighbour sees in the next LLDPDU, and a port
# disabled by its admin status, which sends exactly one shutdown LLDPDU.
# Also the tool's own exit statuses: 2 on a usage error, 1 when the agent
# cannot be reached.
. "$(dirname "$0")/nslib.sh"
need_netns
need_tool tshark
need_tool tcpdump
CTL=$BUILD/lldpctl
[ -x "$CTL" ] || skip "lldpctl is not built ($CTL)"

mkns a
mkns b
veth a va b vb
capture b vb "$TMP/b.pcap"
start_agent a alpha 0x104
SOCK=$TMP/alpha.sock

ctl() { ip netns exec "$(nsname a)" "$CTL" -s "$SOCK" "$@"; }
# json FIELD TEXT: one field of lldpctl's JSON line.
json() { python3 -c 'import json,sys; print(json.loads(sys.argv[2])[sys.argv[1]])' "$1" "$2"; }

# The tool itself.
"$CTL" call 1 0 >/dev/null 2>&1; rc=$?
[ $rc -eq 2 ] || fail "a missing OBJECT gave status $rc, expected 2"
"$CTL" call 1 0 1 --int 5 --str x >/dev/null 2>&1; rc=$?
[ $rc -eq 2 ] || fail "two values gave status $rc, expected 2"
err=$("$CTL" -s "$TMP/nobody.sock" call 1 0 1 2>&1 >/dev/null); rc=$?
[ $rc -eq 1 ] && [ "$(echo "$err" | wc -l)" -eq 1 ] && [[ "$err" == *"$TMP/nobody.sock"* ]] ||
  fail "an unreachable socket gave status $rc and '$err'"
pass "usage errors exit 2; an unreachable socket exits 1 naming its path"

# Changes made before the port's transmit machine has started would be
# forgotten by its initialisation: wait for it (transmit traces on).
wait_for alpha "TX_LLDP_INITIALIZE -> TX_IDLE" 1 10

# The version string (global object 1, octets).
out=$(ctl call 1 0 1 --size 64) || fail "call 1 0 1 failed"
[ "$(json result "$out")" = $((0x3E80010)) ] && skip "this agent has no management operations built"
[ "$out" = '{"result":0,"value":0,"length":16,"hex":"4c4c44505f56372e30312e30302e3030"}' ] ||
  fail "version: $out"
pass "the version string reads LLDP_V7.01.00.00"

# msgTxInterval (object 2) is a 16-bit field: 70000 is stored as 4464.
out=$(ctl call 2 0 2 --int 70000)
[ "$(json result "$out")" = 0 ] || fail "set msgTxInterval: $out"
out=$(ctl call 1 0 2)
[ "$out" = '{"result":0,"value":4464,"length":0}' ] || fail "get msgTxInterval: $out"
pass "msgTxInterval set to 70000 reads back 4464"

# An agent-wide management address (key record: subtype 1, the address
# left-aligned in 32 bytes, its length 4) appears in the next LLDPDU. The
# Set above made the port send a fresh LLDPDU, without the address; with an
# interval of 4464 s none is sent but on a change.
end=$(( $(date +%s) + 10 ))
until [ "$(tshark -r "$TMP/b.pcap" -Y lldp 2>/dev/null | wc -l)" -ge 1 ]; do
  [ "$(date +%s)" -ge "$end" ] && fail "alpha sent no LLDPDU within 10 s of a global Set"
  sleep 0.3
done
t=$(date +%s.%N)
addr_key="01c6336407$(printf '0%.0s' $(seq 56))04"
out=$(ctl call 12 0 0 --key "$addr_key" --hex ff)
[ "$(json result "$out")" = 0 ] && [ "$(json key "$out")" = "$addr_key" ] || fail "add address: $out"
out=$(ctl call 9 0 0 --key "")  # an empty key block: the record comes back
[ "$(json result "$out")" = 0 ] && [ "$(json key "$out")" = "$addr_key" ] || fail "first address row: $out"
after="lldp && frame.time_epoch > $t"
end=$(( $(date +%s) + 10 ))
until [ "$(tshark -r "$TMP/b.pcap" -Y "$after" 2>/dev/null | wc -l)" -ge 1 ]; do
  [ "$(date +%s)" -ge "$end" ] && fail "no LLDPDU within 10 s of the address change"
  sleep 0.3
done
before=$(tshark -r "$TMP/b.pcap" -Y "lldp && frame.time_epoch < $t" -T fields -e lldp.mgn.addr.ip4 2>/dev/null)
[[ "$before" != *198.51.100.7* ]] || fail "the address was advertised before it was configured"
first=$(tshark -r "$TMP/b.pcap" -Y "$after" -T fields -e lldp.mgn.addr.ip4 2>/dev/null | head -1)
[[ ",$first," == *",198.51.100.7,"* ]] || fail "the next LLDPDU carries management addresses '$first'"
pass "an agent-wide management address set by lldpctl is in the next LLDPDU"

# Disabling the port (port object 1 = 4) sends one shutdown LLDPDU (TTL 0)
# and then nothing.
unit=$(ip -n "$(nsname a)" -o link show va | cut -d: -f1)
out=$(ctl call 6 "$unit" 1)
[ "$(json value "$out")" = 3 ] || fail "port $unit admin status: $out"
sleep 2  # the refresh that the last Set asked for is out
capture b vb "$TMP/off.pcap"
out=$(ctl call 7 "$unit" 1 --int 4)
[ "$(json result "$out")" = 0 ] || fail "disable port $unit: $out"
[ "$(json value "$(ctl call 6 "$unit" 1)")" = 4 ] || fail "port $unit is not disabled"
sleep 4
ttls=$(tshark -r "$TMP/off.pcap" -Y lldp -T fields -e lldp.time_to_live 2>/dev/null | tr '\n' ' ')
[ "$ttls" = "0 " ] || fail "after disabling the port the peer captured LLDPDUs with TTLs '$ttls', expected one 0"
pass "a port disabled by lldpctl sends exactly one TTL-0 LLDPDU"
