#!/usr/bin/env bash
# lldp-snmp with real net-snmp daemons, no mocks: in namespace a, snmpd (a
# master agentx on a socket in the test's directory, answering SNMP on
# 127.0.0.1 of the namespace only), snmptrapd (logging to a file), lldp-snmp
# and agent alpha; agent bravo in namespace b, linked to alpha by veth.
#   - lldp-snmp started before the master and the agent waits for both and
#     logs each state once;
#   - walks of lldpRemSysName and lldpRemPortId show bravo, with the index
#     alpha's remote table has; lldpStatsRemTablesInserts equals the agent's;
#   - lldpRemTablesChange reaches snmptrapd when bravo appears and when it
#     goes; lldpXMedTopologyChangeDetected for bravo as an LLDP-MED endpoint;
#   - snmpset of lldpMessageTxInterval changes the spacing of alpha's frames
#     as tshark sees them on bravo's side; a value out of range is refused;
#   - lldp-snmp survives the agent and the master restarting; a walk of the
#     whole tree ends cleanly.
. "$(dirname "$0")/nslib.sh"
need_netns
SUB=$BUILD/lldp-snmp
CTL=$BUILD/lldpctl
[ -x "$SUB" ] || skip "lldp-snmp is not built ($SUB)"
[ -x "$CTL" ] || skip "lldpctl is not built ($CTL)"
export PATH=$PATH:/usr/sbin:/sbin
for t in snmpd snmptrapd snmpwalk snmpget snmpset tshark tcpdump; do need_tool "$t"; done

# net-snmp's processes read no host configuration, load no MIB files and keep
# their persistent state in the test's directory.
export MIBS= SNMPCONFPATH=$TMP/snmpconf SNMP_PERSISTENT_DIR=$TMP/snmpstate
mkdir -p "$SNMPCONFPATH" "$SNMP_PERSISTENT_DIR"

mkns a
mkns b
veth a va b vb
A=$(nsname a)
AX=unix:$TMP/agentx
PORT=1161
TPORT=1162
in_a() { ip netns exec "$A" "$@"; }
snmp() { local cmd=$1; shift; in_a "$cmd" -v2c -On -t 2 -r 1 "$@"; }

cat >"$TMP/snmpd.conf" <<EOF
master agentx
agentXSocket $AX
agentaddress udp:127.0.0.1:$PORT
rocommunity public 127.0.0.1
rwcommunity private 127.0.0.1
trap2sink 127.0.0.1:$TPORT public
EOF
echo "disableAuthorization yes" >"$TMP/snmptrapd.conf"

# Daemons are started with ip netns exec itself in the background (not a
# shell function), so that $! is the daemon that cleanup stops.
start_snmpd() {
  ip netns exec "$A" snmpd -f -Lf "$TMP/snmpd.out" -C -c "$TMP/snmpd.conf" -p "$TMP/snmpd.pid" &
  SNMPD=$!
  PIDS+=("$SNMPD")
}

# sublog TEXT: lines of lldp-snmp's log with TEXT.
sublog() { grep -c -F -- "$1" "$TMP/sub.log" 2>/dev/null || true; }
# wait_sub TEXT [N] [SECONDS]
wait_sub() {
  local n=${2:-1} end=$(( $(date +%s) + ${3:-20} ))
  while [ "$(sublog "$1")" -lt "$n" ]; do
    [ "$(date +%s)" -ge "$end" ] && fail "lldp-snmp: no $n x '$1': $(tail -5 "$TMP/sub.log")"
    sleep 0.2
  done
}
# traps OID: notifications of that trap OID in snmptrapd's log.
traps() { grep -c -F -- "1.3.6.1.6.3.1.1.4.1.0 = OID: .$1" "$TMP/traps.log" 2>/dev/null || true; }
wait_trap() {
  local end=$(( $(date +%s) + ${3:-20} ))
  while [ "$(traps "$1")" -lt "$2" ]; do
    [ "$(date +%s)" -ge "$end" ] && fail "snmptrapd: no $2 x $1: $(cat "$TMP/traps.log")"
    sleep 0.2
  done
}

