// QoVariantBase's clear and copy by type, and QoVariant's owning setters.
#include <qobase/algorithms/qo_variant.h>

#include <cstring>
#include <utility>

namespace QO {
namespace SonvoAuthoringAPI {

namespace {

// The number of value bytes a type uses in place; 0 for none, owned objects and unknown types.
size_t InPlaceBytes(uint32_t type) {
  switch (type) {
    case k_variantUint8:
    case k_variantInt8:
    case k_variantBool:
      return 1;
    case k_variantUint16:
    case k_variantInt16:
      return 2;
    case k_variantUint32:
    case k_variantInt32:
    case k_variantReal32:
      return 4;
    case k_variantUint64:
    case k_variantInt64:
    case k_variantReal64:
      return 8;
    default:
      return 0;
  }
}

}  // namespace

void QoVariantBase::Clear() {
  switch (type) {
    case k_variantString:
      delete value.str;
      value.str = nullptr;
      break;
    case k_variantWString:
      delete value.wstr;
      value.wstr = nullptr;
      break;
    case k_variantGuid:
      delete value.guid;
      value.guid = nullptr;
      break;
    default:
      break;
  }
}

void QoVariantBase::CopyFrom(const QoVariantBase& other) {
  if (&other == this) return;
  // The copy is made before anything changes, so a failed allocation leaves the target as it was.
  switch (other.type) {
    case k_variantString:
      value.str = other.value.str ? new std::string(*other.value.str) : nullptr;
      break;
    case k_variantWString:
      value.wstr = other.value.wstr ? new std::wstring(*other.value.wstr) : nullptr;
      break;
    case k_variantGuid:
      value.guid = other.value.guid ? new QoGuid(*other.value.guid) : nullptr;
      break;
    default:
      std::memcpy(value.bytes, other.value.bytes, InPlaceBytes(other.type));
      break;
  }
  type = other.type;
}

QoVariant& QoVariant::operator=(const QoVariant& other) {
  if (this != &other) {
    QoVariant copy(other);
    *this = std::move(copy);
  }
  return *this;
}

QoVariant& QoVariant::operator=(QoVariant&& other) noexcept {
  if (this != &other) {
    Clear();
    type = other.type;
    value = other.value;
    other.type = k_variantNone;
  }
  return *this;
}

void QoVariant::Reset(uint32_t newType) {
  Clear();
  std::memset(value.bytes, 0, sizeof(value.bytes));
  type = newType;
}

void QoVariant::SetUint8(uint8_t v) {
  Reset(k_variantUint8);
  value.u8 = v;
}
void QoVariant::SetUint16(uint16_t v) {
  Reset(k_variantUint16);
  value.u16 = v;
}
void QoVariant::SetUint32(uint32_t v) {
  Reset(k_variantUint32);
  value.u32 = v;
}
void QoVariant::SetUint64(uint64_t v) {
  Reset(k_variantUint64);
  value.u64 = v;
}
void QoVariant::SetInt8(int8_t v) {
  Reset(k_variantInt8);
  value.i8 = v;
}
void QoVariant::SetInt16(int16_t v) {
  Reset(k_variantInt16);
  value.i16 = v;
}
void QoVariant::SetInt32(int32_t v) {
  Reset(k_variantInt32);
  value.i32 = v;
}
void QoVariant::SetInt64(int64_t v) {
  Reset(k_variantInt64);
  value.i64 = v;
}
void QoVariant::SetReal32(float v) {
  Reset(k_variantReal32);
  value.r32 = v;
}
void QoVariant::SetReal64(double v) {
  Reset(k_variantReal64);
  value.r64 = v;
}
void QoVariant::SetBool(bool v) {
  Reset(k_variantBool);
  value.b = v;
}

// The owned copy is made first, so a failed allocation leaves the variant as it was.
void QoVariant::SetString(const std::string& v) {
  std::string* copy = new std::string(v);
  Reset(k_variantString);
  value.str = copy;
}
void QoVariant::SetWString(const std::wstring& v) {
  std::wstring* copy = new std::wstring(v);
  Reset(k_variantWString);
  value.wstr = copy;
}
void QoVariant::SetGuid(const QoGuid& v) {
  QoGuid* copy = new QoGuid(v);
  Reset(k_variantGuid);
  value.guid = copy;
}

}  // namespace SonvoAuthoringAPI
}  // namespace QO
