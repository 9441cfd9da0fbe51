// Netlink attribute helpers: bounded readers over the attributes of a platform
// event message, used by the event handler and the port table alike.
#pragma once

#include <cstdint>

// An attribute is a 2-byte length (header included), a 2-byte type and its
// payload, padded to a multiple of 4. All readers take the attribute's start
// and never look past the attribute's own length; a walk checks every
// attribute with lldpNlaOk against the bytes that remain before reading it.

uint16_t lldpNlaLen(const uint8_t* attr);
uint16_t lldpNlaType(const uint8_t* attr);
// The attribute's payload: 4 bytes in.
const uint8_t* lldpNlaData(const uint8_t* attr);
// Payload length: attribute length minus 4 (negative for a broken attribute).
int32_t lldpNlaPayload(const uint8_t* attr);
// True when `remaining` holds a whole attribute: remaining >= 4, length >= 4
// and length <= remaining.
bool lldpNlaOk(const uint8_t* attr, int32_t remaining);
// Steps over the attribute (its length rounded up to 4) and takes that off
// *remaining; never returns a pointer past the end of the walked bytes.
const uint8_t* lldpNlaNext(const uint8_t* attr, int32_t* remaining);
// First byte / first 32-bit word of the payload (host order); payload bytes
// that the attribute does not have read as zero.
uint8_t lldpNlaGetU8(const uint8_t* attr);
uint32_t lldpNlaGetU32(const uint8_t* attr);

