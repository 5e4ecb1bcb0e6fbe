// Source ids: the default one, numbered ranges, and lists read from files.
#include "runtime/source.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "support/log_capture.h"

namespace {

using Ids = std::vector<std::string>;

// The ids of an array, which is destroyed; {"<null>"} for no array.
Ids takeIds(vtr_source_array_t* array) {
  Ids ids;
  for (uint16_t i = 0; array && i < array->count; ++i) ids.push_back(array->sources[i]->id);
  vtr_destroy_source_array(array);
  return array ? ids : Ids{"<null>"};
}

TEST(SourceRange, ValidFormsNumberTheHostOrPrefixAndOthersAreRefused) {
  unsetenv("VTR_SOURCE_ID");
  setenv("VTR_HOST_NAME", "node1.example.com", 1);
  const struct {
    const char* text;
    Ids ids;
  } rows[] = {
      {"3", {"node1_1", "node1_2", "node1_3"}}, {"5-5", {"node1_5"}},
      {"9-11", {"node1_9", "node1_10", "node1_11"}}, {"rack[2-4]", {"rack_2", "rack_3", "rack_4"}},
      {"[0-0]", {"_0"}},
  };
  for (const auto& row : rows) EXPECT_EQ(takeIds(vtr_create_source_array_from_string(row.text)), row.ids) << row.text;
  vtr::test::LogRecorder log(vtr_set_log_func, VTR_LOG_ERR);
  for (const char* text : {"rack[4-2]", "-3", "3-", "0", "abc", "3x", " 3", "+3", "4-2", "rack[2-4", "rack[3]",
                           "rack[2-4]x", "a-b[1-2]", "rack[-4]", "99999999999", "65535"}) {
    EXPECT_EQ(takeIds(vtr_create_source_array_from_string(text)), Ids{"<null>"}) << text;
    EXPECT_TRUE(std::string(text) == "65535" || log.contains("[source] Invalid source format: " + std::string(text)));
  }
  EXPECT_EQ(takeIds(vtr_create_source_array_from_string(nullptr)), Ids{"<null>"});
}

TEST(SourceRange, LargestRangeFillsTheArray) {
  setenv("VTR_HOST_NAME", "n", 1);
  vtr_source_array_t* full = vtr_create_source_array_from_string("65534");
  ASSERT_NE(full, nullptr);
  EXPECT_EQ(full->count, VTR_MAX_SOURCES);
  EXPECT_STREQ(full->sources[65533]->id, "n_65534");
  EXPECT_STREQ(full->sources[0]->tag, "");
  vtr_source_t* extra = vtr_create_source("extra", "");
  EXPECT_FALSE(vtr_source_array_append(full, extra));
  vtr_destroy_source(extra);
  vtr_destroy_source_array(full);
}

TEST(DefaultSource, ConfiguredIdIsKeptWholeElseTheHostNameIsCutAtItsFirstDot) {
  setenv("VTR_SOURCE_ID", "id.with.dots", 1);
  setenv("VTR_HOST_NAME", "host.example.com", 1);
  vtr_source_array_t* array = vtr_create_default_source_array("ipmitool");
  ASSERT_NE(array, nullptr);
  EXPECT_STREQ(array->sources[0]->tag, "ipmitool");
  EXPECT_EQ(takeIds(array), Ids{"id.with.dots"});
  unsetenv("VTR_SOURCE_ID");
  EXPECT_EQ(takeIds(vtr_create_default_source_array("t")), Ids{"host"});
  unsetenv("VTR_HOST_NAME");
  char host[256] = {0};
  ASSERT_EQ(gethostname(host, sizeof host - 1), 0);
  const std::string shortName = std::string(host).substr(0, std::string(host).find('.'));
  EXPECT_EQ(takeIds(vtr_create_default_source_array("t")), Ids{shortName.substr(0, VTR_SOURCE_ID_SIZE - 1)});
}

TEST(Source, IdAndTagAreCutToTheirFieldsAndPrintedTogether) {
  vtr::test::LogRecorder log;
  const std::string id(100, 'i'), tag(40, 't');
  vtr_source_t* source = vtr_create_source(id.c_str(), tag.c_str());
  EXPECT_EQ(std::string(source->id), id.substr(0, 63));
  EXPECT_EQ(std::string(source->tag), tag.substr(0, 15));
  vtr_destroy_source(source);
  source = vtr_create_source("ab", "c");
  char text[5];
  EXPECT_FALSE(vtr_source_full_string(source, text, 4));
  EXPECT_TRUE(log.contains("[source] buffer too small for source ab:c (got 4)"));
  ASSERT_TRUE(vtr_source_full_string(source, text, 5));
  EXPECT_STREQ(text, "ab:c");
  vtr_destroy_source(source);
}

TEST(SourceArray, FindsSourcesByIdentityNotContent) {
  vtr_source_array_t* array = vtr_create_source_array();
  EXPECT_EQ(vtr_source_array_find_source(array, nullptr), VTR_SOURCE_NOT_FOUND);
  vtr_source_t* first = vtr_create_source("a", "x");
  vtr_source_t* second = vtr_create_source("b", "x");
  ASSERT_TRUE(vtr_source_array_append(array, first));
  ASSERT_TRUE(vtr_source_array_append(array, second));
  EXPECT_FALSE(vtr_source_array_append(array, nullptr));
  vtr_source_t twin;
  vtr_source_copy(&twin, second);
  EXPECT_EQ(vtr_source_compare(&twin, second), 0);
  EXPECT_LT(vtr_source_compare(first, second), 0);
  EXPECT_EQ(vtr_source_array_find_source(array, second), 1);
  EXPECT_EQ(vtr_source_array_find_source(array, &twin), VTR_SOURCE_NOT_FOUND);
  vtr_destroy_source_array(array);
}

// A plain list keeps every non-empty line as it stands; a fabric listing gives its "(id)"s;
// a text that names no file is a range.
TEST(SourceInput, FileIsAListOrAFabricListingAndOtherTextIsARange) {
  const struct {
    const char* content;
    Ids ids;
  } rows[] = {
      {"alpha\r\n\r\n beta \r\n\ngamma", {"alpha", " beta ", "gamma"}},
      {"Nodes:\nH-0001 port 1 (node-a) up\nS-0002 (switch-1)\nno name here\nH-0003 ) before ( node-b)\n",
       {"node-a", "switch-1", " node-b"}},
  };
  vtr::test::ScratchFile file;
  for (const auto& row : rows) {
    std::ofstream(file.path(), std::ios::binary) << row.content;
    EXPECT_EQ(takeIds(vtr_create_source_array_from_input(file.path())), row.ids) << row.content;
  }
  setenv("VTR_HOST_NAME", "node1", 1);
  EXPECT_EQ(takeIds(vtr_create_source_array_from_input("/nonexistent/rack[1-2]")),
            (Ids{"/nonexistent/rack_1", "/nonexistent/rack_2"}));
}

}  // namespace