LLDP=.1.0.8802.1.1.2
REM_ENTRY=$LLDP.1.4.1.1
TCE=1.0.8802.1.1.2.0.0.1            # lldpRemTablesChange
MEDTC=1.0.8802.1.1.2.1.5.4795.0.1   # lldpXMedTopologyChangeDetected

# --- Start-up: lldp-snmp first, then the master, then the agents. ---------
ip netns exec "$A" "$SUB" -s "$TMP/alpha.sock" -x "$AX" -d >"$TMP/sub.log" 2>&1 &
SUBPID=$!
PIDS+=("$SUBPID")
wait_sub "master agent at $AX: not connected"
wait_sub "agent at $TMP/alpha.sock: cannot be reached"
sleep 2.5  # a few retries of both, which must not be logged again
[ "$(sublog "not connected")" = 1 ] && [ "$(sublog "cannot be reached")" = 1 ] ||
  fail "retries were logged again: $(cat "$TMP/sub.log")"

ip netns exec "$A" snmptrapd -f -C -c "$TMP/snmptrapd.conf" -Lf "$TMP/traps.log" -On "udp:127.0.0.1:$TPORT" &
PIDS+=("$!")
start_snmpd
wait_sub "master agent at $AX: connected"
start_agent a alpha 0x100
start_agent b bravo 0x100
wait_sub "agent at $TMP/alpha.sock: connected"
pass "lldp-snmp waited for the master and the agent, one line for each state"

# --- The neighbour in the remote tables. ----------------------------------
wait_for alpha "reason=[add]" 1 40
unit=$(ip -n "$A" -o link show va | cut -d: -f1)
out=$(snmp snmpwalk -c public 127.0.0.1:$PORT $REM_ENTRY.9)
echo "$out" | grep -q "^$REM_ENTRY\.9\.[0-9]*\.$unit\.[0-9]* = STRING: \"bravo\"$" ||
  fail "lldpRemSysName does not show bravo on port $unit: $out"
