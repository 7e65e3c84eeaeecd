// zuFXMemAlloc: the allocator object for code that allocates through an interface.
#include <qobase/streams/plugin_mem_alloc.h>

#include <cstdlib>

zuFXMemAlloc zuFXMemAlloc::m_instance;

void* zuFXMemAlloc::Malloc(size_t size) {
  void* block = nullptr;
  if (posix_memalign(&block, 16, size) != 0) return nullptr;
  return block;
}

void zuFXMemAlloc::Free(void* ptr) { std::free(ptr); }
