// Runs the Base64 suite on the scalar loops only.
#include <gtest/gtest.h>

#include "streams/base64_simd.h"

namespace {

class ScalarBase64Environment : public ::testing::Environment {
 public:
  void SetUp() override { qobase_internal::SetBase64SimdAllowed(false); }
  void TearDown() override { qobase_internal::SetBase64SimdAllowed(true); }
};

const ::testing::Environment* const s_environment =
    ::testing::AddGlobalTestEnvironment(new ScalarBase64Environment);

}  // namespace
