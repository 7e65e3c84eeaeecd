// Result codes shared across the library. Operations that report a code rather than a bool
// return one of these values as an unsigned integer.
#pragma once

namespace QO {

enum ResultCode : unsigned int {
  k_resultSuccess = 1,
  k_resultFailure = 2,
  k_resultInvalidFile = 7,  // invalid file or inconsistent data
  k_resultInvalidParameter = 31,
  k_resultAllDataDelivered = 45,
  k_resultOutOfMemory = 52,
  k_resultFileNotFound = 66,  // not found, not accessible or not readable
};

}  // namespace QO
