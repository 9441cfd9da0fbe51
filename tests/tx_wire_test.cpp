// Wire cross-check of the transmit path: every kind of frame the agent builds
// is written to a pcap file and decoded by Wireshark's dissector (tshark,
// PDML output). Each frame must decode without a malformed-packet or expert
// error, and the decoded fields must equal what the agent meant to send.
//
// The same catalogue of frames seeds the receive fuzzer: run
//   LLDP_TX_CORPUS_DIR=fuzz/corpus/rx_frame_fuzz build/tests/tx_wire_test
// to (re)write one binary file per frame there.
//
// Known differences between Wireshark and the agent, checked as such:
// - Management address OID: the agent puts the whole BER object (tag 0x06,
//   length, content) in the OID field and counts it in the OID string
//   length; Wireshark reads the field as bare content, so it shows the
//   agent's 1.3.6.1.2.1.4.20.1.1 as "0.6.9.43.6.1.2.1.4.20.1.1". The test
//   checks the raw field bytes and that exact decoded form.
// - The broadcast mode's EtherType 0xFFCC is not LLDP to Wireshark: only the
//   destination and type bytes are checked there.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "base/lldp_info.h"
#include "local/lldp_local.h"
#include "platform/sim/sim.h"
#include "rx/lldp_msap.h"
#include "tx/lldp_tx.h"
#include "tx/tx_test_port.h"

using txtest::hex;

