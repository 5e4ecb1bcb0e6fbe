#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "support/log_capture.h"
#include "runtime/field_set.h"
#include "runtime/field_set_api.h"

namespace {

using Lines = std::vector<std::string>;

void writeFile(const std::string& path, const std::string& text) { std::ofstream(path) << text; }

vtr::ProviderFieldSet setFromLines(const Lines& lines) {
  vtr::ProviderFieldSet set;
  set.loadFromLines(lines);
  return set;
}

TEST(FieldSetFile, CommentsAndBlankLinesOnlyLoadNothing) {
  vtr::test::LogRecorder log;
  vtr::test::ScratchFile file;
  writeFile(file.path(), "# nothing here\n\n   \t\n  # indented comment\n");
  vtr::ProviderFieldSet set;
  EXPECT_FALSE(set.loadFromFile(file.path()));
  EXPECT_FALSE(set.isInitialized());
  EXPECT_TRUE(log.contains(std::string("[loadFromFile] no patterns found in ") + file.path()));

  vtr_provider_field_set_t* handle = vtr_provider_field_set_create();
  EXPECT_FALSE(vtr_provider_field_set_init_from_file(handle, file.path()));
  EXPECT_FALSE(vtr_provider_field_set_is_initialized(handle));
  vtr_provider_field_set_destroy(handle);
}

TEST(FieldSetFile, NameIsTheFileStemAndCarriageReturnsAreTrimmed) {
  const std::filesystem::path dir = std::filesystem::temp_directory_path() / ("fset_test_" + std::to_string(getpid()));
  std::filesystem::create_directories(dir);
  const std::string path = (dir / "cpu.metrics.fset").string();
  writeFile(path, "[cpu]\r\n  usage \r\n");
  vtr::ProviderFieldSet set;
  EXPECT_TRUE(set.loadFromFile(path));
  EXPECT_EQ(set.getName(), "cpu.metrics");
  EXPECT_EQ(set.getFieldPatterns("cpu"), Lines{"usage"});
  std::filesystem::remove_all(dir);
}

TEST(FieldSetFile, MissingOrUnnamedFilesAreReported) {
  vtr::test::LogRecorder log(vtr_set_log_func, VTR_LOG_ERR);
  vtr::ProviderFieldSet set;
  EXPECT_FALSE(set.loadFromFile(""));
  EXPECT_FALSE(set.loadFromFile("/nonexistent/x.fset"));
  EXPECT_FALSE(set.initializeFromFile(nullptr));
  EXPECT_TRUE(log.contains("[loadFromFile] empty filename"));
  EXPECT_TRUE(log.contains("[loadFromFile] file /nonexistent/x.fset does not exist"));
  EXPECT_TRUE(log.contains("ProviderFieldSet: missing filename parameter"));
}

TEST(FieldSetFile, HeaderListsGiveEveryTypePatternTheSectionFields) {
  const auto set = setFromLines({"ignored_before_header", "[cpu*, mem ,, ]", "usage", "^total$"});
  EXPECT_EQ(set.getFieldPatterns("cpu0"), (Lines{"usage", "^total$"}));
  EXPECT_EQ(set.getFieldPatterns("mem"), (Lines{"usage", "^total$"}));
  EXPECT_TRUE(set.isTypeOfInterest("cpu"));
  EXPECT_FALSE(set.isTypeOfInterest("memory"));
  EXPECT_TRUE(set.shouldIncludeField("cpu0", "user_USAGE"));
  EXPECT_TRUE(set.shouldIncludeField("mem", "Total"));
  EXPECT_FALSE(set.shouldIncludeField("mem", "total_free"));
  EXPECT_FALSE(set.shouldIncludeField("disk", "usage"));
}

TEST(FieldSetFile, SectionWithoutFieldsIncludesEveryField) {
  const auto set = setFromLines({"[a]"});
  EXPECT_TRUE(set.shouldIncludeField("a", "anything"));
  EXPECT_TRUE(set.getFieldPatterns("a").empty());
}

TEST(FieldSetFile, RepeatedSectionReplacesTheEarlierOne) {
  const auto set = setFromLines({"[a]", "x", "[b]", "y", "[a]", "z"});
  EXPECT_EQ(set.getFieldPatterns("a"), Lines{"z"});
  EXPECT_EQ(set.getFieldPatterns("b"), Lines{"y"});
}

TEST(FieldSetFile, EmptyHeaderEndsTheSection) {
  const auto set = setFromLines({"[a]", "x", "[ , ]", "y", "[]", "w"});
  EXPECT_EQ(set.getFieldPatterns("a"), Lines{"x"});
}

TEST(FieldSetFile, DefaultSectionServesTypesWithoutASectionOnly) {
  const auto onlyDefault = setFromLines({"[default]", "temp"});
  EXPECT_TRUE(onlyDefault.shouldIncludeField("x", "cpu_temp"));
  EXPECT_TRUE(onlyDefault.shouldIncludeField("", "cpu_temp"));
  EXPECT_FALSE(onlyDefault.shouldIncludeField("x", "fan"));
  EXPECT_FALSE(onlyDefault.isTypeOfInterest("x"));

  const auto typeFirst = setFromLines({"[a]", "b", "[default]"});
  EXPECT_FALSE(typeFirst.shouldIncludeField("a", "c"));
  EXPECT_TRUE(typeFirst.shouldIncludeField("a", "b"));
  EXPECT_TRUE(typeFirst.shouldIncludeField("z", "c"));

  EXPECT_FALSE(setFromLines({"# none"}).shouldIncludeField("a", "b"));
}

TEST(FieldSetFile, TypePatternsTakeOnlyAFinalWildcard) {
  const vtr::ProviderFieldSet set;
  struct {
    const char* type;
    const char* pattern;
    bool matches;
  } cases[] = {{"", "", true},         {"x", "", false},         {"cpu0", "cpu*", true},
               {"cp", "cpu*", false},  {"anything", "*", true},  {"axb", "a*b", false},
               {"a*b", "a*b", true},   {"CPU0", "cpu*", false}};
  for (const auto& c : cases)
    EXPECT_EQ(set.matchesTypePattern(c.type, c.pattern), c.matches) << c.type << " ~ " << c.pattern;
}

TEST(FieldSetFile, ConfigurationIsPrintedAtInfoLevel) {
  vtr::test::LogRecorder log(vtr_set_log_func, VTR_LOG_INFO);
  setFromLines({"[b]", "x", "y", "[a]"}).printConfiguration();
  const std::vector<std::string> expected = {
      "[printConfiguration] '' configuration:", "[printConfiguration]  Initialized: yes",
      "[printConfiguration]  Type pattern: [a]", "[printConfiguration]  Type pattern: [b]",
      "[printConfiguration]    x",                "[printConfiguration]    y"};
  std::vector<std::string> printed;
  for (const auto& line : log.all()) {
    EXPECT_EQ(line.priority, VTR_LOG_INFO);
    printed.push_back(line.text);
  }
  EXPECT_EQ(printed, expected);
}

TEST(FieldSetPlainFunctions, LinesAreParsedSkippingNullEntries) {
  vtr_provider_field_set_t* handle = vtr_provider_field_set_create();
  const char* lines[] = {"[a]", nullptr, "b"};
  ASSERT_TRUE(vtr_provider_field_set_init_from_lines(handle, lines, 3));
  EXPECT_TRUE(vtr_provider_field_set_is_initialized(handle));
  EXPECT_TRUE(vtr_provider_field_set_should_include_field(handle, "a", "xbx"));
  EXPECT_FALSE(vtr_provider_field_set_is_type_of_interest(handle, "c"));
  char* name = vtr_provider_field_set_get_name(handle);
  EXPECT_STREQ(name, "");
  free(name);

  const char* comments[] = {"# only a comment"};
  EXPECT_TRUE(vtr_provider_field_set_init_from_lines(handle, comments, 1));
  EXPECT_FALSE(vtr_provider_field_set_is_initialized(handle));
  vtr_provider_field_set_destroy(handle);
  vtr_provider_field_set_destroy(nullptr);
}

// A broken field set keeps every type but drops every field.
TEST(FieldSetPlainFunctions, FailedChecksGiveTheDocumentedSense) {
  vtr::test::LogRecorder log(vtr_set_log_func, VTR_LOG_ERR);
  vtr_provider_field_set_t empty{nullptr};
  vtr_provider_field_set_t* handle = vtr_provider_field_set_create();
  const char* lines[] = {"[a]"};
  struct Case {
    std::function<bool()> call;
    bool result;
    const char* message;
  } cases[] = {
      {[] { return vtr_provider_field_set_is_type_of_interest(nullptr, "a"); }, true,
       "[vtr_provider_field_set_is_type_of_interest] missing field_set parameter"},
      {[&] { return vtr_provider_field_set_is_type_of_interest(&empty, "a"); }, true,
       "[vtr_provider_field_set_is_type_of_interest] field_set is empty"},
      {[&] { return vtr_provider_field_set_is_type_of_interest(handle, nullptr); }, true,
       "[vtr_provider_field_set_is_type_of_interest] missing type_name parameter"},
      {[] { return vtr_provider_field_set_should_include_field(nullptr, "a", "b"); }, false,
       "[vtr_provider_field_set_should_include_field] missing field_set parameter"},
      {[&] { return vtr_provider_field_set_should_include_field(handle, "a", nullptr); }, false,
       "[vtr_provider_field_set_should_include_field] missing field_name parameter"},
      {[&] { return vtr_provider_field_set_init_from_file(&empty, "x"); }, false,
       "[vtr_provider_field_set_init_from_file] field_set is empty"},
      {[&] { return vtr_provider_field_set_init_from_file(handle, nullptr); }, false,
       "[vtr_provider_field_set_init_from_file] missing fset_filename parameter"},
      {[&] { return vtr_provider_field_set_init_from_lines(handle, nullptr, 1); }, false,
       "[vtr_provider_field_set_init_from_lines] missing lines parameter"},
      {[&] { return vtr_provider_field_set_init_from_lines(handle, lines, 0); }, false,
       "[vtr_provider_field_set_init_from_lines] num_lines is 0"},
      {[] { return vtr_provider_field_set_is_initialized(nullptr); }, false,
       "[vtr_provider_field_set_is_initialized] missing field_set parameter"},
      {[&] { return vtr_provider_field_set_get_name(&empty) != nullptr; }, false,
       "[vtr_provider_field_set_get_name] field_set is empty"},
  };
  for (const Case& c : cases) {
    log.clear();
    EXPECT_EQ(c.call(), c.result) << c.message;
    EXPECT_TRUE(log.contains(c.message)) << c.message;
  }
  vtr_provider_field_set_destroy(handle);
}

}  // namespace
