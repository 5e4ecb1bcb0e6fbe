#include "runtime/number_parse.h"

#include <gtest/gtest.h>

#include <ostream>

namespace {

struct NumberCase {
  const char* text;
  bool ok;
  uint64_t value;
};

std::ostream& operator<<(std::ostream& out, const NumberCase& c) {
  return out << (c.text ? "'" + std::string(c.text) + "'" : "null");
}

class U64Text : public ::testing::TestWithParam<NumberCase> {};
class U16Text : public ::testing::TestWithParam<NumberCase> {};

TEST_P(U64Text, IsOneWholeNonNegativeNumber) {
  uint64_t value = 12345;
  EXPECT_EQ(string_to_u64(GetParam().text, &value), GetParam().ok);
  EXPECT_EQ(value, GetParam().ok ? GetParam().value : 12345u);
}

TEST_P(U16Text, IsOneWholeNumberUpTo65535) {
  uint16_t value = 4321;
  EXPECT_EQ(string_to_u16(GetParam().text, &value), GetParam().ok);
  EXPECT_EQ(value, GetParam().ok ? GetParam().value : 4321u);
}

INSTANTIATE_TEST_SUITE_P(Cases, U64Text,
                         ::testing::Values(NumberCase{"0", true, 0}, NumberCase{"42", true, 42},
                                           NumberCase{"0x1F", true, 31}, NumberCase{"010", true, 8},
                                           NumberCase{"+7", true, 7}, NumberCase{" 7", true, 7},
                                           NumberCase{"18446744073709551615", true, 18446744073709551615u},
                                           NumberCase{"18446744073709551616", false, 0},
                                           NumberCase{"-1", false, 0}, NumberCase{" -1", false, 0},
                                           NumberCase{"", false, 0}, NumberCase{"abc", false, 0},
                                           NumberCase{"12abc", false, 0}, NumberCase{"7 ", false, 0},
                                           NumberCase{"0x", false, 0}, NumberCase{"09", false, 0},
                                           NumberCase{nullptr, false, 0}));

INSTANTIATE_TEST_SUITE_P(Cases, U16Text,
                         ::testing::Values(NumberCase{"0", true, 0}, NumberCase{"65535", true, 65535},
                                           NumberCase{"0xFFFF", true, 65535}, NumberCase{"0x8080", true, 0x8080},
                                           NumberCase{"65536", false, 0}, NumberCase{"0x10000", false, 0},
                                           NumberCase{"-1", false, 0}, NumberCase{"1.5", false, 0},
                                           NumberCase{"", false, 0}));

}  // namespace
