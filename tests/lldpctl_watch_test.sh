#!/usr/bin/env bash
# Three agents in a line, alpha [ab] -- [ba] bravo [bc] -- [cb] charlie:
# lldpctl show neighbors on bravo lists both others; lldpctl watch on bravo
# (text and JSON, read through pipes) prints the deletion when alpha's port
# is disabled by lldpctl, says when bravo goes away and comes back, reports
# what it learns again, and exits 0 on SIGINT and SIGTERM; 'set interval 5'
# on charlie shows in the spacing of the frames bravo receives.
. "$(dirname "$0")/nslib.sh"
need_netns
need_tool tshark
need_tool tcpdump
CTL=$BUILD/lldpctl
[ -x "$CTL" ] || skip "lldpctl is not built ($CTL)"

mkns a
mkns b
mkns c
veth a ab b ba
veth b bc c cb
capture b bc "$TMP/bc.pcap"
start_agent a alpha 0x105
start_agent b bravo 0x105
start_agent c charlie 0x105
ctl() { local ns=$1 name=$2; shift 2; ip netns exec "$(nsname "$ns")" "$CTL" -s "$TMP/$name.sock" "$@"; }
for n in alpha bravo charlie; do wait_for $n "TX_LLDP_INITIALIZE -> TX_IDLE" 1 10; done
# An interval of 12 s; the change itself makes every port send at once.
ctl a alpha set interval 12 || fail "set interval on alpha"
ctl b bravo set interval 12 || fail "set interval on bravo"
ctl c charlie set interval 12 || fail "set interval on charlie"
wait_for bravo "New MSAP Cache Miss" 2 20

# ---- show neighbors on the middle agent lists both others.
out=$(ctl b bravo show neighbors) || fail "show neighbors on bravo: $out"
for want in "^ba .*alpha" "^bc .*charlie"; do
  echo "$out" | grep -q -E "$want" || fail "show neighbors on bravo lacks '$want':
$out"
done
pass "show neighbors on the middle agent lists both others"

# ---- watch, text and JSON, each through a pipe.
ip netns exec "$(nsname b)" "$CTL" -s "$TMP/bravo.sock" watch > >(cat >"$TMP/watch.txt") 2>"$TMP/watch.err" &
WTEXT=$!
ip netns exec "$(nsname b)" "$CTL" -s "$TMP/bravo.sock" -f json watch > >(cat >"$TMP/watch.json") 2>&1 &
WJSON=$!
PIDS+=("$WTEXT" "$WJSON")
sleep 1
kill -0 "$WTEXT" && kill -0 "$WJSON" || fail "watch did not stay up: $(cat "$TMP/watch.err")"

# wait_file FILE PATTERN [SECONDS]: waits until a line of FILE matches.
wait_file() {
  local end=$(( $(date +%s) + ${3:-20} ))
  until grep -q -E "$2" "$1" 2>/dev/null; do
    [ "$(date +%s)" -ge "$end" ] && fail "no line '$2' in $(basename "$1") within ${3:-20}s:
$(cat "$1")"
    sleep 0.2
  done
}
# A third one whose reader goes after the first line.
( ip netns exec "$(nsname b)" "$CTL" -s "$TMP/bravo.sock" watch | head -1 >"$TMP/head.txt" ) &
WHEAD=$!
PIDS+=("$WHEAD")
sleep 1
ctl a alpha port ab set adminstatus disabled || fail "disable alpha's port"
wait_file "$TMP/watch.txt" "deleted +port ba +chassis [0-9a-f:]{17} +port-id ab +system alpha$" 10
wait_file "$TMP/watch.json" '"event":"deleted"' 10
python3 - "$TMP/watch.json" <<'EOF' || fail "watch -f json: $(cat "$TMP/watch.json")"
import json, sys
lines = [json.loads(l) for l in open(sys.argv[1]) if l.strip()]
d = [l for l in lines if l["event"] == "deleted"]
assert len(d) == 1, lines
d = d[0]
assert (d["local_port"], d["port_id"], d["system_name"], d["chassis_id_subtype"]) == ("ba", "ab", "alpha", "mac_address"), d
EOF
grep -q charlie "$TMP/watch.txt" && fail "watch printed an unchanged neighbour: $(cat "$TMP/watch.txt")"
for _ in $(seq 15); do kill -0 "$WHEAD" 2>/dev/null || break; sleep 0.2; done
kill -0 "$WHEAD" 2>/dev/null && fail "watch | head -1 did not end after its first line"
grep -q "deleted .*system alpha" "$TMP/head.txt" || fail "watch | head -1 printed '$(cat "$TMP/head.txt")'"
pass "a port disabled by lldpctl on one end: watch on the middle prints its deletion (text, JSON, through head -1)"

