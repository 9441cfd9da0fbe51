#!/usr/bin/env bash
# The lab: two labs run side by side, each in a directory and namespaces of
# its own; one that is not kept leaves nothing behind; a kept one says how to
# reach each agent and is taken away by lab.sh down with its directory.
. "$(dirname "$0")/nslib.sh"
need_netns
export TMPDIR=$TMP
LAB="$ROOT/lab/lab.sh"
trap 'bash "$LAB" down >/dev/null 2>&1; cleanup' EXIT

KEEP=1 AGENT=$AGENT WAIT=75 bash "$LAB" up >"$TMP/kept.out" 2>&1 &
kept_pid=$!
KEEP=0 AGENT=$AGENT WAIT=75 bash "$LAB" up >"$TMP/once.out" 2>&1 &
once_pid=$!
wait $kept_pid || fail "kept lab failed: $(cat "$TMP/kept.out")"
wait $once_pid || fail "second lab failed beside the first: $(cat "$TMP/once.out")"
for out in kept once; do
  # lldpctl show neighbors of each agent, indented under its name: a and c
  # one neighbour each, b two.
  [ "$(grep -c -E '^  to-[abc] .*lab-[abc]\b' "$TMP/$out.out")" -eq 4 ] || fail "$out lab: $(cat "$TMP/$out.out")"
done
pass "two labs ran side by side and each learnt its line"

namespaces_of() { sed -n 's/^lab: agents started in //p' "$1"; }
for n in $(namespaces_of "$TMP/once.out"); do
  ip netns list | grep -qw "$n" && fail "lab that was not kept left namespace $n"
done
dirs=("$TMP"/lldplab.*)
[ ${#dirs[@]} -eq 1 ] && [ -d "${dirs[0]}" ] || fail "expected only the kept lab's directory: ${dirs[*]}"
kept_dir=${dirs[0]}
for n in $(namespaces_of "$TMP/kept.out"); do
  ip netns list | grep -qw "$n" || fail "kept lab lost namespace $n"
done
for n in a b c; do
  grep -qF "command socket $kept_dir/$n.sock" "$TMP/kept.out" && [ -S "$kept_dir/$n.sock" ] &&
    grep -qF "lldpctl -s $kept_dir/$n.sock show neighbors" "$TMP/kept.out" ||
    fail "kept lab does not say how to reach agent $n: $(cat "$TMP/kept.out")"
done
pass "a lab that is not kept leaves nothing; a kept one names each agent's socket and lldpctl line"

bash "$LAB" down "$kept_dir" || fail "lab.sh down $kept_dir"
[ ! -e "$kept_dir" ] || fail "lab.sh down left $kept_dir"
for n in $(namespaces_of "$TMP/kept.out"); do
  ip netns list | grep -qw "$n" && fail "lab.sh down left namespace $n"
done
pass "lab.sh down takes the kept lab away"
