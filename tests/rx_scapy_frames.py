#!/usr/bin/python3
"""LLDP frames crafted with scapy, an encoder independent of the agent, for
tests/rx_scapy_test.cpp. Prints one line per frame: "<name> <hex>".

Well-formed frames cover every TLV family; broken ones break one rule each.
Organizationally specific TLVs are laid out here from IEEE 802.1AB annexes
E and F and ANSI/TIA-1057, on scapy's generic organisation TLV.
Exits non-zero when scapy is missing, so the test fails rather than passes.
"""
import struct
import sys

from scapy.all import Dot1Q, Ether, conf
from scapy.asn1.asn1 import ASN1_OID
from scapy.contrib.lldp import (LLDPDUChassisID, LLDPDUEndOfLLDPDU,
                                LLDPDUGenericOrganisationSpecific,
                                LLDPDUManagementAddress, LLDPDUPortDescription,
                                LLDPDUPortID, LLDPDUSystemCapabilities,
                                LLDPDUSystemDescription, LLDPDUSystemName,
                                LLDPDUTimeToLive)
from scapy.packet import Raw

# Broken frames on purpose: no validation of TLV order or content.
conf.contribs["LLDP"].strict_mode_disable()

MCAST = "01:80:c2:00:00:0e"
SRC = "00:11:22:33:44:55"
DOT1 = 0x0080C2
DOT3 = 0x00120F
MED = 0x0012BB
PRIV = 0x00E0FC  # the private OUI the test's platform reports

frames = []


def emit(name, pkt):
    frames.append((name, bytes(pkt)))


def eth(dst=MCAST, etype=0x88CC):
    return Ether(dst=dst, src=SRC, type=etype)


def head(chassis=b"\x00\x11\x22\x33\x44\x55", port=b"ge-1/0/1", ttl=120):
    return (LLDPDUChassisID(subtype=4, id=chassis) /
            LLDPDUPortID(subtype=5, id=port) /
            LLDPDUTimeToLive(ttl=ttl))


def org(oui, subtype, data=b""):
    return LLDPDUGenericOrganisationSpecific(org_code=oui, subtype=subtype, data=data)


def mgmt(subtype, addr, ifnum=3, oid=None, **kw):
    oid_bytes = bytes(ASN1_OID(oid)) if oid else b""
    return LLDPDUManagementAddress(management_address_subtype=subtype,
                                   management_address=addr,
                                   interface_numbering_subtype=2,
                                   interface_number=ifnum, object_id=oid_bytes, **kw)


def raw_tlv(tlv_type, value, length=None):
    n = len(value) if length is None else length
    return Raw(bytes([(tlv_type << 1) | (n >> 8), n & 0xFF]) + value)


END = LLDPDUEndOfLLDPDU()
CH = LLDPDUChassisID(subtype=4, id=b"\x00\x01\x02\x03\x04\x05")
PT = LLDPDUPortID(subtype=5, id=b"p")
TTL = LLDPDUTimeToLive(ttl=9)

# ---- Well-formed --------------------------------------------------------------

emit("basic", eth() / head() /
     LLDPDUPortDescription(description=b"uplink to core") /
     LLDPDUSystemName(system_name=b"sw-edge-7") /
     LLDPDUSystemDescription(description=b"Linux sw-edge-7 6.1.0") /
     LLDPDUSystemCapabilities(mac_bridge_available=1, router_available=1,
                              mac_bridge_enabled=1) /
     mgmt(1, b"\xc0\x00\x02\x01", 3, "1.3.6.1.2.1.4.20.1.1") /
     mgmt(2, bytes.fromhex("20010db8000000000000000000000001"), 4) /
     mgmt(6, b"\x00\x11\x22\x33\x44\x55", 5, "1.3.6.1.4.1.1805.1") /
     END)

emit("tagged", Ether(dst=MCAST, src=SRC) / Dot1Q(vlan=42, type=0x88CC) / head() / END)

emit("dot1", eth() / head() /
     org(DOT1, 1, struct.pack(">H", 100)) /
     org(DOT1, 2, struct.pack(">BH", 0x06, 200)) /
     org(DOT1, 2, struct.pack(">BH", 0x02, 150)) /
     org(DOT1, 3, struct.pack(">HB", 100, 5) + b"users") /
     org(DOT1, 4, bytes([2, 0x88, 0x8E])) /
     END)

emit("dot3", eth() / head() /
     org(DOT3, 1, struct.pack(">BHH", 0x03, 0x6C01, 30)) /
     org(DOT3, 2, struct.pack(">BBB", 0x0F, 1, 4) + bytes([0x51]) + struct.pack(">HH", 255, 300)) /
     org(DOT3, 3, struct.pack(">BI", 0x03, 7)) /
     org(DOT3, 4, struct.pack(">H", 9216)) /
     END)

# Network policy word: application type, U T X, VLAN id, L2 priority, DSCP.
policy = (1 << 24) | (0 << 23) | (1 << 22) | (10 << 9) | (5 << 6) | 46
emit("med", eth() / head() /
     org(MED, 1, struct.pack(">HB", 0x0033, 3)) /
     org(MED, 2, struct.pack(">I", policy)) /
     org(MED, 3, bytes([2]) + b"\x1aUS\x00\x01\x02CA") /
     org(MED, 4, bytes([0x52]) + struct.pack(">H", 130)) /
     org(MED, 5, b"HW-1") /
     org(MED, 10, b"Phone 9000") /
     END)

