#!/usr/bin/env bash
# The management Ethernet interface (host.mgmtif) is a port only when
# lldp.methifenable is true; the other interfaces are ports either way.
. "$(dirname "$0")/nslib.sh"
need_netns
mkns a
mkns b
veth a m0 b x0
veth a p0 b x1

start_agent a off 0x102 "host.mgmtif = m0" "lldp.methifenable = false"
wait_for off "running RX state machine for port p0" 1 5
sleep 1.5
[ "$(count off "running RX state machine for port m0")" -eq 0 ] ||
  fail "the management interface ran LLDP without lldp.methifenable"
kill "$PID_off"
wait "$PID_off" 2>/dev/null

start_agent a on 0x102 "host.mgmtif = m0" "lldp.methifenable = true"
wait_for on "running RX state machine for port m0" 1 5
wait_for on "running RX state machine for port p0" 1 5
pass "the management interface runs LLDP only with lldp.methifenable"
