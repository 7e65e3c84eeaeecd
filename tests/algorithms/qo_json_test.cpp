// Variants and JSON values: copies by type, deep copies of trees, clearing, merging maps and
// default lookups.
#include <qobase/algorithms/qo_json.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

namespace {

using QO::SonvoAuthoringAPI::QoVariantBase;

QoJson Int(int value) {
  QoJson json;
  json.SetVariant().SetInt32(value);
  return json;
}

QoJson Text(const char* value) {
  QoJson json;
  json.SetVariant().SetString(value);
  return json;
}

// A compact text of the tree; map entries in alphabetical key order, since the map's own order
// follows the pool's addresses.
std::string Describe(const QoJson& json) {
  if (const auto* map = json.GetMap()) {
    std::vector<std::string> entries;
    for (const auto& entry : *map) {
      entries.push_back(std::string(entry.first.c_str()) + ":" + Describe(entry.second));
    }
    std::sort(entries.begin(), entries.end());
    std::string text = "{";
    for (const std::string& entry : entries) text += (text.size() > 1 ? "," : "") + entry;
    return text + "}";
  }
  if (const auto* array = json.GetArray()) {
    std::string text = "[";
    for (const QoJson& element : *array) text += (text.size() > 1 ? "," : "") + Describe(element);
    return text + "]";
  }
  if (const QoVariant* variant = json.GetVariant()) {
    switch (variant->type) {
      case QO::SonvoAuthoringAPI::k_variantInt32:
        return std::to_string(variant->value.i32);
      case QO::SonvoAuthoringAPI::k_variantBool:
        return variant->value.b ? "true" : "false";
      case QO::SonvoAuthoringAPI::k_variantString:
        return "\"" + *variant->value.str + "\"";
      default:
        return "type" + std::to_string(variant->type);
    }
  }
  return "empty";
}

// {a: 1, b: [true, "x"], c: {d: "y"}}
QoJson Sample() {
  QoJson json;
  QoJson::MapType& map = json.SetMap();
  map["a"] = Int(1);
  QoJson::ArrayType& array = map["b"].SetArray();
  array.emplace_back().SetVariant().SetBool(true);
  array.push_back(Text("x"));
  map["c"].SetMap()["d"] = Text("y");
  return json;
}

TEST(QoVariant, CopiesTheBytesOfItsTypeAndOwnsItsObjects) {
  QoVariant target;
  std::memset(target.value.bytes, 0xAB, 8);
  QoVariant source;
  source.SetInt16(-2);
  target.CopyFrom(source);
  EXPECT_EQ(target.type, 6u);
  const unsigned char expected[8] = {0xFE, 0xFF, 0xAB, 0xAB, 0xAB, 0xAB, 0xAB, 0xAB};
  EXPECT_EQ(std::memcmp(target.value.bytes, expected, 8), 0);

  source.SetReal64(2.5);
  QoVariant real(source);
  EXPECT_EQ(real.type, 10u);
  EXPECT_EQ(real.value.r64, 2.5);

  source.SetString("text");
  QoVariant text(source);
  ASSERT_EQ(text.type, 12u);
  EXPECT_NE(text.value.str, source.value.str);
  EXPECT_EQ(*text.value.str, "text");
  source.SetWString(L"wide");
  text = source;
  ASSERT_EQ(text.type, 13u);
  EXPECT_EQ(*text.value.wstr, L"wide");
  source.SetGuid(QoGuid{1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}});
  text = source;
  ASSERT_EQ(text.type, 14u);
  EXPECT_NE(text.value.guid, source.value.guid);
  EXPECT_EQ(*text.value.guid, *source.value.guid);

  // Clear frees the object but keeps the type; a second clear does nothing.
  text.Clear();
  EXPECT_EQ(text.type, 14u);
  EXPECT_EQ(text.value.guid, nullptr);
  text.Clear();

  // A type outside the table is copied without value bytes.
  QoVariantBase unknown{20, {{1, 2, 3, 4, 5, 6, 7, 8}}};
  QoVariant fromUnknown;
  fromUnknown.CopyFrom(unknown);
  EXPECT_EQ(fromUnknown.type, 20u);
  EXPECT_EQ(fromUnknown.value.u64, 0u);
}

