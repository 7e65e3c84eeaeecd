// A memory allocator object, for code that allocates through an interface.
#pragma once

#include <cstddef>

namespace QO {

class IQoPluginMemAlloc {
 public:
  virtual ~IQoPluginMemAlloc() {}
  // Null on failure.
  virtual void* Malloc(size_t size) = 0;
  virtual void Free(void* ptr) = 0;
};

}  // namespace QO

// Allocates 16-byte aligned blocks with posix_memalign and frees them with free. Stateless; one
// shared instance is m_instance.
class zuFXMemAlloc : public QO::IQoPluginMemAlloc {
 public:
  void* Malloc(size_t size) override;
  void Free(void* ptr) override;

  static zuFXMemAlloc m_instance;
};
