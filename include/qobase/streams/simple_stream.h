// A sequential read stream that hands out its own buffer, and its implementation over a file.
#pragma once

#include <qobase/strings/std_str.h>

#include <cstdio>

class IQoSimpleStream {
 public:
  // Reads size bytes into a buffer owned by the stream (valid until the next Read); data points
  // at it and read receives the count. QO::k_resultAllDataDelivered when all size bytes came,
  // another result code otherwise.
  virtual unsigned int Read(unsigned int size, void*& data, unsigned int& read) = 0;
  // The offset of the next byte, or -1.
  virtual long long GetPosition() = 0;
  // Moves to offset from the start; QO::k_resultSuccess on success.
  virtual unsigned int SetPosition(long long offset) = 0;
  // The length of the stream in bytes; QO::k_resultSuccess on success.
  virtual unsigned int GetFileSize(unsigned long long& size) = 0;
};

// An IQoSimpleStream over a file opened read-only; it owns the stream and the read buffer.
class QoSimpleStreamStdio : public IQoSimpleStream {
 public:
  QoSimpleStreamStdio();
  virtual ~QoSimpleStreamStdio();
  QoSimpleStreamStdio(const QoSimpleStreamStdio&) = delete;
  QoSimpleStreamStdio& operator=(const QoSimpleStreamStdio&) = delete;

  // Opens path for reading; false when it cannot be opened.
  bool Open(const CStdStr& path);

  // k_resultAllDataDelivered when all bytes came, k_resultFailure on a short read (read holds
  // what came) or when no file is open, k_resultOutOfMemory when the buffer could not be
  // allocated.
  unsigned int Read(unsigned int size, void*& data, unsigned int& read) override;
  long long GetPosition() override;
  // k_resultSuccess (k_resultFailure only when no file is open). A failed seek is seen by the
  // next Read or GetPosition.
  unsigned int SetPosition(long long offset) override;
  unsigned int GetFileSize(unsigned long long& size) override;

 private:
  FILE* m_stream;
  unsigned char* m_buffer;
  unsigned int m_capacity;
};