[ "$(echo "$out" | wc -l)" = 1 ] || fail "more than one neighbour: $out"
index=$(echo "$out" | sed "s/^$REM_ENTRY\.9\.\([0-9.]*\) = .*/\1/")
# The same index as the agent's remote record (time mark in TimeTicks).
key=$(ip netns exec "$A" "$CTL" -s "$TMP/alpha.sock" call 19 0 0 --key '' | python3 -c '
import json, struct, sys
k = bytes.fromhex(json.load(sys.stdin)["key"])
hi, lo, port, rem = struct.unpack("=4I", k[:16])
print("%d.%d.%d" % ((((hi << 32) | lo) * 100) & 0xFFFFFFFF, port, rem))')
[ "$index" = "$key" ] || fail "row index $index, agent's record $key"
out=$(snmp snmpwalk -c public 127.0.0.1:$PORT $REM_ENTRY.7)
mac=$(ip -n "$(nsname b)" -o link show vb | sed 's/.*link\/ether \([0-9a-f:]*\).*/\1/')
pid=$(echo "$out" | sed -n "s/^$REM_ENTRY\.7\.$index = \(Hex-\)\?STRING: //p")
[ -n "$pid" ] || fail "no lldpRemPortId for $index: $out"
bravo_pid=$(ip netns exec "$(nsname b)" "$CTL" -s "$TMP/bravo.sock" call 6 \
  "$(ip -n "$(nsname b)" -o link show vb | cut -d: -f1)" 6 --size 255 | python3 -c 'import json,sys; print(json.load(sys.stdin)["hex"])')
got=$(echo "$pid" | tr -d ' "' | tr 'A-F' 'a-f')
want=$(python3 -c 'import sys; b=bytes.fromhex(sys.argv[1]); print(b.decode() if all(32<=c<127 for c in b) else b.hex())' "$bravo_pid")
[ "$got" = "$(echo "$want" | tr -d ' ')" ] || fail "lldpRemPortId $pid, bravo's port ID $want (MAC $mac)"
pass "snmpwalk: lldpRemSysName bravo and lldpRemPortId $pid at index $index, the agent's record"

ins=$(snmp snmpget -c public 127.0.0.1:$PORT $LLDP.1.2.2.0 | sed 's/.*Gauge32: //')
agent_ins=$(ip netns exec "$A" "$CTL" -s "$TMP/alpha.sock" -f json show statistics | python3 -c 'import json,sys; print(json.load(sys.stdin)["remote_table"]["inserts"])')
[ -n "$ins" ] && [ "$ins" = "$agent_ins" ] && [ "$ins" -ge 1 ] ||
  fail "lldpStatsRemTablesInserts $ins, agent's inserts $agent_ins"
pass "lldpStatsRemTablesInserts $ins equals the agent's statistic"

wait_trap "$TCE" 1
grep -A6 -F "OID: .$TCE" "$TMP/traps.log" | grep -q -F "$LLDP.1.2.2.0 = Gauge32: $ins" ||
  fail "lldpRemTablesChange without the inserts statistic: $(cat "$TMP/traps.log")"
pass "lldpRemTablesChange with the table statistics when bravo appeared"

# --- Sets: out of range refused, the interval changes the frame spacing. --
out=$(snmp snmpset -c private 127.0.0.1:$PORT $LLDP.1.1.1.0 i 4 2>&1)
echo "$out" | grep -q wrongValue || fail "lldpMessageTxInterval 4 was not refused: $out"
out=$(snmp snmpset -c private 127.0.0.1:$PORT $LLDP.1.3.3.0 s x 2>&1)
echo "$out" | grep -q notWritable || fail "lldpLocSysName was writable: $out"
capture b vb "$TMP/vb.pcap"
snmp snmpset -c private 127.0.0.1:$PORT $LLDP.1.1.1.0 i 5 >/dev/null || fail "snmpset lldpMessageTxInterval 5"
[ "$(snmp snmpget -c public 127.0.0.1:$PORT $LLDP.1.1.1.0 | sed 's/.*INTEGER: //')" = 5 ] ||
  fail "lldpMessageTxInterval does not read 5"
[ "$(ip netns exec "$A" "$CTL" -s "$TMP/alpha.sock" call 1 0 2 | python3 -c 'import json,sys; print(json.load(sys.stdin)["value"])')" = 5 ] ||
  fail "the agent's msgTxInterval is not 5"
sleep 17
times=$(tshark -r "$TMP/vb.pcap" -Y lldp -T fields -e frame.time_relative 2>/dev/null)
python3 - "$times" <<'EOF' || fail "alpha's frames after the Set: $times"
import sys
t = [float(x) for x in sys.argv[1].split()]
gaps = [b - a for a, b in zip(t, t[1:])]
# The Set sends one frame at once; after it, every 5 s (30 s before).
ok = len(t) >= 3 and all(4.0 <= g <= 6.0 for g in gaps[-2:])
print("frames at", t, "gaps", gaps)
sys.exit(0 if ok else 1)
EOF
pass "snmpset lldpMessageTxInterval 5: tshark sees alpha's frames 5 s apart"

# --- LLDP-MED: notifications on, bravo an endpoint, then gone. ------------
snmp snmpset -c private 127.0.0.1:$PORT $LLDP.1.5.4795.1.1.2.1.3.$unit i 1 >/dev/null ||
  fail "snmpset lldpXMedPortConfigNotifEnable"
[ "$(ip netns exec "$A" "$CTL" -s "$TMP/alpha.sock" call 6 "$unit" 55 | python3 -c 'import json,sys; print(json.load(sys.stdin)["value"])')" = 1 ] ||
  fail "the port's LLDP-MED notification switch is not on"
bunit=$(ip -n "$(nsname b)" -o link show vb | cut -d: -f1)
ip netns exec "$(nsname b)" "$CTL" -s "$TMP/bravo.sock" call 2 0 21 --int 3 >/dev/null
ip netns exec "$(nsname b)" "$CTL" -s "$TMP/bravo.sock" call 7 "$bunit" 54 --hex e000 >/dev/null
end=$(( $(date +%s) + 40 ))
until [ "$(snmp snmpget -c public 127.0.0.1:$PORT $LLDP.1.5.4795.1.3.1.1.3.$index | sed -n 's/.*INTEGER: //p')" = 3 ]; do
  [ "$(date +%s)" -ge "$end" ] && fail "lldpXMedRemDeviceClass of bravo never read 3"
  sleep 1
done
pass "lldpXMedRemDeviceClass reads bravo's class 3"

kill "$PID_bravo"
wait_for alpha "reason=[delete]" 1 20
wait_trap "$TCE" 2
dels=$(ip netns exec "$A" "$CTL" -s "$TMP/alpha.sock" -f json show statistics | python3 -c 'import json,sys; print(json.load(sys.stdin)["remote_table"]["deletes"])')
grep -A6 -F "OID: .$TCE" "$TMP/traps.log" | grep -q -F "$LLDP.1.2.3.0 = Gauge32: $dels" ||
  fail "no lldpRemTablesChange with lldpStatsRemTablesDeletes $dels: $(cat "$TMP/traps.log")"
pass "lldpRemTablesChange when bravo went (deletes $dels)"
wait_trap "$MEDTC" 1
chassis=$(grep -A6 -F "OID: .$MEDTC" "$TMP/traps.log" | grep -F "$REM_ENTRY.5.$index =")
[ -n "$chassis" ] || fail "the LLDP-MED notification lacks lldpRemChassisId.$index: $(cat "$TMP/traps.log")"
grep -A6 -F "OID: .$MEDTC" "$TMP/traps.log" | grep -q -F "$LLDP.1.5.4795.1.3.1.1.3.$index = INTEGER: 3" ||
  fail "the LLDP-MED notification lacks the device class: $(cat "$TMP/traps.log")"
out=$(snmp snmpwalk -c public 127.0.0.1:$PORT $REM_ENTRY.9)
echo "$out" | grep -q bravo && fail "bravo is still in lldpRemTable: $out"
pass "lldpXMedTopologyChangeDetected for bravo with its chassis ID and class; lldpRemTable empty"

# --- The agent restarts, the master restarts. ------------------------------
kill "$PID_alpha"
wait_sub "agent at $TMP/alpha.sock: cannot be reached" 2
out=$(snmp snmpget -c public 127.0.0.1:$PORT $LLDP.1.1.1.0 2>&1)
echo "$out" | grep -q "INTEGER" && fail "a value while the agent is away: $out"
start_agent a alpha 0x100
wait_sub "agent at $TMP/alpha.sock: connected" 2
[ "$(snmp snmpget -c public 127.0.0.1:$PORT $LLDP.1.1.1.0 | sed 's/.*INTEGER: //')" = 30 ] ||
  fail "the restarted agent's lldpMessageTxInterval does not read 30"
pass "the agent restarted: lldp-snmp reads the new agent"

kill "$SNMPD"
wait_sub "master agent at $AX: not connected" 2
start_snmpd
wait_sub "master agent at $AX: connected" 2
[ "$(snmp snmpget -c public 127.0.0.1:$PORT $LLDP.1.1.1.0 | sed 's/.*INTEGER: //')" = 30 ] ||
  fail "no answer through the restarted master"
pass "the master restarted: lldp-snmp registered again"

# --- A walk of everything ends cleanly. ------------------------------------
snmp snmpwalk -c public 127.0.0.1:$PORT .1 >"$TMP/walk.txt" 2>&1 || fail "snmpwalk .1: $(tail -3 "$TMP/walk.txt")"
grep -q "OID not increasing" "$TMP/walk.txt" && fail "the walk went backwards: $(grep -B1 'not increasing' "$TMP/walk.txt")"
grep -q "^$LLDP\.1\.1\.1\.0 = INTEGER: 30" "$TMP/walk.txt" || fail "the LLDP-MIB is not in the walk"
grep -q "^$LLDP\.1\.3\.7\.1\.2\.$unit = INTEGER" "$TMP/walk.txt" || fail "lldpLocPortTable is not in the walk"
kill -0 "$SUBPID" 2>/dev/null || fail "lldp-snmp is gone"
pass "snmpwalk .1 ends cleanly ($(wc -l <"$TMP/walk.txt") lines), lldp-snmp still running"
