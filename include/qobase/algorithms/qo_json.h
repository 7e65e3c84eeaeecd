// JSON values: a tree of maps (keyed by interned strings), arrays and scalar variants. A value
// owns its content exclusively and every copy is deep. QoJsonHelpers adds the merge of two maps
// and the lookup of a key with a fallback.
#pragma once

#include <qobase/algorithms/qo_variant.h>
#include <qobase/algorithms/ro_string.h>

#include <cstdint>
#include <map>
#include <memory>
#include <utility>
#include <vector>

namespace QO {
namespace SonvoAuthoringAPI {

// V is the scalar type (Clear and CopyFrom as QoVariantBase has them), K the map key, Less its
// order.
template <class V, class K, class Less>
class QoJsonBase {
 public:
  using MapType = std::map<K, QoJsonBase, Less>;
  using ArrayType = std::vector<QoJsonBase>;

  enum Kind : uint32_t { k_map = 0, k_array = 1, k_variant = 2, k_empty = 3 };

  // A new value is empty.
  QoJsonBase() = default;
  QoJsonBase(const QoJsonBase& other) { Copy(other, *this); }
  QoJsonBase(QoJsonBase&& other) noexcept : m_kind(other.m_kind), m_payload(other.m_payload) {
    other.m_kind = k_empty;
    other.m_payload = nullptr;
  }
  QoJsonBase& operator=(const QoJsonBase& other) {
    Copy(other, *this);
    return *this;
  }
  // Taking the content before clearing keeps a move from one of this value's own children safe.
  QoJsonBase& operator=(QoJsonBase&& other) noexcept {
    if (this != &other) {
      const uint32_t kind = other.m_kind;
      void* payload = other.m_payload;
      other.m_kind = k_empty;
      other.m_payload = nullptr;
      Install(kind, payload);
    }
    return *this;
  }
  virtual ~QoJsonBase() { Clear(); }

  // Destroys the content (array elements from the last to the first) and makes the value empty.
  void Clear() {
    if (!m_payload) return;
    switch (m_kind) {
      case k_map:
        delete static_cast<MapType*>(m_payload);
        break;
      case k_array: {
        auto* array = static_cast<ArrayType*>(m_payload);
        while (!array->empty()) array->pop_back();
        delete array;
        break;
      }
      case k_variant: {
        auto* variant = static_cast<V*>(m_payload);
        variant->Clear();
        delete variant;
        break;
      }
      default:
        break;
    }
    m_kind = k_empty;
    m_payload = nullptr;
  }

  // Makes `target` a deep copy of `source`: a map with copies of every entry in the source's
  // order, an array of copies, a copied variant; an empty source clears the target. A target
  // that already holds the source's kind keeps its map, array or variant object, so references
  // into it stay valid. Maps and arrays are copied whole before the target changes, so copying
  // a value into itself or into one of its own children is safe.
  static void Copy(const QoJsonBase& source, QoJsonBase& target) {
    if (&source == &target) return;
    switch (source.m_kind) {
      case k_map: {
        MapType copy;
        for (const auto& entry : *source.GetMap()) copy.emplace_hint(copy.end(), entry);
        if (MapType* map = target.GetMap()) {
          map->swap(copy);  // the old entries go with `copy`
        } else {
          target.Install(k_map, new MapType(std::move(copy)));
        }
        break;
      }
      case k_array: {
        ArrayType copy(*source.GetArray());
        if (ArrayType* array = target.GetArray()) {
          array->swap(copy);
        } else {
          target.Install(k_array, new ArrayType(std::move(copy)));
        }
        break;
      }
      case k_variant: {
        if (V* variant = target.GetVariant()) {
          // A variant holds no values, so the source cannot live inside the target's.
          variant->Clear();
          variant->CopyFrom(*source.GetVariant());
        } else {
          auto copy = std::make_unique<V>();
          copy->Clear();
          copy->CopyFrom(*source.GetVariant());
          target.Install(k_variant, copy.release());
        }
        break;
      }
      default:
        target.Clear();
        break;
    }
  }

  // Each replaces the content by a new empty map, empty array or type-0 variant and returns it.
  MapType& SetMap() { return *static_cast<MapType*>(Install(k_map, new MapType)); }
  ArrayType& SetArray() { return *static_cast<ArrayType*>(Install(k_array, new ArrayType)); }
  V& SetVariant() { return *static_cast<V*>(Install(k_variant, new V)); }

  uint32_t GetKind() const { return m_kind; }
  bool IsEmpty() const { return m_kind == k_empty; }

  // The content, or null when the value holds another kind.
  MapType* GetMap() { return m_kind == k_map ? static_cast<MapType*>(m_payload) : nullptr; }
  const MapType* GetMap() const {
    return m_kind == k_map ? static_cast<const MapType*>(m_payload) : nullptr;
  }
  ArrayType* GetArray() { return m_kind == k_array ? static_cast<ArrayType*>(m_payload) : nullptr; }
  const ArrayType* GetArray() const {
    return m_kind == k_array ? static_cast<const ArrayType*>(m_payload) : nullptr;
  }
  V* GetVariant() { return m_kind == k_variant ? static_cast<V*>(m_payload) : nullptr; }
  const V* GetVariant() const {
    return m_kind == k_variant ? static_cast<const V*>(m_payload) : nullptr;
  }

 private:
  // Clears the value, then takes ownership of `payload` as content of `kind`.
  void* Install(uint32_t kind, void* payload) {
    Clear();
    m_kind = kind;
    m_payload = payload;
    return payload;
  }

  uint32_t m_kind = k_empty;
  void* m_payload = nullptr;  // MapType, ArrayType or V by kind; null when empty
};

// The JSON value of this library: variants as scalars, interned strings as keys.
using QoJson = QoJsonBase<QoVariant, ROString, ROStringLess>;

extern template class QoJsonBase<QoVariant, ROString, ROStringLess>;

}  // namespace SonvoAuthoringAPI
}  // namespace QO

using QO::SonvoAuthoringAPI::QoJson;
using QO::SonvoAuthoringAPI::QoJsonBase;

namespace QoJsonHelpers {

// The map's value for `key`, or `fallback` itself (not a copy) when the key is absent.
const QoJson& MapOrDefault(const QoJson::MapType& map, const ROString& key, const QoJson& fallback);

// A new map holding every entry of `first`, then every entry of `second`, whose values replace
// those of `first` for keys in both. The inputs are not changed.
// {a: 1, b: 2} and {b: 3, c: 4} give {a: 1, b: 3, c: 4}.
QoJson::MapType MergeMaps(const QoJson::MapType& first, const QoJson::MapType& second);

}  // namespace QoJsonHelpers
