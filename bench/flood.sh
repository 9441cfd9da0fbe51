#!/usr/bin/env bash
# How fast a real lldpagent takes in LLDP frames, and whether it stays within
# its memory over time, in network namespaces (root):
#
#   bench/flood.sh                 the receive-throughput table (make bench-flood)
#   SOAK=600 bench/flood.sh        a soak of 600 s instead (make bench-flood SOAK=600)
#
# The agent runs alone in one namespace; tcpreplay sends typical LLDP frames
# (a 303-byte LLDPDU, bench/lldpdu_pcap.py) into its port from a second
# namespace. Each case starts a fresh agent (etc/lldp.conf with a neighbour
# limit of 1,100 and its own command socket), waits until it has settled,
# replays FRAMES frames, waits until the agent has read every frame that
# reached its socket, and prints one row:
#
#   case     a   one neighbour, the same frame again and again
#            b   1,000 neighbours in turn
#            c   1,000 neighbours, each frame changing its neighbour's record
#            d   1,000 neighbours with 20% malformed frames among them
#            e   as b, into one of 256 ports
#            a@50k, b@50k, ...: the same at a fixed 50,000 frames/s (any
#                number of thousands); without @ at tcpreplay's top speed
#   sent     frames tcpreplay put on the wire
#   arrived  frames the agent's interface received (its rx_packets)
#   sockd    frames the agent's frame socket dropped: the kernel's
#            PACKET_STATISTICS, read through a duplicate of the socket (see
#            drops below), which counts a full receive queue and a full
#            receive ring alike
#   deliv    frames delivered to the agent: the agent's own count of frames
#            received (its global counter 41) over the run
#   lost     arrived - deliv: frames that reached the interface but never
#            the agent; equal to sockd, found without asking the socket
#   lost%    lost / arrived
#   kfps     sent frames per second (thousands), as tcpreplay reports it
#   us/fr    the agent's whole-process CPU (user + system, all threads, from
#            /proc/PID/task/*/schedstat) over the run and the drain, per
#            delivered frame, in microseconds
#   rss0/1   VmRSS before and after, KiB; anon0/1 the same for RssAnon
#
# The rows are followed by the idle figures: the resident memory (anonymous,
# file-backed, shared) of an agent started with etc/lldp.conf as it is,
# settled, with one port; and the memory of 1,000 neighbours: RssAnon after
# case b minus before, divided by the neighbours the agent holds (its
# inserts - deletes). That is what a neighbour costs the process, malloc's
# overhead and fragmentation included; the agent has no heap counter of its
# own.
#
# Soak (SOAK=seconds): one agent for that long while a sender churns
# neighbours (sets of 200 chassis with a 4-second TTL, a new set every
# second, some sets ending with shutdown LLDPDUs, changed and malformed
# frames among them), the agent's port flaps every 7 s, and a veth port is
# added every 5 s and the oldest removed once there are more than 8. It
# prints VmRSS and RssAnon every SAMPLE seconds (60; 10 when SOAK < 300) and
# fails (exit 1) when the agent dies, when a sanitizer reports, or when
# RssAnon after the warm-up (the first minute, or a third of a shorter soak)
# grows by more than SOAK_SLACK KiB (256; why in docs/benchmarks.md). With
# an AddressSanitizer build (BUILD=build-asan, `make bench-soak-asan`) memory
# figures are printed but not judged, the sanitizer's quarantine holding
# freed memory; its leak check at the agent's orderly stop judges instead.
#
# Environment: BUILD (build), FRAMES (500000), RUNS (1: every case RUNS
# times), CASES ("a b c d e a@50k b@50k"), PORTS (256), SOAK,
# SAMPLE, SOAK_SLACK, KEEP_TMP=1 keeps the logs. Frames go only between the
# namespaces made here, which are removed on exit, also on failure.
#
# CPU is shared: other work on the machine slows the agent and the sender
# alike, so compare figures from the same quiet machine (`uptime`), and run
# several times (RUNS=3).
set -u

