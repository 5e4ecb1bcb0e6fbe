// Field sets: which event types, and which of their fields, a consumer wants.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "runtime/field_set.h"
#include "runtime/field_set_api.h"
#include "support/log_capture.h"

namespace {

using Lines = std::vector<std::string>;

vtr::ProviderFieldSet setFromLines(const Lines& lines) {
  vtr::ProviderFieldSet set;
  set.loadFromLines(lines);
  return set;
}

// Header lists give every type pattern the section's fields; a repeated section replaces the
// earlier one, an empty header ends one; [default] serves only types without a section.
TEST(FieldSetText, DecidesWhichFieldsOfWhichTypesAreIncluded) {
  const Lines headerList = {"ignored_before_header", "[cpu*, mem ,, ]", "usage", "^total$"};
  const Lines repeated = {"[a]", "x", "[b]", "y", "[a]", "z", "[ , ]", "w", "[]", "v"};
  const struct {
    Lines lines;
    const char* type;
    const char* field;
    bool included;
    bool typeOfInterest;
  } rows[] = {
      {headerList, "cpu0", "user_USAGE", true, true}, {headerList, "mem", "Total", true, true},
      {headerList, "mem", "total_free", false, true}, {headerList, "disk", "usage", false, false},
      {headerList, "memory", "usage", false, false},  {{"[a]"}, "a", "anything", true, true},
      {repeated, "a", "z", true, true},               {repeated, "a", "x", false, true},
      {repeated, "b", "y", true, true},               {repeated, "b", "w", false, true},
      {{"[default]", "temp"}, "x", "cpu_temp", true, false}, {{"[default]", "temp"}, "", "cpu_temp", true, false},
      {{"[default]", "temp"}, "x", "fan", false, false},     {{"[a]", "b", "[default]"}, "a", "c", false, true},
      {{"[a]", "b", "[default]"}, "a", "b", true, true},     {{"[a]", "b", "[default]"}, "z", "c", true, false},
      {{"# none"}, "a", "b", false, false},
  };
  for (const auto& row : rows) {
    const auto set = setFromLines(row.lines);
    EXPECT_EQ(set.shouldIncludeField(row.type, row.field), row.included) << row.lines[0] << " " << row.type << "." << row.field;
    EXPECT_EQ(set.isTypeOfInterest(row.type), row.typeOfInterest) << row.lines[0] << " " << row.type;
  }
  EXPECT_EQ(setFromLines(headerList).getFieldPatterns("cpu0"), (Lines{"usage", "^total$"}));
  EXPECT_EQ(setFromLines(repeated).getFieldPatterns("a"), Lines{"z"});
  EXPECT_TRUE(setFromLines({"[a]"}).getFieldPatterns("a").empty());
}

TEST(FieldSetText, TypePatternsTakeOnlyAFinalWildcard) {
  const vtr::ProviderFieldSet set;
  const struct {
    const char* type;
    const char* pattern;
    bool matches;
  } rows[] = {{"", "", true},       {"x", "", false},        {"cpu0", "cpu*", true},  {"cp", "cpu*", false},
              {"anything", "*", true}, {"axb", "a*b", false}, {"a*b", "a*b", true},   {"CPU0", "cpu*", false}};
  for (const auto& row : rows)
    EXPECT_EQ(set.matchesTypePattern(row.type, row.pattern), row.matches) << row.type << " ~ " << row.pattern;
}

// The name is the file's stem; carriage returns are trimmed; a file of comments loads nothing.
TEST(FieldSetFile, IsNamedAfterItsStemAndReportedWhenItHoldsNothing) {
  vtr::test::LogRecorder log;
  const std::filesystem::path dir = std::filesystem::temp_directory_path() / ("fset_test_" + std::to_string(getpid()));
  std::filesystem::create_directories(dir);
  const std::string named = (dir / "cpu.metrics.fset").string(), comments = (dir / "c.fset").string();
  std::ofstream(named) << "[cpu]\r\n  usage \r\n";
  std::ofstream(comments) << "# nothing here\n\n   \t\n  # indented comment\n";
  vtr::ProviderFieldSet set;
  EXPECT_TRUE(set.loadFromFile(named));
  EXPECT_EQ(set.getName(), "cpu.metrics");
  EXPECT_EQ(set.getFieldPatterns("cpu"), Lines{"usage"});
  vtr::ProviderFieldSet empty;
  EXPECT_FALSE(empty.loadFromFile(comments));
  EXPECT_FALSE(empty.isInitialized());
  EXPECT_TRUE(log.contains("[loadFromFile] no patterns found in " + comments));
  EXPECT_FALSE(empty.loadFromFile(""));
  EXPECT_FALSE(empty.loadFromFile("/nonexistent/x.fset"));
  EXPECT_FALSE(empty.initializeFromFile(nullptr));
  EXPECT_TRUE(log.contains("[loadFromFile] empty filename"));
  EXPECT_TRUE(log.contains("[loadFromFile] file /nonexistent/x.fset does not exist"));
  EXPECT_TRUE(log.contains("ProviderFieldSet: missing filename parameter"));
  vtr_provider_field_set_t* handle = vtr_provider_field_set_create();
  EXPECT_FALSE(vtr_provider_field_set_init_from_file(handle, comments.c_str()));
  EXPECT_TRUE(vtr_provider_field_set_init_from_file(handle, named.c_str()));
  EXPECT_TRUE(vtr_provider_field_set_is_initialized(handle));
  vtr_provider_field_set_destroy(handle);
  std::filesystem::remove_all(dir);
}

// Null lines are skipped; the configuration is printed at info level, types in order.
TEST(FieldSetText, ConfigurationIsPrintedAtInfoLevel) {
  vtr::test::LogRecorder log(vtr_set_log_func, VTR_LOG_INFO);
  vtr_provider_field_set_t* handle = vtr_provider_field_set_create();
  const char* lines[] = {"[b]", "x", nullptr, "y", "[a]"};
  ASSERT_TRUE(vtr_provider_field_set_init_from_lines(handle, lines, 5));
  vtr_provider_field_set_print_configuration(handle);
  std::string printed;
  for (const auto& line : log.all()) printed += std::to_string(line.priority) + line.text.substr(20) + "|";
  EXPECT_EQ(printed, "6 '' configuration:|6  Initialized: yes|6  Type pattern: [a]|6  Type pattern: [b]|6    x|6    y|");
  EXPECT_TRUE(vtr_provider_field_set_should_include_field(handle, "b", "xyz"));
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
  const struct {
    std::function<bool()> call;
    bool result;
    const char* message;  // after "[vtr_provider_field_set_"
  } rows[] = {
      {[] { return vtr_provider_field_set_is_type_of_interest(nullptr, "a"); }, true, "is_type_of_interest] missing field_set parameter"},
      {[&] { return vtr_provider_field_set_is_type_of_interest(&empty, "a"); }, true, "is_type_of_interest] field_set is empty"},
      {[&] { return vtr_provider_field_set_is_type_of_interest(handle, nullptr); }, true, "is_type_of_interest] missing type_name parameter"},
      {[] { return vtr_provider_field_set_should_include_field(nullptr, "a", "b"); }, false, "should_include_field] missing field_set parameter"},
      {[&] { return vtr_provider_field_set_should_include_field(handle, "a", nullptr); }, false, "should_include_field] missing field_name parameter"},
      {[&] { return vtr_provider_field_set_init_from_file(&empty, "x"); }, false, "init_from_file] field_set is empty"},
      {[&] { return vtr_provider_field_set_init_from_file(handle, nullptr); }, false, "init_from_file] missing fset_filename parameter"},
      {[&] { return vtr_provider_field_set_init_from_lines(handle, nullptr, 1); }, false, "init_from_lines] missing lines parameter"},
      {[&] { return vtr_provider_field_set_init_from_lines(handle, lines, 0); }, false, "init_from_lines] num_lines is 0"},
      {[] { return vtr_provider_field_set_is_initialized(nullptr); }, false, "is_initialized] missing field_set parameter"},
      {[&] { return vtr_provider_field_set_get_name(&empty) != nullptr; }, false, "get_name] field_set is empty"},
  };
  for (const auto& row : rows) {
    log.clear();
    EXPECT_EQ(row.call(), row.result) << row.message;
    EXPECT_TRUE(log.contains(std::string("[vtr_provider_field_set_") + row.message)) << row.message;
  }
  vtr_provider_field_set_destroy(handle);
}

}  // namespace
