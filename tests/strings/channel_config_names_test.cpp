// Channel and channel configuration names: single channels, configuration names, per-channel
// lists, override labels and the override lists for every channel count up to 20.
#include <qobase/strings/channel_config_names.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace {

using QO::MakeChannelConfig;

constexpr uint32_t k_anonymous = QO::k_channelConfigAnonymous;
constexpr uint32_t k_standard = QO::k_channelConfigStandard;
constexpr uint32_t k_ambisonic = QO::k_channelConfigAmbisonic;

std::string Joined(const std::vector<CStdStr>& names) {
  std::string text;
  for (const CStdStr& name : names) text += (text.empty() ? "" : " ") + name;
  return text;
}

TEST(ChannelNames, SingleChannelTakesFirstEntryInTableOrder) {
  const struct {
    uint32_t channel;
    const char* name;
  } cases[] = {
      {0x1, "L"},        {0x2, "R"},       {0x4, "C"},       {0x8, "LFE"},    {0x10, "BL"},
      {0x20, "BR"},      {0x40, ""},       {0x80, ""},       {0x100, "BC"},   {0x200, "SL"},
      {0x400, "SR"},     {0x800, "T"},     {0x1000, "HFL"},  {0x2000, "HFC"}, {0x4000, "HFR"},
      {0x8000, "HBL"},   {0x10000, "HBC"}, {0x20000, "HBR"}, {0x40000, ""},   {0, ""},
      {0x3, "L"},        {0x30000, "HBC"}, {0x20008, "HBR"}, {0x210, "BL"},   {0x500, "SR"},
      {0xFFFFFFFF, "L"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(StringHelp::ChannelToDisplayName(c.channel), c.name) << std::hex << c.channel;
  }
  // Every channel without a name shares one empty string.
  EXPECT_EQ(&StringHelp::ChannelToDisplayName(0x40), &StringHelp::ChannelToDisplayName(0x80));
}

TEST(ChannelNames, ConfigurationNames) {
  const struct {
    QoChannelConfig config;
    const char* name;
  } cases[] = {
      {MakeChannelConfig(6, k_anonymous, 0), "6 (Anonymous)"},
      {MakeChannelConfig(0, k_anonymous, 0x3), "0 (Anonymous)"},
      {MakeChannelConfig(4, k_ambisonic, 0), "4 (Ambisonics)"},
      {MakeChannelConfig(6, k_standard, 0x60F), "5.1"},
      {MakeChannelConfig(2, k_standard, 0x3), "2.0"},
      {MakeChannelConfig(1, k_standard, 0x8), "0.1"},
      {MakeChannelConfig(12, k_standard, 0x2D63F), "11.1"},
      {MakeChannelConfig(0, k_standard, 0), "0.0"},
      // Bits without a name still count; the channel count field plays no part.
      {MakeChannelConfig(2, k_standard, 0xC00C3), "6.0"},
  };
  for (const auto& c : cases) {
    CStdStr name = "previous";
    StringHelp::ChannelConfigDisplayName(c.config, name);
    EXPECT_EQ(name, c.name) << std::hex << c.config;
  }
  CStdStr untouched = "keep";
  StringHelp::ChannelConfigDisplayName(MakeChannelConfig(2, 3, 0x3), untouched);
  EXPECT_EQ(untouched, "keep");
}

TEST(ChannelNames, PerChannelNames) {
  const struct {
    QoChannelConfig config;
    const char* names;
  } cases[] = {
      {MakeChannelConfig(3, k_anonymous, 0), "1 2 3"},
      {MakeChannelConfig(0, k_anonymous, 0), ""},
      {MakeChannelConfig(12, k_anonymous, 0), "1 2 3 4 5 6 7 8 9 10 11 12"},
      {MakeChannelConfig(1, k_ambisonic, 0), "W"},
      {MakeChannelConfig(4, k_ambisonic, 0), "W Y Z X"},
      {MakeChannelConfig(9, k_ambisonic, 0), "W Y Z X V T R S U"},
      {MakeChannelConfig(10, k_ambisonic, 0), "X X X X X X X X X X"},
      {MakeChannelConfig(16, k_ambisonic, 0), "W Y Z X V T R S U Q O M K L N P"},
      {MakeChannelConfig(17, k_ambisonic, 0), "X X X X X X X X X X X X X X X X X"},
      {MakeChannelConfig(0, k_ambisonic, 0), ""},
      // Side and back exchanged only when both are present; the four positions after the
      // front channels present are the ones that move.
      {MakeChannelConfig(8, k_standard, 0x63F), "L R C SL SR BL BR LFE"},
      {MakeChannelConfig(6, k_standard, 0x60F), "L R C SL SR LFE"},
      {MakeChannelConfig(6, k_standard, 0x3F), "L R C BL BR LFE"},
      {MakeChannelConfig(12, k_standard, 0x2D63F), "L R C SL SR BL BR HFL HFR HBL HBR LFE"},
      {MakeChannelConfig(6, k_standard, 0x633), "L R BR SL BL SR"},
      {MakeChannelConfig(14, k_standard, 0x2FF3F),
       "L R C SL SR BL BR BC T HFL HFC HFR HBL HBR LFE"},
      // Unnamed bits are skipped.
      {MakeChannelConfig(4, k_standard, 0xC00C3), "L R"},
      {MakeChannelConfig(0, k_standard, 0), ""},
  };
  for (const auto& c : cases) {
    std::vector<CStdStr> names = {"stale"};
    StringHelp::ChannelConfigToDisplayNames(c.config, names);
    EXPECT_EQ(Joined(names), c.names) << std::hex << c.config;
  }
  std::vector<CStdStr> names = {"stale"};
  StringHelp::ChannelConfigToDisplayNames(MakeChannelConfig(2, 7, 0x3), names);
  EXPECT_TRUE(names.empty());
}

TEST(ChannelNames, OverrideStrings) {
  const struct {
    QoChannelConfig config;
    uint32_t orderOverride;
    const char* label;
  } cases[] = {
      {MakeChannelConfig(6, k_anonymous, 0), 0, "6 (Anonymous)"},
      {MakeChannelConfig(6, k_anonymous, 0), 1, "6 (Anonymous)"},
      {MakeChannelConfig(6, k_standard, 0x60F), 0, "5.1 (L,R,C,LFE,SL,SR)"},
      {MakeChannelConfig(6, k_standard, 0x60F), 1, "5.1 (L,C,R,SL,SR,LFE)"},
      {MakeChannelConfig(6, k_standard, 0x60F), 2, "5.1 (L,R,C,LFE,SL,SR)"},
      {MakeChannelConfig(8, k_standard, 0x63F), 1, "7.1 (L,C,R,SL,SR,LFE)"},
      {MakeChannelConfig(8, k_standard, 0x63F), 0, "7.1 (L,R,C,LFE,BL,BR,SL,SR)"},
      {MakeChannelConfig(2, k_standard, 0x3), 1, "2.0 (L,R)"},
      {MakeChannelConfig(0, k_standard, 0), 0, "0.0 ()"},
      {MakeChannelConfig(0, k_standard, 0), 1, "0.0 ()"},
      // An empty item for each unnamed bit up to 0x20000; bits above it are left out.
      {MakeChannelConfig(4, k_standard, 0x243), 0, "4.0 (L,R,,SL)"},
      {MakeChannelConfig(4, k_standard, 0xC0003), 0, "4.0 (L,R)"},
      {MakeChannelConfig(4, k_standard, 0x2C000), 0, "3.0 (HFR,HBL,HBR)"},
      {MakeChannelConfig(4, k_ambisonic, 0), 0, "4 (Ambisonics) (AmbiX)"},
      {MakeChannelConfig(4, k_ambisonic, 0), 2, "4 (Ambisonics) (FuMa)"},
      {MakeChannelConfig(4, k_ambisonic, 0), 1, "4 (Ambisonics) (FuMa)"},
      {MakeChannelConfig(4, 5, 0x3), 0, " (AmbiX)"},
      {MakeChannelConfig(4, 15, 0), 9, " (FuMa)"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(StringHelp::GetChannelConfigOverrideString(c.config, c.orderOverride), c.label)
        << std::hex << c.config << " override " << c.orderOverride;
  }
}

TEST(ChannelNames, OverridePermutationsForEveryCount) {
  const std::vector<std::vector<int64_t>> expected = {
      {0x0, 0x200000200, 0x200},
      {0x1, 0x4101, 0x8101, 0x200000201, 0x201},
      {0x2, 0xC102, 0x3102, 0x200000202, 0x202},
      {0x3, 0xB103, 0x7103, 0x100007103, 0x200000203, 0x203},
      {0x4, 0xF104, 0x10000F104, 0x603104, 0x200000204, 0x204},
      {0x5, 0x60B105, 0x10060B105, 0x607105, 0x100607105, 0x200000205, 0x205},
      {0x6, 0x60F106, 0x10060F106, 0x633106, 0x5603106, 0x200000206, 0x206},
      {0x7, 0x63B107, 0x637107, 0x5607107, 0x200000207, 0x207},
      {0x8, 0x63F108, 0x2D603108, 0x560F108, 0x200000208, 0x208},
      {0x9, 0x2D607109, 0x5637109, 0x200000209, 0x209},
      {0xA, 0x2D60F10A, 0x2DE0710A, 0x563F10A},
      {0xB, 0x2DE0F10B, 0x2FE0710B, 0x2D63710B, 0x20000020B, 0x20B},
      {0xC, 0x2FE0F10C, 0x2D63F10C},
      {0xD, 0x2FE3710D},
      {0xE, 0x2FE3F10E},
      {0xF},
      {0x10, 0x200000210, 0x210},
      {0x11},
      {0x12},
      {0x13},
      {0x14},
  };
  for (uint32_t count = 0; count < expected.size(); ++count) {
    std::vector<int64_t> overrides;
    StringHelp::GetChannelConfigOverridePermutations(count, overrides);
    EXPECT_EQ(overrides, expected[count]) << count << " channels";

    // Every standard value names as many channels as the count says.
    for (int64_t value : overrides) {
      const auto config = static_cast<QoChannelConfig>(value & 0xFFFFFFFF);
      if (QO::GetChannelConfigType(config) != k_standard) continue;
      std::vector<CStdStr> names;
      StringHelp::ChannelConfigToDisplayNames(config, names);
      EXPECT_EQ(names.size(), count) << std::hex << value;
    }
  }

  // Appended after what the vector holds.
  std::vector<int64_t> overrides = {-5};
  StringHelp::GetChannelConfigOverridePermutations(15, overrides);
  StringHelp::GetChannelConfigOverridePermutations(0, overrides);
  EXPECT_EQ(overrides, (std::vector<int64_t>{-5, 0xF, 0x0, 0x200000200, 0x200}));

  // Counts beyond one byte keep only their low byte in the packed value.
  overrides.clear();
  StringHelp::GetChannelConfigOverridePermutations(0x101, overrides);
  EXPECT_EQ(overrides, std::vector<int64_t>{0x1});
}

}  // namespace
