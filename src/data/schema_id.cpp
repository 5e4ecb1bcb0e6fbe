#include "src/data/schema_id.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

// Schema ids are MD5 digests computed through the classic MD5_* calls, which OpenSSL 3 marks
// deprecated; the digest is an identity, not a security measure.
#define OPENSSL_SUPPRESS_DEPRECATED
#include <openssl/md5.h>

#include "src/data/owners.h"

static_assert(MD5_DIGEST_LENGTH == VTR_SCHEMA_ID_SIZE, "schema ids are MD5 digests");

namespace {

constexpr char kBlobSchemaId[VTR_SCHEMA_ID_SIZE] = {'B', 'L', 'O', 'B', '_', 'D', 'A', 'T',
                                                    'A', '_', 'S', 'C', 'H', 'E', 'M', 'A'};

int hex_digit_value(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

bool digest_text(const char* text, uint8_t* out_id) {
  MD5_CTX context;
  if (!MD5_Init(&context) || !MD5_Update(&context, text, strlen(text))) return false;
  return MD5_Final(out_id, &context) == 1;
}

}  // namespace

bool vtr_schema_id_is_unset(const uint8_t* id) {
  for (int i = 0; i < VTR_SCHEMA_ID_SIZE; ++i)
    if (id[i] != 0) return false;
  return true;
}

void vtr_copy_schema_id(uint8_t* target, const uint8_t* source) { memcpy(target, source, VTR_SCHEMA_ID_SIZE); }

void vtr_reset_schema_id(uint8_t* id) { memset(id, 0, VTR_SCHEMA_ID_SIZE); }

int vtr_compare_schema_id(const uint8_t* a, const uint8_t* b) { return memcmp(a, b, VTR_SCHEMA_ID_SIZE); }

char* vtr_schema_id_string(const uint8_t* id) {
  char* text = static_cast<char*>(malloc(VTR_SCHEMA_ID_STRING_SIZE));
  if (text) vtr_schema_id_to_schema_string(id, text);
  return text;
}

void vtr_schema_id_to_schema_string(const uint8_t* id, char* out) {
  for (int i = 0; i < VTR_SCHEMA_ID_SIZE; ++i) snprintf(out + 2 * i, 3, "%02x", id[i]);
}

bool vtr_schema_from_id_string(const char* text, uint8_t* out_id) {
  if (!text || !out_id || strlen(text) != 2 * VTR_SCHEMA_ID_SIZE) return false;
  uint8_t id[VTR_SCHEMA_ID_SIZE];
  for (int i = 0; i < VTR_SCHEMA_ID_SIZE; ++i) {
    int high = hex_digit_value(text[2 * i]);
    int low = hex_digit_value(text[2 * i + 1]);
    if (high < 0 || low < 0) return false;
    id[i] = static_cast<uint8_t>(high << 4 | low);
  }
  memcpy(out_id, id, sizeof id);
  return true;
}

bool vtr_schema_id_is_blob(const uint8_t* id) { return memcmp(id, kBlobSchemaId, VTR_SCHEMA_ID_SIZE) == 0; }

void vtr_schema_id_set_blob(uint8_t* id) { memcpy(id, kBlobSchemaId, VTR_SCHEMA_ID_SIZE); }

bool vtr_get_schema_id_from_pretty_json_string(const char* text, uint8_t* out_id) {
  if (!text || !out_id) return false;
  return digest_text(text, out_id);
}

bool vtr_type_system_get_json_schema_id(uint8_t* out_id, const JSON_Value* json) {
  vtr::data::JsonTextPtr text(json_serialize_to_string_pretty(json));
  return vtr_get_schema_id_from_pretty_json_string(text.get(), out_id);
}
