#!/usr/bin/env bash
# The LLDP lab: three network namespaces in a line,
#
#     a [to-b] ---- [to-a] b [to-c] ---- [to-b] c
#
# joined by veth links, one lldpagent in each with its own options file,
# command socket and log. Waits until the agents have learnt each other,
# prints what each one learnt (lldpctl show neighbors), and takes everything
# away again, also on Ctrl-C or failure.
#
# Each run has a directory of its own (mktemp, under $TMPDIR or /tmp) and
# namespaces named after it (lldplab-<id>-a ...), so labs can run side by
# side; nothing is left behind unless KEEP=1 asks for it.
#
# STACK=1: two units forming one stack (their agents joined through their
# command sockets), each with a neighbour of its own,
#
#     lab-n1 [to-u1] ---- [to-n1] lab-u1 ==stack== lab-u2 [to-n2] ---- [to-u2] lab-n2
#
# and each unit shows both neighbours: its own, and the other unit's on that
# unit's port (named UNIT/ifname).
#
#   lab/lab.sh up          build the lab, show it, take it down (KEEP=1: leave it running)
#   lab/lab.sh down [DIR]  take a kept lab away (every kept lab when no DIR is named)
#
# Needs root and iproute2. Never touches the host's own interfaces.
set -u

ROOT=$(cd "$(dirname "$0")/.." && pwd)
AGENT=${AGENT:-${LLDP_BUILD_DIR:-$ROOT/build}/lldpagent}
LLDPCTL=${LLDPCTL:-$(dirname "$AGENT")/lldpctl}
KEEP=${KEEP:-0}
WAIT=${WAIT:-90}
STACK=${STACK:-0}
if [ "$STACK" = 1 ]; then NODES="u1 u2 n1 n2"; else NODES="a b c"; fi
ALL_NODES="a b c u1 u2 n1 n2"
BASE=${TMPDIR:-/tmp}

fail() {
  echo "lab: $*" >&2
  exit 1
}

# down_dir DIR: stops the agents of the lab in DIR, deletes its namespaces
# and the directory.
down_dir() {
  local dir=$1 f pid n id
  [ -f "$dir/lab.id" ] || return 0
  id=$(cat "$dir/lab.id")
  for f in "$dir"/*.pid; do
    [ -e "$f" ] || continue
    pid=$(cat "$f")
    kill "$pid" 2>/dev/null
  done
  # The agents send their shutdown LLDPDUs and leave within about a second.
  for _ in $(seq 30); do
    alive=0
    for f in "$dir"/*.pid; do [ -e "$f" ] && kill -0 "$(cat "$f")" 2>/dev/null && alive=1; done
    [ $alive = 0 ] && break
    sleep 0.1
  done
  for f in "$dir"/*.pid; do
    [ -e "$f" ] || continue
    kill -9 "$(cat "$f")" 2>/dev/null
  done
  for n in $ALL_NODES; do ip netns del "lldplab-$id-$n" 2>/dev/null; done
  rm -rf "$dir"
}

up() {
  [ "$(id -u)" -eq 0 ] || fail "needs root (network namespaces)"
  command -v ip >/dev/null || fail "needs iproute2 (ip)"
  [ -x "$AGENT" ] || fail "no agent at $AGENT (run make build first)"
  [ -x "$LLDPCTL" ] || fail "no lldpctl at $LLDPCTL (run make build first)"

  DIR=$(mktemp -d "$BASE/lldplab.XXXXXX") || fail "cannot make a directory in $BASE"
  ID=${DIR##*.}
  ns() { echo "lldplab-$ID-$1"; }
  echo "$ID" >"$DIR/lab.id"
  trap 'down_dir "$DIR"; exit 130' INT TERM
  trap '[ "$KEEP" = 1 ] && [ "${ok:-0}" = 1 ] || down_dir "$DIR"' EXIT

  for n in $NODES; do
    ip netns add "$(ns "$n")" || fail "cannot create namespace $(ns "$n")"
    ip -n "$(ns "$n")" link set lo up
  done
  if [ "$STACK" = 1 ]; then
    ip link add to-n1 netns "$(ns u1)" type veth peer name to-u1 netns "$(ns n1)" || fail "veth u1-n1"
    ip link add to-n2 netns "$(ns u2)" type veth peer name to-u2 netns "$(ns n2)" || fail "veth u2-n2"
  else
    ip link add to-b netns "$(ns a)" type veth peer name to-a netns "$(ns b)" || fail "veth a-b"
    ip link add to-c netns "$(ns b)" type veth peer name to-b netns "$(ns c)" || fail "veth b-c"
    ip -n "$(ns a)" addr add 192.0.2.1/24 dev to-b
    ip -n "$(ns b)" addr add 192.0.2.2/24 dev to-a
    ip -n "$(ns b)" addr add 198.51.100.2/24 dev to-c
    ip -n "$(ns c)" addr add 198.51.100.3/24 dev to-b
  fi
  for n in $NODES; do
    for dev in $(ip -n "$(ns "$n")" -o link show type veth | awk -F': ' '{sub(/@.*/, "", $2); print $2}'); do
      ip -n "$(ns "$n")" link set "$dev" up
    done
  done

  for n in $NODES; do
    cat > "$DIR/$n.conf" <<EOF