namespace {

// ---- Frame catalogue ---------------------------------------------------------

struct Built {
  std::string name;
  std::vector<uint8_t> bytes;
};

const std::vector<uint8_t> kCoordLci = hex("8869084b5e881ac161e51780002200 01");
// Civic address: what 2, country "DE", A1 "Bavaria", A3 "Munich", street
// number (19) "42", postal code (24) "80331".
const std::vector<uint8_t> kCivicLci =
    hex("1f 02 4445 0107 42617661726961 0306 4d756e696368 1302 3432 1805 3830333331");
const std::string kElin = "12025550100";

void setLocation(LldpPort* p, uint32_t format, const std::vector<uint8_t>& data) {
  LldpMedLocation& loc = p->medLocation[format - 1];
  if (loc.data != nullptr) silFree(loc.data);
  loc = {1, static_cast<uint16_t>(data.size()), txtest::copyBytes(data)};
}

template <typename Setup>
Built build(const std::string& name, Setup setup, bool shutdown = false) {
  txtest::agentDefaults();
  txtest::Port port;
  setup(port.get());
  EXPECT_GT(shutdown ? lldpMibConstrShutdownLLDPDU(port.get()) : lldpMibConstrInfoLLDPDU(port.get()), 0u) << name;
  return {name, port.frame()};
}

void everything(LldpPort* p) {
  txtest::enableEverything(p);
  setLocation(p, 1, kCoordLci);
  setLocation(p, 2, kCivicLci);
  setLocation(p, 3, std::vector<uint8_t>(kElin.begin(), kElin.end()));
  p->localMgmtAddrList = txtest::newAddr(1, {192, 0, 2, 10});
  // Dot1 protocol VLAN "enabled" shares the PVID object: a PVID of 1 reads
  // as enabled.
}

std::vector<Built> catalogue() {
  std::vector<Built> f;
  f.push_back(build("default", [](LldpPort*) {}));
  f.push_back(build("all", everything));
  f.push_back(build("tagged", [](LldpPort* p) {
    p->txTagVid = 100;
    p->localMgmtAddrList = txtest::newAddr(2, hex("20010db8000000000000000000000010"));
  }));
  f.push_back(build("shutdown", [](LldpPort*) {}, true));
  f.push_back(build("broadcast", [](LldpPort*) {
    std::memset(gLldpInfo.dstMac, 0xFF, 6);
    gLldpInfo.dstEtherType = 0xFFCC;
  }));
  f.push_back(build("dot1", [](LldpPort* p) {
    everything(p);
    gLldpInfo.extEnabled = LLDP_EXT_DOT1;
    sim::setInt(sim::Svc::If, p->unit, 159, 1);
  }));
  f.push_back(build("dot3_short_power", [](LldpPort* p) {
    everything(p);
    gLldpInfo.extEnabled = LLDP_EXT_DOT3;
    p->dot3TlvTxEnabled = 0xF0;
  }));
  f.push_back(build("med_pd_power", [](LldpPort* p) {
    everything(p);
    gLldpInfo.extEnabled = LLDP_EXT_MED;
    gLldpInfo.medDeviceType = 3;
    gLldpInfo.medPoeDeviceType = 3;
    lldpTxSetMedMask(p, 0xEC);
  }));
  f.push_back(build("med_voice_default", [](LldpPort* p) {
    gLldpInfo.extEnabled = LLDP_EXT_MED;
    lldpTxSetMedMask(p, 0xC0);
    p->medTlvTxSupported[0] = 0xC0;
    p->medPolicy[0] = LldpMedPolicy{1, 0, 1, 5, 46, 0};
    sim::setInt(sim::Svc::VoiceIf, p->unit, 2, 1);
    sim::setInt(sim::Svc::VoiceIf, p->unit, 1, 300);
    sim::setInt(sim::Svc::VoiceScalar, 0, 10, 5);
    sim::setInt(sim::Svc::VoiceScalar, 0, 11, 46);
  }));
  f.push_back(build("private", [](LldpPort* p) {
    everything(p);
    gLldpInfo.extEnabled = LLDP_EXT_PRIV;
  }));
  f.push_back(build("port_id_mac_no_text", [](LldpPort* p) {
    p->portIdSubtype = 3;
    p->basicTlvTxEnabled = 0;
  }));
  f.push_back(build("port_id_local", [](LldpPort* p) {
    p->portIdSubtype = 7;
    gLldpInfo.manAddrList = txtest::newAddr(1, {198, 51, 100, 1});
  }));
  // The agent-wide list belongs to the agent record, which the next
  // agentDefaults() clears: free it here.
  if (gLldpInfo.manAddrList != nullptr) {
    silFree(gLldpInfo.manAddrList);
    gLldpInfo.manAddrList = nullptr;
  }
  return f;
}

// ---- pcap and tshark -------------------------------------------------------------

std::string writePcap(const std::vector<Built>& frames) {
  std::string s;
  auto put = [&s](std::initializer_list<uint32_t> ws) {
    for (uint32_t w : ws) s.append(reinterpret_cast<const char*>(&w), 4);
  };
  put({0xa1b2c3d4, 2u | 4u << 16, 0, 0, 65535, 1});  // version 2.4, Ethernet
  uint32_t t = 1;
  for (const auto& f : frames) {
    const auto n = static_cast<uint32_t>(f.bytes.size());
    put({t++, 0, n, n});
    s.append(reinterpret_cast<const char*>(f.bytes.data()), n);
  }
  const char* dir = std::getenv("LLDP_BUILD_DIR");
  std::string path = std::string(dir != nullptr ? dir : ".") + "/tx_wire_frames.pcap";
  std::ofstream(path, std::ios::binary) << s;
  return path;
}

std::string run(const std::string& cmd) {
  std::string out;
  FILE* p = popen(cmd.c_str(), "r");
  if (p == nullptr) return out;
  char buf[65536];
  for (size_t n; (n = fread(buf, 1, sizeof buf, p)) > 0;) out.append(buf, n);
  pclose(p);
  return out;
}

// One decoded field of a PDML packet.
struct Field {
  std::string name, show, value;
};
using Packet = std::vector<Field>;

std::string xmlUnescape(std::string s) {
  const std::pair<const char*, const char*> ents[] = {
      {"&quot;", "\""}, {"&apos;", "'"}, {"&lt;", "<"}, {"&gt;", ">"}, {"&amp;", "&"}};
  for (const auto& [from, to] : ents)
    for (size_t i; (i = s.find(from)) != std::string::npos;) s.replace(i, std::strlen(from), to);
  return s;
}

std::string attr(const std::string& line, const std::string& key) {
  const std::string k = " " + key + "=\"";
  const size_t i = line.find(k);
  if (i == std::string::npos) return "";
  const size_t j = line.find('"', i + k.size());
  return xmlUnescape(line.substr(i + k.size(), j - i - k.size()));
}

std::vector<Packet> parsePdml(const std::string& pdml) {
  std::vector<Packet> pkts;
  std::istringstream in(pdml);
  for (std::string line; std::getline(in, line);) {
    if (line.find("<packet>") != std::string::npos) pkts.emplace_back();
    if (pkts.empty() || (line.find("<field ") == std::string::npos && line.find("<proto ") == std::string::npos))
      continue;
    pkts.back().push_back({attr(line, "name"), attr(line, "show"), attr(line, "value")});
  }
  return pkts;
}

}  // namespace

