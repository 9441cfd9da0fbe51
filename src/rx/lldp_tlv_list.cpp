// Kept TLVs of a received LLDPDU: the unknown-TLV list (one per type, sorted
// by type) and the organizationally specific list (arrival order), the TLV
// name table, and the bit-order helper used for capability fields.
#include "rx/lldp_tlv_list.h"

#include "base/lldp_trace.h"
#include "platform/sil.h"

LldpTlv* lldpInitializeTlv(void) {
  return static_cast<LldpTlv*>(silCalloc(1, sizeof(LldpTlv)));
}

void lldpDestroyTlv(LldpTlv** tlv) {
  if (tlv == nullptr || *tlv == nullptr) return;
  silFree((*tlv)->info);
  silFree(*tlv);
  *tlv = nullptr;
}

// Takes ownership of tlv; on a failed node allocation it is freed at once.
static LldpTlvNode* lldpNewTlvNode(LldpTlv* tlv) {
  auto* node = static_cast<LldpTlvNode*>(silCalloc(1, sizeof(LldpTlvNode)));
  if (node == nullptr) {
    lldpDestroyTlv(&tlv);
    return nullptr;
  }
  node->tlv = tlv;
  return node;
}

int lldpAddTlv(LldpTlv* tlv, LldpTlvNode** head) {
  if (tlv == nullptr || head == nullptr) {
    lldpDestroyTlv(&tlv);
    return -1;
  }
  LldpTlvNode* node = lldpNewTlvNode(tlv);
  if (node == nullptr) return -1;
  if (*head == nullptr) {
    *head = node;
    return 0;
  }
  LldpTlvNode* tail = *head;
  while (tail->next != nullptr) tail = tail->next;
  LLDP_TRACE(LLDP_TRC_TLVLIST, "Setting temp->next to %#x\r\n",
             static_cast<unsigned>(reinterpret_cast<uintptr_t>(node)));
  tail->next = node;
  return 0;
}

int lldpAddUnknownTlv(LldpTlv* tlv, LldpTlvNode** head) {
  if (tlv == nullptr || head == nullptr) {
    lldpDestroyTlv(&tlv);
    return -1;
  }
  LldpTlvNode* node = lldpNewTlvNode(tlv);
  if (node == nullptr) return -1;
  LldpTlvNode** at = head;
  while (*at != nullptr && (*at)->tlv->type < tlv->type) at = &(*at)->next;
  if (*at != nullptr && (*at)->tlv->type == tlv->type) {
    // The later TLV of a type replaces the earlier one.
    LldpTlvNode* old = *at;
    node->next = old->next;
    *at = node;
    lldpDestroyTlv(&old->tlv);
    silFree(old);
  } else {
    node->next = *at;
    *at = node;
  }
  return 0;
}

void lldpDestroyTlvList(LldpTlvNode** head) {
  if (head == nullptr) return;
  LLDP_TRACE(LLDP_TRC_TLVLIST, "Destroy TLV List\r\n");
  if (*head == nullptr) {
    LLDP_TRACE(LLDP_TRC_TLVLIST, "[WARNING] Asked to delete empty list!\r\n");
    return;
  }
  LLDP_TRACE(LLDP_TRC_TLVLIST, "Entering Destroy loop\r\n");
  LldpTlvNode* current = *head;
  while (current != nullptr) {
    LldpTlvNode* next = current->next;
    LLDP_TRACE(LLDP_TRC_TLVLIST, "current = %X\r\n",
               static_cast<unsigned>(reinterpret_cast<uintptr_t>(current)));
    LLDP_TRACE(LLDP_TRC_TLVLIST, "current->next = %X\r\n",
               static_cast<unsigned>(reinterpret_cast<uintptr_t>(next)));
    if (current->tlv != nullptr) {
      LLDP_TRACE(LLDP_TRC_TLVLIST, "Freeing TLV Info String.\r\n");
      silFree(current->tlv->info);
      LLDP_TRACE(LLDP_TRC_TLVLIST, "Freeing TLV.\r\n");
      silFree(current->tlv);
    }
    LLDP_TRACE(LLDP_TRC_TLVLIST, "Freeing TLV List Node.\r\n");
    silFree(current);
    current = next;
  }
  *head = nullptr;
}

const char* lldpTlvName(uint8_t type) {
  switch (type) {
    case 0: return "End Of LLDPDU";
    case 1: return "Chassis ID";
    case 2: return "Port ID";
    case 3: return "Time To Live";
    case 4: return "Port Description";
    case 5: return "System Name";
    case 6: return "System Description";
    case 7: return "System Capabiltiies";  // the agent's name, spelling kept
    case 8: return "Management Address";
    case 127: return "Organizationally Specific";
    default: return "Unknown";
  }
}

static const uint8_t kBitMask[8] = {0x80, 0x40, 0x20, 0x10, 0x08, 0x04, 0x02, 0x01};
static void bitSet(uint8_t* b, uint32_t k) { b[k / 8] = static_cast<uint8_t>(b[k / 8] | kBitMask[k % 8]); }
static void bitClear(uint8_t* b, uint32_t k) { b[k / 8] = static_cast<uint8_t>(b[k / 8] & ~kBitMask[k % 8]); }
static bool bitTest(const uint8_t* b, uint32_t k) { return (b[k / 8] & kBitMask[k % 8]) != 0; }

int reverseBits(uint8_t* buf, uint32_t nbytes) {
  if (buf == nullptr) return 0;
  const uint32_t nbits = nbytes * 8;
  for (uint32_t lo = 0, hi = nbits; lo + 1 < hi; ++lo) {
    --hi;
    const bool a = bitTest(buf, lo);
    const bool b = bitTest(buf, hi);
    if (b) bitSet(buf, lo); else bitClear(buf, lo);
    if (a) bitSet(buf, hi); else bitClear(buf, hi);
  }
  return 0;
}
