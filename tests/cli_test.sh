#!/usr/bin/env bash
# The daemon's command line and options file: help and version, a missing,
# unreadable or malformed file or a directory, an unknown key, a bad trace
# mask, a disabled agent, the warnings about options that leave it useless,
# a user without raw sockets, and the change to an unprivileged user. Run
# inside a namespace of its own so that nothing can touch the host's
# interfaces.
. "$(dirname "$0")/nslib.sh"
need_netns
mkns a

run() {  # run ARGS...: runs the agent in the namespace, sets rc, out, err
  ip netns exec "$(nsname a)" timeout 10 "$AGENT" "$@" >"$TMP/out" 2>"$TMP/err"
  rc=$?
  out=$(cat "$TMP/out")
  err=$(cat "$TMP/err")
}

run --version
[ $rc -eq 0 ] && [[ "$out" == "lldpagent "* ]] || fail "--version: rc $rc, '$out'"
run --help
[ $rc -eq 0 ] && [[ "$out" == *"-c FILE"* ]] || fail "--help: rc $rc"
run --frobnicate
[ $rc -eq 1 ] && [ -n "$err" ] || fail "unknown argument: rc $rc"
pass "help, version and bad arguments"

run -c "$TMP/missing.conf"
[ $rc -eq 1 ] && [ "$(wc -l <"$TMP/err")" -eq 1 ] && [[ "$err" == *"$TMP/missing.conf"* ]] &&
  [[ "$err" == *"No such file"* ]] || fail "missing file: rc $rc, '$err'"

run -c "$TMP"
[ $rc -eq 1 ] && [ "$(wc -l <"$TMP/err")" -eq 1 ] &&
  [ "$err" = "lldpagent: cannot read options file $TMP: Is a directory" ] ||
  fail "directory as options file: rc $rc, '$err'"

printf 'lldp.enable = true\n# fine\nlldp.maxifnum 8\n' >"$TMP/bad.conf"
run -c "$TMP/bad.conf"
[ $rc -eq 1 ] && [ "$(wc -l <"$TMP/err")" -eq 1 ] && [[ "$err" == *"$TMP/bad.conf:3:"* ]] ||
  fail "malformed file: rc $rc, '$err'"

printf 'lldp.enable = true\n' >"$TMP/ok.conf"
run -c "$TMP/ok.conf" -d 0xzz
[ $rc -eq 1 ] && [[ "$err" == *"0xzz"* ]] || fail "bad trace mask: rc $rc, '$err'"
pass "a missing, malformed or directory options file stops the agent naming file and line"

# An unknown key warns with file and line; "lldp.enable = false" then ends
# the agent before it builds anything, saying so, with status 0.
printf 'lldp.enable = false\nlldp.maxifnun = 8\n' >"$TMP/typo.conf"
run -c "$TMP/typo.conf"
[[ "$err" == *"warning: $TMP/typo.conf:2: unknown key 'lldp.maxifnun'"* ]] ||
  fail "unknown key: '$err'"
[ $rc -eq 0 ] && [[ "$err" == *"lldp.enable is false: the agent is disabled and does not start"* ]] ||
  fail "lldp.enable = false: rc $rc, '$err'"
pass "an unknown key is a warning naming file and line; a disabled agent says so and exits 0"

# Options that start an agent that can do nothing: each named in a warning.
# The agent runs until SIGTERM.
warned() {  # warned CONF-TEXT: starts the agent with it, stops it, sets err
  printf '%s\nhost.cmdsocket = %s\n' "$1" "$TMP/w.sock" >"$TMP/w.conf"
  # Emptied here, not by the background redirection, so that the wait below
  # cannot see the previous run's start line.
  : >"$TMP/err"
  ip netns exec "$(nsname a)" "$AGENT" -c "$TMP/w.conf" >"$TMP/out" 2>"$TMP/err" &
  local pid=$!
  for _ in $(seq 50); do grep -q started "$TMP/err" && break; sleep 0.1; done
  kill -TERM $pid
  wait $pid
  rc=$?
  err=$(cat "$TMP/err")
}
warned ""
[ $rc -eq 0 ] && [[ "$err" == *"warning: lldp.maxifnum is not set: no neighbour will be kept"* ]] &&
  [[ "$err" == *"warning: lldp.defaultportmode leaves every port disabled"* ]] ||
  fail "empty options: rc $rc, '$err'"
warned $'lldp.maxifnum = 8\nlldp.defaultportmode = rxtx'
[ $rc -eq 0 ] && [[ "$err" != *warning* ]] || fail "useful options warn: '$err'"
pass "options that keep no neighbour or disable every port are named in a warning"