ROOT=$(cd "$(dirname "$0")/.." && pwd)
BUILD=${BUILD:-$ROOT/build}
case $BUILD in /*) ;; *) BUILD=$ROOT/$BUILD ;; esac
AGENT=$BUILD/lldpagent
CTL=$BUILD/lldpctl
FRAMES=${FRAMES:-500000}
RUNS=${RUNS:-1}
CASES=${CASES:-a b c d e a@50k b@50k}
PORTS=${PORTS:-256}
SOAK=${SOAK:-}
SOAK_SLACK=${SOAK_SLACK:-256}
NEIGHBOURS=1000
TAG="fl$$"
NS_A="$TAG-agent"
NS_S="$TAG-send"
TMP=$(mktemp -d /tmp/lldp-flood.XXXXXX)
APID=""
BGPIDS=()

die() { echo "flood: $*" >&2; exit 1; }
stop_agent() {
  [ -n "$APID" ] || return 0
  kill "$APID" 2>/dev/null
  for _ in $(seq 100); do kill -0 "$APID" 2>/dev/null || break; sleep 0.1; done
  kill -9 "$APID" 2>/dev/null
  wait "$APID" 2>/dev/null
  APID=""
}
cleanup() {
  local p
  for p in "${BGPIDS[@]}"; do kill "$p" 2>/dev/null; wait "$p" 2>/dev/null; done
  stop_agent
  ip netns del "$NS_A" 2>/dev/null
  ip netns del "$NS_S" 2>/dev/null
  if [ "${KEEP_TMP:-0}" = 1 ]; then echo "flood: logs kept in $TMP" >&2; else rm -rf "$TMP"; fi
}
trap cleanup EXIT
trap 'exit 130' INT TERM

[ "$(id -u)" -eq 0 ] || die "needs root (network namespaces)"
for f in "$AGENT" "$CTL"; do [ -x "$f" ] || die "$f is not built (make agent, or cmake --build $BUILD)"; done
command -v tcpreplay >/dev/null ||
  die "needs tcpreplay (apt-get install tcpreplay; make deps installs it)"
command -v ss >/dev/null || die "needs ss (iproute2)"
command -v python3 >/dev/null || die "needs python3"

ASAN=0
if grep -q -a __asan_init "$AGENT" 2>/dev/null; then ASAN=1; fi

# --- namespaces and links ---------------------------------------------------

ip netns add "$NS_A" && ip netns add "$NS_S" || die "cannot create namespaces"
for ns in "$NS_A" "$NS_S"; do
  # No IPv6 neighbour discovery or MLD: only the replayed frames arrive.
  ip netns exec "$ns" sysctl -q -w net.ipv6.conf.all.disable_ipv6=1 net.ipv6.conf.default.disable_ipv6=1
  ip -n "$ns" link set lo up
done

# links FIRST COUNT: veth pairs vaN (agent side) - vsN (sender side), N from
# FIRST, both ends up.
links() {
  local i first=$1 count=$2
  for ((i = first; i < first + count; i++)); do
    echo "link add name va$i netns $NS_A type veth peer name vs$i netns $NS_S"
  done | ip -batch - || die "cannot create veth pairs"
  for ((i = first; i < first + count; i++)); do echo "link set va$i up"; done | ip -n "$NS_A" -batch -
  for ((i = first; i < first + count; i++)); do echo "link set vs$i up"; done | ip -n "$NS_S" -batch -
}
unlinks() {
  local i first=$1 count=$2
  for ((i = first; i < first + count; i++)); do echo "link del va$i"; done |
    ip -n "$NS_A" -batch - 2>/dev/null
}

# --- the agent ----------------------------------------------------------------

SOCK=$TMP/agent.sock
# conf FILE MAXIFNUM: etc/lldp.conf with this run's command socket (and the
# neighbour limit, when given).
conf() {
  sed -e "s|^host.cmdsocket.*|host.cmdsocket = $SOCK|" \
    ${2:+-e "s|^lldp.maxifnum.*|lldp.maxifnum = $2|"} "$ROOT/etc/lldp.conf" >"$1"
}
start_agent() {
  local cf=$1
  rm -f "$SOCK"
  ip netns exec "$NS_A" env ASAN_OPTIONS="${ASAN_OPTIONS:-abort_on_error=0}" \
    "$AGENT" -c "$cf" >>"$TMP/agent.log" 2>&1 &
  APID=$!
  for _ in $(seq 100); do [ -S "$SOCK" ] && break; sleep 0.1; done
  [ -S "$SOCK" ] || die "the agent did not start: $(tail -5 "$TMP/agent.log")"
}
ctl() { ip netns exec "$NS_A" "$CTL" -s "$SOCK" "$@"; }
gvalue() { ctl call 1 0 "$1" | sed -n 's/.*"value": *\([0-9-]*\).*/\1/p'; }
neighbours() { echo $(($(gvalue 8) - $(gvalue 9))); }
status() { awk -v k="$2:" '$1 == k {print $2}' "/proc/$1/status"; }
# Whole-process CPU in nanoseconds: the time on a CPU (user and system) of
# every thread, from the scheduler's statistics (/proc/PID/stat's utime +
# stime count the same in 10 ms ticks). The agent's threads live as long as
# it does, so none is missed.
cpu_ns() { cat /proc/"$1"/task/*/schedstat 2>/dev/null | awk '{s += $1} END {printf "%.0f", s}'; }
# drops PID: "K N", frames the agent's packet sockets dropped, and how the
# count was read. K=stat: the kernel's PACKET_STATISTICS, through a duplicate
# of each socket (pidfd_getfd); it counts a full queue and a full ring alike,
# and every read resets it, so N is the drops since the last call. K=ss: the
# sockets' drop counter from `ss -0 -m` (skmem d), a running total that
# misses a full ring's drops; used when the sockets cannot be had.
drops() {
  python3 - "$1" <<'PY' 2>/dev/null || echo "ss $(ss_drops "$1")"
import ctypes, os, struct, sys
pid = sys.argv[1]
libc = ctypes.CDLL(None, use_errno=True)
inodes = {l.split()[8] for l in open("/proc/%s/net/packet" % pid).read().splitlines()[1:]}
pidfd = libc.syscall(434, int(pid), 0)  # pidfd_open
if pidfd < 0:
    sys.exit(1)
total, found = 0, False
for fd in os.listdir("/proc/%s/fd" % pid):
    try:
        link = os.readlink("/proc/%s/fd/%s" % (pid, fd))
    except OSError:
        continue
    if not (link.startswith("socket:[") and link[8:-1] in inodes):
        continue
    mine = libc.syscall(438, pidfd, int(fd), 0)  # pidfd_getfd
    if mine < 0:
        sys.exit(1)
    buf = ctypes.create_string_buffer(12)
    n = ctypes.c_uint32(12)
    rc = libc.getsockopt(mine, 263, 6, buf, ctypes.byref(n))  # SOL_PACKET, PACKET_STATISTICS
    os.close(mine)
    if rc != 0:
        sys.exit(1)
    total += struct.unpack_from("II", buf.raw)[1]
    found = True
if not found:
    sys.exit(1)
print("stat", total)
PY
}
ss_drops() {
  ip netns exec "$NS_A" ss -0 -m -p -n -a 2>/dev/null |
    awk -v pid="pid=$1," 'index($0, pid) {if (match($0, /,d[0-9]+\)/)) {print substr($0, RSTART + 2, RLENGTH - 3); exit}}'
}

rx_packets() { ip netns exec "$NS_A" cat "/sys/class/net/$1/statistics/rx_packets"; }

# --- frames -------------------------------------------------------------------

gen() { python3 "$ROOT/bench/lldpdu_pcap.py" "$@" || die "cannot write frames ($*)"; }

# --- the throughput table -----------------------------------------------------

# case_run NAME: one row.
case_run() {
  local name=$1 kind=${1%@*} rate="" pcap n loop iface sendif
  if [ "$name" != "$kind" ]; then
    rate=${name#*@}
    [[ $rate =~ ^[0-9]+k$ ]] || die "case $name: the rate is thousands of frames/s, as in a@50k"
    rate=$((${rate%k} * 1000))
  fi
  case $kind in
    a) pcap=$TMP/same.pcap n=1000 ;;
    b | e) pcap=$TMP/many.pcap n=$NEIGHBOURS ;;
    c) pcap=$TMP/change.pcap n=$((2 * NEIGHBOURS)) ;;
    d) pcap=$TMP/malformed.pcap n=$NEIGHBOURS ;;
    *) die "unknown case $name" ;;
  esac
  loop=$(((FRAMES + n - 1) / n))
  iface=va0 sendif=vs0
  if [ "$kind" = e ]; then
    iface=va$((PORTS - 1)) sendif=vs$((PORTS - 1))
    links 1 $((PORTS - 1))
  fi
  start_agent "$TMP/flood.conf"
  sleep 2 # the ports are taken in and the agent settles
  local rss0 anon0 t0 dk d0 r0 c0 out sent kpps
  rss0=$(status "$APID" VmRSS) anon0=$(status "$APID" RssAnon)
  read -r dk d0 <<<"$(drops "$APID")"
  echo "$dk" >"$TMP/dropkind"
  t0=$(cpu_ns "$APID") r0=$(rx_packets "$iface") c0=$(gvalue 41)
  local speed=--topspeed
  [ -n "$rate" ] && speed=--pps=$rate
  out=$(ip netns exec "$NS_S" tcpreplay -K "$speed" --loop="$loop" -i "$sendif" "$pcap" 2>&1) ||
    die "tcpreplay failed: $out"
  sent=$(echo "$out" | awk '/Successful packets:/ {print $3}')
  kpps=$(echo "$out" | awk '/^Rated:/ {printf "%.0f", $(NF - 1) / 1000}')
  # Drained when the agent has counted every frame its socket kept (known
  # for a plain socket), or when its count stands still for 0.3 s.
  local r1 c1 k v dsum=0 last=-1 i
  for i in $(seq 300); do
    r1=$(rx_packets "$iface") c1=$(gvalue 41)
    read -r k v <<<"$(drops "$APID")"
    if [ "$k" = stat ]; then dsum=$((dsum + v)); else dsum=$((v - d0)); fi
    [ $((c1 - c0)) -ge $((r1 - r0 - dsum)) ] && break
    [ "$c1" = "$last" ] && break
    last=$c1
    sleep 0.3
  done
  kill -0 "$APID" 2>/dev/null || die "the agent died in case $name: $(tail -5 "$TMP/agent.log")"
  local t1 rss1 anon1 arrived held
  t1=$(cpu_ns "$APID") rss1=$(status "$APID" VmRSS) anon1=$(status "$APID" RssAnon)
  held=$(neighbours)
  arrived=$((r1 - r0))
  awk -v c="$name" -v s="$sent" -v a="$arrived" -v d="$dsum" -v v=$((c1 - c0)) \
    -v k="$kpps" -v t=$((t1 - t0)) -v r0="$rss0" -v r1="$rss1" -v a0="$anon0" \
    -v a1="$anon1" -v nb="$held" 'BEGIN {
      printf "%-7s %8d %8d %8d %8d %8d %6.2f %6d %7.2f %6d %6d %6d %6d %6d\n", c, s, a, d, v, a - v,
        a ? 100 * (a - v) / a : 0, k, v ? t / 1000 / v : 0, r0, r1, a0, a1, nb }'
  [ "$kind" = b ] && [ -z "$rate" ] && echo "$anon0 $anon1 $held" >>"$TMP/heap"
  stop_agent
  [ "$kind" = e ] && unlinks 1 $((PORTS - 1))
  return 0
}

table() {
  gen "$TMP/same.pcap" same 1000
  gen "$TMP/many.pcap" many "$NEIGHBOURS"
  gen "$TMP/change.pcap" change "$NEIGHBOURS" 2
  gen "$TMP/malformed.pcap" malformed "$NEIGHBOURS"
  conf "$TMP/flood.conf" 1100
  links 0 1
  echo "lldpagent $("$AGENT" --version 2>/dev/null | head -1) ($AGENT), $(nproc) CPUs, load $(cut -d' ' -f1-3 /proc/loadavg)"
  echo "frames: 317 bytes (303-byte LLDPDU), $FRAMES per case; rate: top speed, or @Nk = N,000/s"
  printf '%-7s %8s %8s %8s %8s %8s %6s %6s %7s %6s %6s %6s %6s %6s\n' case sent arrived sockd \
    deliv lost lost% kfps us/fr rss0 rss1 anon0 anon1 neigh
  local c r
  for c in $CASES; do
    for ((r = 0; r < RUNS; r++)); do case_run "$c"; done
  done

  case $(cat "$TMP/dropkind" 2>/dev/null) in
    stat) echo "sockd: the socket's PACKET_STATISTICS drops" ;;
    ss) echo "sockd: the socket's drop counter in ss (a full ring's drops are missed: see lost)" ;;
  esac
  # Idle: etc/lldp.conf as it is (its neighbour limit), one port.
  conf "$TMP/idle.conf"
  start_agent "$TMP/idle.conf"
  sleep 3
  echo "idle with etc/lldp.conf, 1 port: VmRSS $(status "$APID" VmRSS) KiB, RssAnon $(status "$APID" RssAnon) KiB," \
    "RssFile $(status "$APID" RssFile) KiB, RssShmem $(status "$APID" RssShmem) KiB"
  stop_agent
  if [ -s "$TMP/heap" ]; then
    awk '$3 > 0 {printf "%d neighbours learnt (case b): RssAnon %d -> %d KiB, %.0f bytes per neighbour\n",
      $3, $1, $2, ($2 - $1) * 1024 / $3}' "$TMP/heap"
  fi
}

# --- the soak ---------------------------------------------------------------------

soak() {
  local secs=$SOAK sample=${SAMPLE:-}
  [ -n "$sample" ] || { [ "$secs" -lt 300 ] && sample=10 || sample=60; }
  local warm=$((secs / 3 < 60 ? secs / 3 : 60))
  conf "$TMP/soak.conf" 1100
  links 0 1
  # Ten sets of 200 neighbours with a 4-second TTL; set k has chassis IDs
  # 200k..200k+199. Set 3 has changed records, set 5 ends with its shutdown
  # LLDPDUs, set 7 carries malformed frames.
  local k
  for k in $(seq 0 9); do
    python3 - "$TMP/set$k.pcap" "$k" "$ROOT/bench" <<'EOF' || die "cannot write the soak's frames"
import sys
sys.path.insert(0, sys.argv[3])
import lldpdu_pcap as g
path, k = sys.argv[1], int(sys.argv[2])
ids = range(200 * k, 200 * k + 200)
fs = [g.frame(i, g.lldpdu(i, ttl=4)) for i in ids]
if k == 3:
    fs += [g.frame(i, g.lldpdu(i, version=1, ttl=4)) for i in ids]
if k == 5:
    fs += [g.frame(i, g.lldpdu(i, ttl=0)) for i in ids]
if k == 7:
    fs = [g.broken(i, i) if i % 5 == 4 else f for i, f in zip(ids, fs)]
g.write_pcap(path, fs)
EOF
  done
  start_agent "$TMP/soak.conf"
  echo "soak: ${secs}s, RSS every ${sample}s, warm-up ${warm}s, slack ${SOAK_SLACK} KiB$([ $ASAN = 1 ] && echo ', AddressSanitizer build: memory not judged')"
  local end=$(($(date +%s) + secs))
  # Neighbour churn into va0 and into the added ports.
  (
    r=0
    while [ "$(date +%s)" -lt "$end" ]; do
      ip netns exec "$NS_S" tcpreplay -q -K --pps=5000 -i vs0 "$TMP/set$((r % 10)).pcap" >/dev/null 2>&1
      for d in $(ip -n "$NS_S" -o link show 2>/dev/null | awk -F': ' '$2 ~ /^vx/ {sub(/@.*/, "", $2); print $2}'); do
        ip netns exec "$NS_S" tcpreplay -q -K --pps=5000 -i "$d" "$TMP/set$(((r + 1) % 10)).pcap" >/dev/null 2>&1
      done
      r=$((r + 1))
      sleep 1
    done
  ) &
  BGPIDS+=($!)
  # Link flaps and ports added and removed.
  (
    n=0 t=0
    while [ "$(date +%s)" -lt "$end" ]; do
      sleep 1
      t=$((t + 1))
      if [ $((t % 7)) = 0 ]; then
        ip -n "$NS_A" link set va0 down
        sleep 0.5
        ip -n "$NS_A" link set va0 up
      fi
      if [ $((t % 5)) = 0 ]; then
        ip link add name "vy$n" netns "$NS_A" type veth peer name "vx$n" netns "$NS_S" 2>/dev/null &&
          ip -n "$NS_A" link set "vy$n" up && ip -n "$NS_S" link set "vx$n" up
        [ "$n" -ge 8 ] && ip -n "$NS_A" link del "vy$((n - 8))" 2>/dev/null
        n=$((n + 1))
      fi
    done
  ) &
  BGPIDS+=($!)

  local start now base="" peak=0 fail=0 anon rss el
  start=$(date +%s)
  printf '%6s %8s %8s %6s %9s\n' time VmRSS RssAnon neigh frames
  while :; do
    sleep "$sample"
    now=$(date +%s) el=$((now - start))
    if ! kill -0 "$APID" 2>/dev/null; then
      echo "soak: the agent died after ${el}s" >&2
      fail=1
      break
    fi
    rss=$(status "$APID" VmRSS) anon=$(status "$APID" RssAnon)
    printf '%5ss %5d KiB %5d KiB %6s %9s\n' "$el" "$rss" "$anon" "$(neighbours)" "$(gvalue 41)"
    if [ "$el" -ge "$warm" ]; then
      if [ -z "$base" ]; then base=$anon; elif [ "$anon" -gt "$peak" ]; then peak=$anon; fi
    fi
    [ "$now" -ge "$end" ] && break
  done
  for p in "${BGPIDS[@]}"; do wait "$p" 2>/dev/null; done
  BGPIDS=()
  # An orderly stop; an AddressSanitizer build checks for leaks on the way out.
  stop_agent
  if grep -q -E "ERROR: (Address|Leak)Sanitizer|runtime error:" "$TMP/agent.log"; then
    echo "soak: the sanitizer reported:" >&2
    grep -m1 -A25 -E "ERROR: (Address|Leak)Sanitizer|runtime error:" "$TMP/agent.log" >&2
    fail=1
  fi
  if [ "$fail" = 0 ] && [ "$ASAN" = 0 ] && [ -n "$base" ] && [ "$peak" -gt 0 ]; then
    if [ $((peak - base)) -gt "$SOAK_SLACK" ]; then
      echo "soak: RssAnon grew from $base KiB after the warm-up to $peak KiB (more than $SOAK_SLACK KiB)" >&2
      fail=1
    else
      echo "soak: RssAnon $base KiB after the warm-up, at most $peak KiB later: flat"
    fi
  fi
  if [ "$fail" = 0 ]; then echo "soak: ok"; else KEEP_TMP=1; exit 1; fi
}

if [ -n "$SOAK" ]; then soak; else table; fi
