// The entry point of every test program: the classic locale, then every test.
#include <gtest/gtest.h>

#include <clocale>

int main(int argc, char** argv) {
  // Tests run with the classic locale unless a test sets another one itself.
  std::setlocale(LC_ALL, "C");
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
