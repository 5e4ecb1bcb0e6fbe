#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "support/log_capture.h"
#include "runtime/source.h"

namespace {

using Ids = std::vector<std::string>;

// Owns an array for the length of a test; the ids are what tests look at.
struct SourceArray {
  explicit SourceArray(vtr_source_array_t* a) : array(a) {}
  ~SourceArray() { vtr_destroy_source_array(array); }
  SourceArray(const SourceArray&) = delete;
  SourceArray& operator=(const SourceArray&) = delete;
  Ids ids() const {
    Ids result;
    for (uint16_t i = 0; array && i < array->count; ++i) result.push_back(array->sources[i]->id);
    return result;
  }
  vtr_source_array_t* array;
};

void useHostName(const char* name) {
  unsetenv("VTR_SOURCE_ID");
  setenv("VTR_HOST_NAME", name, 1);
}

TEST(SourceRange, ValidFormsNumberTheBaseId) {
  useHostName("node1.example.com");
  const struct {
    const char* text;
    Ids ids;
  } cases[] = {
      {"3", {"node1_1", "node1_2", "node1_3"}},
      {"5-5", {"node1_5"}},
      {"9-11", {"node1_9", "node1_10", "node1_11"}},
      {"rack[2-4]", {"rack_2", "rack_3", "rack_4"}},
      {"[0-0]", {"_0"}},
  };
  for (const auto& c : cases) {
    SourceArray sources(vtr_create_source_array_from_string(c.text));
    ASSERT_NE(sources.array, nullptr) << c.text;
    EXPECT_EQ(sources.ids(), c.ids) << c.text;
    for (uint16_t i = 0; i < sources.array->count; ++i) EXPECT_STREQ(sources.array->sources[i]->tag, "");
  }
}

TEST(SourceRange, InvalidFormsYieldNothing) {
  useHostName("node1");
  vtr::test::LogRecorder log(vtr_set_log_func, VTR_LOG_ERR);
  for (const char* text : {"rack[4-2]", "-3", "3-", "0", "abc", "3x", " 3", "+3", "4-2", "rack[2-4", "rack[3]",
                           "rack[2-4]x", "a-b[1-2]", "rack[-4]", "99999999999"}) {
    EXPECT_EQ(vtr_create_source_array_from_string(text), nullptr) << text;
    EXPECT_TRUE(log.contains(std::string("[source] Invalid source format: ") + text)) << text;
  }
}

TEST(SourceRange, TooManySourcesLeaveNoArray) {
  useHostName("n");
  EXPECT_EQ(vtr_create_source_array_from_string("65535"), nullptr);
  SourceArray full(vtr_create_source_array_from_string("65534"));
  ASSERT_NE(full.array, nullptr);
  EXPECT_EQ(full.array->count, VTR_MAX_SOURCES);
  vtr_source_t* extra = vtr_create_source("extra", "");
  EXPECT_FALSE(vtr_source_array_append(full.array, extra));
  vtr_destroy_source(extra);
}

TEST(DefaultSource, ConfiguredIdWinsAndIsKeptWhole) {
  setenv("VTR_SOURCE_ID", "id.with.dots", 1);
  setenv("VTR_HOST_NAME", "host.example.com", 1);
  SourceArray sources(vtr_create_default_source_array("ipmitool"));
  ASSERT_EQ(sources.ids(), Ids{"id.with.dots"});
  EXPECT_STREQ(sources.array->sources[0]->tag, "ipmitool");
}

TEST(DefaultSource, SystemHostNameIsCutAtItsFirstDot) {
  unsetenv("VTR_SOURCE_ID");
  unsetenv("VTR_HOST_NAME");
  char host[256] = {0};
  ASSERT_EQ(gethostname(host, sizeof host - 1), 0);
  const std::string shortName = std::string(host).substr(0, std::string(host).find('.'));
  vtr_source_t* source = vtr_create_default_source("t");
  ASSERT_NE(source, nullptr);
  EXPECT_EQ(std::string(source->id), shortName.substr(0, VTR_SOURCE_ID_SIZE - 1));
  vtr_destroy_source(source);
}

TEST(Source, IdAndTagAreCutToTheirFields) {
  const std::string id(100, 'i'), tag(40, 't');
  vtr_source_t* source = vtr_create_source(id.c_str(), tag.c_str());
  EXPECT_EQ(std::string(source->id), id.substr(0, 63));
  EXPECT_EQ(std::string(source->tag), tag.substr(0, 15));
  vtr_destroy_source(source);
}

TEST(Source, FullStringNeedsRoomForSeparatorAndTerminator) {
  vtr::test::LogRecorder log;
  vtr_source_t* source = vtr_create_source("ab", "c");
  char text[5];
  EXPECT_FALSE(vtr_source_full_string(source, text, 4));
  EXPECT_TRUE(log.contains("[source] buffer too small for source ab:c (got 4)"));
  ASSERT_TRUE(vtr_source_full_string(source, text, 5));
  EXPECT_STREQ(text, "ab:c");
  vtr_destroy_source(source);
}

TEST(SourceArray, FindsSourcesByIdentityNotContent) {
  SourceArray sources(vtr_create_source_array());
  EXPECT_EQ(vtr_source_array_find_source(sources.array, nullptr), VTR_SOURCE_NOT_FOUND);
  vtr_source_t* first = vtr_create_source("a", "x");
  vtr_source_t* second = vtr_create_source("b", "x");
  ASSERT_TRUE(vtr_source_array_append(sources.array, first));
  ASSERT_TRUE(vtr_source_array_append(sources.array, second));
  EXPECT_FALSE(vtr_source_array_append(sources.array, nullptr));

  vtr_source_t twin;
  vtr_source_copy(&twin, second);
  EXPECT_EQ(vtr_source_compare(&twin, second), 0);
  EXPECT_LT(vtr_source_compare(first, second), 0);
  EXPECT_EQ(vtr_source_array_find_source(sources.array, second), 1);
  EXPECT_EQ(vtr_source_array_find_source(sources.array, &twin), VTR_SOURCE_NOT_FOUND);
}

class SourceInputFile : public ::testing::Test {
 protected:
  SourceArray load(const std::string& text) {
    std::ofstream(file.path(), std::ios::binary) << text;
    return SourceArray(vtr_create_source_array_from_input(file.path()));
  }
  vtr::test::ScratchFile file;
};

TEST_F(SourceInputFile, PlainListKeepsEveryNonEmptyLine) {
  const SourceArray sources = load("alpha\r\n\r\n beta \r\n\ngamma");
  EXPECT_EQ(sources.ids(), (Ids{"alpha", " beta ", "gamma"}));
}

TEST_F(SourceInputFile, MeshdiagListingTakesTheParenthesisedNames) {
  const SourceArray sources = load(
      "Nodes:\n"
      "H-0001 port 1 (node-a) up\n"
      "S-0002 (switch-1)\n"
      "no name here\n"
      "H-0003 ) before ( node-b)\n");
  EXPECT_EQ(sources.ids(), (Ids{"node-a", "switch-1", " node-b"}));
}

TEST(SourceInput, TextThatIsNoFileIsARange) {
  useHostName("node1");
  SourceArray sources(vtr_create_source_array_from_input("/nonexistent/rack[1-2]"));
  EXPECT_EQ(sources.ids(), (Ids{"/nonexistent/rack_1", "/nonexistent/rack_2"}));
}

}  // namespace
