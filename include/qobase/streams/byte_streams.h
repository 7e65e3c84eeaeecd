// Interchangeable byte sources and sinks: over a memory block, a growable memory buffer, a C
// stream, and a sink that only hashes what it is given. Each object is used by one thread at a
// time; none of them keeps global state.
#pragma once

#include <cstdint>
#include <cstdio>

namespace QO {

// A source of bytes. The interfaces have no virtual destructor: objects are destroyed through
// their own class.
class IReadBytes {
 public:
  // Reads up to count bytes into data; read receives the count delivered. True when all came.
  virtual bool ReadBytes(void* data, int count, int& read) = 0;
};

// A sink of bytes.
class IWriteBytes {
 public:
  // Writes count bytes; written receives the count taken. True when all were taken.
  virtual bool WriteBytes(const void* data, int count, int& written) = 0;
};

// A sink that keeps what it is given in one growable block.
class IWriteBuffer : public IWriteBytes {
 public:
  virtual int Count() const = 0;
  virtual unsigned char* Bytes() const = 0;
  // Sets the byte count; it must not exceed the capacity reserved.
  virtual void SetCount(int count) = 0;
  virtual bool Reserve(int capacity) = 0;
  // Forgets the contents, keeping the block.
  virtual void Clear() = 0;
  // Hands the block over to the caller, who releases it with free; the buffer is then empty.
  virtual unsigned char* Detach() = 0;
};

}  // namespace QO

// Reads from a memory block it does not own.
class ReadBytesMem : public QO::IReadBytes {
 public:
  ReadBytesMem();
  ReadBytesMem(const void* data, int size);
  virtual ~ReadBytesMem();

  // Reads from data, starting again at position 0.
  void Attach(const void* data, int size);

  // False with read untouched when there is no block. Otherwise copies what remains (up to
  // count bytes) and advances by count, even past the end: over 10 bytes, reads of 4 give
  // 4, 4, 2 (true, true, false) and then 0 (false).
  bool ReadBytes(void* data, int count, int& read) override;

 private:
  int m_size;
  const unsigned char* m_data;
  int m_position;
};

// A growable memory sink; its block is malloc'd, grows in steps of 1024 bytes and is freed by
// the destructor unless it was detached.
class WriteBytesMem : public QO::IWriteBuffer {
 public:
  WriteBytesMem();
  virtual ~WriteBytesMem();
  WriteBytesMem(const WriteBytesMem&) = delete;
  WriteBytesMem& operator=(const WriteBytesMem&) = delete;

  // Appends the bytes; false (written 0) only when the block could not grow.
  bool WriteBytes(const void* data, int count, int& written) override;
  int Count() const override { return m_count; }
  unsigned char* Bytes() const override { return m_bytes; }
  // Kept within [0, capacity], so the next write never lands outside the block.
  void SetCount(int count) override {
    m_count = count < 0 ? 0 : count > m_capacity ? m_capacity : count;
  }
  // Grows the block to at least capacity bytes, rounded up to a multiple of 1024. Always true;
  // when the allocation fails the old block is kept, so check Bytes() and the capacity.
  bool Reserve(int capacity) override;
  void Clear() override { m_count = 0; }
  unsigned char* Detach() override;

  int Capacity() const { return m_capacity; }

 private:
  int m_capacity;
  unsigned char* m_bytes;
  int m_count;
};

// Reads from an open C stream that it never closes.
class ReadBytesOnFILE : public QO::IReadBytes {
 public:
  explicit ReadBytesOnFILE(FILE* stream) : m_stream(stream) {}
  bool ReadBytes(void* data, int count, int& read) override;

 private:
  FILE* m_stream;
};

// Writes to an open C stream that it never closes.
class WriteBytesOnFILE : public QO::IWriteBytes {
 public:
  explicit WriteBytesOnFILE(FILE* stream) : m_stream(stream) {}
  bool WriteBytes(const void* data, int count, int& written) override;

 private:
  FILE* m_stream;
};

// A sink that folds every byte into a 32-bit FNV-1 hash (hash = hash * 16777619 XOR byte).
// Seeded with 2166136261 the result is the standard FNV-1 hash: "a" gives 0x050C5D7E.
class HashBytes : public QO::IWriteBytes {
 public:
  explicit HashBytes(unsigned int seed) : m_hash(seed) {}
  virtual ~HashBytes() {}
  bool WriteBytes(const void* data, int count, int& written) override;
  unsigned int GetHash() const { return m_hash; }

 private:
  unsigned int m_hash;
};