TEST(QoJson, DeepCopies) {
  const QoJson original = Sample();
  EXPECT_EQ(Describe(original), "{a:1,b:[true,\"x\"],c:{d:\"y\"}}");

  QoJson copy = original;
  EXPECT_EQ(Describe(copy), Describe(original));
  EXPECT_NE(copy.GetMap(), original.GetMap());
  EXPECT_NE(copy.GetMap()->at("b").GetArray()->at(1).GetVariant()->value.str,
            original.GetMap()->at("b").GetArray()->at(1).GetVariant()->value.str);
  copy.GetMap()->at("c").GetMap()->at("d").GetVariant()->SetString("changed");
  EXPECT_EQ(Describe(original), "{a:1,b:[true,\"x\"],c:{d:\"y\"}}");

  // Whatever the target held gives way to the source's kind.
  const QoJson sources[] = {Sample(), Sample().GetMap()->at("b"), Int(7), QoJson()};
  for (const QoJson& source : sources) {
    for (QoJson target : {Sample(), QoJson(Sample().GetMap()->at("b")), Text("old"), QoJson()}) {
      QoJson::Copy(source, target);
      EXPECT_EQ(Describe(target), Describe(source));
      EXPECT_EQ(target.GetKind(), source.GetKind());
    }
  }
  QoJson cleared = Sample();
  QoJson::Copy(QoJson(), cleared);
  EXPECT_TRUE(cleared.IsEmpty());
  EXPECT_EQ(cleared.GetKind(), 3u);
}

// A target that already holds the source's kind keeps its map, array or variant: references
// the caller holds into it stay valid across the copy.
TEST(QoJson, CopyKeepsTheTargetsContainerOfTheSameKind) {
  const QoJson source = Sample();
  QoJson target = Sample();
  target.GetMap()->at("a") = Int(5);
  const QoJson::MapType* map = target.GetMap();
  QoJson::Copy(source, target);
  EXPECT_EQ(target.GetMap(), map);
  target = source;
  EXPECT_EQ(target.GetMap(), map);
  EXPECT_EQ(map->size(), 3u);

  QoJson list;
  list.SetArray().push_back(Int(1));
  const QoJson::ArrayType* array = list.GetArray();
  QoJson::Copy(source.GetMap()->at("b"), list);
  EXPECT_EQ(list.GetArray(), array);
  EXPECT_EQ(array->size(), 2u);
  EXPECT_EQ(Describe(list), "[true,\"x\"]");

  QoJson scalar = Text("old");
  const QoVariant* variant = scalar.GetVariant();
  QoJson::Copy(Int(7), scalar);
  EXPECT_EQ(scalar.GetVariant(), variant);
  EXPECT_EQ(variant->value.i32, 7);
}

TEST(QoJson, CopiesAndMovesWithinOneTree) {
  QoJson tree = Sample();
  QoJson::Copy(tree, tree);
  EXPECT_EQ(Describe(tree), "{a:1,b:[true,\"x\"],c:{d:\"y\"}}");

  // A child copied over its own parent.
  QoJson::Copy(tree.GetMap()->at("c"), tree);
  EXPECT_EQ(Describe(tree), "{d:\"y\"}");

  QoJson other = Sample();
  other = std::move(other.GetMap()->at("b"));
  EXPECT_EQ(Describe(other), "[true,\"x\"]");
  other = other.GetArray()->at(1);
  EXPECT_EQ(Describe(other), "\"x\"");
}

// A scalar that logs its destruction, to see the order in which an array is cleared.
struct LoggedScalar {
  static std::vector<int>& Log() {
    static std::vector<int> log;
    return log;
  }
  void Clear() {}
  void CopyFrom(const LoggedScalar& other) { id = other.id; }
  ~LoggedScalar() { Log().push_back(id); }
  int id = 0;
};

TEST(QoJson, ClearsArraysFromTheLastElement) {
  using Logged = QoJsonBase<LoggedScalar, ROString, ROStringLess>;
  Logged value;
  Logged::ArrayType& array = value.SetArray();
  array.resize(3);
  for (int i = 0; i < 3; ++i) array[i].SetVariant().id = i + 1;
  LoggedScalar::Log().clear();
  value.Clear();
  EXPECT_EQ(LoggedScalar::Log(), (std::vector<int>{3, 2, 1}));
  EXPECT_TRUE(value.IsEmpty());
  value.Clear();
}

TEST(QoJsonHelpers, MergeAndDefaultLookup) {
  QoJson::MapType first, second;
  first["a"] = Int(1);
  first["b"] = Int(2);
  second["b"] = Int(3);
  second["c"].SetArray().push_back(Int(4));

  const QoJson::MapType merged = QoJsonHelpers::MergeMaps(first, second);
  QoJson view;
  view.SetMap() = merged;
  EXPECT_EQ(Describe(view), "{a:1,b:3,c:[4]}");
  view.SetMap() = first;
  EXPECT_EQ(Describe(view), "{a:1,b:2}");
  EXPECT_NE(merged.at("c").GetArray(), second.at("c").GetArray());

  const QoJson fallback = Text("none");
  EXPECT_EQ(&QoJsonHelpers::MapOrDefault(merged, "zz", fallback), &fallback);
  EXPECT_EQ(&QoJsonHelpers::MapOrDefault(merged, "b", fallback), &merged.at("b"));
  EXPECT_EQ(&QoJsonHelpers::MapOrDefault(merged, ROString(), fallback), &fallback);

  EXPECT_TRUE(QoJsonHelpers::MergeMaps({}, {}).empty());
}

}  // namespace
