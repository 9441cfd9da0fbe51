#!/usr/bin/env bash
# The agent as a daemon, at the default trace mask: its start line, one line
# per neighbour added, changed or deleted, its name in ps and its threads'
# names; SIGHUP re-reads the options (a new system name goes out at once, a
# key that needs a restart is named); the system log, and the one warning when
# it cannot be reached; SIGTERM and SIGINT send the shutdown LLDPDU (TTL 0) so
# that the neighbour forgets us at once, log the stop line, remove the command
# socket and exit 0.
. "$(dirname "$0")/nslib.sh"
need_netns
need_tool tshark
need_tool tcpdump
need_tool python3
need_tool pgrep

mkns a
mkns b
veth a va b vb
capture b vb "$TMP/b.pcap"

# A system log for alpha: a datagram socket that keeps what it receives.
python3 - "$TMP/log.sock" "$TMP/syslog.txt" <<'PY' &
import socket, sys
s = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
s.bind(sys.argv[1])
with open(sys.argv[2], "ab", 0) as f:
    while True:
        f.write(s.recv(8192) + b"\n")
PY
PIDS+=("$!")
for _ in $(seq 50); do [ -S "$TMP/log.sock" ] && break; sleep 0.1; done

start_agent a alpha "" "host.syslog = $TMP/log.sock"
start_agent b bravo "" "host.syslog = $TMP/nolog.sock"

# ---- start line, names -----------------------------------------------------------
wait_for alpha "started: options $TMP/alpha.conf, 1 port, command socket $TMP/alpha.sock" 1 5
[[ "$(head -1 "$TMP/alpha.log")" == *" lldp: lldpagent "*" started: "* ]] ||
  fail "alpha's first line is not its start line: $(head -1 "$TMP/alpha.log")"
pgrep -x lldpagent | grep -qx "$PID_alpha" || fail "pgrep -x lldpagent does not find alpha ($PID_alpha)"
[ "$(cat "/proc/$PID_alpha/comm")" = lldpagent ] || fail "main thread is named $(cat "/proc/$PID_alpha/comm")"
threads=$(cat /proc/"$PID_alpha"/task/*/comm | sort | tr '\n' ' ')
[[ "$threads" == *"lldpagent:cmd "* && "$threads" == *"lldpagent:task "* ]] ||
  fail "thread names: $threads"
pass "start line at the default mask; ps shows lldpagent, threads $threads"

# ---- neighbour lines -------------------------------------------------------------
wait_for alpha "lldp remote information change. (ifName=[va],reason=[add])" 1 45
wait_for bravo "lldp remote information change. (ifName=[vb],reason=[add])" 1 45
# Nothing but these two lines at the default mask.
[ "$(wc -l <"$TMP/alpha.log")" -eq 2 ] || fail "alpha logs more than its start and neighbour lines"
pass "one line per neighbour added"

# ---- system log ------------------------------------------------------------------
for _ in $(seq 20); do grep -q "reason=\[add\]" "$TMP/syslog.txt" 2>/dev/null && break; sleep 0.1; done
grep -q "^<29>.* lldpagent\[$PID_alpha\]: lldp: lldpagent .* started: " "$TMP/syslog.txt" &&
  grep -q "lldpagent\[$PID_alpha\]: lldp.remote: lldp remote information change. (ifName=\[va\],reason=\[add\])" "$TMP/syslog.txt" ||
  fail "system log got: $(cat "$TMP/syslog.txt" 2>/dev/null)"
[ "$(count bravo "cannot reach the system log at $TMP/nolog.sock")" -eq 1 ] ||
  fail "bravo should warn once about its unreachable system log: $(count bravo 'cannot reach the system log')"
pass "start and neighbour lines in the system log; an unreachable one is said once"

# ---- SIGHUP ----------------------------------------------------------------------
sed -i -e 's/^host.sysname = alpha$/host.sysname = alpha2/' -e 's/^lldp.maxifnum = 8$/lldp.maxifnum = 9/' "$TMP/alpha.conf"
kill -HUP "$PID_alpha"
wait_for alpha "reload: host.sysname 'alpha' -> 'alpha2'" 1 5
wait_for alpha "reload: lldp.maxifnum '8' -> '9' needs a restart; running with '8' until then" 1 5
# The new name goes out at once, not at the next 30 s interval.
wait_for bravo "lldp remote information change. (ifName=[vb],reason=[change])" 1 5
kill -0 "$PID_alpha" 2>/dev/null || fail "SIGHUP ended alpha"
echo "broken" >>"$TMP/alpha.conf"
kill -HUP "$PID_alpha"
wait_for alpha "the running options stay" 1 5
kill -0 "$PID_alpha" 2>/dev/null || fail "a broken file on SIGHUP ended alpha"
pass "SIGHUP applies the new system name and names the key that needs a restart"

# ---- SIGTERM ---------------------------------------------------------------------
mac_a=$(ip -n "$(nsname a)" -o link show va | sed -E 's/.*link\/ether ([0-9a-f:]+).*/\1/')
t0=$(date +%s%N)
kill -TERM "$PID_alpha"
wait "$PID_alpha"
rc=$?
ms=$(( ($(date +%s%N) - t0) / 1000000 ))
[ "$rc" -eq 0 ] || fail "SIGTERM: exit status $rc"
[ "$ms" -le 2500 ] || fail "SIGTERM took ${ms} ms"
wait_for alpha "stopped (SIGTERM)" 1 1
[ ! -e "$TMP/alpha.sock" ] || fail "command socket left behind"
wait_for bravo "lldp remote information change. (ifName=[vb],reason=[delete])" 1 3
# tcpdump's capture ring hands a frame over up to a second after it came.
for _ in $(seq 30); do
  sleep 0.1
  ttl0=$(tshark -r "$TMP/b.pcap" -Y "lldp.time_to_live == 0 && eth.src == $mac_a" 2>/dev/null | wc -l)
  [ "$ttl0" -ge 1 ] && break
done
[ "$ttl0" -ge 1 ] || fail "tshark sees no TTL-0 LLDPDU from alpha"
pass "SIGTERM: shutdown LLDPDU seen by tshark, neighbour forgot us at once, exit 0 after ${ms} ms"

kill -INT "$PID_bravo"
wait "$PID_bravo"
rc=$?
[ "$rc" -eq 0 ] && [ "$(count bravo 'stopped (SIGINT)')" -eq 1 ] || fail "SIGINT: exit $rc"
pass "SIGINT stops in order too"
