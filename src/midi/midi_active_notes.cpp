// QoMidiActiveNotes: the notes still sounding while a MIDI stream is converted.
#include <qobase/midi/midi_active_notes.h>

#include <cstdlib>

QoMidiActiveNotes::~QoMidiActiveNotes() {
  std::free(m_nodes);
  std::free(m_keyHead);
}

bool QoMidiActiveNotes::EnsureSpace() {
  if (!m_keyHead) {
    m_keyHead = static_cast<uint32_t*>(std::malloc(2 * k_keys * sizeof(uint32_t)));
    if (!m_keyHead) return false;
    for (size_t i = 0; i < 2 * k_keys; ++i) m_keyHead[i] = k_none;
  }
  if (m_free != k_none || m_used < m_capacity) return true;
  if (m_capacity >= 0x40000000u) return false;
  const uint32_t capacity = m_capacity ? m_capacity * 2 : 64;
  Node* nodes = static_cast<Node*>(std::realloc(m_nodes, capacity * sizeof(Node)));
  if (!nodes) return false;
  m_nodes = nodes;
  m_capacity = capacity;
  return true;
}

bool QoMidiActiveNotes::PushBack(uint8_t note, uint8_t channel) {
  if (!EnsureSpace()) return false;
  uint32_t index;
  if (m_free != k_none) {
    index = m_free;
    m_free = m_nodes[index].next;
  } else {
    index = m_used++;
  }
  Node& node = m_nodes[index];
  node.pair.note = note;
  node.pair.channel = channel;
  node.prev = m_tail;
  node.next = k_none;
  node.nextSameKey = k_none;
  if (m_tail != k_none) {
    m_nodes[m_tail].next = index;
  } else {
    m_head = index;
  }
  m_tail = index;

  const size_t key = KeyOf(note, channel);
  uint32_t& keyTail = m_keyHead[k_keys + key];
  if (keyTail != k_none) {
    m_nodes[keyTail].nextSameKey = index;
  } else {
    m_keyHead[key] = index;
  }
  keyTail = index;
  ++m_size;
  return true;
}

// Takes a node out of the main list and returns it to the pool. The caller keeps the per-key
// queue in step.
void QoMidiActiveNotes::Unlink(uint32_t index) {
  Node& node = m_nodes[index];
  if (node.prev != k_none) {
    m_nodes[node.prev].next = node.next;
  } else {
    m_head = node.next;
  }
  if (node.next != k_none) {
    m_nodes[node.next].prev = node.prev;
  } else {
    m_tail = node.prev;
  }
  node.next = m_free;
  m_free = index;
  --m_size;
}

bool QoMidiActiveNotes::RemoveFirst(uint8_t note, uint8_t channel) {
  if (m_size == 0) return false;
  const size_t key = KeyOf(note, channel);
  const uint32_t index = m_keyHead[key];
  if (index == k_none) return false;
  // The oldest entry of a key is always the head of its queue, since entries only ever leave a
  // queue from its head or all together.
  m_keyHead[key] = m_nodes[index].nextSameKey;
  if (m_keyHead[key] == k_none) m_keyHead[k_keys + key] = k_none;
  Unlink(index);
  return true;
}

void QoMidiActiveNotes::RemoveChannel(uint8_t channel) {
  if (m_size == 0) return;
  const size_t first = KeyOf(0, channel);
  for (size_t key = first; key < first + 256; ++key) {
    uint32_t index = m_keyHead[key];
    while (index != k_none) {
      const uint32_t following = m_nodes[index].nextSameKey;
      Unlink(index);
      index = following;
    }
    m_keyHead[key] = k_none;
    m_keyHead[k_keys + key] = k_none;
  }
}

bool QoMidiActiveNotes::PopFront(QoMidiNoteChanPair& pair) {
  if (m_head == k_none) return false;
  pair = m_nodes[m_head].pair;
  // The oldest entry overall is also the oldest of its own key.
  return RemoveFirst(pair.note, pair.channel);
}

void QoMidiActiveNotes::Clear() {
  QoMidiNoteChanPair ignored;
  while (PopFront(ignored)) {
  }
}