if command -v setpriv >/dev/null && id nobody >/dev/null 2>&1; then
  chmod 755 "$TMP"
  chmod 644 "$TMP/ok.conf"
  # The build may sit where nobody cannot reach it (a clone in /root).
  cp "$AGENT" "$TMP/lldpagent"
  AGENT=$TMP/lldpagent
  ip netns exec "$(nsname a)" setpriv --reuid=nobody --regid="$(id -g nobody)" --clear-groups \
    --inh-caps=-all --bounding-set=-all timeout 10 "$AGENT" -c "$TMP/ok.conf" >"$TMP/out" 2>"$TMP/err"
  rc=$?
  err=$(cat "$TMP/err")
  [ $rc -eq 1 ] && [ "$(wc -l <"$TMP/err")" -eq 1 ] && [[ "$err" == *"raw packet socket"* ]] ||
    fail "no raw socket permission: rc $rc, '$err'"
  mkdir -m 700 "$TMP/private"
  cp "$TMP/ok.conf" "$TMP/private/ok.conf"
  ip netns exec "$(nsname a)" setpriv --reuid=nobody --regid="$(id -g nobody)" --clear-groups \
    timeout 10 "$AGENT" -c "$TMP/private/ok.conf" >"$TMP/out" 2>"$TMP/err"
  rc=$?
  err=$(cat "$TMP/err")
  [ $rc -eq 1 ] && [ "$err" = "lldpagent: cannot read options file $TMP/private/ok.conf: Permission denied" ] ||
    fail "unreadable options file: rc $rc, '$err'"
  pass "no permission for raw sockets or for the options file is one line and status 1"

  # Started as root with host.user: runs as that user with CAP_NET_RAW only.
  mkdir -m 1777 "$TMP/run"
  printf 'lldp.maxifnum = 8\nlldp.defaultportmode = rxtx\nhost.user = nobody\nhost.cmdsocket = %s\n' \
    "$TMP/run/u.sock" >"$TMP/user.conf"
  ip netns exec "$(nsname a)" "$AGENT" -c "$TMP/user.conf" >"$TMP/out" 2>"$TMP/err" &
  pid=$!
  for _ in $(seq 50); do grep -q started "$TMP/err" && break; sleep 0.1; done
  grep -q "started: .*, user nobody" "$TMP/err" || fail "host.user: no start line: $(cat "$TMP/err")"
  status=$(cat /proc/$pid/status)
  uid=$(id -u nobody)
  for want in "Uid:	$uid	$uid	$uid	$uid" "CapEff:	0000000000002000" "CapPrm:	0000000000002000" \
              "CapBnd:	0000000000002000" "CapAmb:	0000000000000000" "NoNewPrivs:	1"; do
    grep -qF "$want" <<<"$status" || fail "host.user: /proc status lacks '$want'"
  done
  for t in /proc/$pid/task/*; do
    grep -q "^CapEff:	0000000000002000" "$t/status" || fail "thread $(cat "$t/comm") has other capabilities"
  done
  [ "$(stat -c %U "$TMP/run/u.sock")" = nobody ] || fail "command socket not owned by nobody"
  kill -TERM $pid
  wait $pid
  rc=$?
  [ $rc -eq 0 ] && [ ! -e "$TMP/run/u.sock" ] || fail "host.user: stop rc $rc or socket left"
  printf 'host.user = no-such-user-here\n' >"$TMP/nouser.conf"
  run -c "$TMP/nouser.conf"
  [ $rc -eq 1 ] && [ "$err" = "lldpagent: host.user no-such-user-here: no such user" ] ||
    fail "unknown host.user: rc $rc, '$err'"
  pass "host.user: runs as nobody with CAP_NET_RAW only in every thread, and stops cleanly"

  # Started as that user with CAP_NET_RAW ambient, as the systemd unit does.
  ip netns exec "$(nsname a)" setpriv --reuid=nobody --regid="$(id -g nobody)" --clear-groups \
    --inh-caps=+net_raw --ambient-caps=+net_raw "$AGENT" -c "$TMP/user.conf" >"$TMP/out" 2>"$TMP/err" &
  pid=$!
  for _ in $(seq 50); do grep -q started "$TMP/err" && break; sleep 0.1; done
  grep -q "started: " "$TMP/err" || fail "ambient CAP_NET_RAW: did not start: $(cat "$TMP/err")"
  kill -TERM $pid
  wait $pid || fail "ambient CAP_NET_RAW: stop rc $?"
  pass "an unprivileged user with ambient CAP_NET_RAW runs the agent"
else
  echo "note $TEST: setpriv or user nobody missing, permission cases not run" >&2
fi
