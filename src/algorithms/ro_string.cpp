// The interned-string pool and ROString's constructors. The pool is an open-addressing hash table
// of entry pointers with their hashes; nothing ever observes its order, so a hash table serves
// where an ordered set would cost a string comparison per tree level.
#include <qobase/algorithms/ro_string.h>
#include <qobase/strings/string_help.h>

#include <climits>
#include <codecvt>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <locale>
#include <new>
#include <stdexcept>
#include <vector>

namespace ROStringInternal {

RODataSet strings;

namespace {

constexpr size_t k_initialSlots = 1024;  // a power of two

inline uint64_t Load8(const char* bytes) {
  uint64_t word;
  std::memcpy(&word, bytes, sizeof(word));
  return word;
}

// Eight bytes per step, then a full avalanche so that the low bits used for the slot index
// depend on every byte.
uint64_t HashText(const char* text, size_t length) {
  constexpr uint64_t k_multiplier = 0x9FB21C651E98DF25ull;
  uint64_t hash = 0x9E3779B97F4A7C15ull ^ length;
  size_t i = 0;
  for (; i + 8 <= length; i += 8) {
    hash = (hash ^ Load8(text + i)) * k_multiplier;
    hash ^= hash >> 29;
  }
  if (i < length) {
    uint64_t tail = 0;
    std::memcpy(&tail, text + i, length - i);
    hash = (hash ^ tail) * k_multiplier;
  }
  hash ^= hash >> 33;
  hash *= 0xFF51AFD7ED558CCDull;
  hash ^= hash >> 33;
  hash *= 0xC4CEB9FE1A85EC53ull;
  hash ^= hash >> 33;
  return hash;
}

uint64_t& UseCount(const char* text) {
  return *static_cast<uint64_t*>(const_cast<void*>(LPCTSTRToROData(text)));
}

}  // namespace

struct RODataSet::Table {
  struct Slot {
    uint64_t hash;
    const char* text;  // null: free
  };

  explicit Table(size_t slotCount) : slots(slotCount, Slot{0, nullptr}) {}

  size_t FreeSlotFor(uint64_t hash) const {
    const size_t mask = slots.size() - 1;
    size_t i = hash & mask;
    while (slots[i].text) i = (i + 1) & mask;
    return i;
  }

  // Doubles the slots; the entries keep their blocks.
  void Grow() {
    Table larger(slots.size() * 2);
    for (const Slot& slot : slots) {
      if (slot.text) larger.slots[larger.FreeSlotFor(slot.hash)] = slot;
    }
    slots.swap(larger.slots);
  }

  std::vector<Slot> slots;
  size_t count = 0;
};

RODataSet::~RODataSet() {
  std::lock_guard<std::mutex> lock(m_mutex);
  if (!m_table) return;
  for (const Table::Slot& slot : m_table->slots) {
    if (slot.text) std::free(const_cast<void*>(LPCTSTRToROData(slot.text)));
  }
  delete m_table;
  m_table = nullptr;
}

const char* RODataSet::Get(const char* text) {
  if (!text) return nullptr;
  const size_t length = std::strlen(text);
  const uint64_t hash = HashText(text, length);

  std::lock_guard<std::mutex> lock(m_mutex);
  if (!m_table) m_table = new Table(k_initialSlots);
  const size_t mask = m_table->slots.size() - 1;
  for (size_t i = hash & mask;; i = (i + 1) & mask) {
    const Table::Slot& slot = m_table->slots[i];
    if (!slot.text) break;
    if (slot.hash == hash && std::strcmp(slot.text, text) == 0) {
      ++UseCount(slot.text);
      return slot.text;
    }
  }

  // At most half the slots in use keeps the probe runs short.
  if ((m_table->count + 1) * 2 > m_table->slots.size()) m_table->Grow();
  void* block = std::malloc(k_entryHeaderSize + length + 1);
  if (!block) throw std::bad_alloc();
  const uint64_t firstUse = 1;
  std::memcpy(block, &firstUse, sizeof(firstUse));
  char* pooled = static_cast<char*>(block) + k_entryHeaderSize;
  std::memcpy(pooled, text, length + 1);
  m_table->slots[m_table->FreeSlotFor(hash)] = Table::Slot{hash, pooled};
  ++m_table->count;
  return pooled;
}

size_t RODataSet::Size() {
  std::lock_guard<std::mutex> lock(m_mutex);
  return m_table ? m_table->count : 0;
}

}  // namespace ROStringInternal

namespace {

// The UTF-8 form of `count` wide characters, or false when they are not valid Unicode.
bool WideToUtf8(const wchar_t* wide, size_t count, std::string& utf8) {
  if (count > static_cast<size_t>(INT_MAX - 1) / 4) throw std::length_error("ROString: too long");
  if (count == 0) {
    utf8.clear();
    return true;
  }
  utf8.assign(count * 4 + 1, '\0');
  const int written = StringHelp::WCharToUTF8(wide, static_cast<int>(count), &utf8[0],
                                              static_cast<int>(utf8.size()));
  utf8.resize(static_cast<size_t>(written));
  return written > 0;
}

}  // namespace

ROString::ROString(const char* text) : m_text(ROStringInternal::strings.Get(text)) {}

ROString::ROString(const CStdStr& text) : m_text(ROStringInternal::strings.Get(text.c_str())) {}

ROString::ROString(const std::string& text) : m_text(ROStringInternal::strings.Get(text.c_str())) {}

ROString::ROString(const wchar_t* text) {
  if (!text) return;
  std::string utf8;
  WideToUtf8(text, std::wcslen(text), utf8);  // invalid text leaves ""
  m_text = ROStringInternal::strings.Get(utf8.c_str());
}

// The standard UTF-8 converter, one per call so that threads never share one. It writes every
// value up to U+10FFFF, surrogates included, and throws std::range_error beyond.
ROString::ROString(const std::wstring& text) {
  std::wstring_convert<std::codecvt_utf8<wchar_t>> converter;
  const std::string utf8 = converter.to_bytes(text);
  m_text = ROStringInternal::strings.Get(utf8.c_str());
}

const char* ROString::operator=(const char* text) {
  m_text = ROStringInternal::strings.Get(text);
  return text;
}
