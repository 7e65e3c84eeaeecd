// QoVariant: one scalar of a JSON value, tagged with its variant type code (the codes and names
// of StringHelp::QoVariantType2String). Numbers and booleans live in 8 bytes of the value itself;
// strings, wide strings and GUIDs are owned objects the value points to.
#pragma once

#include <qobase/streams/guid.h>

#include <cstdint>
#include <string>

namespace QO {
namespace SonvoAuthoringAPI {

enum QoVariantType : uint32_t {
  k_variantNone = 0,
  k_variantUint8 = 1,
  k_variantUint16 = 2,
  k_variantUint32 = 3,
  k_variantUint64 = 4,
  k_variantInt8 = 5,
  k_variantInt16 = 6,
  k_variantInt32 = 7,
  k_variantInt64 = 8,
  k_variantReal32 = 9,
  k_variantReal64 = 10,
  k_variantBool = 11,
  k_variantString = 12,   // points to an owned std::string
  k_variantWString = 13,  // points to an owned std::wstring
  k_variantGuid = 14,     // points to an owned QoGuid
};

// The 8 value bytes, read by type.
union QoVariantValue {
  unsigned char bytes[8];
  uint8_t u8;
  uint16_t u16;
  uint32_t u32;
  uint64_t u64;
  int8_t i8;
  int16_t i16;
  int32_t i32;
  int64_t i64;
  float r32;
  double r64;
  bool b;
  std::string* str;
  std::wstring* wstr;
  QoGuid* guid;
};
static_assert(sizeof(QoVariantValue) == 8, "a variant value is 8 bytes");

// The plain record: no constructor, destructor or copy of its own.
class QoVariantBase {
 public:
  // Frees the owned string or GUID of types 12 to 14; the type is kept. The freed pointer is set
  // to null, so clearing twice is harmless.
  void Clear();
  // Copies the type and the bytes that type uses; types 12 to 14 get their own copy of the
  // string or GUID. Clear the target first: what it owned is not freed here.
  void CopyFrom(const QoVariantBase& other);

  uint32_t type;
  QoVariantValue value;
};

// A variant that owns its value: it starts as type 0, copies deeply and clears when destroyed.
class QoVariant : public QoVariantBase {
 public:
  QoVariant() : QoVariantBase{k_variantNone, {}} {}
  QoVariant(const QoVariant& other) : QoVariant() { CopyFrom(other); }
  QoVariant(QoVariant&& other) noexcept : QoVariantBase(other) { other.type = k_variantNone; }
  QoVariant& operator=(const QoVariant& other);
  QoVariant& operator=(QoVariant&& other) noexcept;
  ~QoVariant() { Clear(); }

  // Each replaces the value (freeing an owned one) and sets the matching type.
  void SetUint8(uint8_t v);
  void SetUint16(uint16_t v);
  void SetUint32(uint32_t v);
  void SetUint64(uint64_t v);
  void SetInt8(int8_t v);
  void SetInt16(int16_t v);
  void SetInt32(int32_t v);
  void SetInt64(int64_t v);
  void SetReal32(float v);
  void SetReal64(double v);
  void SetBool(bool v);
  void SetString(const std::string& v);
  void SetWString(const std::wstring& v);
  void SetGuid(const QoGuid& v);

 private:
  // Frees what the value owns and starts the new one from zero bytes.
  void Reset(uint32_t newType);
};

}  // namespace SonvoAuthoringAPI
}  // namespace QO

using QO::SonvoAuthoringAPI::QoVariant;
