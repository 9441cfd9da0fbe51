// The kept-TLV lists, the TLV names and the bit reversal.
#include <gtest/gtest.h>

#include "rx/rx_test_util.h"
#include "rx/lldp_tlv_list.h"

using namespace rxtest;

namespace {

LldpTlv* mk(uint8_t type, const std::string& info) {
  LldpTlv* t = lldpInitializeTlv();
  t->type = type;
  t->length = static_cast<uint16_t>(info.size());
  t->info = static_cast<uint8_t*>(silMalloc(info.size()));
  std::memcpy(t->info, info.data(), info.size());
  return t;
}

std::vector<std::string> dump(LldpTlvNode* h) {
  std::vector<std::string> v;
  for (; h; h = h->next) v.push_back(std::to_string(h->tlv->type) + ":" + text(h->tlv->info, h->tlv->length));
  return v;
}

TEST(TlvList, UnknownListIsSortedAndLaterReplacesEarlier) {
  Agent a;
  const size_t live = sim::liveAllocations();
  LldpTlvNode* h = nullptr;
  lldpAddUnknownTlv(mk(20, "a"), &h);
  lldpAddUnknownTlv(mk(9, "b"), &h);
  lldpAddUnknownTlv(mk(40, "c"), &h);
  lldpAddUnknownTlv(mk(20, "d"), &h);
  lldpAddUnknownTlv(mk(9, "e"), &h);
  lldpAddUnknownTlv(mk(30, "f"), &h);
  EXPECT_EQ(dump(h), (std::vector<std::string>{"9:e", "20:d", "30:f", "40:c"}));
  lldpDestroyTlvList(&h);
  EXPECT_EQ(h, nullptr);
  EXPECT_EQ(sim::liveAllocations(), live);
}

TEST(TlvList, OrgListKeepsArrivalOrderAndDuplicates) {
  Agent a;
  LldpTlvNode* h = nullptr;
  lldpAddTlv(mk(127, "x"), &h);
  lldpAddTlv(mk(127, "y"), &h);
  lldpAddTlv(mk(127, "x"), &h);
  EXPECT_EQ(dump(h), (std::vector<std::string>{"127:x", "127:y", "127:x"}));
  EXPECT_EQ(sim::countLinesContaining("Setting temp->next to"), 2u);
  sim::clearLogLines();
  lldpDestroyTlvList(&h);
  EXPECT_EQ(sim::countLinesContaining("Freeing TLV List Node.\r\n"), 3u);
  EXPECT_TRUE(sim::hasLine("Destroy TLV List\r\n"));
  lldpDestroyTlvList(&h);
  EXPECT_TRUE(sim::hasLine("[WARNING] Asked to delete empty list!\r\n"));
}

TEST(TlvList, FailedNodeAllocationFreesTheTlv) {
  Agent a;
  LldpTlvNode* h = nullptr;
  lldpAddTlv(mk(127, "x"), &h);
  const size_t live = sim::liveAllocations();
  LldpTlv* t = mk(127, "y");

  sim::failAllocation(1);
  EXPECT_NE(lldpAddTlv(t, &h), 0);
  LldpTlv* u = mk(9, "z");
  sim::failAllocation(1);
  EXPECT_NE(lldpAddUnknownTlv(u, &h), 0);
  EXPECT_EQ(sim::liveAllocations(), live);
  EXPECT_EQ(dump(h).size(), 1u);
  lldpDestroyTlvList(&h);
  LldpTlv* none = nullptr;
  lldpDestroyTlv(&none);
  lldpDestroyTlv(nullptr);
}

TEST(ReverseBits, WholeStringIsMirrored) {
  struct Case {
    Bytes in, out;
  } cases[] = {
      {{0x00, 0x14}, {0x28, 0x00}},
      {{0x80, 0x00}, {0x00, 0x01}},
      {{0x01}, {0x80}},
      {{0x03}, {0xC0}},
      {{0x12, 0x34, 0x56}, {0x6A, 0x2C, 0x48}},
      {{}, {}},
  };
  for (auto& c : cases) {
    Bytes b = c.in;
    EXPECT_EQ(reverseBits(b.data(), static_cast<uint32_t>(b.size())), 0);
    EXPECT_EQ(b, c.out);
  }
}

}  // namespace
