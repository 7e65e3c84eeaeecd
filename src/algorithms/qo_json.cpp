// The library's JSON value type, instantiated once here, and the map helpers.
#include <qobase/algorithms/qo_json.h>

namespace QO {
namespace SonvoAuthoringAPI {

template class QoJsonBase<QoVariant, ROString, ROStringLess>;

}  // namespace SonvoAuthoringAPI
}  // namespace QO

namespace QoJsonHelpers {

const QoJson& MapOrDefault(const QoJson::MapType& map, const ROString& key,
                           const QoJson& fallback) {
  const auto found = map.find(key);
  return found == map.end() ? fallback : found->second;
}

QoJson::MapType MergeMaps(const QoJson::MapType& first, const QoJson::MapType& second) {
  QoJson::MapType merged(first);
  for (const auto& entry : second) QoJson::Copy(entry.second, merged[entry.first]);
  return merged;
}

}  // namespace QoJsonHelpers
