// FNV-1 hashing: a running hash value that absorbs bytes one by one with the multiply-then-XOR
// step. The writers fold every byte they send to a file into one of these.
#pragma once

#include <cstddef>
#include <cstdint>

namespace QO {

// The 32-bit FNV parameters.
struct Hash32 {
  using ValueType = std::uint32_t;
  static constexpr ValueType k_offsetBasis = 2166136261u;
  static constexpr ValueType k_prime = 16777619u;  // 0x01000193
};

// A running FNV-1 hash. The hash value is the object's first and only field, so code that is
// handed the object can read and update it in place.
// FNVHash<Hash32> h; h.Add("a", 1); h.GetHash() == 0x050C5D7E
template <class Traits>
class FNVHash {
 public:
  using ValueType = typename Traits::ValueType;

  FNVHash() = default;
  explicit FNVHash(ValueType seed) : m_hash(seed) {}

  // One FNV-1 step per byte: hash = (hash * prime) XOR byte, modulo the value's width.
  static ValueType Step(ValueType hash, const void* data, std::size_t count) {
    const unsigned char* bytes = static_cast<const unsigned char*>(data);
    for (std::size_t i = 0; i < count; ++i) {
      hash = static_cast<ValueType>(hash * Traits::k_prime) ^ bytes[i];
    }
    return hash;
  }

  void Add(const void* data, std::size_t count) { m_hash = Step(m_hash, data, count); }
  ValueType GetHash() const { return m_hash; }
  void Reset(ValueType seed = Traits::k_offsetBasis) { m_hash = seed; }

  ValueType m_hash = Traits::k_offsetBasis;
};

}  // namespace QO
