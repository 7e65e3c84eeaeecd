// The notes still sounding while a MIDI stream is converted: (note, channel) pairs in the order of
// their note ons, so that the conversion can close them with note offs at the end.
#pragma once

#include <cstddef>
#include <cstdint>

struct QoMidiNoteChanPair {
  uint8_t note;
  uint8_t channel;
};

// A doubly linked list of (note, channel) pairs, oldest first. Nodes come from one growing pool
// and each (note, channel) key keeps its own queue of entries, so appending, removing the oldest
// entry of a key and removing a whole channel never search the list. Memory failures are
// reported, never thrown.
class QoMidiActiveNotes {
 public:
  QoMidiActiveNotes() = default;
  ~QoMidiActiveNotes();
  QoMidiActiveNotes(const QoMidiActiveNotes&) = delete;
  QoMidiActiveNotes& operator=(const QoMidiActiveNotes&) = delete;

  // Appends (note, channel) at the back; repeated note ons make repeated entries. False when
  // memory runs out (the list is unchanged).
  bool PushBack(uint8_t note, uint8_t channel);
  // Removes the oldest entry with this note and channel; false when there is none.
  bool RemoveFirst(uint8_t note, uint8_t channel);
  // Removes every entry of the channel (low four bits are used).
  void RemoveChannel(uint8_t channel);
  // Takes the oldest entry out; false when the list is empty.
  bool PopFront(QoMidiNoteChanPair& pair);
  // Drops every entry; the pool is kept for reuse.
  void Clear();

  size_t Size() const { return m_size; }
  bool Empty() const { return m_size == 0; }

  // Calls visit(const QoMidiNoteChanPair&) for every entry, oldest first.
  template <class Visit>
  void ForEach(Visit visit) const {
    for (uint32_t i = m_head; i != k_none; i = m_nodes[i].next) visit(m_nodes[i].pair);
  }

 private:
  static constexpr uint32_t k_none = 0xFFFFFFFFu;
  static constexpr size_t k_keys = 16 * 256;

  struct Node {
    QoMidiNoteChanPair pair;
    uint32_t prev;
    uint32_t next;
    uint32_t nextSameKey;
  };

  static size_t KeyOf(uint8_t note, uint8_t channel) {
    return (static_cast<size_t>(channel & 0x0F) << 8) | note;
  }
  bool EnsureSpace();
  void Unlink(uint32_t index);

  Node* m_nodes = nullptr;
  uint32_t m_capacity = 0;
  uint32_t m_used = 0;       // nodes handed out from the pool so far
  uint32_t m_free = k_none;  // recycled nodes, chained through `next`
  uint32_t m_head = k_none;
  uint32_t m_tail = k_none;
  size_t m_size = 0;
  uint32_t* m_keyHead = nullptr;  // k_keys heads followed by k_keys tails
};
