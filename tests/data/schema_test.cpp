#include <gtest/gtest.h>

#include <stdio.h>
#include <stdlib.h>

#include <algorithm>
#include <cstring>
#include <string>

#include "src/data/builtin_types.h"
#include "src/data/type_definition.h"
#include "src/data/version.h"
#include "tests/data/data_test_support.h"

using namespace data_test;

namespace {

class SchemaTest : public ::testing::Test {
 protected:
  void SetUp() override {
    type_system_.reset(vtr_create_type_system());
    ASSERT_TRUE(type_system_);
    schema_ = vtr_type_system_add_schema(type_system_.get(), "demo", VTR_MAKE_VERSION(1, 0, 0), nullptr);
    ASSERT_NE(schema_, nullptr);
  }

  const vtr_type_definition_t* type(const char* name) const {
    return vtr_schema_find_type_definition(schema_, name);
  }

  vtr::test::LogRecorder log;
  TypeSystemPtr type_system_;
  vtr_schema_t* schema_ = nullptr;
};

TEST_F(SchemaTest, FieldsArePackedWithoutPadding) {
  uint8_t index = 99;
  ASSERT_EQ(add_type(schema_, "packed", {field("a", "uint8_t"), field("b", "uint64_t"), field("c", "uint16_t")}, &index),
            VTR_SCHEMA_OK);
  EXPECT_EQ(index, 0);
  const vtr_type_definition_t* packed = type("packed");
  ASSERT_NE(packed, nullptr);
  EXPECT_EQ(packed->size, 11u);
  ASSERT_EQ(packed->num_fields, 3);
  EXPECT_EQ(packed->fields[0]->offset, 0u);
  EXPECT_EQ(packed->fields[1]->offset, 1u);
  EXPECT_EQ(packed->fields[2]->offset, 9u);
  EXPECT_EQ(packed->fields[1]->type_size, 8u);
  EXPECT_EQ(packed->fields[1]->type_def, vtr_schema_find_type_definition(schema_, "uint64_t"));
  EXPECT_EQ(vtr_schema_sizeof_type(schema_, "packed"), 11u);
}

TEST_F(SchemaTest, ArraysTakeLengthTimesElementSize) {
  ASSERT_EQ(add_type(schema_, "text", {field("label", "char", 16), field("none", "uint32_t", 0), field("n", "int16_t", 3)}),
            VTR_SCHEMA_OK);
  const vtr_type_definition_t* text = type("text");
  EXPECT_EQ(text->fields[1]->offset, 16u);
  EXPECT_EQ(text->fields[2]->offset, 16u);
  EXPECT_EQ(text->size, 22u);
}

TEST_F(SchemaTest, TypesMayUseTypesAddedBefore) {
  ASSERT_EQ(add_type(schema_, "pair", {field("a", "uint8_t"), field("b", "uint16_t")}), VTR_SCHEMA_OK);
  ASSERT_EQ(add_type(schema_, "outer", {field("p", "pair", 2), field("z", "double")}), VTR_SCHEMA_OK);
  EXPECT_EQ(type("outer")->fields[1]->offset, 6u);
  EXPECT_EQ(type("outer")->size, 14u);
}

TEST_F(SchemaTest, BuiltinTypeNameCannotBeReused) {
  EXPECT_EQ(add_type(schema_, "uint64_t", {field("a", "uint8_t")}), VTR_SCHEMA_ERR_EXISTS);
  EXPECT_TRUE(log.contains("Schema 'demo' already contains type 'uint64_t'"));
  EXPECT_EQ(schema_->num_types, 0);
}

TEST_F(SchemaTest, UndefinedFieldTypeIsRefused) {
  EXPECT_EQ(add_type(schema_, "bad", {field("a", "uint8_t"), field("b", "mystery")}), VTR_SCHEMA_ERR_UNDEFINED_TYPE);
  EXPECT_TRUE(log.contains("Unable to register type 'bad': type 'mystery' of the field 'b' is undefined"));
  EXPECT_EQ(schema_->num_types, 0);
}

struct RepeatedNamesCase {
  std::vector<const char*> names;
  int status;
};

void PrintTo(const RepeatedNamesCase& c, std::ostream* os) {
  for (const char* name : c.names) *os << name;
}

class RepeatedFieldNames : public SchemaTest, public ::testing::WithParamInterface<RepeatedNamesCase> {};

// Only fields 1 to count-2 are compared with those before them; registered types depend on it.
TEST_P(RepeatedFieldNames, OnlyInnerFieldsAreChecked) {
  std::vector<vtr_type_field_info_t> fields;
  for (const char* name : GetParam().names) fields.push_back(field(name, "uint8_t"));
  EXPECT_EQ(add_type(schema_, "t", fields), GetParam().status);
  EXPECT_EQ(log.contains("[vtr_schema_add_type] Failed to register new type 't': field name 'x' occurs more than once."),
            GetParam().status == VTR_SCHEMA_ERR_EXISTS);
}

INSTANTIATE_TEST_SUITE_P(FieldLists, RepeatedFieldNames,
                         ::testing::Values(RepeatedNamesCase{{"x", "x", "y"}, VTR_SCHEMA_ERR_EXISTS},
                                           RepeatedNamesCase{{"y", "x", "x", "z"}, VTR_SCHEMA_ERR_EXISTS},
                                           RepeatedNamesCase{{"x", "y", "x"}, VTR_SCHEMA_OK},
                                           RepeatedNamesCase{{"x", "x"}, VTR_SCHEMA_OK},
                                           RepeatedNamesCase{{"x", "y", "z", "x"}, VTR_SCHEMA_OK}));

TEST_F(SchemaTest, TwoHundredFiftyFifthTypeIsRefused) {
  for (int i = 0; i < VTR_MAX_TYPES; ++i) {
    std::string name = "t" + std::to_string(i);
    uint8_t index = 0;
    ASSERT_EQ(add_type(schema_, name.c_str(), {field("v", "uint8_t")}, &index), VTR_SCHEMA_OK) << name;
    ASSERT_EQ(index, i);
  }
  EXPECT_EQ(add_type(schema_, "overflow", {field("v", "uint8_t")}), VTR_SCHEMA_ERR_FULL);
  EXPECT_TRUE(log.contains(
      "[vtr_schema_add_type] Unable to add new type, reached VTR_MAX_TYPES. schema->num_types = 254"));
  EXPECT_EQ(schema_->num_types, VTR_MAX_TYPES);
}

TEST_F(SchemaTest, FieldIndexesFollowTheGivenNames) {
  ASSERT_EQ(add_type(schema_, "t", {field("a", "uint8_t"), field("b", "uint8_t"), field("c", "uint8_t")}), VTR_SCHEMA_OK);
  const char* names[] = {"b", "zz", "a"};
  EXPECT_EQ(vtr_schema_set_field_indexes(schema_, 0, names, 3), 0);
  const vtr_type_definition_t* t = type("t");
  EXPECT_EQ(t->fields[0]->index, 2);
  EXPECT_EQ(t->fields[1]->index, 1);
  EXPECT_EQ(t->fields[2]->index, 0);
  EXPECT_TRUE(log.contains("Mismatch in assigned indices: expected 3, but assigned 2 (t)."));

  size_t count = 0;
  const char** indexed = vtr_schema_get_indexed_fields(schema_, 0, &count);
  ASSERT_NE(indexed, nullptr);
  ASSERT_EQ(count, 2u);
  EXPECT_STREQ(indexed[0], "a");  // field order, not index order
  EXPECT_STREQ(indexed[1], "b");
  free(indexed);

  EXPECT_EQ(vtr_schema_set_field_indexes(schema_, 0, names, 0), 0);
  EXPECT_EQ(t->fields[1]->index, 0);
}

TEST_F(SchemaTest, FieldIndexArgumentsAreChecked) {
  const char* names[] = {"a"};
  EXPECT_EQ(vtr_schema_set_field_indexes(nullptr, 0, names, 1), 3);
  EXPECT_EQ(vtr_schema_set_field_indexes(schema_, 0, nullptr, 1), 3);
  EXPECT_EQ(vtr_schema_set_field_indexes(schema_, 0, names, 1), 3);
  EXPECT_TRUE(log.contains("[vtr_schema_set_field_indexes] Schema pointer is NULL!"));
  EXPECT_TRUE(log.contains("[vtr_schema_set_field_indexes] Index names array is NULL!"));
  EXPECT_GT(log.countContaining("[vtr_schema_set_field_indexes] Invalid type_index: 0"), 0u);

  size_t count = 7;
  EXPECT_EQ(vtr_schema_get_indexed_fields(schema_, 3, &count), nullptr);
  EXPECT_EQ(count, 0u);
  EXPECT_GT(log.countContaining("src/data/schema "), 0u);
  EXPECT_GT(log.countContaining("] schema->types[3] is NULL"), 0u);
  EXPECT_EQ(vtr_schema_get_indexed_fields(schema_, 254, &count), nullptr);
  EXPECT_GT(log.countContaining("] type_index 254 out of bounds (max: 253)"), 0u);
  EXPECT_EQ(vtr_schema_get_indexed_fields(nullptr, 0, &count), nullptr);
  EXPECT_GT(log.countContaining("] schema is NULL"), 0u);
}

TEST(TypeSystem, HoldsAtMost255Schemas) {
  TypeSystemPtr type_system(vtr_create_type_system());
  for (int i = 0; i < VTR_MAX_SCHEMAS; ++i) {
    uint8_t index = 0;
    ASSERT_NE(vtr_type_system_add_schema(type_system.get(), "s", 1, &index), nullptr) << i;
    ASSERT_EQ(index, i);
  }
  EXPECT_EQ(vtr_type_system_add_schema(type_system.get(), "s", 1, nullptr), nullptr);
  EXPECT_EQ(vtr_type_system_remove_last_schema(type_system.get()), VTR_MAX_SCHEMAS - 1);
  EXPECT_NE(vtr_type_system_add_schema(type_system.get(), "s", 1, nullptr), nullptr);
}

TEST(TypeSystem, StartsWithTheBuiltinSchemaAndAnEmptyCountersSchema) {
  TypeSystemPtr type_system(vtr_create_type_system());
  const vtr_schema_t* builtin = type_system->builtin_schema;
  EXPECT_STREQ(builtin->name, "<built-in>");
  EXPECT_EQ(builtin->version, 1281u);
  ASSERT_EQ(builtin->num_types, VTR_BUILTIN_TYPE_COUNT);
  for (uint32_t id = 1; id <= VTR_BUILTIN_TYPE_COUNT; ++id) {
    EXPECT_EQ(builtin->types[id - 1]->builtin_id, id);
    EXPECT_STREQ(builtin->types[id - 1]->name, vtr_builtin_type_name(id));
    EXPECT_EQ(builtin->types[id - 1]->size, vtr_builtin_type_size(id));
  }
  ASSERT_NE(type_system->counters_schema, nullptr);
  EXPECT_EQ(vtr_type_system_max_type_size(type_system.get()), 0u);
}

TEST(TypeSystem, NewSchemaHasAZeroIdUntilHashesAreUpdated) {
  TypeSystemPtr type_system(vtr_create_type_system());
  vtr_schema_t* schema = vtr_type_system_add_schema(type_system.get(), "demo", 1, nullptr);
  EXPECT_EQ(std::string(schema->schema_id_string), std::string(32, '0'));
  EXPECT_TRUE(vtr_schema_id_is_unset(schema->schema_id));
  ASSERT_EQ(add_type(schema, "t", {field("v", "double")}), VTR_SCHEMA_OK);
  EXPECT_TRUE(vtr_schema_id_is_unset(schema->schema_id));
  vtr_type_system_update_md5_hashes(type_system.get());
  EXPECT_FALSE(vtr_schema_id_is_unset(schema->schema_id));
  EXPECT_EQ(std::string(schema->schema_id_string), id_string(schema->schema_id));
  EXPECT_EQ(vtr_type_system_get_max_event_type_size(type_system.get()), 8u);
}

TEST(TypeSystem, FindsSchemasByName) {
  TypeSystemPtr type_system = demo_type_system();
  vtr_type_system_add_schema(type_system.get(), "other", 1, nullptr);
  uint8_t index = 99;
  EXPECT_TRUE(vtr_type_system_find_schema(type_system.get(), "other", &index));
  EXPECT_EQ(index, 1);
  EXPECT_FALSE(vtr_type_system_find_schema(type_system.get(), "missing", &index));
}

TEST(TypeSystem, CloneMovesSchemasAndResolvesThemAgainstTheTarget) {
  TypeSystemPtr source = demo_type_system();
  TypeSystemPtr target(vtr_create_type_system());
  vtr_type_system_add_schema(target.get(), "first", 1, nullptr);
  uint8_t index = 0;
  EXPECT_EQ(vtr_type_system_clone_schemas(target.get(), source.get(), &index), 1u);
  EXPECT_EQ(index, 1);
  EXPECT_EQ(source->num_schemas, 0);
  vtr_schema_t* moved = target->schemas[1];
  EXPECT_EQ(moved->parent, target->builtin_schema);
  const vtr_type_definition_t* event = vtr_schema_find_type_definition(moved, "event");
  EXPECT_EQ(event->fields[0]->type_def, vtr_schema_find_type_definition(target->builtin_schema, "timestamp"));
}

struct IdTextCase {
  const char* text;
  bool valid;
};

void PrintTo(const IdTextCase& c, std::ostream* os) { *os << '"' << c.text << '"'; }

class SchemaIdText : public ::testing::TestWithParam<IdTextCase> {};

TEST_P(SchemaIdText, AcceptsExactly32HexDigits) {
  uint8_t id[VTR_SCHEMA_ID_SIZE] = {};
  EXPECT_EQ(vtr_schema_from_id_string(GetParam().text, id), GetParam().valid);
}

INSTANTIATE_TEST_SUITE_P(Texts, SchemaIdText,
                         ::testing::Values(IdTextCase{"0123456789abcdef0123456789abcdef", true},
                                           IdTextCase{"0123456789ABCDEF0123456789ABCDEF", true},
                                           IdTextCase{"0123456789abcdef0123456789abcde", false},
                                           IdTextCase{"0123456789abcdef0123456789abcdef0", false},
                                           IdTextCase{"0123456789abcdefg123456789abcdef", false},
                                           IdTextCase{"", false}));

TEST(SchemaId, TextRoundTripsAndBlobIdIsRecognised) {
  uint8_t id[VTR_SCHEMA_ID_SIZE];
  ASSERT_TRUE(vtr_schema_from_id_string("00FF10ab0123456789abcdef01234567", id));
  EXPECT_EQ(id[1], 0xFF);
  char* text = vtr_schema_id_string(id);
  EXPECT_STREQ(text, "00ff10ab0123456789abcdef01234567");
  free(text);
  EXPECT_FALSE(vtr_schema_id_is_blob(id));
  vtr_schema_id_set_blob(id);
  EXPECT_TRUE(vtr_schema_id_is_blob(id));
  EXPECT_EQ(memcmp(id, "BLOB_DATA_SCHEMA", VTR_SCHEMA_ID_SIZE), 0);
}

TEST(ValueType, NamesConvertBothWays) {
  EXPECT_EQ(vtr_value_type_from_string("ABSOLUTE"), VTR_VALUE_TYPE_ABSOLUTE);
  EXPECT_EQ(vtr_value_type_from_string("RUNNING_SUM"), VTR_VALUE_TYPE_RUNNING_SUM);
  EXPECT_EQ(vtr_value_type_from_string("ABSOLUTE_MONOTONIC"), VTR_VALUE_TYPE_RUNNING_SUM);
  EXPECT_EQ(vtr_value_type_from_string("absolute"), VTR_VALUE_TYPE_INVALID);
  EXPECT_STREQ(vtr_value_type_string(VTR_VALUE_TYPE_RUNNING_SUM), "RUNNING_SUM");
  EXPECT_EQ(vtr_value_type_string(7), nullptr);
}

TEST(Version, PrintsMajorMinorPatch) {
  char text[16];
  EXPECT_STREQ(vtr_version_to_string(1281, text, sizeof text), "1.5.0");
  EXPECT_STREQ(vtr_version_to_string(VTR_MAKE_VERSION(2, 10, 300), text, sizeof text), "2.10.300");
}

}  // namespace
