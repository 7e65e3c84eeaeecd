// The library's 16-byte identifier: a 32-bit field, two 16-bit fields and eight bytes, the
// multi-byte fields little-endian in memory (the layout of a Windows GUID).
#pragma once

#include <cstdint>
#include <cstring>

namespace QO {
namespace SonvoAuthoringAPI {

struct QoGuid {
  uint32_t Data1;
  uint16_t Data2;
  uint16_t Data3;
  uint8_t Data4[8];
};
static_assert(sizeof(QoGuid) == 16, "QoGuid is 16 bytes");

// Byte-wise equality: GUIDs are compared as the 16 bytes they are stored as.
inline bool operator==(const QoGuid& a, const QoGuid& b) {
  return std::memcmp(&a, &b, sizeof(QoGuid)) == 0;
}
inline bool operator!=(const QoGuid& a, const QoGuid& b) { return !(a == b); }

// The all-zero GUID.
constexpr QoGuid QoGuidNull = {0, 0, 0, {0, 0, 0, 0, 0, 0, 0, 0}};

}  // namespace SonvoAuthoringAPI
}  // namespace QO
