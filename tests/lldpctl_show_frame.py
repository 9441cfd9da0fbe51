#!/usr/bin/python3
"""Sends one LLDPDU crafted with scapy on an interface, for
tests/lldpctl_show_test.sh: a neighbour with what the agent's own transmit
path never sends (a TLV of a reserved type, TLVs of an organisation the
agent does not decode and an 802.1 subtype it does not know), an IPv6
management address, the 12-octet 802.3 power TLV and an LLDP-MED powered
device. Usage: lldpctl_show_frame.py IFACE
"""
import struct
import sys

from scapy.all import Ether, conf, sendp
from scapy.asn1.asn1 import ASN1_OID
from scapy.contrib.lldp import (LLDPDUChassisID, LLDPDUEndOfLLDPDU,
                                LLDPDUGenericOrganisationSpecific,
                                LLDPDUManagementAddress, LLDPDUPortID,
                                LLDPDUSystemCapabilities, LLDPDUSystemName,
                                LLDPDUTimeToLive)
from scapy.packet import Raw

# The reserved TLV type is not one scapy's layers check.
conf.contribs["LLDP"].strict_mode_disable()

DOT1 = 0x0080C2
DOT3 = 0x00120F
MED = 0x0012BB


def org(oui, subtype, data=b""):
    return LLDPDUGenericOrganisationSpecific(org_code=oui, subtype=subtype, data=data)


def raw_tlv(tlv_type, value):
    return Raw(bytes([(tlv_type << 1) | (len(value) >> 8), len(value) & 0xFF]) + value)


frame = (Ether(dst="01:80:c2:00:00:0e", src="02:00:00:00:0c:01", type=0x88CC) /
         raw_tlv(1, b"\x05\x01\xc6\x33\x64\x21") /  # network address 198.51.100.33
         LLDPDUPortID(subtype=3, id=b"\x02\x00\x00\x00\x0c\x01") /
         LLDPDUTimeToLive(ttl=600) /
         LLDPDUSystemName(system_name=b"phone-7") /
         LLDPDUSystemCapabilities(telephone_available=1, telephone_enabled=1) /
         LLDPDUManagementAddress(management_address_subtype=2,
                                 management_address=bytes.fromhex("20010db8000000000000000000000007"),
                                 interface_numbering_subtype=3, interface_number=1,
                                 object_id=bytes(ASN1_OID("1.3.6.1.4.1.8072.1"))) /
         org(DOT3, 2, bytes([0x0E, 2, 3, 0x71]) + struct.pack(">HH", 130, 155)) /
         org(MED, 1, struct.pack(">HB", 0x0031, 1)) /
         org(MED, 4, bytes([0x52]) + struct.pack(">H", 65)) /
         raw_tlv(20, b"twenty") /
         org(0x00005E, 1, b"\x01\x02") /
         org(DOT1, 7, b"\x00") /
         LLDPDUEndOfLLDPDU())
sendp(frame, iface=sys.argv[1], verbose=False)
