// Runs the sample conversion tests on the plain loops only.
#include <gtest/gtest.h>

#include "audio/sample_conversion.h"

namespace {

class ScalarConversionEnvironment : public ::testing::Environment {
 public:
  void SetUp() override {
    qobase_audio::SetConversionSimdAllowed(false);
    ASSERT_FALSE(qobase_audio::ConversionSimdAvailable());
  }
  void TearDown() override { qobase_audio::SetConversionSimdAllowed(true); }
};

const ::testing::Environment* const s_environment =
    ::testing::AddGlobalTestEnvironment(new ScalarConversionEnvironment);

}  // namespace
