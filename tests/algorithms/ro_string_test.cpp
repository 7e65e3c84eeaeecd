// Interned strings: one pointer per text whatever its source, the pool's entries and use counts,
// growth of the pool, and interning from many threads at once.
#include <qobase/algorithms/ro_string.h>

#include <gtest/gtest.h>

#include <cstring>
#include <initializer_list>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

uint64_t UseCountOf(const char* pooled) {
  uint64_t count;
  std::memcpy(&count, ROStringInternal::LPCTSTRToROData(pooled), sizeof(count));
  return count;
}

TEST(ROString, EqualTextsShareOnePointerWhateverTheSource) {
  const ROString fromC("alpha");
  const ROString fromStdStr(CStdStr("alpha"));
  const ROString fromString(std::string("alpha"));
  const ROString fromWide(L"alpha");
  const ROString fromWString(std::wstring(L"alpha"));
  ROString assigned;
  const char* text = "alpha";
  EXPECT_EQ(assigned = text, text);  // returns its argument

  EXPECT_STREQ(fromC.c_str(), "alpha");
  EXPECT_NE(fromC.c_str(), text);  // the pool's copy, not the argument
  for (const ROString* same : std::initializer_list<const ROString*>{
           &fromStdStr, &fromString, &fromWide, &fromWString, &assigned}) {
    EXPECT_EQ(same->c_str(), fromC.c_str());
    EXPECT_FALSE(ROStringLess()(*same, fromC));
    EXPECT_FALSE(ROStringLess()(fromC, *same));
  }
  const ROString other("alphA");
  EXPECT_NE(other, fromC);
  EXPECT_NE(ROStringLess()(other, fromC), ROStringLess()(fromC, other));

  // A std::string is interned up to its first zero byte.
  EXPECT_EQ(ROString(std::string("alpha\0beta", 10)), fromC);
}

TEST(ROString, NullStringsComeFirst) {
  const ROString byDefault, fromNull(static_cast<const char*>(nullptr)),
      fromNullWide(static_cast<const wchar_t*>(nullptr));
  ROString assigned("x");
  EXPECT_EQ(assigned = static_cast<const char*>(nullptr), nullptr);
  for (const ROString* null :
       std::initializer_list<const ROString*>{&byDefault, &fromNull, &fromNullWide, &assigned}) {
    EXPECT_TRUE(null->IsNull());
    EXPECT_EQ(null->c_str(), nullptr);
  }
  const ROString empty("");
  EXPECT_FALSE(empty.IsNull());
  EXPECT_TRUE(ROStringLess()(byDefault, empty));
  EXPECT_FALSE(ROStringLess()(empty, byDefault));
  EXPECT_FALSE(ROStringLess()(byDefault, fromNull));
}

TEST(ROString, WideTextIsInternedAsUtf8) {
  const wchar_t* wide = L"Gr\u00FC\u00DFe \u20AC\U0001F3B5";
  const char* utf8 =
      "Gr\xC3\xBC\xC3\x9F"
      "e \xE2\x82\xAC\xF0\x9F\x8E\xB5";
  EXPECT_EQ(ROString(wide).c_str(), ROString(utf8).c_str());
  EXPECT_EQ(ROString(std::wstring(wide)).c_str(), ROString(utf8).c_str());
  EXPECT_EQ(ROString(L"").c_str(), ROString("").c_str());

  // A wide C string that is no Unicode text (a lone surrogate, a value past U+10FFFF) gives "".
  // A std::wstring goes through the standard converter: it writes a surrogate as three bytes
  // and has no form for a value past U+10FFFF.
  const wchar_t surrogate[] = {L'a', static_cast<wchar_t>(0xD800), 0};
  const wchar_t tooLarge[] = {L'a', static_cast<wchar_t>(0x110000), 0};
  const wchar_t negative[] = {static_cast<wchar_t>(-1), 0};
  EXPECT_EQ(ROString(surrogate), ROString(""));
  EXPECT_EQ(ROString(tooLarge), ROString(""));
  EXPECT_EQ(ROString(std::wstring(surrogate)), ROString("a\xED\xA0\x80"));
  EXPECT_EQ(ROString(std::wstring(L"\xDFFF\U0010FFFF")), ROString("\xED\xBF\xBF\xF4\x8F\xBF\xBF"));
  EXPECT_THROW(ROString(std::wstring(tooLarge)), std::range_error);
  EXPECT_THROW(ROString(std::wstring(negative)), std::range_error);
}

