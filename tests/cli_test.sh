#!/usr/bin/env bash
# The daemon's command line and options file: help and version, a missing or
# malformed file, an unknown key, a bad trace mask and a user without raw
# sockets. Run inside a namespace of its own so that nothing can touch the
# host's interfaces.
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

printf 'lldp.enable = true\n# fine\nlldp.maxifnum 8\n' >"$TMP/bad.conf"
run -c "$TMP/bad.conf"
[ $rc -eq 1 ] && [ "$(wc -l <"$TMP/err")" -eq 1 ] && [[ "$err" == *"$TMP/bad.conf:3:"* ]] ||
  fail "malformed file: rc $rc, '$err'"

printf 'lldp.enable = true\n' >"$TMP/ok.conf"
run -c "$TMP/ok.conf" -d 0xzz
[ $rc -eq 1 ] && [[ "$err" == *"0xzz"* ]] || fail "bad trace mask: rc $rc, '$err'"
pass "a missing or malformed file stops the agent naming file and line"

# An unknown key warns with file and line; "lldp.enable = false" then ends
# the agent before it builds anything.
printf 'lldp.enable = false\nlldp.maxifnun = 8\n' >"$TMP/typo.conf"
run -c "$TMP/typo.conf"
[[ "$err" == *"warning: $TMP/typo.conf:2: unknown key 'lldp.maxifnun'"* ]] ||
  fail "unknown key: '$err'"
[ $rc -ne 0 ] || fail "lldp.enable = false should not start"
pass "an unknown key is a warning naming file and line"

if command -v setpriv >/dev/null && id nobody >/dev/null 2>&1; then
  chmod 755 "$TMP"
  chmod 644 "$TMP/ok.conf"
  ip netns exec "$(nsname a)" setpriv --reuid=nobody --regid="$(id -g nobody)" --clear-groups \
    --inh-caps=-all --bounding-set=-all timeout 10 "$AGENT" -c "$TMP/ok.conf" >"$TMP/out" 2>"$TMP/err"
  rc=$?
  err=$(cat "$TMP/err")
  [ $rc -eq 1 ] && [ "$(wc -l <"$TMP/err")" -eq 1 ] && [[ "$err" == *"raw packet socket"* ]] ||
    fail "no raw socket permission: rc $rc, '$err'"
  pass "no permission for raw sockets is one line and status 1"
else
  echo "note $TEST: setpriv or user nobody missing, raw-socket permission case not run" >&2
fi
