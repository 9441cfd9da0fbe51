// Management address object identifiers: which OID names a local address
// family, its BER form for the Management Address TLV, and the decoding of a
// received one back into arcs.
//
// In memory an OID is an array of uint32_t arcs with a byte length (4 per
// arc). On the wire the TLV's OID field holds the whole BER object: tag 0x06,
// one length byte, then the content; the TLV's OID string length counts the
// tag and length bytes too.
//
// The BER codec is deliberately limited to two base-128 digits per arc:
// arcs of 16384 and above are encoded modulo 16384, and a received arc never
// takes more than two bytes.
//
// REQUIRES: lldpLock held (the enterprise number and the debug mask are read
// from gLldpInfo).
#pragma once

#include <cstdint>

struct lldpMgmtAddr;

// Largest OID chosen for a local address (IPv6: 12 arcs), with room to spare.
constexpr uint32_t LLDP_OID_MAX_ARCS = 16;
// Largest BER object lldpMgmtAddrEncodeOid writes: tag, length, 2 bytes an arc.
constexpr uint32_t LLDP_OID_WIRE_MAX = 2 + 2 * LLDP_OID_MAX_ARCS;

// The OID of the MIB object behind a local management address of an IANA
// address family: 1 (IPv4), 2 (IPv6) or 6 (IEEE 802). Writes the arcs into
// `arcs` (room for LLDP_OID_MAX_ARCS) and their byte length (4 per arc) into
// *byteLen. Any other subtype leaves both untouched. numbering and mac are
// accepted for the callers' sake and not used. Returns 0.
int lldpMgmtAddrGetOid(uint32_t addrSubtype, uint32_t numbering, const uint8_t* mac,
                       uint32_t* arcs, uint32_t* byteLen);

// BER content bytes (no tag, no length) of `count` arcs; `content` holds at
// least 2 * count bytes. Fewer than two arcs give no output (*len = 0).
// Returns 0.
int lldpOidBerEncode(const uint32_t* arcs, uint32_t count, uint8_t* content, uint32_t* len);

// The whole BER object for a local address of the subtype into `out` (room
// for LLDP_OID_WIRE_MAX bytes): 0x06, content length, content. *len is the
// content length + 2. A subtype without an OID gives 06 00 and *len = 2.
// Returns 0.
int lldpMgmtAddrEncodeOid(uint32_t addrSubtype, uint32_t numbering, const uint8_t* mac,
                          uint8_t* out, uint32_t* len);

// Decodes a received OID field (the BER object, `fieldLen` bytes; never read
// beyond them). Returns a silMalloc'd arc array that the caller silFree's, and
// writes its byte length (4 per arc, kept in one byte as the remote record
// does) into *byteLen; returns null on any error.
uint32_t* lldpMgmtAddrDecodeOid(const uint8_t* field, uint32_t fieldLen, uint8_t* byteLen);

// Interface numbering of a management address: subtype 2 (ifIndex) and
// interface number 0 whatever the address. Returns 0.
int lldpMgmtAddrGetIf(const lldpMgmtAddr* addr, uint8_t* ifSubtype, uint32_t* ifNumber);