# ---- The agent restarts: watch says so, reconnects and reports what the new
# agent learns.
kill "$PID_bravo"
wait "$PID_bravo" 2>/dev/null
wait_file "$TMP/watch.err" "agent gone, reconnecting to $TMP/bravo.sock" 10
kill -0 "$WTEXT" || fail "watch left when the agent went away"
start_agent b bravo 0x105
wait_file "$TMP/watch.err" "reconnected to $TMP/bravo.sock" 10
# The old charlie went with the old agent; the new one learns it again.
wait_file "$TMP/watch.txt" "deleted +port bc .*system charlie$" 20
wait_file "$TMP/watch.txt" "added +port bc +chassis [0-9a-f:]{17} +port-id cb +system charlie$" 30
pass "watch reports the agent gone, reconnects, and reports the neighbour learnt again"

kill -INT "$WTEXT"
wait "$WTEXT"; rc=$?
[ $rc = 0 ] || fail "watch exited $rc on SIGINT"
kill -TERM "$WJSON"
wait "$WJSON"; rc=$?
[ $rc = 0 ] || fail "watch -f json exited $rc on SIGTERM"
err=$("$CTL" -s "$TMP/nobody.sock" watch 2>&1); rc=$?
[ $rc = 1 ] && [ "$(echo "$err" | wc -l)" = 1 ] && [[ "$err" == *"$TMP/nobody.sock"* ]] ||
  fail "watch without an agent: status $rc, '$err'"
pass "watch exits 0 on SIGINT and SIGTERM, 1 with one line when there is no agent at the start"

# ---- set interval 5 on charlie: the frames bravo receives from it come 5 s
# apart (12 s before), with TTL 5 x 4 (the hold).
t=$(date +%s.%N)
err=$(ctl c charlie set interval 5 2>&1) || fail "set interval 5: $err"
sleep 17
python3 - "$TMP/bc.pcap" "$t" <<'EOF' || fail "frame spacing"
import subprocess, sys
pcap, t = sys.argv[1], float(sys.argv[2])
out = subprocess.run(["tshark", "-r", pcap, "-Y", "lldp && eth.src != 00:00:00:00:00:00", "-T", "fields",
                      "-e", "frame.time_epoch", "-e", "lldp.time_to_live", "-e", "lldp.tlv.system.name"],
                     capture_output=True, text=True).stdout
frames = [(float(l.split("\t")[0]), int(l.split("\t")[1]), l.split("\t")[2]) for l in out.splitlines() if l]
frames = [f for f in frames if f[2] == "charlie"]
before = [f[0] for f in frames if f[0] < t]
# The change makes charlie send at once, with the TTL it had worked out
# before; from then on the frames come every 5 s with TTL 20.
after = [f for f in frames if f[0] > t]
gaps_before = [b - a for a, b in zip(before, before[1:])]
gaps_after = [b[0] - a[0] for a, b in zip(after, after[1:])]
print("gaps before", [round(g, 1) for g in gaps_before], "after", [round(g, 1) for g in gaps_after],
      "TTLs after", [f[1] for f in after])
assert any(11 <= g <= 13 for g in gaps_before), gaps_before
assert after and after[0][0] < t + 2, after
assert len(gaps_after) >= 2 and all(4 <= g <= 6 for g in gaps_after), gaps_after
assert all(f[1] == 20 for f in after[1:]), [f[1] for f in after]
EOF
pass "set interval 5 shows in the spacing of the next frames (TTL 20)"
