#!/usr/bin/env bash
# A real lldpagent learns N (10,000) neighbours and is read through the client
# library, in network namespaces:
#
#   bench/neighbours.sh            (root; N=10000 by default)
#
# The agent runs in one namespace; typical LLDPDUs (303 bytes, every TLV
# family, one chassis each, TTL 65535; bench/lldpdu_pcap.py) are replayed
# into its port with tcpreplay from another namespace until its remote table
# holds N records.
# The script prints the agent's resident anonymous memory (RssAnon) before
# and after, and the difference per neighbour: what a neighbour costs the
# process, heap overhead and fragmentation included. Then it runs the
# neighbour walk and the single Get of client_bench against the agent's
# command socket, and times lldpctl's views of the whole table (each the best
# and the median of 5 runs, wall clock, output to /dev/null):
# `lldpctl -f json show neighbors` (the figure to hold under 0.5 s), the brief
# text table and `-f json show neighbors detail`.
#
# Environment: BUILD (build), N (10000), PPS (20000). Frames go only between
# the namespaces made here, which are removed on exit.
set -u

ROOT=$(cd "$(dirname "$0")/.." && pwd)
BUILD=${BUILD:-$ROOT/build}
AGENT=$BUILD/lldpagent
CTL=$BUILD/lldpctl
BENCH=$BUILD/bench/client_bench
N=${N:-10000}
PPS=${PPS:-20000}
TAG="nb$$"
NS_A="$TAG-agent"
NS_S="$TAG-send"
TMP=$(mktemp -d /tmp/lldp-neighbours.XXXXXX)
APID=""

die() { echo "neighbours: $*" >&2; exit 1; }
cleanup() {
  [ -n "$APID" ] && kill "$APID" 2>/dev/null && sleep 0.3
  [ -n "$APID" ] && kill -9 "$APID" 2>/dev/null
  ip netns del "$NS_A" 2>/dev/null
  ip netns del "$NS_S" 2>/dev/null
  rm -rf "$TMP"
}
trap cleanup EXIT
trap 'exit 130' INT TERM

[ "$(id -u)" -eq 0 ] || die "needs root (network namespaces)"
for f in "$AGENT" "$CTL" "$BENCH"; do [ -x "$f" ] || die "$f is not built"; done
command -v tcpreplay >/dev/null || die "needs tcpreplay (apt-get install tcpreplay)"
command -v python3 >/dev/null || die "needs python3"

ip netns add "$NS_A" && ip netns add "$NS_S" || die "cannot create namespaces"
ip link add va netns "$NS_A" type veth peer name vs netns "$NS_S" || die "cannot create the veth pair"
for ns in "$NS_A" "$NS_S"; do ip -n "$ns" link set lo up; done
ip -n "$NS_A" link set va up
ip -n "$NS_S" link set vs up

SOCK=$TMP/agent.sock
cat >"$TMP/agent.conf" <<EOF
lldp.enable = true
lldp.maxifnum = $((N + 8))
lldp.defaultportmode = rxtx
host.cmdsocket = $SOCK
EOF
ip netns exec "$NS_A" "$AGENT" -c "$TMP/agent.conf" -d 0x100 >"$TMP/agent.log" 2>&1 &
APID=$!
ctl() { ip netns exec "$NS_A" "$CTL" -s "$SOCK" "$@"; }
value() { python3 -c 'import json,sys; print(json.loads(sys.argv[1])["value"])' "$1"; }
inserts() { value "$(ctl call 1 0 8)"; }
rss() { awk '/^RssAnon:/ {print $2 * 1024}' "/proc/$APID/status"; }

for _ in $(seq 50); do [ -S "$SOCK" ] && break; sleep 0.1; done
[ -S "$SOCK" ] || die "the agent did not start: $(cat "$TMP/agent.log")"
# The neighbours' frames, as a pcap for tcpreplay (TTL 65535: none ages out).
TTL=max python3 "$ROOT/bench/lldpdu_pcap.py" "$TMP/frames.pcap" many "$N"
[ -s "$TMP/frames.pcap" ] || die "cannot write the frames"
sleep 2  # the port is taken in and the agent settles

before=$(rss)
for round in 1 2 3 4 5; do
  ip netns exec "$NS_S" tcpreplay -q --pps="$PPS" -i vs "$TMP/frames.pcap" >/dev/null 2>&1 ||
    die "tcpreplay failed"
  sleep 1
  [ "$(inserts)" -ge "$N" ] && break
done
have=$(inserts)
[ "$have" -ge "$N" ] || die "the agent holds $have neighbours after 5 replays, not $N"
sleep 1
after=$(rss)
per=$(( (after - before) / have ))
printf 'agent RssAnon: %d KiB before, %d KiB with %d neighbours: %d bytes per neighbour\n' \
  $((before / 1024)) $((after / 1024)) "$have" "$per"

ip netns exec "$NS_A" env LLDP_BENCH_SOCKET="$SOCK" "$BENCH" \
  --benchmark_filter='BM_ScalarGet|BM_NeighbourWalk' --benchmark_repetitions=5 \
  --benchmark_report_aggregates_only=true

# lldpctl over the whole table.
# time_views ARGS...: the best and the median of 5 runs, in seconds.
time_views() {
  local runs=() t0 t1 i
  for i in 1 2 3 4 5; do
    t0=$(date +%s%N)
    ctl "$@" >/dev/null || die "lldpctl $* failed"
    t1=$(date +%s%N)
    runs+=($(( (t1 - t0) / 1000000 )))
  done
  printf '%s\n' "${runs[@]}" | sort -n | awk -v what="lldpctl $*" -v n="$have" \
    '{ms[NR] = $1} END {printf "%s, %d neighbours: best %.3f s, median %.3f s (5 runs)\n", what, n, ms[1] / 1000, ms[3] / 1000}'
}
count=$(ctl -f json show neighbors | python3 -c 'import json,sys; print(len(json.load(sys.stdin)["neighbors"]))')
[ "$count" -eq "$have" ] || die "lldpctl -f json show neighbors listed $count neighbours, not $have"
time_views -f json show neighbors
time_views show neighbors
time_views -f json show neighbors detail
