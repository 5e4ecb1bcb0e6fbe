// Building, changing and checking trees: ownership on failure, member order, validation.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

#include "json_test_helpers.h"

using namespace json_test;

namespace {

TEST(JsonInitString, AcceptsOnlyWellFormedUtf8) {
  struct Case {
    const char* text;
    bool valid;
  } cases[] = {
      {"", true},
      {"plain", true},
      {"\xc3\xa9", true},
      {"\xe2\x82\xac", true},
      {"\xf0\x9f\x98\x80", true},
      {"\xf4\x8f\xbf\xbf", true},
      {"\x7f", true},
      {"\xc0\x80", false},
      {"\xc1\xbf", false},
      {"\xe0\x80\x80", false},
      {"\xf0\x80\x80\x80", false},
      {"\xed\xa0\x80", false},
      {"\xed\xbf\xbf", false},
      {"\xf4\x90\x80\x80", false},
      {"\xf5\x80\x80\x80", false},
      {"\xf8\x88\x80\x80\x80", false},
      {"\xff", false},
      {"\x80", false},
      {"a\xbf", false},
      {"\xc3", false},
      {"\xe2\x82", false},
      {"\xc3\x28", false},
  };
  for (const Case& c : cases) {
    Value value(json_value_init_string(c.text));
    EXPECT_EQ(value != nullptr, c.valid) << testing::PrintToString(c.text);
    if (value) {
      EXPECT_STREQ(json_value_get_string(value.get()), c.text);
    }
  }
  EXPECT_EQ(json_value_init_string(nullptr), nullptr);
}

TEST(JsonInit, NonFiniteNumbersAndBooleans) {
  EXPECT_EQ(json_value_init_number(std::nan("")), nullptr);
  EXPECT_EQ(json_value_init_number(std::numeric_limits<double>::infinity()), nullptr);
  EXPECT_EQ(json_value_init_number(-std::numeric_limits<double>::infinity()), nullptr);
  Value truthy(json_value_init_boolean(42));
  EXPECT_EQ(json_value_get_boolean(truthy.get()), 1);
  EXPECT_EQ(compact(truthy.get()), "true");
}

TEST(JsonAccessors, WrongTypeOrMissingGivesNeutralResult) {
  Value root = parse(R"({"s":"x","n":2.5,"b":false,"z":null,"a":[1,"t",{}],"o":{}})");
  const JSON_Object* object = json_value_get_object(root.get());
  EXPECT_EQ(json_object_get_string(object, "n"), nullptr);
  EXPECT_EQ(json_object_get_number(object, "s"), 0);
  EXPECT_EQ(json_object_get_boolean(object, "missing"), -1);
  EXPECT_EQ(json_object_get_boolean(object, "b"), 0);
  EXPECT_EQ(json_object_get_array(object, "o"), nullptr);
  EXPECT_EQ(json_object_get_object(object, "a"), nullptr);
  EXPECT_EQ(json_object_get_string_len(object, "s"), 1u);
  EXPECT_EQ(json_object_has_value(object, "z"), 1);
  EXPECT_EQ(json_object_has_value(object, "Z"), 0);
  EXPECT_EQ(json_object_has_value_of_type(object, "z", JSONNull), 1);
  EXPECT_EQ(json_object_has_value_of_type(object, "n", JSONString), 0);
  EXPECT_EQ(json_object_get_value(object, nullptr), nullptr);
  EXPECT_EQ(json_object_get_value(nullptr, "s"), nullptr);
  EXPECT_EQ(json_object_get_count(nullptr), 0u);

  const JSON_Array* array = json_object_get_array(object, "a");
  EXPECT_EQ(json_array_get_count(array), 3u);
  EXPECT_EQ(json_array_get_number(array, 0), 1);
  EXPECT_STREQ(json_array_get_string(array, 1), "t");
  EXPECT_NE(json_array_get_object(array, 2), nullptr);
  EXPECT_EQ(json_array_get_value(array, 3), nullptr);
  EXPECT_EQ(json_array_get_boolean(array, 0), -1);
  EXPECT_EQ(json_array_get_array(array, 0), nullptr);
  EXPECT_EQ(json_array_get_count(nullptr), 0u);

  EXPECT_EQ(json_value_get_type(nullptr), JSONError);
  EXPECT_EQ(json_type(root.get()), JSONObject);
  EXPECT_EQ(json_number(nullptr), 0);
  EXPECT_EQ(json_boolean(nullptr), -1);
  EXPECT_EQ(json_string(nullptr), nullptr);
  EXPECT_EQ(json_array(root.get()), nullptr);
  EXPECT_EQ(json_object(root.get()), object);
  EXPECT_EQ(json_object_get_wrapping_value(object), root.get());
  EXPECT_EQ(json_value_get_parent(json_array_get_wrapping_value(array)), root.get());
  EXPECT_EQ(json_value_get_parent(root.get()), nullptr);
}

TEST(JsonOwnership, AttachedValueCannotBeAttachedAgainAndIsNotFreed) {
  Value first(json_value_init_object());
  Value second(json_value_init_array());
  JSON_Value* child = json_value_init_string("kept");
  ASSERT_EQ(json_object_set_value(json_value_get_object(first.get()), "c", child), JSONSuccess);
  EXPECT_EQ(json_object_set_value(json_value_get_object(first.get()), "d", child), JSONFailure);
  EXPECT_EQ(json_array_append_value(json_value_get_array(second.get()), child), JSONFailure);
  EXPECT_EQ(compact(first.get()), R"({"c":"kept"})");
  EXPECT_EQ(compact(second.get()), "[]");
}

TEST(JsonOwnership, FailedSetLeavesValueWithCaller) {
  Value orphan(json_value_init_number(1));
  EXPECT_EQ(json_object_set_value(nullptr, "x", orphan.get()), JSONFailure);
  EXPECT_EQ(json_array_append_value(nullptr, orphan.get()), JSONFailure);
  Value root(json_value_init_object());
  EXPECT_EQ(json_object_set_value(json_value_get_object(root.get()), nullptr, orphan.get()),
            JSONFailure);
  EXPECT_EQ(json_value_get_parent(orphan.get()), nullptr);
  EXPECT_EQ(json_value_get_number(orphan.get()), 1);
}

TEST(JsonOwnership, ValueCannotBeAttachedBelowItself) {
  Value root = parse(R"({"inner":{"deeper":[]}})");
  JSON_Object* inner = json_object_get_object(json_value_get_object(root.get()), "inner");
  JSON_Array* deeper = json_object_get_array(inner, "deeper");
  EXPECT_EQ(json_object_set_value(inner, "loop", root.get()), JSONFailure);
  EXPECT_EQ(json_array_append_value(deeper, root.get()), JSONFailure);
  EXPECT_EQ(compact(root.get()), R"({"inner":{"deeper":[]}})");
}

TEST(JsonOwnership, TypedSettersFailWithoutChangingTheObject) {
  Value root(json_value_init_object());
  JSON_Object* object = json_value_get_object(root.get());
  ASSERT_EQ(json_object_set_number(object, "n", 1), JSONSuccess);
  EXPECT_EQ(json_object_set_string(object, "n", "\xff"), JSONFailure);
  EXPECT_EQ(json_object_set_string(object, "n", nullptr), JSONFailure);
  EXPECT_EQ(json_object_set_number(object, "n", std::nan("")), JSONFailure);
  EXPECT_EQ(json_object_set_string(nullptr, "n", "x"), JSONFailure);
  EXPECT_EQ(json_object_set_null(object, nullptr), JSONFailure);
  JSON_Array* array = nullptr;
  EXPECT_EQ(json_array_append_string(array, "x"), JSONFailure);
  EXPECT_EQ(compact(root.get()), R"({"n":1})");
}

TEST(JsonObjectEdit, ReplacingKeepsTheSlot) {
  Value root = parse(R"({"a":{"x":[1]},"b":2,"c":3})");
  JSON_Object* object = json_value_get_object(root.get());
  ASSERT_EQ(json_object_set_string(object, "a", "now a string"), JSONSuccess);
  ASSERT_EQ(json_object_set_value(object, "c", json_value_init_array()), JSONSuccess);
  ASSERT_EQ(json_object_set_boolean(object, "d", 1), JSONSuccess);
  EXPECT_EQ(compact(root.get()), R"({"a":"now a string","b":2,"c":[],"d":true})");
}

TEST(JsonObjectEdit, RemovingMovesTheLastMemberIntoTheGap) {
  Value root = parse(R"({"a":1,"b":2,"c":3})");
  JSON_Object* object = json_value_get_object(root.get());
  ASSERT_EQ(json_object_remove(object, "a"), JSONSuccess);
  EXPECT_EQ(compact(root.get()), R"({"c":3,"b":2})");
  ASSERT_EQ(json_object_remove(object, "b"), JSONSuccess);
  EXPECT_EQ(compact(root.get()), R"({"c":3})");
  EXPECT_EQ(json_object_remove(object, "b"), JSONFailure);
  EXPECT_EQ(json_object_remove(object, nullptr), JSONFailure);
  ASSERT_EQ(json_object_set_number(object, "b", 4), JSONSuccess);
  EXPECT_EQ(compact(root.get()), R"({"c":3,"b":4})");
}

// Many removals in a large object must keep every remaining key reachable.
TEST(JsonObjectEdit, LookupsSurviveManyRemovals) {
  Value root(json_value_init_object());
  JSON_Object* object = json_value_get_object(root.get());
  const int count = 5000;
  for (int i = 0; i < count; i++) {
    ASSERT_EQ(json_object_set_number(object, ("k" + std::to_string(i)).c_str(), i), JSONSuccess);
  }
  for (int i = 0; i < count; i += 3) {
    ASSERT_EQ(json_object_remove(object, ("k" + std::to_string(i)).c_str()), JSONSuccess);
  }
  size_t remaining = 0;
  for (int i = 0; i < count; i++) {
    std::string name = "k" + std::to_string(i);
    if (i % 3 == 0) {
      EXPECT_FALSE(json_object_has_value(object, name.c_str())) << name;
    } else {
      EXPECT_EQ(json_object_get_number(object, name.c_str()), i) << name;
      remaining++;
    }
  }
  EXPECT_EQ(json_object_get_count(object), remaining);
  for (size_t i = 0; i < remaining; i++) {
    const char* name = json_object_get_name(object, i);
    EXPECT_EQ(json_object_get_value(object, name), json_object_get_value_at(object, i));
  }
}

TEST(JsonObjectEdit, ClearedObjectAndArrayCanBeReused) {
  Value root = parse(R"({"a":[1,2],"b":{"c":3}})");
  JSON_Object* object = json_value_get_object(root.get());
  JSON_Array* array = json_object_get_array(object, "a");
  ASSERT_EQ(json_array_clear(array), JSONSuccess);
  ASSERT_EQ(json_array_append_null(array), JSONSuccess);
  EXPECT_EQ(compact(root.get()), R"({"a":[null],"b":{"c":3}})");
  ASSERT_EQ(json_object_clear(object), JSONSuccess);
  EXPECT_FALSE(json_object_has_value(object, "a"));
  ASSERT_EQ(json_object_set_number(object, "b", 1), JSONSuccess);
  EXPECT_EQ(compact(root.get()), R"({"b":1})");
  EXPECT_EQ(json_object_clear(nullptr), JSONFailure);
  EXPECT_EQ(json_array_clear(nullptr), JSONFailure);
}

TEST(JsonArrayEdit, RemovingKeepsTheOrder) {
  Value root = parse(R"([0,"one",[2],{"three":3}])");
  JSON_Array* array = json_value_get_array(root.get());
  ASSERT_EQ(json_array_remove(array, 1), JSONSuccess);
  EXPECT_EQ(compact(root.get()), R"([0,[2],{"three":3}])");
  EXPECT_EQ(json_array_remove(array, 3), JSONFailure);
  ASSERT_EQ(json_array_append_boolean(array, 0), JSONSuccess);
  ASSERT_EQ(json_array_append_number(array, 0.5), JSONSuccess);
  ASSERT_EQ(json_array_append_string(array, "s"), JSONSuccess);
  EXPECT_EQ(json_array_append_string(array, "\xc0\x80"), JSONFailure);
  EXPECT_EQ(json_array_append_number(array, INFINITY), JSONFailure);
  EXPECT_EQ(compact(root.get()), R"([0,[2],{"three":3},false,0.5,"s"])");
}

TEST(JsonDeepCopy, CopyIsEqualAndIndependent) {
  Value original = parse(R"({"a":[1,{"b":"\u0000x"}],"c":null,"d":true,"e":"\u00e9"})");
  Value copy(json_value_deep_copy(original.get()));
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(compact(copy.get()), compact(original.get()));
  ASSERT_EQ(json_object_remove(json_value_get_object(original.get()), "a"), JSONSuccess);
  EXPECT_EQ(json_array_get_count(json_object_get_array(json_value_get_object(copy.get()), "a")),
            2u);
  EXPECT_EQ(json_value_deep_copy(nullptr), nullptr);
}

struct ValidateCase {
  const char* schema;
  const char* value;
  JSON_Status expected;
};

TEST(JsonValidate, TemplateRules) {
  const ValidateCase cases[] = {
      {"null", R"({"any":[1]})", JSONSuccess},
      {R"({"name":"","age":0})", R"({"name":"Joe","age":25,"x":1})", JSONSuccess},
      {R"({"name":"","age":0})", R"({"name":"Joe"})", JSONFailure},
      {R"({"name":"","age":0})", R"({"name":"Joe","age":"x"})", JSONFailure},
      {"{}", R"({"a":1})", JSONSuccess},
      {"{}", "[]", JSONFailure},
      {"[]", R"([1,"a"])", JSONSuccess},
      {"[0]", "[1,2]", JSONSuccess},
      {"[0]", R"([1,"a"])", JSONFailure},
      {"[0]", "[]", JSONSuccess},
      {R"([0,""])", "[1,2]", JSONSuccess},
      {R"("")", R"("x")", JSONSuccess},
      {"0", R"("0")", JSONFailure},
      {"true", "false", JSONSuccess},
      {R"({"a":null})", R"({"a":[1]})", JSONSuccess},
      {R"({"a":null})", "{}", JSONFailure},
      {R"({"a":{"b":[{"c":0}]}})", R"({"a":{"b":[{"c":1},{"c":2}]}})", JSONSuccess},
      {R"({"a":{"b":[{"c":0}]}})", R"({"a":{"b":[{"c":1},{"d":2}]}})", JSONFailure},
      {R"({"name" : "", "size" : 0, "fields" : []})",
       R"({"name":"ipmitool_event","size":16,"fields":[{"field_name":"timestamp"}]})",
       JSONSuccess},
  };
  for (const ValidateCase& c : cases) {
    Value schema = parse(c.schema);
    Value value = parse(c.value);
    ASSERT_NE(schema, nullptr) << c.schema;
    ASSERT_NE(value, nullptr) << c.value;
    EXPECT_EQ(json_validate(schema.get(), value.get()), c.expected) << c.schema << " vs " << c.value;
  }
  Value any = parse("{}");
  EXPECT_EQ(json_validate(nullptr, any.get()), JSONFailure);
  EXPECT_EQ(json_validate(any.get(), nullptr), JSONFailure);
}

}  // namespace
