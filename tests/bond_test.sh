#!/usr/bin/env bash
# A port that joins a bond stays a port and is told of its aggregation; it is
# told again when it leaves. Skipped where the kernel has no bonding driver.
. "$(dirname "$0")/nslib.sh"
need_netns
mkns a
mkns b
ip -n "$(nsname a)" link add bond0 type bond 2>/dev/null || skip "no bonding driver in this kernel"
veth a va b vb
start_agent a alpha 0x123
sleep 1

ip -n "$(nsname a)" link set va down
ip -n "$(nsname a)" link set va master bond0 || fail "cannot enslave va"
ip -n "$(nsname a)" link set bond0 up
wait_for alpha "port va ZOR_IFLA_PHYJOINAGG" 1 5
[ "$(count alpha "unregister port va")" -eq 0 ] || fail "a bond member stopped being a port"
[ "$(count alpha "port bond0 REGISTER")" -eq 0 ] || fail "the bond itself became a port"
pass "a port joining a bond is told of its aggregation"

ip -n "$(nsname a)" link set va nomaster
wait_for alpha "port va ZOR_IFLA_PHYQUITAGG" 1 5
pass "and of leaving it"
