#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "src/data/schema_json.h"
#include "support/fake_ipmitool.h"
#include "tests/data/data_test_support.h"

using namespace data_test;

namespace {

constexpr const char* kDemoSchemaId = "6c9be2b72d4f917b3ae83f929bd5c3a3";

class SchemaJsonTest : public ::testing::Test {
 protected:
  vtr::test::LogRecorder log;
};

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
