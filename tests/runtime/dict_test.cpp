// The option dictionary a host hands to construct_event_provider.
#include "runtime/dict.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "support/log_capture.h"

namespace {

using Adds = std::vector<std::pair<const char*, const char*>>;
using Dict = std::unique_ptr<vtr_custom_options, decltype(&vtr_dict_delete)>;

Dict make(const Adds& adds) {
  Dict dict(vtr_dict_create(), vtr_dict_delete);
  for (const auto& [key, value] : adds) EXPECT_EQ(vtr_dict_add(dict.get(), key, value), 1);
  return dict;
}

// "key=value" of every entry the enumeration visits; a null value shows as "key=".
std::vector<std::string> visited(const vtr_custom_options* dict, int stopAfter = -1) {
  struct State {
    std::vector<std::string> seen;
    int stopAfter;
  } state{{}, stopAfter};
  const int complete = vtr_dict_enum(
      dict,
      [](const char* key, const char* value, void* out) -> int {
        auto* s = static_cast<State*>(out);
        s->seen.push_back(std::string(key) + "=" + (value ? value : ""));
        return static_cast<int>(s->seen.size()) != s->stopAfter;
      },
      &state);
  EXPECT_EQ(complete, stopAfter < 0 ? 1 : 0);
  return state.seen;
}

// "Aa" and "BB" hash alike under h * 31 + c, so the last four keys share one start bucket.
TEST(Dictionary, LookupFindsTheLastValueAddedUnderExactlyThatKey) {
  const struct {
    Adds adds;
    const char* key;
    const char* want;
  } rows[] = {
      {{}, "a", nullptr},
      {{{"a", "1"}}, nullptr, nullptr},
      {{{"a", "1"}, {"a", "2"}}, "a", "2"},
      {{{"Key", "upper"}, {"key", "lower"}}, "Key", "upper"},
      {{{"Key", "upper"}, {"key", "lower"}}, "key", "lower"},
      {{{"Key", "upper"}}, "KEY", nullptr},
      {{{"key", "v"}}, "key ", nullptr},
      {{{"", "empty key"}}, "", "empty key"},
      {{{"present", nullptr}}, "present", nullptr},
      {{{"present", nullptr}, {"present", "now set"}}, "present", "now set"},
      {{{"AaAa", "1"}, {"AaBB", "2"}, {"BBAa", "3"}, {"BBBB", "4"}}, "BBAa", "3"},
      {{{"AaAa", "1"}, {"AaBB", "2"}, {"BBAa", "3"}, {"BBBB", "4"}}, "BBBB", "4"},
      {{{"AaAa", "1"}, {"AaBB", "2"}, {"BBAa", "3"}, {"BBBB", "4"}}, "AaAb", nullptr},
  };
  for (const auto& row : rows) {
    const Dict dict = make(row.adds);
    const char* got = vtr_dict_get(dict.get(), row.key);
    EXPECT_EQ(got ? std::string(got) : "<none>", row.want ? row.want : "<none>") << (row.key ? row.key : "null key");
  }
}

TEST(Dictionary, NullArgumentsAreRefusedOrIgnored) {
  EXPECT_EQ(vtr_dict_get(nullptr, "a"), nullptr);
  EXPECT_EQ(vtr_dict_add(nullptr, "a", "1"), 0);
  EXPECT_EQ(vtr_dict_add(make({}).get(), nullptr, "1"), 0);
  EXPECT_EQ(vtr_dict_dup(nullptr), nullptr);
  EXPECT_EQ(vtr_dict_enum(nullptr, nullptr, nullptr), 1);
  vtr_dict_delete(nullptr);
  vtr_dict_dump(nullptr, "none");
}

TEST(Dictionary, KeepsItsOwnCopiesAndSoDoesADuplicate) {
  std::string key = "a", value = "1";
  Dict original = make({{key.c_str(), value.c_str()}, {"b", nullptr}});
  key[0] = value[0] = 'X';
  const Dict copy(vtr_dict_dup(original.get()), vtr_dict_delete);
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(visited(copy.get()), visited(original.get()));
  ASSERT_EQ(vtr_dict_add(original.get(), "a", "changed"), 1);
  original.reset();
  EXPECT_STREQ(vtr_dict_get(copy.get(), "a"), "1");
  EXPECT_EQ(visited(copy.get()).size(), 2u);
}

TEST(Dictionary, TenThousandKeysSurviveEveryRehash) {
  constexpr int kKeys = 10000;
  const Dict dict = make({});
  for (int i = 0; i < kKeys; ++i)
    ASSERT_EQ(vtr_dict_add(dict.get(), ("key-" + std::to_string(i)).c_str(), std::to_string(i).c_str()), 1);
  for (int i = 0; i < kKeys; i += 2) ASSERT_EQ(vtr_dict_add(dict.get(), ("key-" + std::to_string(i)).c_str(), "new"), 1);
  for (int i = 0; i < kKeys; ++i) {
    const char* value = vtr_dict_get(dict.get(), ("key-" + std::to_string(i)).c_str());
    ASSERT_NE(value, nullptr) << i;
    EXPECT_EQ(value, i % 2 == 0 ? std::string("new") : std::to_string(i));
  }
  EXPECT_EQ(vtr_dict_get(dict.get(), "key-10000"), nullptr);
  EXPECT_EQ(visited(dict.get()).size(), size_t(kKeys));
}

TEST(Dictionary, EnumerationStopsAtTheFirstRefusalAndDumpShowsEveryEntry) {
  const Dict dict = make({{"a", "1"}, {"b", "2"}, {"c", "3"}});
  EXPECT_EQ(visited(dict.get(), 1).size(), 1u);
  const Dict one = make({{"sudo", "1"}});
  vtr::test::LogRecorder log;
  vtr_dict_dump(one.get(), "options");
  ASSERT_EQ(log.all().size(), 2u);
  EXPECT_EQ(log.all()[0].text, "options map values: ");
  EXPECT_EQ(log.all()[1].text, "key=sudo  val=1");
  EXPECT_EQ(log.all()[1].priority, VTR_LOG_DEBUG);
}

}  // namespace
