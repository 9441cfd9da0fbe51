#!/usr/bin/env bash
# lldpctl's show commands against a real agent (alpha) with two neighbours:
# bravo, another agent whose port sends every TLV our transmit path can
# build (802.1 with VLAN names and a PPVID, 802.3, LLDP-MED with a voice
# policy, coordinate, civic and ELIN locations and inventory, PoE, the
# private set, a management address), and a frame crafted with scapy that
# carries what the transmit path never sends (a reserved TLV type, an
# organisation the agent does not decode, an IPv6 management address, a
# powered device).
#
# Every show command's text and JSON is compared with tests/golden/ after
# masking what depends on time (time left, ages, up-times) and the frame
# counts; the JSON is parsed with python's json module and its conventions
# checked (lower_snake_case keys, lists that stay lists with zero and one
# neighbour, numbers as numbers). Then the errors: an unknown command, a bad
# port, no agent, a socket without permission, each one line and its exit
# status.
#
# LLDP_GOLDEN_UPDATE=1 writes the golden files instead of comparing.
. "$(dirname "$0")/nslib.sh"
need_netns
CTL=$BUILD/lldpctl
[ -x "$CTL" ] || skip "lldpctl is not built ($CTL)"
[ -x /usr/bin/python3 ] && /usr/bin/python3 -c 'import scapy' 2>/dev/null || skip "needs python3-scapy"
GOLDEN=$ROOT/tests/golden
CHECK="/usr/bin/python3 $ROOT/tests/lldpctl_show_check.py"

mkns a
mkns b
mkns c
veth a va b vb
veth a vc c vx
# Fixed addresses and host facts, so that the output does not depend on the
# machine.
ip -n "$(nsname a)" link set va address 02:00:00:00:0a:01
ip -n "$(nsname a)" link set vc address 02:00:00:00:0a:02
ip -n "$(nsname b)" link set vb address 02:00:00:00:0b:01
host=("host.sysdescr = Test system" "host.hwrev = HW1" "host.fwrev = FW2" "host.swrev = SW3"
      "host.serial = SN4" "host.manufacturer = Maker" "host.assetid = Asset6" "host.mautype = 30"
      "host.pvid = 1")
start_agent a alpha 0x100 "host.sysmac = 02:00:00:00:00:0a" "${host[@]}"
start_agent b bravo 0x104 "host.sysmac = 02:00:00:00:00:0b" "${host[@]}" "host.poe = true" \
  "host.sysoid = 1.3.6.1.4.1.8072.3" "host.medpowertype = 1" "host.psepowersource = 1"

A() { ip netns exec "$(nsname a)" "$CTL" -s "$TMP/alpha.sock" "$@"; }
B() { ip netns exec "$(nsname b)" "$CTL" -s "$TMP/bravo.sock" "$@"; }
ok() { local out; out=$("$@") && [[ "$out" == '{"result":0,'* ]] || fail "$*: $out"; }

# No neighbour yet: the list is an empty list, the table has its footer.
A -f json show neighbors >"$TMP/zero.json" || fail "show neighbors with no neighbour failed"
$CHECK lists "$TMP/zero.json" 0 || fail "zero neighbours: $(cat "$TMP/zero.json")"
[ "$(A show neighbors | tail -1)" = "Total entries displayed: 0" ] || fail "no footer with zero neighbours"
pass "zero neighbours: an empty list, and the footer"

# Bravo: every option on its port (changes before its transmit machine has
# started would be forgotten by its initialisation).
wait_for bravo "TX_LLDP_INITIALIZE -> TX_IDLE" 1 10
unit=$(ip -n "$(nsname b)" -o link show vb | cut -d: -f1)
ok B call 2 0 21 --int 3                # LLDP-MED endpoint, class III
ok B call 7 "$unit" 54 --hex f400        # LLDP-MED: capabilities, policy, location, PSE, inventory
ok B call 7 "$unit" 70 --hex e000        # the private set
ok B call 7 "$unit" 22 --int 1           # 802.1 port VLAN ID
ok B call 7 "$unit" 26 --int 1           # 802.1 protocol identity
ok B call 7 "$unit" 27 --hex 004010      # the names of VLANs 10 and 20
ok B call 7 "$unit" 29 --hex 00000004    # PPVID 30
for ov in 56:100 57:6 58:46; do ok B call 60 0 "${ov%%:*}" --key-words "$unit,1" --int "${ov#*:}"; done
ok B call 65 0 1 --key-words "$unit,1" --str "north,52.5162,east,13.3777,meters,34,wgs84,"
ok B call 65 0 1 --key-words "$unit,2" --hex 0f02444503064265726c696e13023132
ok B call 65 0 1 --key-words "$unit,3" --str 12025550100
ok B call 17 0 15 --key "01c6336409$(printf '0%.0s' $(seq 56))04" --key-words "$unit" --int 2