TEST(ROString, EntriesCountTheirUses) {
  const char* pooled = ROString("use-count probe").c_str();
  const void* entry = ROStringInternal::LPCTSTRToROData(pooled);
  EXPECT_EQ(static_cast<const char*>(entry) + 8, pooled);
  EXPECT_EQ(ROStringInternal::RODataToLPCTSTR(entry), pooled);

  const uint64_t before = UseCountOf(pooled);
  EXPECT_GE(before, 1u);
  ROString again("use-count probe");
  ROString copy = again;  // copies intern nothing
  again = "use-count probe";
  EXPECT_EQ(UseCountOf(pooled), before + 2);
  EXPECT_EQ(copy.c_str(), pooled);
}

TEST(ROString, PoolKeepsItsTextsAcrossGrowth) {
  ROStringInternal::RODataSet pool;
  EXPECT_EQ(pool.Get(nullptr), nullptr);
  std::vector<std::string> texts;
  std::vector<const char*> first;
  for (int i = 0; i < 5000; ++i) {
    texts.push_back("text " + std::to_string(i * 7919) + std::string(i % 23, 'x'));
    first.push_back(pool.Get(texts.back().c_str()));
  }
  texts.push_back("");
  first.push_back(pool.Get(""));
  EXPECT_EQ(pool.Size(), texts.size());
  for (size_t i = 0; i < texts.size(); ++i) {
    ASSERT_STREQ(first[i], texts[i].c_str());
    ASSERT_EQ(pool.Get(texts[i].c_str()), first[i]) << texts[i];
    ASSERT_EQ(UseCountOf(first[i]), 2u);
  }
  EXPECT_EQ(pool.Size(), texts.size());
  // A separate pool keeps separate entries.
  EXPECT_NE(ROString(texts[0]).c_str(), first[0]);
}

TEST(ROString, InterningFromEightThreadsGivesOnePointerPerText) {
  constexpr int k_threads = 8;
  constexpr int k_texts = 3000;
  std::vector<std::string> texts;
  for (int i = 0; i < k_texts; ++i) texts.push_back("shared text #" + std::to_string(i));

  // Every thread interns all texts, each in its own order, through every kind of source.
  std::vector<std::vector<const char*>> seen(k_threads, std::vector<const char*>(k_texts));
  std::vector<std::thread> threads;
  for (int t = 0; t < k_threads; ++t) {
    threads.emplace_back([&, t] {
      for (int k = 0; k < k_texts; ++k) {
        const int i = (k * 7 + t * 401) % k_texts;
        switch ((i + t) % 3) {
          case 0:
            seen[t][i] = ROString(texts[i].c_str()).c_str();
            break;
          case 1:
            seen[t][i] = ROString(CStdStr(texts[i])).c_str();
            break;
          default:
            seen[t][i] = ROString(std::wstring(texts[i].begin(), texts[i].end())).c_str();
            break;
        }
      }
    });
  }
  for (std::thread& thread : threads) thread.join();

  std::set<const char*> distinct;
  for (int i = 0; i < k_texts; ++i) {
    ASSERT_STREQ(seen[0][i], texts[i].c_str());
    for (int t = 1; t < k_threads; ++t) ASSERT_EQ(seen[t][i], seen[0][i]) << i;
    distinct.insert(seen[0][i]);
  }
  EXPECT_EQ(distinct.size(), static_cast<size_t>(k_texts));
}

}  // namespace
