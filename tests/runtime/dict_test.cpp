#include "runtime/dict.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "support/log_capture.h"

namespace {

struct DictDeleter {
  void operator()(vtr_custom_options* dict) const { vtr_dict_delete(dict); }
};
using Dict = std::unique_ptr<vtr_custom_options, DictDeleter>;

Dict make_dict(const std::vector<std::pair<const char*, const char*>>& entries = {}) {
  Dict dict(vtr_dict_create());
  for (const auto& [key, value] : entries) EXPECT_EQ(vtr_dict_add(dict.get(), key, value), 1);
  return dict;
}

// Every entry as the enumeration visits it; a null value shows as "<null>".
std::vector<std::pair<std::string, std::string>> entries_of(const vtr_custom_options* dict) {
  std::vector<std::pair<std::string, std::string>> entries;
  const int complete = vtr_dict_enum(
      dict,
      [](const char* key, const char* value, void* out) {
        static_cast<std::vector<std::pair<std::string, std::string>>*>(out)->emplace_back(
            key, value != nullptr ? value : "<null>");
        return 1;
      },
      &entries);
  EXPECT_EQ(complete, 1);
  return entries;
}

TEST(Dictionary, NullHandleAndEmptyTableFindNothing) {
  EXPECT_EQ(vtr_dict_get(nullptr, "a"), nullptr);
  EXPECT_EQ(vtr_dict_add(nullptr, "a", "1"), 0);
  EXPECT_EQ(vtr_dict_dup(nullptr), nullptr);
  EXPECT_EQ(vtr_dict_enum(nullptr, nullptr, nullptr), 1);
  vtr_dict_delete(nullptr);
  vtr_dict_dump(nullptr, "none");

  const Dict empty = make_dict();
  EXPECT_EQ(vtr_dict_get(empty.get(), "a"), nullptr);
  EXPECT_EQ(vtr_dict_get(empty.get(), ""), nullptr);
  EXPECT_TRUE(entries_of(empty.get()).empty());

  const Dict dict = make_dict({{"a", "1"}});
  EXPECT_EQ(vtr_dict_add(dict.get(), nullptr, "1"), 0);
  EXPECT_EQ(vtr_dict_get(dict.get(), nullptr), nullptr);
}

TEST(Dictionary, AddingAKeyAgainReplacesItsValue) {
  const Dict dict = make_dict({{"a", "1"}, {"a", "2"}});
  EXPECT_STREQ(vtr_dict_get(dict.get(), "a"), "2");
  EXPECT_EQ(entries_of(dict.get()), (std::vector<std::pair<std::string, std::string>>{{"a", "2"}}));
}

TEST(Dictionary, LookupIsExactAndCaseSensitive) {
  const Dict dict = make_dict({{"Key", "upper"}, {"key", "lower"}, {"", "empty key"}});
  EXPECT_STREQ(vtr_dict_get(dict.get(), "Key"), "upper");
  EXPECT_STREQ(vtr_dict_get(dict.get(), "key"), "lower");
  EXPECT_STREQ(vtr_dict_get(dict.get(), ""), "empty key");
  EXPECT_EQ(vtr_dict_get(dict.get(), "KEY"), nullptr);
  EXPECT_EQ(vtr_dict_get(dict.get(), "key "), nullptr);
}

TEST(Dictionary, NullValueIsStoredButLooksLikeAMissingKey) {
  const Dict dict = make_dict({{"present", nullptr}});
  EXPECT_EQ(vtr_dict_get(dict.get(), "present"), nullptr);
  EXPECT_EQ(entries_of(dict.get()), (std::vector<std::pair<std::string, std::string>>{{"present", "<null>"}}));

  ASSERT_EQ(vtr_dict_add(dict.get(), "present", "now set"), 1);
  EXPECT_STREQ(vtr_dict_get(dict.get(), "present"), "now set");
}

TEST(Dictionary, KeepsItsOwnCopies) {
  std::string key = "host";
  std::string value = "node-1";
  const Dict dict = make_dict();
  ASSERT_EQ(vtr_dict_add(dict.get(), key.c_str(), value.c_str()), 1);
  key[0] = 'X';
  value[0] = 'X';
  EXPECT_STREQ(vtr_dict_get(dict.get(), "host"), "node-1");
}

// "Aa" and "BB" hash alike under h * 31 + c, so these four keys share one start bucket.
TEST(Dictionary, CollidingKeysAreAllFound) {
  const Dict dict = make_dict({{"AaAa", "1"}, {"AaBB", "2"}, {"BBAa", "3"}, {"BBBB", "4"}});
  EXPECT_STREQ(vtr_dict_get(dict.get(), "AaAa"), "1");
  EXPECT_STREQ(vtr_dict_get(dict.get(), "AaBB"), "2");
  EXPECT_STREQ(vtr_dict_get(dict.get(), "BBAa"), "3");
  EXPECT_STREQ(vtr_dict_get(dict.get(), "BBBB"), "4");
  EXPECT_EQ(vtr_dict_get(dict.get(), "AaAb"), nullptr);
}

TEST(Dictionary, TenThousandKeysSurviveEveryRehash) {
  constexpr int kKeys = 10000;
  const Dict dict = make_dict();
  for (int i = 0; i < kKeys; ++i)
    ASSERT_EQ(vtr_dict_add(dict.get(), ("key-" + std::to_string(i)).c_str(), std::to_string(i).c_str()), 1);
  for (int i = 0; i < kKeys; i += 2)
    ASSERT_EQ(vtr_dict_add(dict.get(), ("key-" + std::to_string(i)).c_str(), "replaced"), 1);

  for (int i = 0; i < kKeys; ++i) {
    const char* value = vtr_dict_get(dict.get(), ("key-" + std::to_string(i)).c_str());
    ASSERT_NE(value, nullptr) << i;
    EXPECT_EQ(value, i % 2 == 0 ? std::string("replaced") : std::to_string(i));
  }
  EXPECT_EQ(vtr_dict_get(dict.get(), "key-10000"), nullptr);
  EXPECT_EQ(entries_of(dict.get()).size(), size_t(kKeys));
}

TEST(Dictionary, EnumerationStopsAtTheFirstRefusal) {
  const Dict dict = make_dict({{"a", "1"}, {"b", "2"}, {"c", "3"}});
  int calls = 0;
  const int result = vtr_dict_enum(
      dict.get(),
      [](const char*, const char*, void* counter) {
        ++*static_cast<int*>(counter);
        return 0;
      },
      &calls);
  EXPECT_EQ(result, 0);
  EXPECT_EQ(calls, 1);
}

TEST(Dictionary, DuplicateIsIndependentOfItsOriginal) {
  Dict original = make_dict({{"a", "1"}, {"b", nullptr}, {"c", "3"}});
  const Dict copy(vtr_dict_dup(original.get()));
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(entries_of(copy.get()), entries_of(original.get()));

  ASSERT_EQ(vtr_dict_add(original.get(), "a", "changed"), 1);
  original.reset();
  EXPECT_STREQ(vtr_dict_get(copy.get(), "a"), "1");
  EXPECT_STREQ(vtr_dict_get(copy.get(), "c"), "3");
}

TEST(Dictionary, DumpWritesTheNameThenOneLinePerEntry) {
  const Dict dict = make_dict({{"sudo", "1"}});
  vtr::test::LogRecorder log;
  vtr_dict_dump(dict.get(), "options");

  ASSERT_EQ(log.all().size(), 2u);
  EXPECT_EQ(log.all()[0].text, "options map values: ");
  EXPECT_EQ(log.all()[1].text, "key=sudo  val=1");
  EXPECT_EQ(log.all()[1].priority, VTR_LOG_DEBUG);
}

}  // namespace
