// QoGuid, the library's 16-byte identifier, and its 38-character braced text form
// "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}" for 8-bit and wide strings.
#pragma once

#include <qobase/strings/std_str.h>

#include <cstdint>
#include <string>

namespace QO {
namespace SonvoAuthoringAPI {

// Laid out as the Windows GUID structure; the three multi-byte fields are little-endian in
// memory, so the text prints bytes 3 2 1 0 - 5 4 - 7 6 - 8 9 - 10 to 15.
struct QoGuid {
  uint32_t Data1;
  uint16_t Data2;
  uint16_t Data3;
  uint8_t Data4[8];
};

static_assert(sizeof(QoGuid) == 16, "QoGuid is exactly 16 bytes");
static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__,
              "QoGuid's in-memory layout assumes a little-endian host");

// All 16 bytes zero.
inline constexpr QoGuid QoGuidNull{0, 0, 0, {0, 0, 0, 0, 0, 0, 0, 0}};

bool operator==(const QoGuid& a, const QoGuid& b);
inline bool operator!=(const QoGuid& a, const QoGuid& b) { return !(a == b); }

}  // namespace SonvoAuthoringAPI
}  // namespace QO

using QO::SonvoAuthoringAPI::QoGuid;
using QO::SonvoAuthoringAPI::QoGuidNull;

namespace StringHelp {

// The braced text form, upper-case hexadecimal, 38 characters:
// bytes 00..0F give "{03020100-0504-0706-0809-0A0B0C0D0E0F}".
CStdStr ConvertQoGuidToString(const QoGuid& guid);

// Reads the braced text form (hexadecimal digits of either case). The empty text, and any text
// that is not exactly that form (no braces, wrong length, a misplaced "-", a non-hex digit),
// give QoGuidNull.
QoGuid ConvertStringToQoGuid(const CStdStr& text);

}  // namespace StringHelp

// Writes the 38 characters of the text form over the first 38 characters of `text`,
// lengthening it to 38 when it is shorter (characters beyond 38 are kept).
void QoGuidToStr(const QoGuid& guid, std::string& text);

// `text` becomes the 38 wide characters of the text form.
void QoGuidToWStr(const QoGuid& guid, std::wstring& text);

// Reads the braced text form from a wide string into `guid`, storing each byte as it is read.
// Returns false at the first bad character (wrong length, brace, hyphen or digit); the bytes
// stored before it stay in `guid`. True when all 16 bytes were read.
bool WStrToQoGuid(const std::wstring& text, QoGuid& guid);

// The GUID of a wide text form, or QoGuidNull when WStrToQoGuid rejects the text.
QoGuid QoGuidFromWStr(const std::wstring& text);
