#include "src/data/counters_schema.h"

#include <stdlib.h>

#include "src/data/owners.h"

namespace {

constexpr const char* kCounterGroupsKey = "counter_groups";

vtr_counters_schema_t* counters_holding(vtr::data::JsonPtr groups) {
  if (!groups) return nullptr;
  auto* counters = static_cast<vtr_counters_schema_t*>(calloc(1, sizeof(vtr_counters_schema_t)));
  if (counters) counters->counter_groups = groups.release();
  return counters;
}

}  // namespace

vtr_counters_schema_t* vtr_create_counters_schema(void) {
  return counters_holding(vtr::data::JsonPtr(json_value_init_array()));
}

void vtr_destroy_counters_schema(vtr_counters_schema_t* counters) {
  if (!counters) return;
  json_value_free(counters->counter_groups);
  free(counters);
}

uint32_t vtr_counters_schema_record_size(const vtr_counters_schema_t*) { return 0; }

JSON_Value* vtr_counters_schema_jsonify(const vtr_counters_schema_t* counters) {
  if (!counters) return nullptr;
  vtr::data::JsonPtr json(json_value_init_object());
  if (!json ||
      !vtr::data::set_owned(json_value_get_object(json.get()), kCounterGroupsKey,
                            vtr::data::JsonPtr(json_value_deep_copy(counters->counter_groups))))
    return nullptr;
  return json.release();
}

vtr_counters_schema_t* vtr_counters_schema_from_json(const JSON_Value* json) {
  const JSON_Object* object = json_value_get_object(json);
  if (!object) return nullptr;
  const JSON_Value* groups = json_object_get_value(object, kCounterGroupsKey);
  if (!groups) return vtr_create_counters_schema();
  return counters_holding(vtr::data::JsonPtr(json_value_deep_copy(groups)));
}