// ---- Tests ---------------------------------------------------------------------------

class TxWire : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    frames_ = catalogue();
    if (const char* dir = std::getenv("LLDP_TX_CORPUS_DIR")) {
      for (const auto& f : frames_)
        std::ofstream(std::string(dir) + "/tx_" + f.name + ".bin", std::ios::binary)
            .write(reinterpret_cast<const char*>(f.bytes.data()), static_cast<std::streamsize>(f.bytes.size()));
    }
    pdml_ = run("tshark -n -r '" + writePcap(frames_) + "' -T pdml 2>/dev/null");
    packets_ = parsePdml(pdml_);
  }
  static const Packet& pkt(const std::string& name) {
    static const Packet none;
    for (size_t i = 0; i < frames_.size() && i < packets_.size(); ++i)
      if (frames_[i].name == name) return packets_[i];
    ADD_FAILURE() << "no decoded frame " << name;
    return none;
  }
  // Every occurrence of the field in the packet, in order, joined by "|": as
  // shown, or the raw bytes.
  static std::string joined(const Packet& p, const std::string& field, bool raw = false) {
    std::string all;
    for (const auto& f : p)
      if (f.name == field) all += (all.empty() ? "" : "|") + (raw ? f.value : f.show);
    return all;
  }
  static inline std::vector<Built> frames_;
  static inline std::string pdml_;
  static inline std::vector<Packet> packets_;
};

TEST_F(TxWire, EveryFrameDecodesWithoutMalformedPacketOrUnexplainedExpertInfo) {
  ASSERT_NE(run("command -v tshark"), "") << "tshark is required for the wire cross-check";
  ASSERT_EQ(packets_.size(), frames_.size()) << pdml_;
  for (size_t i = 0; i < frames_.size(); ++i) {
    const auto& f = frames_[i];
    const Packet& p = packets_[i];
    // The 802.3 Link Aggregation TLV (deprecated in favour of the 802.1
    // one) draws a "deprecated" warning; the agent sends it on purpose.
    size_t linkAgg = 0;
    for (const auto& t : txtest::tlvs(f.bytes, f.name == "tagged" ? 18 : 14))
      if (t.type == 127 && t.value.size() >= 4 && t.value[2] == 0x0F && t.value[3] == 3) ++linkAgg;
    size_t deprecated = 0;
    for (const auto& x : p) {
      EXPECT_EQ(x.name.rfind("_ws.malformed", 0), std::string::npos) << f.name;
      if (x.name == "_ws.expert.message") {
        EXPECT_EQ(x.show, "TLV has been deprecated") << f.name;
        ++deprecated;
      }
    }
    EXPECT_EQ(deprecated, linkAgg) << f.name;
    EXPECT_EQ(joined(p, "lldp.tlv.type").empty(), f.name == "broadcast") << f.name;
  }
}

