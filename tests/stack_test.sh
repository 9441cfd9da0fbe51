#!/usr/bin/env bash
# A stack of two units, u1 and u2 (agents joined through their command
# sockets), with neighbour n1 linked to u1 and n2 linked to u2:
#
#     n1 [to-u1] ---- [to-n1] u1 ==stack== u2 [to-n2] ---- [to-u2] n2
#
# Read with lldpctl call (remote walk 19/20, record fields 21): each unit
# lists both neighbours, the other unit's on that unit's port (and lldpctl
# show neighbors finds them by the ports' stack names); a Set of the
# transmit interval on u1 reaches u2; u2 restarted gets u1's neighbour back
# within seconds; n1 gone silent ages out on u1 and on u2.
#
# The neighbours transmit every 5 s (n1 with a hold of 2: a TTL of 10 s), so
# that nothing waits for the default 30 s interval or 120 s TTL.
. "$(dirname "$0")/nslib.sh"
need_netns
CTL=$BUILD/lldpctl
[ -x "$CTL" ] || skip "lldpctl is not built ($CTL)"
END_OF_WALK=$((0x3E80002))

ctl() { local name=$1; shift; ip netns exec "$(nsname "$name")" "$CTL" -s "$TMP/$name.sock" "$@"; }
# field NAME JSON: one field of lldpctl's JSON line.
field() { python3 -c 'import json,sys; print(json.loads(sys.argv[2]).get(sys.argv[1], ""))' "$1" "$2"; }
# set_scalar AGENT OBJECT VALUE: a global Set, retried while the agent's
# command socket is not up yet.
set_scalar() {
  local out
  for _ in $(seq 50); do
    out=$(ctl "$1" call 2 0 "$2" --int "$3" 2>/dev/null) && break
    sleep 0.1
  done
  [ "$(field result "$out")" = 0 ] || fail "$1: Set of global object $2: '$out'"
}
get_scalar() { field value "$(ctl "$1" call 1 0 "$2")"; }
ifindex() { ip -n "$(nsname "$1")" -o link show "$2" | cut -d: -f1; }

# table AGENT: the agent's remote table, one "PORT-UNIT SYSTEM-NAME" line per
# record, sorted; PORT-UNIT is the key record's local port (host-order word 2).
table() {
  local out key unit name
  out=$(ctl "$1" call 19 0 0 --key '') || return
  while [ "$(field result "$out")" = 0 ]; do
    key=$(field key "$out")
    unit=$(python3 -c 'import struct,sys; print(struct.unpack_from("=I", bytes.fromhex(sys.argv[1]), 8)[0])' "$key")
    name=$(python3 -c 'import sys; print(bytes.fromhex(sys.argv[1]).decode())' \
      "$(field hex "$(ctl "$1" call 21 0 7 --key "$key" --size 256)")")
    echo "$unit $name"
    out=$(ctl "$1" call 20 0 0 --key "$key")
  done
  [ "$(field result "$out")" = "$END_OF_WALK" ] || echo "walk ended with $out"
}
# wait_table AGENT SECONDS LINE...: waits until the agent's table is exactly
# these lines (with HAS=1: holds them, and maybe more); sets WAITED to the
# seconds it took.
wait_table() {
  local name=$1 ms=$(( $2 * 1000 )) start got want
  shift 2
  want=$(printf '%s\n' "$@" | sort)
  start=$(date +%s%3N)
  until got=$(table "$name" | sort)
        [ "$got" = "$want" ] || { [ "${HAS:-0}" = 1 ] && [ -z "$(comm -13 <(echo "$got") <(echo "$want"))" ]; }; do
    [ $(( $(date +%s%3N) - start )) -gt "$ms" ] &&
      fail "$name: table after $(( ms / 1000 ))s is '$(echo $got)', not '$(echo $want)'"
    sleep 0.2
  done
  local t=$(( $(date +%s%3N) - start ))
  WAITED=$(( t / 1000 )).$(( t % 1000 / 100 ))
}

mkns u1
mkns u2
mkns n1
mkns n2
veth u1 to-n1 n1 to-u1
veth u2 to-n2 n2 to-u2
peers="host.stackpeers = $TMP/u1.sock $TMP/u2.sock"
start_agent u1 u1 0x40 "host.stackunit = 1" "$peers"
start_agent u2 u2 0x40 "host.stackunit = 2" "$peers"
start_agent n1 n1 ""
start_agent n2 n2 ""
for n in n1 n2; do set_scalar $n 2 5; done
set_scalar n1 3 2
[ "$(get_scalar u1 2)" = 30 ] && [ "$(get_scalar u2 2)" = 30 ] || fail "the units do not start at 30 s"

