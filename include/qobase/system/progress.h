// QO::Sonvo::IProgress: the progress callback that long operations accept. It is always passed
// by pointer, and a null pointer means nobody is listening.
#pragma once

#include <cstdint>

namespace QO {
namespace Sonvo {

class IProgress {
 public:
  // Occupies the first slot of the interface; the library never calls it.
  virtual void Reserved() {}
  // The range that the positions reported next fall in.
  virtual void SetRange(std::uint32_t lower, std::uint32_t upper) = 0;
  // The current position within the range.
  virtual void SetPosition(std::uint32_t current) = 0;
  // True when the caller wants the operation to stop; only operations that say so ask it.
  virtual bool IsCancelled() = 0;

 protected:
  // Not deleted through the interface: its owner is the caller.
  ~IProgress() = default;
};

}  // namespace Sonvo
}  // namespace QO
