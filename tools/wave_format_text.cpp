#include "wave_format_text.h"

#include <cstdio>
#include <cstring>

namespace qobase_tool {
namespace {

bool SameGuid(const QO::SonvoAuthoringAPI::QoGuid& a, const QO::SonvoAuthoringAPI::QoGuid& b) {
  return std::memcmp(&a, &b, sizeof a) == 0;
}

// The tag a sub-format stands for (the GUID's first field for the published ones), or 0.
uint16_t EffectiveTag(const QoWaveFormatFacts& facts, bool readsFloat) {
  if (facts.formatTag != 0xFFFE) return facts.formatTag;
  if (IsLibraryRecord(facts)) return readsFloat ? 3 : 1;
  if (!facts.hasExtensibleFields) return 0;
  if (SameGuid(facts.subFormat, ks_dataformat_pcm)) return 1;
  if (SameGuid(facts.subFormat, ks_dataformat_ieee_float)) return 3;
  if (SameGuid(facts.subFormat, ks_dataformat_alaw)) return 6;
  if (SameGuid(facts.subFormat, ks_dataformat_mulaw)) return 7;
  return 0;
}

std::string Hex(unsigned int value, int digits) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%0*X", digits, value);
  return text;
}

std::string TagName(uint16_t tag) {
  switch (tag) {
    case 1:
      return "PCM";
    case 3:
      return "IEEE float";
    case 6:
      return "A-law";
    case 7:
      return "\xCE\xBC-law";
    default:
      return "";
  }
}

}  // namespace

bool IsLibraryRecord(const QoWaveFormatFacts& facts) {
  return facts.formatTag == 0xFFFE && !facts.standardLayoutUsed &&
         (facts.bodySize == 24 || facts.bodySize >= 44);
}

std::string FormatName(const QoWaveFormatFacts& facts, bool readsFloat) {
  if (facts.formatTag != 0xFFFE) {
    const std::string name = TagName(facts.formatTag);
    return name.empty() ? "format tag " + Hex(facts.formatTag, 4) + " (not decoded)" : name;
  }
  if (IsLibraryRecord(facts)) {
    return std::string("extensible (QOBase ") + (facts.bodySize == 24 ? "compact" : "44-byte") +
           " record, " + TagName(EffectiveTag(facts, readsFloat)) + ")";
  }
  if (!facts.hasExtensibleFields) return "extensible (format body too short for its fields)";
  const std::string name = TagName(EffectiveTag(facts, readsFloat));
  if (!name.empty()) return "extensible (" + name + ")";
  const QO::SonvoAuthoringAPI::QoGuid& g = facts.subFormat;
  char guid[64];
  std::snprintf(guid, sizeof guid, "%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X", g.Data1,
                g.Data2, g.Data3, g.Data4[0], g.Data4[1], g.Data4[2], g.Data4[3], g.Data4[4],
                g.Data4[5], g.Data4[6], g.Data4[7]);
  return std::string("extensible (sub-format {") + guid + "}, not decoded)";
}

std::string SampleText(const QoWaveFormatFacts& facts, bool readsFloat) {
  const uint16_t tag = EffectiveTag(facts, readsFloat);
  std::string text = std::to_string(facts.bitsPerSample) + "-bit";
  if (tag == 1) text += " integer";
  if (tag == 3) text += " float";
  if (facts.hasExtensibleFields && !IsLibraryRecord(facts) && facts.validBitsPerSample != 0 &&
      facts.validBitsPerSample != facts.bitsPerSample) {
    text += ", " + std::to_string(facts.validBitsPerSample) + " valid bits";
  }
  return text;
}

bool HasFloatConversion(const QoWaveFormatFacts& facts, bool readsFloat) {
  const uint16_t tag = EffectiveTag(facts, readsFloat);
  const unsigned int bits = facts.bitsPerSample;
  return (tag == 1 && (bits == 16 || bits == 24 || bits == 32)) || (tag == 3 && bits == 32);
}

bool IsIntegerPcm(const QoWaveFormatFacts& facts) {
  return !IsLibraryRecord(facts) && EffectiveTag(facts, false) == 1;
}

std::string SpeakerNames(uint32_t mask) {
  static const char* const sa_speakers[] = {"FL",  "FR",  "FC",  "LFE", "BL",  "BR",
                                            "FLC", "FRC", "BC",  "SL",  "SR",  "TC",
                                            "TFL", "TFC", "TFR", "TBL", "TBC", "TBR"};
  std::string text;
  for (unsigned int bit = 0; bit < 32; ++bit) {
    if (!(mask & (1u << bit))) continue;
    if (!text.empty()) text += ' ';
    text += bit < 18 ? sa_speakers[bit] : "bit " + std::to_string(bit);
  }
  return text.empty() ? "none" : text;
}

std::string ChannelCount(unsigned int count) {
  return std::to_string(count) + (count == 1 ? " channel" : " channels");
}

}  // namespace qobase_tool
