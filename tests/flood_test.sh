#!/usr/bin/env bash
# The receive benchmark (bench/flood.sh) on a small flood: its namespaces
# come up and go away, the agent learns the replayed neighbours and counts
# every frame that reached its socket, and its table has the shape the
# documentation gives. No figure of speed or memory is judged here.
source "$(dirname "$0")/nslib.sh"
need_netns
need_tool tcpreplay
need_tool python3
[ -x "$BUILD/lldpctl" ] || skip "lldpctl is not built"

# A few hundred frames a second: no socket drop is possible, so every frame
# sent must arrive and be counted by the agent.
BUILD=$BUILD FRAMES=3000 CASES="b@2k d@2k" bash "$ROOT/bench/flood.sh" >"$TMP/out.log" 2>"$TMP/err.log" &
run=$!
wait "$run" || fail "flood.sh failed: $(tail -5 "$TMP/err.log")"

rows=$(awk 'NF == 14 && $1 ~ /^[a-e](@[0-9]+k)?$/' "$TMP/out.log")
[ "$(echo "$rows" | grep -c .)" = 2 ] || fail "expected 2 rows, got: $(cat "$TMP/out.log")"
echo "$rows" | awk '{for (i = 2; i <= NF; i++) if ($i !~ /^[0-9.]+$/) exit 1}' ||
  fail "a row has a field that is not a number: $rows"
# case sent arrived sockd deliv lost lost% kfps us/fr rss0 rss1 anon0 anon1 neigh
echo "$rows" | awk '{ if ($2 != 3000 || $3 != $2 || $4 != 0 || $5 != $3 || $6 != 0) exit 1 }' ||
  fail "sent, arrived, delivered and counted frames differ: $rows"
# 1,000 neighbours, of which case d breaks every fifth frame.
[ "$(echo "$rows" | awk '$1 == "b@2k" {print $14}')" = 1000 ] || fail "case b: not 1000 neighbours: $rows"
[ "$(echo "$rows" | awk '$1 == "d@2k" {print $14}')" = 800 ] || fail "case d: not 800 neighbours: $rows"
grep -q -E '^idle with etc/lldp.conf, 1 port: VmRSS [0-9]+ KiB, RssAnon [0-9]+ KiB, RssFile [0-9]+ KiB, RssShmem [0-9]+ KiB$' "$TMP/out.log" ||
  fail "no idle line: $(cat "$TMP/out.log")"
# Its namespaces (named after its process) are gone.
ip netns list | grep -q "^fl$run-" && fail "namespaces fl$run-* left behind"
pass "2 cases, every frame delivered and counted, 1000 and 800 neighbours"