// What Wireshark must show: every occurrence of the field in the frame, in
// order, joined by "|". Values are the ones configured in catalogue() and in
// txtest::agentDefaults()/enableEverything().
struct Want {
  const char* frames;  // space-separated frame names
  const char* field;
  const char* shows;
};
const Want kWants[] = {
    // Mandatory TLVs and the header of every LLDP frame.
    {"default all tagged shutdown dot1 dot3_short_power med_pd_power med_voice_default private "
     "port_id_mac_no_text port_id_local",
     "lldp.chassis.id.mac", "00:1b:21:00:00:01"},
    {"default all tagged shutdown private port_id_mac_no_text", "eth.src", "00:1b:21:0a:0b:0c"},
    {"default all tagged shutdown port_id_local", "lldp.chassis.subtype", "4"},
    {"default all tagged shutdown dot1 med_voice_default", "lldp.port.subtype", "5"},
    {"default all tagged shutdown dot1", "lldp.port.id", "ge-0/0/5"},
    {"port_id_mac_no_text", "lldp.port.subtype", "3"},
    {"port_id_mac_no_text", "lldp.port.id.mac", "00:1b:21:0a:0b:0c"},
    {"port_id_local", "lldp.port.subtype", "7"},
    {"port_id_local", "lldp.port.id", "ge-0/0/5interface"},
    {"default all tagged dot1 port_id_mac_no_text", "lldp.time_to_live", "120"},
    {"shutdown", "lldp.time_to_live", "0"},
    {"shutdown", "lldp.tlv.type", "1|2|3|0"},
    {"shutdown", "frame.len", "64"},
    {"port_id_mac_no_text", "lldp.tlv.type", "1|2|3|8|0"},
    // Basic optional TLVs.
    {"default all tagged private port_id_local", "lldp.port.desc", "uplink to rack 7"},
    {"default all tagged private port_id_local", "lldp.tlv.system.name", "sw-core-1"},
    {"default all tagged private", "lldp.tlv.system.desc", "LLDP agent test switch"},
    {"default all tagged", "lldp.tlv.system_cap", "0x0014"},
    {"default all tagged", "lldp.tlv.enable_system_cap", "0x0004"},
    // Management addresses. Known difference: the agent sends the whole BER
    // object (06 len content) as the OID and counts it in the OID length, so
    // Wireshark shows tag and length as the first arcs ("0.6.9.43..." for
    // 1.3.6.1.2.1.4.20.1.1); the raw bytes are checked in their own test.
    {"default port_id_mac_no_text", "lldp.mgn.address.subtype", "6"},
    {"default port_id_mac_no_text", "lldp.mgn.addr.hex", "00:1b:21:0a:0b:0c"},
    {"default", "lldp.mgn.obj.len", "13"},
    {"default", "lldp.mgn.obj.id", "0.6.11.43.6.1.4.1.7637.1.1.1.7"},
    {"all", "lldp.mgn.address.subtype", "1"},
    {"all", "lldp.mgn.addr.ip4", "192.0.2.10"},
    {"all port_id_local", "lldp.mgn.obj.len", "11"},
    {"all port_id_local", "lldp.mgn.obj.id", "0.6.9.43.6.1.2.1.4.20.1.1"},
    {"tagged", "lldp.mgn.address.subtype", "2"},
    {"tagged", "lldp.mgn.addr.ip6", "2001:db8::10"},
    {"tagged", "lldp.mgn.obj.id", "0.6.13.43.6.1.4.1.7637.2.1805.4.1.2"},
    {"port_id_local", "lldp.mgn.addr.ip4", "198.51.100.1"},
    {"default all tagged port_id_local", "lldp.mgn.interface.subtype", "2"},
    {"default all tagged port_id_local", "lldp.mgn.interface.number", "7"},
    // 802.1Q tag of the tagged frame: priority 4, DEI 0.
    {"tagged", "eth.type", "0x8100"},
    {"tagged", "vlan.priority", "4"},
    {"tagged", "vlan.dei", "0"},
    {"tagged", "vlan.id", "100"},
    {"tagged", "vlan.etype", "0x88cc"},
    // Broadcast mode: not LLDP to Wireshark.
    {"broadcast", "eth.dst", "ff:ff:ff:ff:ff:ff"},
    {"broadcast", "eth.type", "0xffcc"},
    // IEEE 802.1. The PPVID "enabled" flag reads the PVID object, so it is
    // 1 only where the PVID is 1 (frame dot1).
    {"all", "lldp.ieee.802_1.port_vlan.id", "100"},
    {"dot1", "lldp.ieee.802_1.port_vlan.id", "1"},
    {"all dot1", "lldp.ieee.802_1.port_proto_vlan.id", "10|4094"},
    {"all dot1", "lldp.ieee.802_1.port_and_vlan_id_flag.supported", "1|1"},
    {"all", "lldp.ieee.802_1.port_and_vlan_id_flag.enabled", "0|0"},
    {"dot1", "lldp.ieee.802_1.port_and_vlan_id_flag.enabled", "1|1"},
    {"all dot1", "lldp.ieee.802_1.vlan.id", "1|100|4000"},
    {"all dot1", "lldp.ieee.802_1.vlan.name", "vlan:1|vlan:100|vlan:4000"},
    {"all dot1", "lldp.ieee.802_1.proto.id_length", "2|3|2|2"},
    {"all dot1", "lldp.ieee.802_1.proto.id", "88:8e|88:09:01|88:cc|89:02"},
    {"dot1", "lldp.ieee.802_3.subtype", ""},
    // IEEE 802.3. Extended power: the agent numbers type, source and
    // priority from 2, 1 and 1, so PSE, source 2, priority 2 go out as 0, 1,
    // 1; the allocated power is in tenths of a watt (30 W).
    {"all dot3_short_power", "lldp.ieee.802_3.mac_phy_auto_neg_status", "0x03"},
    {"all dot3_short_power", "lldp.ieee.802_3.pmd_auto_neg_advertised_caps", "0x6c01"},
    {"all dot3_short_power", "lldp.ieee.802_3.pmd_mau_type", "0x001e"},
    {"all dot3_short_power", "lldp.ieee.802_3.mdi_power_support", "0x0f"},
    {"all dot3_short_power", "lldp.ieee.802_3.mdi_pse_pair", "2"},
    {"all dot3_short_power", "lldp.ieee.802_3.mdi_power_class", "5"},
    {"all", "lldp.ieee.802_3.mdi_power_type", "0"},
    {"all", "lldp.ieee.802_3.mdi_power_source", "1"},
    {"all", "lldp.ieee.802_3.mdi_power_priority", "1"},
    {"all", "lldp.ieee.802_3.mdi_pde_requested", "0"},
    {"all", "lldp.ieee.802_3.mdi_pse_allocated", "300"},
    {"dot3_short_power", "lldp.ieee.802_3.mdi_power_type", ""},
    {"all dot3_short_power", "lldp.ieee.802_3.aggregation_status", "0x03"},
    {"all dot3_short_power", "lldp.ieee.802_3.aggregated_port_id", "12"},
    {"all dot3_short_power", "lldp.ieee.802_3.max_frame_size", "1522"},
    // LLDP-MED.
    {"all", "lldp.media.subtype.caps", "0x003f"},
    {"all", "lldp.media.subtype.class", "4"},
    {"all med_pd_power", "lldp.media.app_type", "1|2|3|4|5|6|7|8"},
    {"all med_pd_power", "lldp.media.vlan_id", "101|102|103|104|105|106|107|108"},
    {"all med_pd_power", "lldp.media.l2_prio", "0|1|2|3|4|5|6|7"},
    {"all med_pd_power", "lldp.media.dscp", "6|14|22|30|38|46|54|62"},
    {"all med_pd_power", "lldp.media.tag_flag", "1|0|1|0|1|0|1|0"},
    {"all med_pd_power", "lldp.media.policy_flag", "0|0|0|0|0|0|0|1"},
    {"all med_pd_power", "lldp.media.loc.data_format", "1|2|3"},
    {"all", "lldp.media.loc.lat_resolution", "34"},
    {"all", "lldp.media.loc.datum", "1"},
    {"all", "lldp.media.civic.what", "2"},
    {"all", "lldp.media.civic.country", "DE"},
    {"all", "lldp.media.civic.type", "1|3|19|24"},
    {"all", "lldp.media.civic.value", "Bavaria|Munich|42|80331"},
    {"all", "lldp.media.ecs", "12025550100"},
    // PSE then PD; the PSE value in tenths of a watt, the PD value as is.
    {"all", "lldp.media.power.type", "0|0"},
    {"all", "lldp.media.power.source", "1|1"},
    {"all", "lldp.media.power.prio", "1|1"},
    {"all", "lldp.media.power.value", "300|33"},
    {"med_pd_power", "lldp.media.subtype.class", "3"},
    {"med_pd_power", "lldp.media.power.type", "1"},
    {"med_pd_power", "lldp.media.power.value", "33"},
    {"all med_pd_power", "lldp.media.hardware", "HW-2.1"},
    {"all med_pd_power", "lldp.media.firmware", "FW-1.0.7"},
    {"all med_pd_power", "lldp.media.software", "SW-5.4.3"},
    {"all med_pd_power", "lldp.media.sn", "SN0001234"},
    {"all med_pd_power", "lldp.media.manufacturer", "ZOR Networks"},
    {"all med_pd_power", "lldp.media.model", "LLDP"},
    {"all med_pd_power", "lldp.media.asset", "ASSET-42"},
    // The voice default on a voice port: the voice VLAN service's values.
    {"med_voice_default", "lldp.media.subtype.caps", "0x0003"},
    {"med_voice_default", "lldp.media.app_type", "1"},
    {"med_voice_default", "lldp.media.tag_flag", "1"},
    {"med_voice_default", "lldp.media.vlan_id", "300"},
    {"med_voice_default", "lldp.media.l2_prio", "5"},
    {"med_voice_default", "lldp.media.dscp", "46"},
};

