// The kept list of organizationally specific TLVs and its trace lines.
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

}  // namespace
