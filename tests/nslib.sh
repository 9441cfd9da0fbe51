# Shared pieces of the namespace integration tests (sourced, not run).
#
# Each test makes its own namespaces with unique names, starts agents in them
# and removes everything on exit, whatever happened. A test that cannot make
# namespaces (not root, no iproute2, no agent built) exits 77 with the reason
# on standard error, which CTest reports as skipped.
set -u

ROOT=${LLDP_SOURCE_DIR:-$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)}
BUILD=${LLDP_BUILD_DIR:-$ROOT/build}
AGENT=$BUILD/lldpagent
TEST=$(basename "$0" .sh)
TAG="lt$$"
TMP=$(mktemp -d "/tmp/lldp-$TEST.XXXXXX")
NAMESPACES=()
PIDS=()
FAILED=0

skip() {
  echo "SKIP $TEST: $*" >&2
  rm -rf "$TMP"
  exit 77
}

cleanup() {
  local p n
  for p in "${PIDS[@]}"; do kill "$p" 2>/dev/null; done
  sleep 0.2
  for p in "${PIDS[@]}"; do kill -9 "$p" 2>/dev/null; wait "$p" 2>/dev/null; done
  for n in "${NAMESPACES[@]}"; do ip netns del "$n" 2>/dev/null; done
  if [ "$FAILED" = 1 ]; then
    echo "--- logs kept in $TMP" >&2
  else
    rm -rf "$TMP"
  fi
}
trap cleanup EXIT
trap 'FAILED=1; exit 130' INT TERM

fail() {
  FAILED=1
  echo "FAIL $TEST: $*" >&2
  local f
  for f in "$TMP"/*.log; do
    [ -e "$f" ] || continue
    echo "--- last lines of $f" >&2
    grep -v -E 'lldp.rxsm|lldp.tx:' "$f" | tail -15 >&2
  done
  exit 1
}

pass() { echo "ok $TEST: $*"; }

# Checks that this machine can run the test at all; skips loudly otherwise.
need_netns() {
  [ "$(id -u)" -eq 0 ] || skip "needs root to make network namespaces"
  command -v ip >/dev/null || skip "needs iproute2"
  [ -x "$AGENT" ] || skip "lldpagent is not built ($AGENT)"
  ip netns add "$TAG-probe" 2>/dev/null || skip "cannot create network namespaces here"
  ip netns del "$TAG-probe"
}

need_tool() {
  command -v "$1" >/dev/null || skip "needs $1"
}

# mkns NAME: makes namespace $TAG-NAME (removed on exit) with lo up.
mkns() {
  local n="$TAG-$1"
  ip netns add "$n" || fail "cannot create namespace $n"
  NAMESPACES+=("$n")
  ip -n "$n" link set lo up
}
nsname() { echo "$TAG-$1"; }

# veth NS1 DEV1 NS2 DEV2: a veth pair between two namespaces, both ends up.
veth() {
  ip link add "$2" netns "$(nsname "$1")" type veth peer name "$4" netns "$(nsname "$3")" ||
    fail "cannot create veth $2-$4"
  ip -n "$(nsname "$1")" link set "$2" up
  ip -n "$(nsname "$3")" link set "$4" up
}

# start_agent NS NAME MASK [extra option lines...]: starts lldpagent in NS
# with its own options file, command socket and log ($TMP/NAME.log). An empty
# MASK leaves the trace mask at its default.
start_agent() {
  local ns=$1 name=$2 mask=$3
  shift 3
  {
    echo "lldp.enable = true"
    echo "lldp.maxifnum = 8"
    echo "lldp.defaultportmode = rxtx"
    echo "host.sysname = $name"
    echo "host.cmdsocket = $TMP/$name.sock"
    for l in "$@"; do echo "$l"; done
  } >"$TMP/$name.conf"
  ip netns exec "$(nsname "$ns")" "$AGENT" -c "$TMP/$name.conf" ${mask:+-d "$mask"} >"$TMP/$name.log" 2>&1 &
  local pid=$!
  PIDS+=("$pid")
  eval "PID_$name=$pid"
  sleep 0.3
  kill -0 "$pid" 2>/dev/null || fail "agent $name did not start: $(cat "$TMP/$name.log")"
}

# count NAME TEXT: lines of agent NAME's log containing TEXT (fixed string).
count() { grep -c -F -- "$2" "$TMP/$1.log" 2>/dev/null || true; }

# wait_for NAME TEXT [N] [SECONDS]: waits until agent NAME's log holds at
# least N lines with TEXT; fails after SECONDS.
wait_for() {
  local name=$1 text=$2 n=${3:-1} secs=${4:-45}
  local end=$(( $(date +%s) + secs ))
  while [ "$(count "$name" "$text")" -lt "$n" ]; do
    [ "$(date +%s)" -ge "$end" ] && fail "$name: no $n x '$text' within ${secs}s"
    sleep 0.2
  done
}

# capture NS DEV FILE: records LLDP frames (both types) arriving on DEV.
capture() {
  ip netns exec "$(nsname "$1")" tcpdump -i "$2" -Q in -U -w "$3" \
    'ether proto 0x88cc or ether proto 0xffcc or vlan' >/dev/null 2>&1 &
  PIDS+=("$!")
  sleep 0.5
}

# scapy_send NS DEV < PYTHON: runs the Python text from standard input,
# which sets `frames` to a list of scapy frames, and sends them out of DEV in
# namespace NS. Helpers: tlv(type, bytes), lldpdu(chassis, port, ttl, *more)
# and the constants LLDP_MC and BCAST.
scapy_send() {
  local ns=$1 dev=$2 body
  body=$(cat)
  ip netns exec "$(nsname "$ns")" /usr/bin/python3 - "$dev" <<EOF || fail "scapy could not send"
import sys, struct, logging
logging.getLogger("scapy.runtime").setLevel(logging.ERROR)
from scapy.all import Ether, Dot1Q, Raw, sendp
LLDP_MC = "01:80:c2:00:00:0e"
BCAST = "ff:ff:ff:ff:ff:ff"
def tlv(t, v):
    return bytes([(t << 1) | (len(v) >> 8), len(v) & 0xFF]) + v
def lldpdu(chassis, port, ttl, *more):
    return (tlv(1, b"\\x04" + chassis) + tlv(2, b"\\x05" + port) + tlv(3, struct.pack(">H", ttl))
            + b"".join(more) + tlv(0, b""))
$body
sendp(frames, iface=sys.argv[1], verbose=False)
EOF
}