TEST_F(TxWire, DecodedFieldsAreWhatTheAgentMeant) {
  for (const Want& w : kWants) {
    std::istringstream names(w.frames);
    for (std::string name; names >> name;) EXPECT_EQ(joined(pkt(name), w.field), w.shows) << name << " " << w.field;
  }
}

// Raw bytes of fields whose decoded form is not the agent's meaning: the
// management address OIDs and the private TLVs (subtypes 1 to 9 under the
// private OUI, which Wireshark does not know): capabilities 0..2 in wire
// order, the SNMP agent's system OID, the seven inventory strings.
TEST_F(TxWire, RawFieldBytes) {
  EXPECT_EQ(joined(pkt("default"), "lldp.mgn.obj.id", true), "060b2b06010401bb5501010107");
  EXPECT_EQ(joined(pkt("all"), "lldp.mgn.obj.id", true), "06092b0601020104140101");
  EXPECT_EQ(joined(pkt("tagged"), "lldp.mgn.obj.id", true), "060d2b06010401bb55028e0d040102");
  EXPECT_EQ(joined(pkt("private"), "lldp.unknown_subtype.content", true),
            "0007|2b0601040183bb55|48572d322e31|46572d312e302e37|53572d352e342e33|"
            "534e30303031323334|5a4f52204e6574776f726b73|4c4c4450|41535345542d3432");
  EXPECT_EQ(joined(pkt("private"), "lldp.orgtlv.oui", true),
            "001e73|001e73|001e73|001e73|001e73|001e73|001e73|001e73|001e73");
}