# Port units: stack unit << 16 | ifindex, the same on every unit.
P1=$(( 1 << 16 | $(ifindex u1 to-n1) ))
P2=$(( 2 << 16 | $(ifindex u2 to-n2) ))
wait_table u1 30 "$P1 n1" "$P2 n2"
first=$WAITED
wait_table u2 10 "$P1 n1" "$P2 n2"
# On u2, u1's port is a port of its own, named after the unit that has it.
port=$(field hex "$(ctl u2 call 6 "$P1" 6 --size 64)")
[ "$port" = "$(printf 1/to-n1 | od -An -tx1 | tr -d ' \n')" ] || fail "u1's port on u2 is '$port'"
pass "each unit lists n1 on u1's port $P1 and n2 on u2's port $P2 after ${first}s (u1's port is 1/to-n1 on u2)"

# lldpctl names ports the same way: the other unit's as UNIT/NAME, this
# unit's by its interface name or as UNIT/NAME.
# shown AGENT PORT: "LOCAL-PORT LOCAL-UNIT SYSTEM-NAME" of each neighbour that
# lldpctl show neighbors PORT lists.
shown() {
  ctl "$1" -f json show neighbors "$2" | python3 -c '
import json, sys
for n in json.load(sys.stdin)["neighbors"]:
    print(n["local_port"], n["local_unit"], n["system_name"])'
}
[ "$(shown u2 1/to-n1)" = "1/to-n1 $P1 n1" ] || fail "u2: show neighbors 1/to-n1 gave '$(shown u2 1/to-n1)'"
[ "$(shown u2 to-n2)" = "to-n2 $P2 n2" ] || fail "u2: show neighbors to-n2 gave '$(shown u2 to-n2)'"
[ "$(shown u2 2/to-n2)" = "to-n2 $P2 n2" ] || fail "u2: show neighbors 2/to-n2 gave '$(shown u2 2/to-n2)'"
[ "$(shown u1 "$P2")" = "2/to-n2 $P2 n2" ] || fail "u1: show neighbors $P2 gave '$(shown u1 "$P2")'"
err=$(ctl u1 show neighbors 3/to-n1 2>&1 >/dev/null)
[ "$err" = "lldpctl: no port 3/to-n1" ] || fail "u1: a port of a unit that is not there: '$err'"
pass "lldpctl names the other unit's port 1/to-n1, its own to-n2 or 2/to-n2, and takes unit numbers"

set_scalar u1 2 7
end=$(( $(date +%s) + 5 ))
until [ "$(get_scalar u2 2)" = 7 ]; do
  [ "$(date +%s)" -ge "$end" ] && fail "msgTxInterval set on u1 is $(get_scalar u2 2) on u2 after 5 s"
  sleep 0.1
done
[ "$(get_scalar u1 2)" = 7 ] || fail "msgTxInterval on u1 itself"
pass "a Set of msgTxInterval on u1 reaches u2"

# u2 stops: u1 loses u2's port and what it held there.
kill -TERM "$PID_u2"
wait "$PID_u2" 2>/dev/null
wait_table u1 10 "$P1 n1"
mv "$TMP/u2.log" "$TMP/u2-first.log"
start_agent u2 u2 0x40 "host.stackunit = 2" "$peers"
HAS=1 wait_table u2 10 "$P1 n1"
back=$WAITED
wait_table u2 10 "$P1 n1" "$P2 n2"
wait_table u1 5 "$P1 n1" "$P2 n2"
pass "u2 restarted holds u1's neighbour again after ${back}s; both units hold n2 again after its next frame"

# n1 goes silent (no shutdown frame): its record ages out with its 10 s TTL,
# on u1 which learnt it and on u2 which holds u1's copy.
kill -KILL "$PID_n1"
wait "$PID_n1" 2>/dev/null
wait_table u1 25 "$P2 n2"
gone1=$WAITED
wait_table u2 8 "$P2 n2"
pass "n1 silent ages out on u1 after ${gone1}s and on u2 ${WAITED}s later"
