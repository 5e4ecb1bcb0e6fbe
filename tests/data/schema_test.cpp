// The type system: schemas and their packed types, schema ids, and the JSON documents
// that describe them.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <string.h>

#include <fstream>
#include <string>

#include "src/data/builtin_types.h"
#include "src/data/schema_json.h"
#include "src/data/type_definition.h"
#include "src/data/version.h"
#include "support/test_env.h"
#include "tests/data/data_test_support.h"

using namespace data_test;

namespace {

class SchemaTest : public ::testing::Test {
 protected:
  void SetUp() override {
    schema_ = vtr_type_system_add_schema(type_system_.get(), "demo", VTR_MAKE_VERSION(1, 0, 0), nullptr);
    ASSERT_NE(schema_, nullptr);
  }
  const vtr_type_definition_t* type(const char* name) const { return vtr_schema_find_type_definition(schema_, name); }

  vtr::test::LogRecorder log;
  TypeSystemPtr type_system_{vtr_create_type_system()};
  vtr_schema_t* schema_ = nullptr;
};

// Fields are packed without padding; an array takes its length times its element's size,
// and a type may use the types added before it.
TEST_F(SchemaTest, FieldsArePackedInOrder) {
  ASSERT_EQ(add_type(schema_, "pair", {field("a", "uint8_t"), field("b", "uint16_t")}), VTR_SCHEMA_OK);
  const struct {
    const char* name;
    std::vector<vtr_type_field_info_t> fields;
    std::vector<uint64_t> offsets;
    uint64_t size;
  } rows[] = {
      {"packed", {field("a", "uint8_t"), field("b", "uint64_t"), field("c", "uint16_t")}, {0, 1, 9}, 11},
      {"text", {field("label", "char", 16), field("none", "uint32_t", 0), field("n", "int16_t", 3)}, {0, 16, 16}, 22},
      {"outer", {field("p", "pair", 2), field("z", "double")}, {0, 6}, 14},
  };
  for (const auto& row : rows) {
    uint8_t index = 99;
    ASSERT_EQ(add_type(schema_, row.name, row.fields, &index), VTR_SCHEMA_OK) << row.name;
    EXPECT_EQ(type(row.name), schema_->types[index]);
    std::vector<uint64_t> offsets;
    for (int32_t i = 0; i < type(row.name)->num_fields; ++i) offsets.push_back(type(row.name)->fields[i]->offset);
    EXPECT_EQ(offsets, row.offsets) << row.name;
    EXPECT_EQ(vtr_schema_sizeof_type(schema_, row.name), row.size) << row.name;
  }
  EXPECT_EQ(type("packed")->fields[1]->type_size, 8u);
  EXPECT_EQ(type("packed")->fields[1]->type_def, vtr_schema_find_type_definition(schema_, "uint64_t"));
}

// Of repeated field names, only fields 1 to count-2 are compared with those before them;
// registered types depend on it.
TEST_F(SchemaTest, TypesThatCannotBeRegisteredAreRefusedWithTheirReason) {
  const auto bytes = [](std::vector<const char*> names) {
    std::vector<vtr_type_field_info_t> fields;
    for (const char* name : names) fields.push_back(field(name, "uint8_t"));
    return fields;
  };
  const std::string repeated = "[vtr_schema_add_type] Failed to register new type 't': field name 'x' occurs more than once.";
  const struct {
    const char* name;
    std::vector<vtr_type_field_info_t> fields;
    int status;
    std::string message;
  } rows[] = {
      {"uint64_t", bytes({"a"}), VTR_SCHEMA_ERR_EXISTS, "Schema 'demo' already contains type 'uint64_t'"},
      {"bad", {field("a", "uint8_t"), field("b", "mystery")}, VTR_SCHEMA_ERR_UNDEFINED_TYPE,
       "Unable to register type 'bad': type 'mystery' of the field 'b' is undefined"},
      {"t", bytes({"x", "x", "y"}), VTR_SCHEMA_ERR_EXISTS, repeated},
      {"t", bytes({"y", "x", "x", "z"}), VTR_SCHEMA_ERR_EXISTS, repeated},
      {"t1", bytes({"x", "y", "x"}), VTR_SCHEMA_OK, ""}, {"t2", bytes({"x", "x"}), VTR_SCHEMA_OK, ""},
      {"t3", bytes({"x", "y", "z", "x"}), VTR_SCHEMA_OK, ""},
  };
  for (const auto& row : rows) {
    log.clear();
    const uint8_t before = schema_->num_types;
    EXPECT_EQ(add_type(schema_, row.name, row.fields), row.status) << row.name;
    EXPECT_EQ(schema_->num_types, before + (row.status == VTR_SCHEMA_OK)) << row.name;
    EXPECT_TRUE(row.message.empty() || log.contains(row.message)) << row.name;
  }
}

TEST_F(SchemaTest, TwoHundredFiftyFifthTypeIsRefused) {
  for (int i = 0; i < VTR_MAX_TYPES; ++i) {
    uint8_t index = 0;
    ASSERT_EQ(add_type(schema_, ("t" + std::to_string(i)).c_str(), {field("v", "uint8_t")}, &index), VTR_SCHEMA_OK);
    ASSERT_EQ(index, i);
  }
  EXPECT_EQ(add_type(schema_, "overflow", {field("v", "uint8_t")}), VTR_SCHEMA_ERR_FULL);
  EXPECT_TRUE(log.contains("[vtr_schema_add_type] Unable to add new type, reached VTR_MAX_TYPES. schema->num_types = 254"));
  EXPECT_EQ(schema_->num_types, VTR_MAX_TYPES);
}

TEST_F(SchemaTest, FieldIndexesFollowTheGivenNames) {
  ASSERT_EQ(add_type(schema_, "t", {field("a", "uint8_t"), field("b", "uint8_t"), field("c", "uint8_t")}), VTR_SCHEMA_OK);
  const char* names[] = {"b", "zz", "a"};
  EXPECT_EQ(vtr_schema_set_field_indexes(schema_, 0, names, 3), 0);
  const vtr_type_definition_t* t = type("t");
  EXPECT_EQ(std::vector<int>({t->fields[0]->index, t->fields[1]->index, t->fields[2]->index}), std::vector<int>({2, 1, 0}));
  EXPECT_TRUE(log.contains("Mismatch in assigned indices: expected 3, but assigned 2 (t)."));
  size_t count = 0;
  const char** indexed = vtr_schema_get_indexed_fields(schema_, 0, &count);
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
  size_t count = 7;
  EXPECT_EQ(vtr_schema_get_indexed_fields(schema_, 3, &count), nullptr);
  EXPECT_EQ(count, 0u);
  EXPECT_EQ(vtr_schema_get_indexed_fields(schema_, 254, &count), nullptr);
  EXPECT_EQ(vtr_schema_get_indexed_fields(nullptr, 0, &count), nullptr);
  for (const char* part : {"[vtr_schema_set_field_indexes] Schema pointer is NULL!",
                           "[vtr_schema_set_field_indexes] Index names array is NULL!",
                           "[vtr_schema_set_field_indexes] Invalid type_index: 0", "src/data/schema ",
                           "] schema->types[3] is NULL", "] type_index 254 out of bounds (max: 253)", "] schema is NULL"})
    EXPECT_GT(log.countContaining(part), 0u) << part;
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

// The built-in types in id order, with the sizes hosts decode them by.
TEST(TypeSystem, StartsWithTheBuiltinSchemaAndAnEmptyCountersSchema) {
  TypeSystemPtr type_system(vtr_create_type_system());
  const vtr_schema_t* builtin = type_system->builtin_schema;
  EXPECT_STREQ(builtin->name, "<built-in>");
  EXPECT_EQ(builtin->version, 1281u);
  ASSERT_EQ(builtin->num_types, VTR_BUILTIN_TYPE_COUNT);
  std::string layout;
  for (uint32_t id = 1; id <= VTR_BUILTIN_TYPE_COUNT; ++id) {
    const vtr_type_definition_t* type = builtin->types[id - 1];
    EXPECT_EQ(type->builtin_id, id);
    EXPECT_STREQ(vtr_builtin_type_name(id), type->name);
    EXPECT_EQ(vtr_builtin_type_size(id), type->size);
    layout += std::string(type->name) + ":" + std::to_string(type->size) + " ";
  }
  EXPECT_EQ(layout,
            "bool:1 char:1 short:2 int:4 long:8 long long:8 unsigned char:1 unsigned short:2 unsigned int:4 "
            "unsigned long:8 unsigned long long:8 float:4 double:8 int8_t:1 int16_t:2 int32_t:4 int64_t:8 uint8_t:1 "
            "uint16_t:2 uint32_t:4 uint64_t:8 timestamp:8 ");
  ASSERT_NE(type_system->counters_schema, nullptr);
  EXPECT_EQ(vtr_type_system_max_type_size(type_system.get()), 0u);
}

// A new schema's id stays zero until the hashes are updated; schemas are found by name, and
// a clone moves them and resolves them against the target's built-in types.
TEST(TypeSystem, IdentifiesFindsAndClonesSchemas) {
  TypeSystemPtr source = demo_type_system();
  vtr_schema_t* other = vtr_type_system_add_schema(source.get(), "other", 1, nullptr);
  EXPECT_EQ(std::string(other->schema_id_string), std::string(32, '0'));
  ASSERT_EQ(add_type(other, "t", {field("v", "double")}), VTR_SCHEMA_OK);
  EXPECT_TRUE(vtr_schema_id_is_unset(other->schema_id));
  vtr_type_system_update_md5_hashes(source.get());
  EXPECT_FALSE(vtr_schema_id_is_unset(other->schema_id));
  EXPECT_EQ(std::string(other->schema_id_string), id_string(other->schema_id));
  EXPECT_EQ(vtr_type_system_get_max_event_type_size(source.get()), 24u);
  uint8_t index = 99;
  EXPECT_TRUE(vtr_type_system_find_schema(source.get(), "other", &index));
  EXPECT_EQ(index, 1);
  EXPECT_FALSE(vtr_type_system_find_schema(source.get(), "missing", &index));

  TypeSystemPtr target(vtr_create_type_system());
  vtr_type_system_add_schema(target.get(), "first", 1, nullptr);
  EXPECT_EQ(vtr_type_system_clone_schemas(target.get(), source.get(), &index), 2u);
  EXPECT_EQ(index, 1);
  EXPECT_EQ(source->num_schemas, 0);
  const vtr_schema_t* moved = target->schemas[1];
  EXPECT_EQ(moved->parent, target->builtin_schema);
  EXPECT_EQ(vtr_schema_find_type_definition(moved, "event")->fields[0]->type_def,
            vtr_schema_find_type_definition(target->builtin_schema, "timestamp"));
  EXPECT_STREQ(target->schemas[2]->name, "other");
}

TEST(SchemaId, TextIsExactly32HexDigitsAndRoundTrips) {
  const std::string hex = "0123456789abcdef0123456789abcdef";
  for (const auto& [text, valid] : {std::pair<std::string, bool>{hex, true}, {"0123456789ABCDEF0123456789ABCDEF", true},
                                    {hex.substr(1), false}, {hex + "0", false}, {"g" + hex.substr(1), false}, {"", false}}) {
    uint8_t id[VTR_SCHEMA_ID_SIZE] = {};
    EXPECT_EQ(vtr_schema_from_id_string(text.c_str(), id), valid) << text;
  }
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

TEST(ValueTypeAndVersion, NamesAndNumbersConvert) {
  EXPECT_EQ(vtr_value_type_from_string("ABSOLUTE"), VTR_VALUE_TYPE_ABSOLUTE);
  EXPECT_EQ(vtr_value_type_from_string("RUNNING_SUM"), VTR_VALUE_TYPE_RUNNING_SUM);
  EXPECT_EQ(vtr_value_type_from_string("ABSOLUTE_MONOTONIC"), VTR_VALUE_TYPE_RUNNING_SUM);
  EXPECT_EQ(vtr_value_type_from_string("absolute"), VTR_VALUE_TYPE_INVALID);
  EXPECT_STREQ(vtr_value_type_string(VTR_VALUE_TYPE_RUNNING_SUM), "RUNNING_SUM");
  EXPECT_EQ(vtr_value_type_string(7), nullptr);
  char text[16];
  EXPECT_STREQ(vtr_version_to_string(1281, text, sizeof text), "1.5.0");
  EXPECT_STREQ(vtr_version_to_string(VTR_MAKE_VERSION(2, 10, 300), text, sizeof text), "2.10.300");
}

constexpr const char* kDemoSchemaId = "6c9be2b72d4f917b3ae83f929bd5c3a3";

using SchemaJsonTest = SchemaTest;

// The schema of add_demo_schema as parson pretty-prints it; its MD5 is the schema id.
std::string demoText() { return vtr::test::readFile(vtr::test::fixturePath("schema-json", "demo-schema.json")); }

JsonPtr parse(const std::string& text) { return JsonPtr(json_parse_string(text.c_str())); }

// The demo schema's document with one top-level key set to a text.
JsonPtr demoWith(const char* key, const char* text) {
  JsonPtr json = parse(demoText());
  json_object_set_string(json_value_get_object(json.get()), key, text);
  return json;
}

std::string inTypeSystem(const std::string& schemas) { return R"({"version":"1.5.0","schemas":[)" + schemas + "]}"; }

TEST_F(SchemaJsonTest, SchemaIsWrittenInParsonPrettyLayoutAndIdentifiedByItsMd5) {
  TypeSystemPtr type_system = demo_type_system();
  const vtr_schema_t* schema = type_system->schemas[0];
  EXPECT_EQ(pretty(JsonPtr(vtr_schema_jsonify(schema)).get()), demoText());
  EXPECT_STREQ(schema->schema_id_string, kDemoSchemaId);
  uint8_t id[VTR_SCHEMA_ID_SIZE];
  ASSERT_TRUE(vtr_get_schema_id_from_pretty_json_string(demoText().c_str(), id));
  EXPECT_EQ(id_string(id), kDemoSchemaId);
  EXPECT_FALSE(vtr_get_schema_id_from_pretty_json_string(nullptr, id));

  vtr_schema_t* empty = vtr_type_system_add_schema(type_system.get(), "empty", 1, nullptr);
  EXPECT_EQ(vtr_schema_jsonify(empty), nullptr);
  vtr_type_system_update_md5_hashes(type_system.get());
  EXPECT_TRUE(vtr_schema_id_is_unset(empty->schema_id));
}

// The counters schema comes before the schemas, and a bare counters document is kept as it is.
TEST_F(SchemaJsonTest, TypeSystemAndCountersDocumentsSurviveTextRoundTrips) {
  TypeSystemPtr original = demo_type_system();
  for (bool prettyText : {true, false}) {
    const std::string text = take_text(vtr_type_system_serialize(original.get(), prettyText));
    TypeSystemPtr read(vtr_type_system_deserialize(text.c_str()));
    ASSERT_TRUE(read) << text;
    EXPECT_EQ(take_text(vtr_type_system_serialize(read.get(), prettyText)), text);
    ASSERT_EQ(read->num_schemas, 1);
    const vtr_schema_t* schema = read->schemas[0];
    EXPECT_STREQ(schema->schema_id_string, kDemoSchemaId);
    EXPECT_EQ(schema->parent, read->builtin_schema);
    const vtr_type_definition_t* event = vtr_schema_find_type_definition(schema, "event");
    ASSERT_NE(event, nullptr);
    EXPECT_EQ(event->fields[1]->count, 8u);
    EXPECT_EQ(event->fields[2]->value_type, VTR_VALUE_TYPE_RUNNING_SUM);
    EXPECT_EQ(event->fields[2]->index, 1);
    EXPECT_EQ(event->fields[2]->type_def, vtr_schema_find_type_definition(read->builtin_schema, "uint64_t"));
    EXPECT_TRUE(prettyText || text.rfind(R"({"name":"Vantrove type system","version":"1.5.0","counters_schema":{"counter_groups":[]},"schemas":[{"title":"Vantrove schema",)", 0) == 0) << text;
  }
  const std::string groups = R"([{"name":"net","counters":["rx","tx"]}])";
  TypeSystemPtr bare(vtr_type_system_deserialize((R"({"version":"1.5.0","counter_groups":)" + groups + "}").c_str()));
  ASSERT_TRUE(bare);
  EXPECT_EQ(bare->num_schemas, 0);
  const std::string text = take_text(vtr_type_system_serialize(bare.get(), false));
  EXPECT_NE(text.find(R"("counters_schema":{"counter_groups":)" + groups + "}"), std::string::npos) << text;
  TypeSystemPtr nested(vtr_type_system_deserialize(text.c_str()));
  ASSERT_TRUE(nested);
  EXPECT_EQ(take_text(vtr_type_system_serialize(nested.get(), false)), text);
}

TEST_F(SchemaJsonTest, FieldDocumentIsReadWhenItHasTheRequiredKeys) {
  const std::string keys = R"({"field_name":"f","description":"d","type_name":"int","counting_mode":"ABSOLUTE","type_size":4)";
  const struct {
    std::string json;
    uint32_t arrayLength;  // 0: refused
  } rows[] = {
      {keys + R"(,"offset":4,"index":2})", 1},          {keys + R"(,"offset":4})", 1},
      {keys + R"(,"offset":4,"array_length":5})", 5},   {keys + R"(,"offset":4,"array_length":0})", 1},
      {keys + "}", 0}, {keys + R"(,"offset":"4"})", 0}, {"[]", 0},
  };
  for (const auto& row : rows) {
    log.clear();
    vtr::data::FieldDefinitionPtr field(vtr_type_field_definition_from_json(parse(row.json).get()));
    ASSERT_EQ(field != nullptr, row.arrayLength > 0) << row.json;
    if (field) {
      EXPECT_STREQ(field->field_name, "f");
      EXPECT_EQ(field->offset, 4u);
      EXPECT_EQ(field->count, row.arrayLength) << row.json;
    } else {
      EXPECT_TRUE(log.contains("Field definition JSON does not match schema with or without 'index'.")) << row.json;
    }
  }
}

// A schema must share the major version and not exceed the minor; a type system must be at
// least 1.4.0.
TEST_F(SchemaJsonTest, DocumentVersionsDecideWhetherTheyAreRead) {
  for (const auto& [version, accepted] : {std::pair<const char*, bool>{"1.4.2", true}, {"1.5.0", true}, {"1.5.7", true},
                                          {"1.0", true}, {"1.6.0", false}, {"2.0.0", false}, {"0.5.0", false},
                                          {"1", false}, {"one.five", false}, {"", false}}) {
    SchemaPtr schema(vtr_schema_from_json(demoWith("vtr_version", version).get()));
    EXPECT_EQ(schema != nullptr, accepted) << version;
    EXPECT_EQ(log.contains(std::string("Schema version ") + version + " is incompatible with current version 1.5.0"),
              !accepted) << version;
  }
  TypeSystemPtr original = demo_type_system();
  for (const auto& [version, accepted] : {std::pair<const char*, bool>{"1.3.9", false}, {"0.9.0", false}, {"1", false},
                                          {"1.4.0", true}, {"1.5.0", true}, {"2.0.0", true}}) {
    JsonPtr json(vtr_type_system_jsonify(original.get()));
    json_object_set_string(json_value_get_object(json.get()), "version", version);
    EXPECT_EQ(TypeSystemPtr(vtr_type_system_from_json(json.get())) != nullptr, accepted) << version;
    EXPECT_EQ(log.contains(std::string("[ts] Failed to deserialize: schema version ") + version +
                           " is incompatible with the deserializer, the minimal supported schema version is 1.4.0"),
              !accepted) << version;
  }
  for (const auto& [text, version] : {std::pair<const char*, uint32_t>{"2.7.9", VTR_MAKE_VERSION(2, 7, 9)},
                                      {"2.7", VTR_MAKE_VERSION(2, 7, 0)}, {"3", 0u}, {"x", 0u}}) {
    SchemaPtr schema(vtr_schema_from_json(demoWith("provider_version", text).get()));
    ASSERT_TRUE(schema) << text;
    EXPECT_EQ(schema->version, version) << text;
  }
}

// Type-system documents, and (with "schema:" before them) schema documents.
TEST_F(SchemaJsonTest, BadDocumentsAreRefusedWithTheirMessageAndNothingPartial) {
  std::string manySchemas = "{}";
  for (int i = 1; i < 256; ++i) manySchemas += ",{}";
  std::string unknownFieldType = demoText(), brokenType = demoText();
  unknownFieldType.replace(unknownFieldType.find("\"uint16_t\""), 10, "\"mystery\"");
  brokenType.replace(brokenType.find("\"size\": 24"), 10, "\"size\": \"24\"");
  const std::pair<std::string, std::vector<std::string>> rows[] = {
      {R"({"version":"1.5.0",)", {"Failed parsing schema JSON string"}},
      {"[1]", {"[ts] Failed to deserialize: schema is not a JSON object"}},
      {R"({"version":1.5,"schemas":[]})", {"[ts] Failed to deserialize: missing Vantrove schema version"}},
      {R"({"version":"1.5.0"})", {"[schema writer] schema was not recognized as either type system or counters schema"}},
      {R"({"version":"1.5.0","counters_schema":[]})", {"[ts] Failed to deserialize: unable to decode counters schema"}},
      {inTypeSystem(R"({"vtr_version":"1.5.0","provider_name":"x","provider_version":"1.0.0","types":{}})"),
       {"[ts] Failed to deserialize: unable to decode type schema"}},
      {inTypeSystem(manySchemas), {"[ts] Failed to deserialize: number of schemas 256 exceeds limit 255"}},
      {inTypeSystem(unknownFieldType), {"[ts] Failed to deserialize: unable to adjust type fields of schema demo",
                                        "Definition of type mystery not found within the schema demo"}},
      {"schema:" + brokenType, {"Type definition JSON does not match schema '{\"name\" : \"\", \"size\" : 0, \"fields\" : []}'",
                                "Failed to deserialize type #1 from JSON array"}},
      {R"(schema:{"counter_groups":[]})", {"Not an event schema"}},
  };
  for (const auto& [text, messages] : rows) {
    log.clear();
    if (text.rfind("schema:", 0) == 0) {
      EXPECT_EQ(SchemaPtr(vtr_schema_from_json(parse(text.substr(7)).get())), nullptr) << messages[0];
    } else {
      EXPECT_EQ(TypeSystemPtr(vtr_type_system_deserialize(text.c_str())), nullptr) << messages[0];
    }
    for (const std::string& message : messages) EXPECT_TRUE(log.contains(message)) << message;
  }
  EXPECT_EQ(log.all().back().priority, VTR_LOG_INFO) << "another kind of document is no error";
}

class SchemaFileTest : public SchemaJsonTest {
 protected:
  void SetUp() override { std::ofstream(file_.path()) << demoText(); }

  // Loads the demo schema's file through a field set of these lines.
  vtr_schema_t* loadFiltered(std::vector<const char*> lines, bool* filtered) {
    fieldSet_.reset(vtr_provider_field_set_create());
    vtr_provider_field_set_init_from_lines(fieldSet_.get(), lines.data(), lines.size());
    return vtr_type_system_load_schema_filtered_by_fset(typeSystem_.get(), file_.path(), fieldSet_.get(), filtered);
  }

  vtr::test::ScratchFile file_;
  TypeSystemPtr typeSystem_{vtr_create_type_system()};
  std::unique_ptr<vtr_provider_field_set_t, decltype(&vtr_provider_field_set_destroy)> fieldSet_{
      nullptr, vtr_provider_field_set_destroy};
};

TEST_F(SchemaFileTest, LoadedSchemaIsResolvedIdentifiedAndAppended) {
  vtr_schema_t* schema = vtr_type_system_load_schema(typeSystem_.get(), file_.path());
  ASSERT_NE(schema, nullptr);
  EXPECT_EQ(typeSystem_->schemas[0], schema);
  EXPECT_STREQ(schema->schema_id_string, kDemoSchemaId);
  EXPECT_EQ(vtr_schema_find_type_definition(schema, "pair")->fields[1]->type_def,
            vtr_schema_find_type_definition(typeSystem_->builtin_schema, "uint16_t"));
  SchemaPtr standalone(vtr_schema_load_from_file(file_.path(), typeSystem_->builtin_schema));
  ASSERT_TRUE(standalone);
  EXPECT_STREQ(standalone->schema_id_string, kDemoSchemaId);
  EXPECT_EQ(vtr_type_system_load_schema(typeSystem_.get(), "/nonexistent/schema.json"), nullptr);
  EXPECT_TRUE(log.contains("Failed reading schema JSON from file '/nonexistent/schema.json'"));
  EXPECT_EQ(typeSystem_->num_schemas, 1);
}

TEST_F(SchemaFileTest, FieldSetKeepsOnlyWantedTypesAndFields) {
  bool filtered = false;
  EXPECT_EQ(loadFiltered({"[pair]", "nothing_like_this"}, &filtered), nullptr);
  EXPECT_TRUE(filtered);
  EXPECT_TRUE(log.contains("Skipping type definition 'pair' as it has no fields after filtering by field set"));
  EXPECT_TRUE(log.contains("No types found in the schema after filtering by field set"));
  EXPECT_EQ(typeSystem_->num_schemas, 0);

  filtered = false;
  vtr_schema_t* schema = loadFiltered({"[event]", "packets"}, &filtered);
  ASSERT_NE(schema, nullptr);
  EXPECT_TRUE(filtered);
  ASSERT_EQ(schema->num_types, 1);
  const vtr_type_definition_t* event = schema->types[0];
  EXPECT_STREQ(event->name, "event");
  ASSERT_EQ(event->num_fields, 1);
  EXPECT_STREQ(event->fields[0]->field_name, "packets");
  EXPECT_EQ(event->fields[0]->offset, 16u);  // as written, not recomputed
  EXPECT_TRUE(log.contains("Skipping type definition 'pair' as it is not required by the provided field set"));
  EXPECT_TRUE(log.contains("Skipping field 'event.ts' as it is not required by the provided field set"));
}

}  // namespace
