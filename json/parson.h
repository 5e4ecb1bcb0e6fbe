/* The part of the parson JSON API that this library and its callers use, with parson's names,
 * types and semantics. Serialised text is byte-identical to parson's.
 *
 * Ownership: a value returned by a parse or init function is a root owned by the caller and is
 * freed with json_value_free (the whole subtree). Values returned by get functions are borrowed.
 * json_object_set_value and json_array_append_value take ownership only on success.
 * Serialised strings are freed with json_free_serialized_string. Typed setters and appenders
 * (json_object_set_string, json_array_append_number, ...) free the value they made when they
 * fail. A borrowed value stays valid until its entry is replaced or removed or its root freed.
 *
 * Numbers are read and written with '.' as decimal point whatever the process locale is. A value
 * may sit inside at most 2048 containers: deeper text does not parse, and a tree built deeper
 * cannot be serialised, copied or validated (those calls fail). json_set_escape_slashes is a
 * process-wide setting. */
#ifndef PARSON_H
#define PARSON_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

#define PARSON_API __attribute__((visibility("default")))

typedef struct json_object_t JSON_Object;
typedef struct json_array_t JSON_Array;
typedef struct json_value_t JSON_Value;

enum json_value_type {
  JSONError = -1,
  JSONNull = 1,
  JSONString = 2,
  JSONNumber = 3,
  JSONObject = 4,
  JSONArray = 5,
  JSONBoolean = 6
};
typedef int JSON_Value_Type;

enum json_result_t { JSONSuccess = 0, JSONFailure = -1 };
typedef int JSON_Status;

PARSON_API void json_set_escape_slashes(int escape_slashes);

PARSON_API JSON_Value* json_parse_file(const char* filename);
PARSON_API JSON_Value* json_parse_file_with_comments(const char* filename);
PARSON_API JSON_Value* json_parse_string(const char* string);
PARSON_API JSON_Value* json_parse_string_with_comments(const char* string);

PARSON_API size_t json_serialization_size(const JSON_Value* value);
PARSON_API char* json_serialize_to_string(const JSON_Value* value);
PARSON_API size_t json_serialization_size_pretty(const JSON_Value* value);
PARSON_API char* json_serialize_to_string_pretty(const JSON_Value* value);
PARSON_API JSON_Status json_serialize_to_file(const JSON_Value* value, const char* filename);
PARSON_API JSON_Status json_serialize_to_file_pretty(const JSON_Value* value, const char* filename);
PARSON_API void json_free_serialized_string(char* string);

PARSON_API JSON_Status json_validate(const JSON_Value* schema, const JSON_Value* value);

PARSON_API JSON_Value* json_object_get_value(const JSON_Object* object, const char* name);
PARSON_API const char* json_object_get_string(const JSON_Object* object, const char* name);
PARSON_API size_t json_object_get_string_len(const JSON_Object* object, const char* name);
PARSON_API JSON_Object* json_object_get_object(const JSON_Object* object, const char* name);
PARSON_API JSON_Array* json_object_get_array(const JSON_Object* object, const char* name);
PARSON_API double json_object_get_number(const JSON_Object* object, const char* name);
PARSON_API int json_object_get_boolean(const JSON_Object* object, const char* name);
PARSON_API size_t json_object_get_count(const JSON_Object* object);
PARSON_API const char* json_object_get_name(const JSON_Object* object, size_t index);
PARSON_API JSON_Value* json_object_get_value_at(const JSON_Object* object, size_t index);
PARSON_API JSON_Value* json_object_get_wrapping_value(const JSON_Object* object);
PARSON_API int json_object_has_value(const JSON_Object* object, const char* name);
PARSON_API int json_object_has_value_of_type(const JSON_Object* object, const char* name, JSON_Value_Type type);

PARSON_API JSON_Status json_object_set_value(JSON_Object* object, const char* name, JSON_Value* value);
PARSON_API JSON_Status json_object_set_string(JSON_Object* object, const char* name, const char* string);
PARSON_API JSON_Status json_object_set_number(JSON_Object* object, const char* name, double number);
PARSON_API JSON_Status json_object_set_boolean(JSON_Object* object, const char* name, int boolean);
PARSON_API JSON_Status json_object_set_null(JSON_Object* object, const char* name);
PARSON_API JSON_Status json_object_remove(JSON_Object* object, const char* name);
PARSON_API JSON_Status json_object_clear(JSON_Object* object);

PARSON_API JSON_Value* json_array_get_value(const JSON_Array* array, size_t index);
PARSON_API const char* json_array_get_string(const JSON_Array* array, size_t index);
PARSON_API JSON_Object* json_array_get_object(const JSON_Array* array, size_t index);
PARSON_API JSON_Array* json_array_get_array(const JSON_Array* array, size_t index);
PARSON_API double json_array_get_number(const JSON_Array* array, size_t index);
PARSON_API int json_array_get_boolean(const JSON_Array* array, size_t index);
PARSON_API size_t json_array_get_count(const JSON_Array* array);
PARSON_API JSON_Value* json_array_get_wrapping_value(const JSON_Array* array);

PARSON_API JSON_Status json_array_remove(JSON_Array* array, size_t index);
PARSON_API JSON_Status json_array_append_value(JSON_Array* array, JSON_Value* value);
PARSON_API JSON_Status json_array_append_string(JSON_Array* array, const char* string);
PARSON_API JSON_Status json_array_append_number(JSON_Array* array, double number);
PARSON_API JSON_Status json_array_append_boolean(JSON_Array* array, int boolean);
PARSON_API JSON_Status json_array_append_null(JSON_Array* array);
PARSON_API JSON_Status json_array_clear(JSON_Array* array);

PARSON_API JSON_Value* json_value_init_object(void);
PARSON_API JSON_Value* json_value_init_array(void);
PARSON_API JSON_Value* json_value_init_string(const char* string);
PARSON_API JSON_Value* json_value_init_number(double number);
PARSON_API JSON_Value* json_value_init_boolean(int boolean);
PARSON_API JSON_Value* json_value_init_null(void);
PARSON_API JSON_Value* json_value_deep_copy(const JSON_Value* value);
PARSON_API void json_value_free(JSON_Value* value);

PARSON_API JSON_Value_Type json_value_get_type(const JSON_Value* value);
PARSON_API JSON_Object* json_value_get_object(const JSON_Value* value);
PARSON_API JSON_Array* json_value_get_array(const JSON_Value* value);
PARSON_API const char* json_value_get_string(const JSON_Value* value);
PARSON_API size_t json_value_get_string_len(const JSON_Value* value);
PARSON_API double json_value_get_number(const JSON_Value* value);
PARSON_API int json_value_get_boolean(const JSON_Value* value);
PARSON_API JSON_Value* json_value_get_parent(const JSON_Value* value);

PARSON_API JSON_Value_Type json_type(const JSON_Value* value);
PARSON_API JSON_Object* json_object(const JSON_Value* value);
PARSON_API JSON_Array* json_array(const JSON_Value* value);
PARSON_API const char* json_string(const JSON_Value* value);
PARSON_API double json_number(const JSON_Value* value);
PARSON_API int json_boolean(const JSON_Value* value);

#ifdef __cplusplus
}
#endif

#endif
