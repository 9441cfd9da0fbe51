#!/usr/bin/env bash
# Link life cycle as the agent sees it through the platform: an MTU and a MAC
# change reach the port (and the frames it sends); a veth created while the
# agent runs becomes a port and goes away when deleted; a port whose link
# goes down loses its neighbours at the next second and learns them again
# after link up.
. "$(dirname "$0")/nslib.sh"
need_netns
need_tool tshark
need_tool tcpdump

mkns a
mkns b
veth a va b vb
capture b vb "$TMP/b.pcap"
start_agent a alpha 0x123
start_agent b bravo 0x123

# MTU and MAC, changed before the first frame goes out.
ip -n "$(nsname a)" link set va mtu 1400
ip -n "$(nsname a)" link set va address 02:11:22:33:44:55
wait_for alpha "port va change mtu to 1418" 1 5
wait_for alpha "port va change mac to02:11:22:33:44:55" 1 5
pass "MTU and MAC changes reach the port"

# A veth made and removed while the agents run.
ip link add vc netns "$(nsname a)" type veth peer name vd netns "$(nsname b)"
wait_for alpha "port vc REGISTER" 1 5
wait_for bravo "port vd REGISTER" 1 5
ip -n "$(nsname a)" link del vc
wait_for alpha "unregister port vc" 1 5
wait_for bravo "unregister port vd" 1 5
pass "a new veth becomes a port and a deleted one goes away"

wait_for alpha "New MSAP Cache Miss on portva" 1 45
wait_for bravo "New MSAP Cache Miss on portvb" 1 45
sleep 0.5
fields=$(tshark -r "$TMP/b.pcap" -Y lldp -T fields -E separator='|' -e eth.src \
  -e lldp.chassis.id.mac -e lldp.ieee.802_3.max_frame_size 2>/dev/null | head -1)
[ "$fields" = "02:11:22:33:44:55|02:11:22:33:44:55|1418" ] ||
  fail "frame after the changes decodes as '$fields'"
pass "frames carry the new MAC and the largest frame of the new MTU"

# Link down: both ends lose the neighbour at the next tick.
ip -n "$(nsname a)" link set va down
wait_for alpha "port va linkdown!" 1 3
wait_for alpha "MSAP Cache delete on port va" 1 2
wait_for bravo "port vb linkdown!" 1 3
wait_for bravo "MSAP Cache delete on port vb" 1 2
pass "link down drops the neighbours within a second"

ip -n "$(nsname a)" link set va up
wait_for alpha "port va linkup!" 1 3
wait_for bravo "port vb linkup!" 1 3
wait_for alpha "New MSAP Cache Miss on portva" 2 45
wait_for bravo "New MSAP Cache Miss on portvb" 2 45
pass "neighbours learnt again after link up"
