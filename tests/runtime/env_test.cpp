#include "runtime/env.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <ostream>
#include <string>

#include "support/log_capture.h"

namespace {

struct EnvCase {
  const char* name;
  const char* key;       // as passed to vtr_getenv
  const char* prefixed;  // value of VTR_<name>, null for unset
  const char* bare;      // value of <name>, null for unset
  const char* result;
  const char* warning;   // expected conflict warning, null for none
  const char* debug;     // expected debug line
};

std::ostream& operator<<(std::ostream& out, const EnvCase& c) {
  return out << c.key << " with VTR_=" << (c.prefixed ? c.prefixed : "unset") << " bare=" << (c.bare ? c.bare : "unset");
}

class EnvironmentLookup : public ::testing::TestWithParam<EnvCase> {};

void set_or_unset(const std::string& name, const char* value) {
  if (value != nullptr)
    setenv(name.c_str(), value, 1);
  else
    unsetenv(name.c_str());
}

TEST_P(EnvironmentLookup, PrefixedFormWinsAndEveryOutcomeIsLogged) {
  const EnvCase& c = GetParam();
  set_or_unset(std::string("VTR_") + c.name, c.prefixed);
  set_or_unset(c.name, c.bare);
  vtr::test::LogRecorder log;

  const char* value = vtr_getenv(c.key);

  if (c.result == nullptr)
    EXPECT_EQ(value, nullptr);
  else
    EXPECT_STREQ(value, c.result);
  EXPECT_TRUE(log.contains(c.debug));
  EXPECT_EQ((log.countContaining("conflict") > 0), c.warning != nullptr);
  if (c.warning != nullptr) {
    EXPECT_TRUE(log.contains(c.warning));
    EXPECT_EQ(log.all().front().priority, VTR_LOG_WARNING);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Cases, EnvironmentLookup,
    ::testing::Values(
        EnvCase{"ENV_TEST_A", "ENV_TEST_A", "1", "0", "1",
                "[vtr_getenv] Environment variables conflict - VTR_ENV_TEST_A=1 and ENV_TEST_A=0. Using VTR_ENV_TEST_A",
                "[vtr_getenv] Using 'VTR_ENV_TEST_A'='1'"},
        EnvCase{"ENV_TEST_A", "VTR_ENV_TEST_A", "1", "0", "1",
                "[vtr_getenv] Environment variables conflict - VTR_ENV_TEST_A=1 and ENV_TEST_A=0. Using VTR_ENV_TEST_A",
                "[vtr_getenv] Using 'VTR_ENV_TEST_A'='1'"},
        EnvCase{"ENV_TEST_A", "ENV_TEST_A", "same", "same", "same", nullptr,
                "[vtr_getenv] Using 'VTR_ENV_TEST_A'='same'"},
        EnvCase{"ENV_TEST_A", "VTR_ENV_TEST_A", nullptr, "bare", "bare", nullptr,
                "[vtr_getenv] Using 'ENV_TEST_A'='bare'"},
        EnvCase{"ENV_TEST_A", "ENV_TEST_A", "", nullptr, "", nullptr, "[vtr_getenv] Using 'VTR_ENV_TEST_A'=''"},
        EnvCase{"ENV_TEST_A", "ENV_TEST_A", nullptr, nullptr, nullptr, nullptr,
                "[vtr_getenv] No value for 'VTR_ENV_TEST_A' or 'ENV_TEST_A'"}));

TEST(EnvironmentLookup, NullKeyHasNoValue) { EXPECT_EQ(vtr_getenv(nullptr), nullptr); }

TEST(EnvironmentLookup, LogLevelKeyIsReadWithoutAnyMessage) {
  setenv("VTR_API_LOG_LEVEL", "7", 1);
  setenv("API_LOG_LEVEL", "3", 1);
  vtr::test::LogRecorder log;

  EXPECT_STREQ(vtr_getenv("VTR_API_LOG_LEVEL"), "7");
  EXPECT_TRUE(log.all().empty());
}

}  // namespace
