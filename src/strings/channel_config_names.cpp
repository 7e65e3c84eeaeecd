// Display names of speaker channels and channel configurations, and the override labels and
// override lists offered for a source's channel count. The tables are constant after load.
#include <qobase/strings/channel_config_names.h>

#include <bitset>

namespace StringHelp {

const std::array<ChannelNameId, 16> k_DefaultChannelNameIds = {{
    {0x1, "L"},
    {0x2, "R"},
    {0x4, "C"},
    {0x10, "BL"},
    {0x20, "BR"},
    {0x200, "SL"},
    {0x400, "SR"},
    {0x100, "BC"},
    {0x800, "T"},
    {0x1000, "HFL"},
    {0x2000, "HFC"},
    {0x4000, "HFR"},
    {0x8000, "HBL"},
    {0x10000, "HBC"},
    {0x20000, "HBR"},
    {0x8, "LFE"},
}};

const std::array<CStdStr, 16> k_AmbisonicsNamesByNumChannels = {{
    "W",
    "WY",
    "WYX",
    "WYZX",
    "WYXVU",
    "WYZXVU",
    "WYXVUQP",
    "WYZXVUQP",
    "WYZXVTRSU",
    "XXXXXXXXXX",
    "WYZXVTRSUQP",
    "XXXXXXXXXXXX",
    "XXXXXXXXXXXXX",
    "XXXXXXXXXXXXXX",
    "XXXXXXXXXXXXXXX",
    "WYZXVTRSUQOMKLNP",
}};

const std::array<uint32_t, 6> g_FilmOrder = {{0x1, 0x4, 0x2, 0x200, 0x400, 0x8}};

const std::array<std::vector<uint32_t>, 14> s_aChannelConfigPermutations = {{
    {0x4, 0x8},
    {0xC, 0x3},
    {0xB, 0x7},
    {0xF, 0x603},
    {0x60B, 0x607},
    {0x60F, 0x633, 0x5603},
    {0x63B, 0x637, 0x5607},
    {0x63F, 0x2D603, 0x560F},
    {0x2D607, 0x5637},
    {0x2D60F, 0x2DE07, 0x563F},
    {0x2DE0F, 0x2FE07, 0x2D637},
    {0x2FE0F, 0x2D63F},
    {0x2FE37},
    {0x2FE3F},
}};

namespace {

constexpr uint32_t k_lfeBit = QO::k_speakerLowFrequency;
constexpr uint32_t k_frontBits =
    QO::k_speakerFrontLeft | QO::k_speakerFrontRight | QO::k_speakerFrontCenter;
constexpr uint32_t k_highestNamedBit = QO::k_speakerTopBackRight;
constexpr int64_t k_filmOrderOverride = int64_t{k_channelOrderFilm} << 32;
constexpr int64_t k_fuMaOverride = int64_t{k_channelOrderFuMa} << 32;

unsigned int CountBits(uint32_t value) {
  return static_cast<unsigned int>(std::bitset<32>(value).count());
}

// The standard layouts that can also be read in film order: those with all three front channels,
// or with LFE and a side channel.
bool HasFilmOrder(uint32_t mask) {
  const bool allFront = (mask & k_frontBits) == k_frontBits;
  const bool lfeAndSide =
      (mask & k_lfeBit) != 0 && (mask & (QO::k_speakerSideLeft | QO::k_speakerSideRight)) != 0;
  return allFront || lfeAndSide;
}

void AppendStandardNames(uint32_t mask, std::vector<CStdStr>& names) {
  // When a layout has both back and side channels, the four positions after the front channels
  // present are read side pair first, so the sides come before the backs.
  const bool exchange = (mask & QO::k_speakerBackLeft) != 0 && (mask & QO::k_speakerSideLeft) != 0;
  const size_t front = CountBits(mask & k_frontBits);
  for (size_t p = 0; p < k_DefaultChannelNameIds.size(); ++p) {
    size_t used = p;
    if (exchange && p >= front && p < front + 4) used = p < front + 2 ? p + 2 : p - 2;
    const ChannelNameId& entry = k_DefaultChannelNameIds[used];
    if ((entry.channel & mask) != 0) names.push_back(entry.name);
  }
}

}  // namespace

const CStdStr& ChannelToDisplayName(uint32_t channel) {
  for (const ChannelNameId& entry : k_DefaultChannelNameIds) {
    if ((entry.channel & channel) != 0) return entry.name;
  }
  static const CStdStr s_empty;
  return s_empty;
}

void ChannelConfigDisplayName(QoChannelConfig config, CStdStr& name) {
  const uint32_t count = QO::GetChannelConfigNumChannels(config);
  const uint32_t mask = QO::GetChannelConfigMask(config);
  switch (QO::GetChannelConfigType(config)) {
    case QO::k_channelConfigAnonymous:
      name.Fmt("%u (%s)", count, "Anonymous");
      break;
    case QO::k_channelConfigAmbisonic:
      name.Fmt("%u (%s)", count, "Ambisonics");
      break;
    case QO::k_channelConfigStandard:
      name.Fmt("%u.%u", CountBits(mask & ~k_lfeBit), (mask & k_lfeBit) != 0 ? 1u : 0u);
      break;
    default:
      break;
  }
}

void ChannelConfigToDisplayNames(QoChannelConfig config, std::vector<CStdStr>& names) {
  names.clear();
  const uint32_t count = QO::GetChannelConfigNumChannels(config);
  switch (QO::GetChannelConfigType(config)) {
    case QO::k_channelConfigAnonymous:
      for (uint32_t i = 1; i <= count; ++i) {
        CStdStr number;
        number.Fmt("%u", i);
        names.push_back(number);
      }
      break;
    case QO::k_channelConfigAmbisonic:
      if (count == 0) break;
      if (count > k_AmbisonicsNamesByNumChannels.size()) {
        names.assign(count, CStdStr("X"));
        break;
      }
      for (char letter : k_AmbisonicsNamesByNumChannels[count - 1]) {
        names.push_back(CStdStr(letter, 1));
      }
      break;
    case QO::k_channelConfigStandard:
      AppendStandardNames(QO::GetChannelConfigMask(config), names);
      break;
    default:
      break;
  }
}

CStdStr GetChannelConfigOverrideString(QoChannelConfig config, uint32_t orderOverride) {
  CStdStr label;
  ChannelConfigDisplayName(config, label);
  const uint32_t type = QO::GetChannelConfigType(config);
  if (type == QO::k_channelConfigAnonymous) return label;

  label += " (";
  if (type == QO::k_channelConfigStandard) {
    const uint32_t mask = QO::GetChannelConfigMask(config);
    bool first = true;
    auto addName = [&](uint32_t channel) {
      if (!first) label += ",";
      label += ChannelToDisplayName(channel);
      first = false;
    };
    if (orderOverride == k_channelOrderFilm) {
      for (uint32_t channel : g_FilmOrder) {
        if ((mask & channel) != 0) addName(channel);
      }
    } else {
      for (uint32_t channel = 1; channel <= k_highestNamedBit; channel <<= 1) {
        if ((mask & channel) != 0) addName(channel);
      }
    }
  } else {
    label += orderOverride == k_channelOrderDefault ? "AmbiX" : "FuMa";
  }
  label += ")";
  return label;
}

void GetChannelConfigOverridePermutations(uint32_t numChannels, std::vector<int64_t>& overrides) {
  const uint32_t count = numChannels & 0xFFu;
  overrides.push_back(count);

  if (numChannels >= 1 && numChannels <= s_aChannelConfigPermutations.size()) {
    for (uint32_t mask : s_aChannelConfigPermutations[numChannels - 1]) {
      const int64_t standard = QO::MakeChannelConfig(count, QO::k_channelConfigStandard, mask);
      overrides.push_back(standard);
      if (numChannels < 7 && HasFilmOrder(mask))
        overrides.push_back(standard | k_filmOrderOverride);
    }
  }

  if (numChannels <= 9 || numChannels == 11 || numChannels == 16) {
    const int64_t ambisonic = QO::MakeChannelConfig(count, QO::k_channelConfigAmbisonic, 0);
    overrides.push_back(ambisonic | k_fuMaOverride);
    overrides.push_back(ambisonic);
  }
}

}  // namespace StringHelp
