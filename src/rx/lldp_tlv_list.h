// Kept TLVs of a received LLDPDU and their singly linked lists.
#pragma once

#include <cstdint>

struct LldpTlv {
  uint8_t type;     // 7-bit TLV type
  uint16_t length;  // information string length
  uint8_t* info;    // owned, `length` bytes, without the 2-byte header
};

struct LldpTlvNode {
  LldpTlv* tlv;  // owned
  LldpTlvNode* next;
};

LldpTlv* lldpInitializeTlv(void);
int lldpAddTlv(LldpTlv* tlv, LldpTlvNode** head);
int lldpAddUnknownTlv(LldpTlv* tlv, LldpTlvNode** head);
void lldpDestroyTlv(LldpTlv** tlv);
void lldpDestroyTlvList(LldpTlvNode** head);
const char* lldpTlvName(uint8_t type);
int reverseBits(uint8_t* buf, uint32_t nbytes);