# Alpha learns all of it (the management address was the last change).
end=$(( $(date +%s) + 30 ))
until A -f json show neighbors va detail 2>/dev/null | /usr/bin/python3 -c '
import json, sys
n = json.load(sys.stdin)["neighbors"]
sys.exit(0 if n and n[0]["management_addresses"] and n[0]["med"] and len(n[0]["med"]["locations"]) == 3 else 1)'; do
  [ "$(date +%s)" -ge "$end" ] && fail "alpha did not learn bravo's whole LLDPDU within 30 s"
  sleep 0.5
done
# One neighbour: lists stay lists.
A -f json show neighbors >"$TMP/one.json"
$CHECK lists "$TMP/one.json" 1 || fail "one neighbour: $(cat "$TMP/one.json")"
A -f json show neighbors detail >"$TMP/one-detail.json"
$CHECK lists "$TMP/one-detail.json" 1 || fail "one neighbour in detail: $(cat "$TMP/one-detail.json")"
pass "one neighbour: lists stay lists, brief and detail"

ip netns exec "$(nsname c)" /usr/bin/python3 "$ROOT/tests/lldpctl_show_frame.py" vx || fail "scapy could not send"
end=$(( $(date +%s) + 10 ))
until [ "$(A show neighbors | tail -1)" = "Total entries displayed: 2" ]; do
  [ "$(date +%s)" -ge "$end" ] && fail "alpha did not learn the crafted neighbour"
  sleep 0.3
done

# The views, text and JSON, masked, against the golden files.
views=("show neighbors" "show neighbors detail" "show neighbors vc" "show local" "show ports"
       "show statistics" "show config")
: >"$TMP/text.out"
: >"$TMP/json.out"
for v in "${views[@]}"; do
  # shellcheck disable=SC2086
  A $v >"$TMP/view.txt" || fail "lldpctl $v failed"
  # shellcheck disable=SC2086
  A -f json $v >"$TMP/view.json" || fail "lldpctl -f json $v failed"
  if [ "$v" = "show neighbors" ] || [ "$v" = "show neighbors vc" ] || [ "$v" = "show statistics" ]; then
    long=$(awk 'length > 80' "$TMP/view.txt" | head -1)
    [ -z "$long" ] || fail "lldpctl $v: a line wider than 80 columns: '$long'"
  fi
  text=$($CHECK text "$TMP/view.txt") || fail "masking lldpctl $v"
  json=$($CHECK json "$TMP/view.json") || fail "lldpctl -f json $v: $(head -c 400 "$TMP/view.json")"
  printf '$ lldpctl %s\n%s\n\n' "$v" "$text" >>"$TMP/text.out"
  printf '$ lldpctl -f json %s\n%s\n\n' "$v" "$json" >>"$TMP/json.out"
done
if [ "${LLDP_GOLDEN_UPDATE:-}" = 1 ]; then
  mkdir -p "$GOLDEN"
  cp "$TMP/text.out" "$GOLDEN/lldpctl_show.txt"
  cp "$TMP/json.out" "$GOLDEN/lldpctl_show.json"
  pass "golden files written"
else
  diff -u "$GOLDEN/lldpctl_show.txt" "$TMP/text.out" >&2 || fail "text output differs from tests/golden/lldpctl_show.txt"
  diff -u "$GOLDEN/lldpctl_show.json" "$TMP/json.out" >&2 || fail "JSON output differs from tests/golden/lldpctl_show.json"
  pass "every show view, text and JSON, matches tests/golden"
fi

# Errors: one line each, and the documented status.
# expect STATUS PATTERN COMMAND...: the command exits STATUS and its first
# line on standard error matches PATTERN (with one line only when ONE=1).
expect() {
  local want=$1 pattern=$2 err rc
  shift 2
  err=$("$@" 2>&1 >/dev/null); rc=$?
  [ "$rc" -eq "$want" ] || fail "$*: status $rc, expected $want ($err)"
  [[ "$(echo "$err" | head -1)" == $pattern ]] || fail "$*: said '$err'"
  if [ "${ONE:-0}" = 1 ]; then [ "$(echo "$err" | wc -l)" -eq 1 ] || fail "$*: more than one line: $err"; fi
}
expect 2 "lldpctl: unknown command 'frobnicate'" A frobnicate
expect 2 "lldpctl: unknown command 'show frobnicate'" A show frobnicate
ONE=1 expect 2 "lldpctl: no port eth9" A show neighbors eth9
ONE=1 expect 2 "lldpctl: no port 99" A show ports 99
expect 2 "lldpctl: show config takes no argument*" A show config va
ONE=1 expect 1 "*$TMP/nobody.sock*" "$CTL" -s "$TMP/nobody.sock" show neighbors
chmod o+x "$TMP"
ONE=1 expect 1 "*$TMP/alpha.sock*ermission denied*" ip netns exec "$(nsname a)" \
  setpriv --reuid=65534 --regid=65534 --clear-groups "$CTL" -s "$TMP/alpha.sock" show config
A show neighbors --help | grep -q "^usage: lldpctl .*show neighbors" || fail "show neighbors --help"
"$CTL" --version | grep -q "^lldpctl [0-9]" || fail "--version"
pass "bad command, bad port, no agent, no permission: one line, status 2 or 1; --help and --version"