emit("private", eth() / head() /
     org(PRIV, 1, struct.pack(">H", 0x0014)) /
     org(PRIV, 2, b"1.3.6.1.4.1.56789") /
     org(PRIV, 6, b"SN42") /
     END)

emit("unknown", eth() / head() / raw_tlv(20, b"twenty") /
     org(0x00005E, 1, b"\x01\x02") / org(DOT1, 7, b"\x00") / END)

emit("shutdown", eth() / head(ttl=0) / END)

# ---- Broken: rejection rules of the frame and basic TLVs -------------------------

emit("bad_dst", eth(dst="01:80:c2:00:00:03") / head() / END)
emit("bad_ethertype", eth(etype=0x88CD) / head() / END)
emit("order_port_first", eth() / PT / CH / TTL / END)
emit("order_no_ttl", eth() / CH / PT / END)
# Long enough that no padding follows the last TLV.
emit("no_end", eth() / head() / LLDPDUSystemDescription(description=b"d" * 60))
emit("overrun", eth() / head() / raw_tlv(6, b"d" * 60, length=61))
emit("ttl_short", eth() / CH / PT / raw_tlv(3, b"\x05") / END)
emit("chassis_short", eth() / raw_tlv(1, b"\x04") / PT / TTL / END)
emit("chassis_subtype0", eth() / raw_tlv(1, b"\x00abc") / PT / TTL / END)
emit("port_subtype8", eth() / CH / raw_tlv(2, b"\x08abc") / TTL / END)
emit("end_with_length", eth() / head() / raw_tlv(0, b"\x00"))
emit("syscap_short", eth() / head() / raw_tlv(7, b"\x00\x14\x00") / END)
emit("mgmt_len8", eth() / head() / raw_tlv(8, b"\x05\x01\xc0\x00\x02\x01\x02\x00") / END)
emit("mgmt_ipv4_short", eth() / head() / mgmt(1, b"\xc0\x00\x02") / END)
emit("mgmt_ipv6_short", eth() / head() / mgmt(2, b"\x20\x01" + b"\x00" * 13) / END)
emit("mgmt_mac_short", eth() / head() / mgmt(6, b"\x00\x11\x22\x33\x44") / END)
emit("mgmt_other_long", eth() / head() / mgmt(3, b"\x01" * 32) / END)

# ---- Broken: too-short organizationally specific TLVs --------------------------------

emit("dot1_pvid_short", eth() / head() / org(DOT1, 1, b"\x01") / END)
emit("dot1_ppvid_short", eth() / head() / org(DOT1, 2, b"\x06\x00") / END)
emit("dot1_ppvid_flags", eth() / head() / org(DOT1, 2, struct.pack(">BH", 0x04, 5)) / END)
emit("dot1_vlanname_short", eth() / head() / org(DOT1, 3, b"\x00\x01") / END)
emit("dot1_protoid_short", eth() / head() / org(DOT1, 4) / END)
emit("dot3_macphy_short", eth() / head() / org(DOT3, 1, b"\x03\x6c\x01\x00") / END)
emit("dot3_power_short", eth() / head() / org(DOT3, 2, b"\x07\x01") / END)
emit("dot3_agg_short", eth() / head() / org(DOT3, 3, b"\x03\x00\x00\x00") / END)
emit("dot3_mfs_short", eth() / head() / org(DOT3, 4, b"\x05") / END)
emit("med_cap_short", eth() / head() / org(MED, 1, b"\x00\x33") / END)
emit("med_policy_short", eth() / head() / org(MED, 2, b"\x01\x00\x00") / END)
emit("med_location_short", eth() / head() / org(MED, 3) / END)
emit("med_power_short", eth() / head() / org(MED, 4, b"\x52\x00") / END)
emit("priv_cap_short", eth() / head() / org(PRIV, 1, b"\x00") / END)
emit("priv_inventory_short", eth() / head() / org(PRIV, 3) / END)

# ---- Inner lengths that disagree with the TLV length -------------------------------
# Each TLV is followed by a system name of 0xEE bytes: a decoder that reads
# past its TLV would store some of them.

AFTER = LLDPDUSystemName(system_name=b"\xee" * 40)
emit("dot1_vlanname_over", eth() / head() /
     org(DOT1, 3, struct.pack(">HB", 5, 20) + b"abc") / AFTER / END)
emit("dot1_protoid_over", eth() / head() / org(DOT1, 4, bytes([10, 0x88, 0x8E])) / AFTER / END)
emit("dot1_ppvid_long", eth() / head() / org(DOT1, 2, bytes([0x06, 0, 7, 0xAB, 0xCD])) / AFTER / END)
# Power via MDI in the short form (7), up to the extended one (12), and above.
for n in (7, 8, 9, 10, 11, 13):
    emit("dot3_power_len%d" % n, eth() / head() /
         org(DOT3, 2, bytes([0x07, 1, 2]) + bytes([0x51, 0, 0x64, 0, 0x96, 0x01])[:n - 7]) /
         AFTER / END)

for name, data in frames:
    print(name, data.hex())
sys.exit(0 if frames else 1)
