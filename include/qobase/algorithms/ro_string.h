// ROString: a read-only interned string. Every distinct text is stored once in a process-wide
// pool and an ROString is one pointer to that stored text, so copying, comparing and using it as
// a map key cost one pointer operation. Equal texts give the same pointer whatever they were made
// from (C string, CStdStr, std::string, wide text).
#pragma once

#include <qobase/strings/std_str.h>

#include <cstdint>
#include <functional>
#include <mutex>
#include <string>

namespace ROStringInternal {

// A pool entry is one malloc'ed block: a 64-bit use count, then the text and its zero byte.
constexpr size_t k_entryHeaderSize = sizeof(uint64_t);

inline const char* RODataToLPCTSTR(const void* entry) {
  return static_cast<const char*>(entry) + k_entryHeaderSize;
}
inline const void* LPCTSTRToROData(const char* text) { return text - k_entryHeaderSize; }

// The pool. Entries are only added, never removed before the pool is destroyed, and their use
// counts only grow; one mutex guards the lookups, insertions and counts, so Get may be called
// from any thread. Constructed before any dynamic initialisation runs, so other objects'
// constructors may intern.
class RODataSet {
 public:
  constexpr RODataSet() noexcept = default;
  ~RODataSet();
  RODataSet(const RODataSet&) = delete;
  RODataSet& operator=(const RODataSet&) = delete;

  // The pooled copy of `text` (never null for a non-null text); its use count goes up by one.
  // Throws std::bad_alloc when memory runs out. A null text gives null.
  const char* Get(const char* text);

  // The number of distinct texts held.
  size_t Size();

 private:
  struct Table;
  Table* m_table = nullptr;
  std::mutex m_mutex;
};

// The process-wide pool. It frees every entry when the process ends.
extern RODataSet strings;

}  // namespace ROStringInternal

class ROString {
 public:
  // The null string.
  ROString() = default;
  // Each interns its text in ROStringInternal::strings. A null pointer gives the null string.
  ROString(const char* text);         // NOLINT: implicit by design, like the texts it stands for
  ROString(const CStdStr& text);      // NOLINT
  ROString(const std::string& text);  // NOLINT: the text up to its first zero byte
  // Wide text is interned as UTF-8. A C string that is not valid Unicode (a surrogate, a value
  // above U+10FFFF) gives "". A std::wstring is converted as the standard UTF-8 converter does:
  // a surrogate becomes three bytes, a value above U+10FFFF throws std::range_error.
  ROString(const wchar_t* text);       // NOLINT
  ROString(const std::wstring& text);  // NOLINT

  // As the constructor; returns its argument.
  const char* operator=(const char* text);

  // The pooled text, or null.
  const char* c_str() const { return m_text; }
  bool IsNull() const { return m_text == nullptr; }

  // Equal texts share one pointer, so equality is pointer equality.
  bool operator==(const ROString& other) const { return m_text == other.m_text; }
  bool operator!=(const ROString& other) const { return m_text != other.m_text; }

 private:
  const char* m_text = nullptr;
};

// Orders by the text pointers: a strict weak order in which equal texts are equivalent. The order
// is that of the pool's addresses, not alphabetical; the null string comes first.
struct ROStringLess {
  bool operator()(const ROString& a, const ROString& b) const {
    return std::less<const char*>()(a.c_str(), b.c_str());
  }
};
