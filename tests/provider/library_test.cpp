#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "support/provider_host.h"
#include "support/test_env.h"

namespace vtr {
namespace test {
namespace {

TEST(ProviderLibrary, HostFindsTheEntryPointAndTheRuntimeByName) {
  ProviderLibrary library;
  ASSERT_TRUE(library.loaded()) << library.error();
  for (const char* name : {"construct_event_provider", "vtr_register_logger", "vtr_dict_create",
                           "vtr_create_type_system", "vtr_data_serializer_write_events", "json_parse_string",
                           "_vtr_log", "vtr_log_level"}) {
    EXPECT_NE(library.symbol(name), nullptr) << name;
  }
}

TEST(ProviderLibrary, ExportsOnlyTheCInterface) {
  const ShellResult listing = runShell("nm -D --defined-only " + shellQuote(VTR_PROVIDER_LIBRARY));
  ASSERT_EQ(listing.exitCode, 0);
  std::istringstream lines(listing.output);
  std::string line;
  size_t exported = 0;
  while (std::getline(lines, line)) {
    const std::string name = line.substr(line.find_last_of(' ') + 1);
    EXPECT_NE(name.rfind("_Z", 0), 0u) << "C++ symbol exported: " << name;
    ++exported;
  }
  EXPECT_GT(exported, 0u);
}

TEST(ProviderLibrary, RecordNamesTheProviderAndWiresEveryCallback) {
  ProviderLibrary library;
  ASSERT_TRUE(library.loaded()) << library.error();
  auto construct = library.function<decltype(&construct_event_provider)>("construct_event_provider");
  ASSERT_NE(construct, nullptr);
  const vtr_event_provider_t* record = construct(nullptr);
  ASSERT_NE(record, nullptr);
  EXPECT_EQ(record->version, 1u);
  EXPECT_STREQ(record->name, "ipmitool");
  EXPECT_STREQ(record->description, "ipmitool sensor event provider");
  EXPECT_EQ(record->reserved0, nullptr);
  EXPECT_EQ(record->reserved1, nullptr);
  EXPECT_EQ(record->reserved2, 0u);
  EXPECT_NE(record->initialize, nullptr);
  EXPECT_NE(record->start, nullptr);
  EXPECT_NE(record->progress, nullptr);
  EXPECT_NE(record->stop, nullptr);
  EXPECT_NE(record->destroy, nullptr);
  EXPECT_NE(record->get_sources, nullptr);
  EXPECT_NE(record->fill_record, nullptr);
}

}  // namespace
}  // namespace test
}  // namespace vtr