# lab agent $n
lldp.enable = true
lldp.maxifnum = 8
lldp.defaultportmode = rxtx
host.sysname = lab-$n
host.cmdsocket = $DIR/$n.sock
EOF
    case $n in
      u[12])
        printf 'host.stackunit = %s\nhost.stackpeers = %s %s\n' "${n#u}" "$DIR/u1.sock" "$DIR/u2.sock" >>"$DIR/$n.conf" ;;
    esac
    ip netns exec "$(ns "$n")" "$AGENT" -c "$DIR/$n.conf" >"$DIR/$n.log" 2>&1 &
    echo $! >"$DIR/$n.pid"
  done

  echo "lab: agents started in $(for n in $NODES; do printf '%s ' "$(ns "$n")"; done)"
  echo "lab: waiting (up to ${WAIT}s) until every agent has learnt its neighbours..."
  want_a=1 want_b=2 want_c=1 want_u1=2 want_u2=2 want_n1=1 want_n2=1
  # A port sends its first LLDPDU one interval (30 s) after it comes up, or
  # at once after a change: setting the interval to what it is does that,
  # once the ports' transmit machines have started.
  sleep 2
  for n in $NODES; do "$LLDPCTL" -s "$DIR/$n.sock" set interval 30 2>/dev/null; done
  start=$(date +%s)
  while :; do
    done_all=1
    for n in $NODES; do
      kill -0 "$(cat "$DIR/$n.pid")" 2>/dev/null || { tail -5 "$DIR/$n.log" >&2; fail "agent $n died"; }
      eval want=\$want_$n
      # Each neighbour's line of the brief list carries its system name.
      others=$(for o in $NODES; do [ "$o" != "$n" ] && printf '%s|' "$o"; done)
      got=$("$LLDPCTL" -s "$DIR/$n.sock" show neighbors 2>/dev/null | grep -c -E "lab-(${others%|})\b")
      [ "${got:-0}" -ge "$want" ] || done_all=0
    done
    [ $done_all = 1 ] && break
    [ $(( $(date +%s) - start )) -ge "$WAIT" ] && { ok=0; break; }
    sleep 1
  done

  echo "lab: what each agent learnt (lldpctl show neighbors):"
  for n in $NODES; do
    echo "lab-$n:"
    "$LLDPCTL" -s "$DIR/$n.sock" show neighbors 2>&1 | sed 's/^./  &/'
  done
  [ "${done_all}" = 1 ] || fail "not every agent learnt its neighbours within ${WAIT}s (logs in $DIR)"
  ok=1
  if [ "$KEEP" = 1 ]; then
    echo "lab: left running in $DIR; each agent:"
    for n in $NODES; do
      echo "  lab-$n  namespace $(ns "$n")  command socket $DIR/$n.sock  log $DIR/$n.log"
      echo "         explore it: $LLDPCTL -s $DIR/$n.sock show neighbors (watch, set ..., --help)"
      echo "         a shell beside it: ip netns exec $(ns "$n") bash"
    done
    echo "lab: 'make lab-down LAB=$DIR' (or lab/lab.sh down $DIR) takes it away"
  else
    echo "lab: taking it down"
  fi
}

down() {
  local d
  if [ $# -gt 0 ]; then
    [ -f "$1/lab.id" ] || fail "$1 is not a running lab"
    down_dir "$1"
    return 0
  fi
  for d in "$BASE"/lldplab.*; do
    [ -f "$d/lab.id" ] && echo "lab: taking $d away" && down_dir "$d"
  done
  return 0
}

case "${1:-up}" in
  up) up ;;
  down) shift; down "$@" ;;
  *) echo "usage: $0 [up | down [DIR]]" >&2; exit 2 ;;
esac
