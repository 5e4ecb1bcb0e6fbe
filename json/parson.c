/* The parson API of parson.h: values, parsing, validation against templates and serialisation.
 *
 * Deliberate differences from parson, none of which change the text of a serialised value:
 * - Numbers are read and written in the "C" numeric convention whatever locale the host set
 *   (parson follows LC_NUMERIC and needs it left at "C").
 * - Every walk over a tree is bounded by the parse nesting limit instead of the stack: a tree
 *   built deeper than that cannot be serialised, copied or validated (failure, not a crash),
 *   and json_value_free needs no recursion at all.
 * - Attaching a value below itself (which would make a cycle) fails like any other misuse.
 * - An unterminated comment in the *_with_comments variants runs to the end of the text. */
#define _POSIX_C_SOURCE 200809L

#include "parson.h"

#include <locale.h>
#include <math.h>
#include <stdatomic.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

/* A value may sit inside at most this many containers. */
enum { MAX_NESTING = 2048 };

#define NOT_FOUND SIZE_MAX

typedef struct {
  char* name;
  JSON_Value* value;
} member_t;

struct json_value_t {
  JSON_Value* parent;
  JSON_Value_Type type;
  union {
    struct {
      char* chars; /* always NUL-terminated; may hold NULs before `length` */
      size_t length;
    } string;
    double number;
    int boolean;
    JSON_Object* object;
    JSON_Array* array;
  } as;
};

/* Members stay in insertion order; `slots` is an open-addressing index over them (entry =
 * member position + 1, 0 = empty), at most half full, so large objects look up in O(1). */
struct json_object_t {
  JSON_Value* wrapping_value;
  member_t* members;
  size_t count;
  size_t capacity;
  size_t* slots;
  size_t slot_mask; /* slot count - 1; meaningless while slots is NULL */
};

struct json_array_t {
  JSON_Value* wrapping_value;
  JSON_Value** items;
  size_t count;
  size_t capacity;
};

static atomic_int escape_slashes_setting = 1;

/* ---- memory ---------------------------------------------------------------------------- */

/* Returns `items` reallocated to hold at least `needed` elements (doubling), or NULL when that
 * fails, in which case `items` is untouched and still owned by the caller. */
static void* reserve(void* items, size_t* capacity, size_t needed, size_t item_size) {
  if (needed <= *capacity) {
    return items;
  }
  size_t grown = *capacity ? *capacity : 4;
  while (grown < needed) {
    if (grown > SIZE_MAX / 2) {
      return NULL;
    }
    grown *= 2;
  }
  if (grown > SIZE_MAX / item_size) {
    return NULL;
  }
  void* moved = realloc(items, grown * item_size);
  if (moved) {
    *capacity = grown;
  }
  return moved;
}

static char* copy_bytes(const char* bytes, size_t length) {
  char* copy = malloc(length + 1);
  if (copy) {
    memcpy(copy, bytes, length);
    copy[length] = '\0';
  }
  return copy;
}

/* ---- locale-independent numbers --------------------------------------------------------- */

static locale_t c_numeric_locale(void) {
  static _Atomic(locale_t) cached;
  locale_t known = atomic_load(&cached);
  if (known) {
    return known;
  }
  locale_t fresh = newlocale(LC_NUMERIC_MASK, "C", (locale_t)0);
  if (!fresh) {
    return (locale_t)0;
  }
  locale_t expected = (locale_t)0;
  if (!atomic_compare_exchange_strong(&cached, &expected, fresh)) {
    freelocale(fresh);
    return expected;
  }
  return fresh;
}

/* Switches this thread to the "C" numeric convention; returns what to restore. */
static locale_t enter_c_numeric(void) {
  locale_t c_locale = c_numeric_locale();
  return c_locale ? uselocale(c_locale) : (locale_t)0;
}

static void leave_c_numeric(locale_t previous) {
  if (previous) {
    uselocale(previous);
  }
}

/* ---- UTF-8 ------------------------------------------------------------------------------ */

/* Length of the well-formed UTF-8 sequence at `s`, or 0 for an overlong form, a surrogate, a
 * code point above U+10FFFF, a stray continuation byte or a truncated sequence. */
static size_t utf8_sequence_length(const unsigned char* s, size_t remaining) {
  size_t length;
  uint32_t code_point;
  uint32_t minimum;
  if (s[0] < 0x80) {
    return 1;
  } else if ((s[0] & 0xE0) == 0xC0) {
    length = 2, code_point = s[0] & 0x1F, minimum = 0x80;
  } else if ((s[0] & 0xF0) == 0xE0) {
    length = 3, code_point = s[0] & 0x0F, minimum = 0x800;
  } else if ((s[0] & 0xF8) == 0xF0) {
    length = 4, code_point = s[0] & 0x07, minimum = 0x10000;
  } else {
    return 0;
  }
  if (length > remaining) {
    return 0;
  }
  for (size_t i = 1; i < length; i++) {
    if ((s[i] & 0xC0) != 0x80) {
      return 0;
    }
    code_point = (code_point << 6) | (s[i] & 0x3F);
  }
  if (code_point < minimum || code_point > 0x10FFFF ||
      (code_point >= 0xD800 && code_point <= 0xDFFF)) {
    return 0;
  }
  return length;
}

static int is_valid_utf8(const char* text, size_t length) {
  const unsigned char* s = (const unsigned char*)text;
  while (length > 0) {
    size_t step = utf8_sequence_length(s, length);
    if (step == 0) {
      return 0;
    }
    s += step;
    length -= step;
  }
  return 1;
}

static size_t encode_utf8(uint32_t code_point, char* out) {
  if (code_point < 0x80) {
    out[0] = (char)code_point;
    return 1;
  }
  if (code_point < 0x800) {
    out[0] = (char)(0xC0 | (code_point >> 6));
    out[1] = (char)(0x80 | (code_point & 0x3F));
    return 2;
  }
  if (code_point < 0x10000) {
    out[0] = (char)(0xE0 | (code_point >> 12));
    out[1] = (char)(0x80 | ((code_point >> 6) & 0x3F));
    out[2] = (char)(0x80 | (code_point & 0x3F));
    return 3;
  }
  out[0] = (char)(0xF0 | (code_point >> 18));
  out[1] = (char)(0x80 | ((code_point >> 12) & 0x3F));
  out[2] = (char)(0x80 | ((code_point >> 6) & 0x3F));
  out[3] = (char)(0x80 | (code_point & 0x3F));
  return 4;
}

/* ---- values ----------------------------------------------------------------------------- */

static JSON_Value* new_value(JSON_Value_Type type) {
  JSON_Value* value = calloc(1, sizeof *value);
  if (value) {
    value->type = type;
  }
  return value;
}

/* Wraps `chars` (taking ownership only on success) in a string value. */
static JSON_Value* wrap_string(char* chars, size_t length) {
  JSON_Value* value = new_value(JSONString);
  if (value) {
    value->as.string.chars = chars;
    value->as.string.length = length;
  }
  return value;
}

static JSON_Value* make_string(const char* bytes, size_t length) {
  char* chars = copy_bytes(bytes, length);
  JSON_Value* value = chars ? wrap_string(chars, length) : NULL;
  if (!value) {
    free(chars);
  }
  return value;
}

/* Detaches and returns the last child of a container, or NULL when there is none. */
static JSON_Value* detach_last_child(JSON_Value* value) {
  if (value->type == JSONObject && value->as.object->count > 0) {
    member_t last = value->as.object->members[--value->as.object->count];
    free(last.name);
    return last.value;
  }
  if (value->type == JSONArray && value->as.array->count > 0) {
    return value->as.array->items[--value->as.array->count];
  }
  return NULL;
}

/* Frees one value whose children are already gone. */
static void free_node(JSON_Value* value) {
  if (value->type == JSONObject) {
    free(value->as.object->members);
    free(value->as.object->slots);
    free(value->as.object);
  } else if (value->type == JSONArray) {
    free(value->as.array->items);
    free(value->as.array);
  } else if (value->type == JSONString) {
    free(value->as.string.chars);
  }
  free(value);
}

/* Depth-first without recursion: descend into the last child until a leaf, free it, go up. */
void json_value_free(JSON_Value* value) {
  JSON_Value* current = value;
  while (current) {
    JSON_Value* child = detach_last_child(current);
    if (child) {
      current = child;
      continue;
    }
    JSON_Value* up = current == value ? NULL : current->parent;
    free_node(current);
    current = up;
  }
}

/* True when `value` is `node` or one of its ancestors: attaching it below `node` would make a
 * cycle. */
static int is_ancestor_or_self(const JSON_Value* value, const JSON_Value* node) {
  for (; node; node = node->parent) {
    if (node == value) {
      return 1;
    }
  }
  return 0;
}

/* Only a container can hold the place it is attached to, so scalars skip the upward walk. */
static int can_adopt(const JSON_Value* container, const JSON_Value* value) {
  return value && !value->parent &&
         ((value->type != JSONObject && value->type != JSONArray) ||
          !is_ancestor_or_self(value, container));
}

JSON_Value* json_value_init_object(void) {
  JSON_Value* value = new_value(JSONObject);
  JSON_Object* object = value ? calloc(1, sizeof *object) : NULL;
  if (!object) {
    free(value);
    return NULL;
  }
  object->wrapping_value = value;
  value->as.object = object;
  return value;
}

JSON_Value* json_value_init_array(void) {
  JSON_Value* value = new_value(JSONArray);
  JSON_Array* array = value ? calloc(1, sizeof *array) : NULL;
  if (!array) {
    free(value);
    return NULL;
  }
  array->wrapping_value = value;
  value->as.array = array;
  return value;
}

JSON_Value* json_value_init_string(const char* string) {
  if (!string) {
    return NULL;
  }
  size_t length = strlen(string);
  return is_valid_utf8(string, length) ? make_string(string, length) : NULL;
}

JSON_Value* json_value_init_number(double number) {
  if (!isfinite(number)) {
    return NULL;
  }
  JSON_Value* value = new_value(JSONNumber);
  if (value) {
    value->as.number = number;
  }
  return value;
}

JSON_Value* json_value_init_boolean(int boolean) {
  JSON_Value* value = new_value(JSONBoolean);
  if (value) {
    value->as.boolean = boolean ? 1 : 0;
  }
  return value;
}

JSON_Value* json_value_init_null(void) {
  return new_value(JSONNull);
}

/* ---- object members --------------------------------------------------------------------- */

static size_t hash_name(const char* name) {
  uint64_t hash = 14695981039346656037u; /* FNV-1a */
  for (const unsigned char* p = (const unsigned char*)name; *p; p++) {
    hash = (hash ^ *p) * 1099511628211u;
  }
  return (size_t)hash;
}

/* The slot holding `name`, or the empty slot where it belongs. Needs an index. */
static size_t find_slot(const JSON_Object* object, const char* name) {
  size_t slot = hash_name(name) & object->slot_mask;
  while (object->slots[slot] && strcmp(object->members[object->slots[slot] - 1].name, name) != 0) {
    slot = (slot + 1) & object->slot_mask;
  }
  return slot;
}

static size_t member_position(const JSON_Object* object, const char* name) {
  if (!object->slots) {
    return NOT_FOUND;
  }
  size_t entry = object->slots[find_slot(object, name)];
  return entry ? entry - 1 : NOT_FOUND;
}

static int rebuild_index(JSON_Object* object, size_t slot_count) {
  size_t* slots = calloc(slot_count, sizeof *slots);
  if (!slots) {
    return 0;
  }
  free(object->slots);
  object->slots = slots;
  object->slot_mask = slot_count - 1;
  for (size_t i = 0; i < object->count; i++) {
    slots[find_slot(object, object->members[i].name)] = i + 1;
  }
  return 1;
}

/* Keeps the index at most half full with one more member. */
static int reserve_index(JSON_Object* object) {
  size_t slot_count = object->slots ? object->slot_mask + 1 : 0;
  if (object->count >= SIZE_MAX / 4) {
    return 0;
  }
  size_t needed = (object->count + 1) * 2;
  if (needed <= slot_count) {
    return 1;
  }
  size_t grown = slot_count ? slot_count : 8;
  while (grown < needed) {
    grown *= 2;
  }
  return grown <= SIZE_MAX / sizeof(size_t) && rebuild_index(object, grown);
}

/* Appends a member whose name is not present yet; takes `name` and `value` only on success. */
static int append_member(JSON_Object* object, char* name, JSON_Value* value) {
  member_t* members =
      reserve(object->members, &object->capacity, object->count + 1, sizeof *members);
  if (!members) {
    return 0;
  }
  object->members = members;
  if (!reserve_index(object)) {
    return 0;
  }
  object->slots[find_slot(object, name)] = object->count + 1;
  members[object->count++] = (member_t){name, value};
  value->parent = object->wrapping_value;
  return 1;
}

/* Empties `hole` and shifts later entries of its probe run back so every lookup still finds
 * them. */
static void unlink_slot(JSON_Object* object, size_t hole) {
  size_t mask = object->slot_mask;
  for (size_t next = (hole + 1) & mask; object->slots[next]; next = (next + 1) & mask) {
    size_t home = hash_name(object->members[object->slots[next] - 1].name) & mask;
    if (((next - home) & mask) >= ((next - hole) & mask)) {
      object->slots[hole] = object->slots[next];
      hole = next;
    }
  }
  object->slots[hole] = 0;
}

/* Frees the member at `position`; the last member moves into its place. */
static void remove_member_at(JSON_Object* object, size_t position) {
  member_t removed = object->members[position];
  unlink_slot(object, find_slot(object, removed.name));
  size_t last = object->count - 1;
  if (position != last) {
    object->members[position] = object->members[last];
    object->slots[find_slot(object, object->members[position].name)] = position + 1;
  }
  object->count--;
  free(removed.name);
  json_value_free(removed.value);
}

static int append_item(JSON_Array* array, JSON_Value* value) {
  JSON_Value** items = reserve(array->items, &array->capacity, array->count + 1, sizeof *items);
  if (!items) {
    return 0;
  }
  array->items = items;
  items[array->count++] = value;
  value->parent = array->wrapping_value;
  return 1;
}

/* ---- parsing ---------------------------------------------------------------------------- */

/* Simple escapes, as letter after the backslash and the byte it stands for. */
static const char ESCAPE_LETTERS[] = "\"\\/bfnrt";
static const char ESCAPED_BYTES[] = "\"\\/\b\f\n\r\t";

static int is_space(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

static void skip_whitespace(const char** text) {
  while (is_space(**text)) {
    ++*text;
  }
}

/* Skips whitespace and then `expected`; 0 when something else comes. */
static int skip_past(const char** text, char expected) {
  skip_whitespace(text);
  if (**text != expected) {
    return 0;
  }
  ++*text;
  return 1;
}

static int hex_digit(char c) {
  if (c >= '0' && c <= '9') {
    return c - '0';
  }
  if (c >= 'a' && c <= 'f') {
    return c - 'a' + 10;
  }
  if (c >= 'A' && c <= 'F') {
    return c - 'A' + 10;
  }
  return -1;
}

static int read_hex4(const char* in, const char* end, uint32_t* out) {
  if (end - in < 4) {
    return 0;
  }
  uint32_t result = 0;
  for (int i = 0; i < 4; i++) {
    int digit = hex_digit(in[i]);
    if (digit < 0) {
      return 0;
    }
    result = (result << 4) | (uint32_t)digit;
  }
  *out = result;
  return 1;
}

/* Decodes the XXXX of a \uXXXX escape at *in (and the low half of a surrogate pair after it)
 * into UTF-8 at *out. */
static int decode_unicode_escape(const char** in, const char* end, char** out) {
  uint32_t code_point;
  if (!read_hex4(*in, end, &code_point) || (code_point >= 0xDC00 && code_point <= 0xDFFF)) {
    return 0;
  }
  *in += 4;
  if (code_point >= 0xD800 && code_point <= 0xDBFF) {
    uint32_t low;
    if (end - *in < 6 || (*in)[0] != '\\' || (*in)[1] != 'u' || !read_hex4(*in + 2, end, &low) ||
        low < 0xDC00 || low > 0xDFFF) {
      return 0;
    }
    *in += 6;
    code_point = 0x10000 + ((code_point - 0xD800) << 10) + (low - 0xDC00);
  }
  *out += encode_utf8(code_point, *out);
  return 1;
}

/* Decodes the body of a string literal (between the quotes) into `out`, which has room for
 * at least end - in + 1 bytes: no escape decodes to more bytes than it takes. */
static int decode_string(const char* in, const char* end, char* out, size_t* length) {
  char* start = out;
  while (in < end) {
    char c = *in++;
    if ((unsigned char)c < 0x20) {
      return 0;
    }
    if (c != '\\') {
      *out++ = c;
      continue;
    }
    c = *in++; /* never `end`: a backslash there would have escaped the closing quote */
    const char* letter = strchr(ESCAPE_LETTERS, c);
    if (c != '\0' && letter) {
      *out++ = ESCAPED_BYTES[letter - ESCAPE_LETTERS];
    } else if (c != 'u' || !decode_unicode_escape(&in, end, &out)) {
      return 0;
    }
  }
  *out = '\0';
  *length = (size_t)(out - start);
  return 1;
}

static const char* find_closing_quote(const char* s) {
  for (; *s != '"'; s++) {
    if (*s == '\0' || (*s == '\\' && *++s == '\0')) {
      return NULL;
    }
  }
  return s;
}

/* Reads the string literal at *text; returns its decoded bytes (NUL-terminated, *length not
 * counting the terminator) or NULL when it is malformed. */
static char* parse_quoted(const char** text, size_t* length) {
  if (**text != '"') {
    return NULL;
  }
  const char* body = *text + 1;
  const char* end = find_closing_quote(body);
  char* decoded = end ? malloc((size_t)(end - body) + 1) : NULL;
  if (!decoded || !decode_string(body, end, decoded, length)) {
    free(decoded);
    return NULL;
  }
  *text = end + 1;
  return decoded;
}

static JSON_Value* parse_string_value(const char** text) {
  size_t length;
  char* chars = parse_quoted(text, &length);
  JSON_Value* value = chars ? wrap_string(chars, length) : NULL;
  if (!value) {
    free(chars);
  }
  return value;
}

/* strtod reads the number; the span it took is refused when it has a leading zero followed by
 * anything but '.', or a hexadecimal marker. */
static int is_decimal_span(const char* s, size_t length) {
  if (length > 1 && s[0] == '0' && s[1] != '.') {
    return 0;
  }
  if (length > 2 && s[0] == '-' && s[1] == '0' && s[2] != '.') {
    return 0;
  }
  return !memchr(s, 'x', length) && !memchr(s, 'X', length);
}

static JSON_Value* parse_number(const char** text) {
  char* end;
  double number = strtod(*text, &end);
  if (!is_decimal_span(*text, (size_t)(end - *text))) {
    return NULL;
  }
  *text = end;
  return json_value_init_number(number); /* refuses the infinity of an overflow */
}

static int consume_literal(const char** text, const char* literal) {
  size_t length = strlen(literal);
  if (strncmp(*text, literal, length) != 0) {
    return 0;
  }
  *text += length;
  return 1;
}

static JSON_Value* parse_value(const char** text, size_t nesting);

typedef int (*item_parser)(const char** text, JSON_Value* container, size_t nesting);

static int parse_member(const char** text, JSON_Value* container, size_t nesting) {
  JSON_Object* object = container->as.object;
  size_t length;
  char* name = parse_quoted(text, &length);
  JSON_Value* value = NULL;
  if (name && strlen(name) == length && member_position(object, name) == NOT_FOUND &&
      skip_past(text, ':')) {
    value = parse_value(text, nesting + 1);
  }
  if (value && append_member(object, name, value)) {
    return 1;
  }
  free(name);
  json_value_free(value);
  return 0;
}

static int parse_element(const char** text, JSON_Value* container, size_t nesting) {
  JSON_Value* value = parse_value(text, nesting + 1);
  if (value && append_item(container->as.array, value)) {
    return 1;
  }
  json_value_free(value);
  return 0;
}

/* Items separated by commas, one trailing comma allowed; stops before what should be `closer`.
 * 0 when an item is malformed. */
static int parse_items(const char** text, JSON_Value* container, char closer,
                       item_parser parse_item, size_t nesting) {
  skip_whitespace(text);
  if (**text == closer) {
    return 1;
  }
  for (;;) {
    if (!parse_item(text, container, nesting)) {
      return 0;
    }
    if (!skip_past(text, ',')) {
      return 1; /* the caller checks for `closer` */
    }
    skip_whitespace(text);
    if (**text == closer) {
      return 1;
    }
  }
}

static JSON_Value* parse_container(const char** text, JSON_Value* container, char closer,
                                   item_parser parse_item, size_t nesting) {
  if (!container) {
    return NULL;
  }
  ++*text;
  if (!parse_items(text, container, closer, parse_item, nesting) || **text != closer) {
    json_value_free(container);
    return NULL;
  }
  ++*text;
  return container;
}

static JSON_Value* parse_value(const char** text, size_t nesting) {
  if (nesting > MAX_NESTING) {
    return NULL;
  }
  skip_whitespace(text);
  switch (**text) {
    case '{':
      return parse_container(text, json_value_init_object(), '}', parse_member, nesting);
    case '[':
      return parse_container(text, json_value_init_array(), ']', parse_element, nesting);
    case '"':
      return parse_string_value(text);
    case 't':
      return consume_literal(text, "true") ? json_value_init_boolean(1) : NULL;
    case 'f':
      return consume_literal(text, "false") ? json_value_init_boolean(0) : NULL;
    case 'n':
      return consume_literal(text, "null") ? json_value_init_null() : NULL;
    default:
      if (**text == '-' || (**text >= '0' && **text <= '9')) {
        return parse_number(text);
      }
      return NULL;
  }
}

/* Parses the first value of `text`; whatever follows it is ignored. */
static JSON_Value* parse_document(const char* text) {
  locale_t previous = enter_c_numeric();
  JSON_Value* value = parse_value(&text, 0);
  leave_c_numeric(previous);
  return value;
}

/* Blanks the comment starting at `start` through its end marker (or the end of the text);
 * returns where scanning goes on. */
static char* blank_comment(char* start) {
  const char* end_marker = start[1] == '*' ? "*/" : "\n";
  char* end = strstr(start + 2, end_marker);
  end = end ? end + strlen(end_marker) : start + strlen(start);
  memset(start, ' ', (size_t)(end - start));
  return end;
}

static void blank_comments(char* text) {
  int in_string = 0;
  char* p = text;
  while (*p) {
    if (in_string) {
      if (*p == '\\' && p[1]) {
        p++;
      } else if (*p == '"') {
        in_string = 0;
      }
    } else if (*p == '"') {
      in_string = 1;
    } else if (p[0] == '/' && (p[1] == '*' || p[1] == '/')) {
      p = blank_comment(p);
      continue;
    }
    p++;
  }
}

static int starts_with_bom(const char* text) {
  return strncmp(text, "\xEF\xBB\xBF", 3) == 0;
}

JSON_Value* json_parse_string(const char* string) {
  if (!string) {
    return NULL;
  }
  return parse_document(starts_with_bom(string) ? string + 3 : string);
}

JSON_Value* json_parse_string_with_comments(const char* string) {
  char* copy = string ? copy_bytes(string, strlen(string)) : NULL;
  if (!copy) {
    return NULL;
  }
  blank_comments(copy);
  JSON_Value* value = parse_document(copy);
  free(copy);
  return value;
}

/* The whole file as a NUL-terminated text, or NULL when it cannot be read or is empty. */
static char* read_file(const char* filename) {
  FILE* file = filename ? fopen(filename, "r") : NULL;
  if (!file) {
    return NULL;
  }
  enum { CHUNK = 65536 };
  char* text = NULL;
  size_t length = 0;
  size_t capacity = 0;
  int complete = 0;
  while (!complete) {
    char* grown = reserve(text, &capacity, length + CHUNK + 1, 1);
    if (!grown) {
      break;
    }
    text = grown;
    size_t got = fread(text + length, 1, CHUNK, file);
    length += got;
    complete = got < CHUNK;
  }
  int failed = !complete || ferror(file) || length == 0;
  fclose(file);
  if (failed) {
    free(text);
    return NULL;
  }
  text[length] = '\0';
  return text;
}

static JSON_Value* parse_file(const char* filename, JSON_Value* (*parse)(const char*)) {
  char* text = read_file(filename);
  JSON_Value* value = text ? parse(text) : NULL;
  free(text);
  return value;
}

JSON_Value* json_parse_file(const char* filename) {
  return parse_file(filename, json_parse_string);
}

JSON_Value* json_parse_file_with_comments(const char* filename) {
  return parse_file(filename, json_parse_string_with_comments);
}

/* ---- serialisation ---------------------------------------------------------------------- */

/* Writes into `buffer`, or only counts while it is NULL: the size pass and the write pass run
 * the same code, so they cannot disagree. */
typedef struct {
  char* buffer;
  size_t capacity;
  size_t length;
  int failed;
  int pretty;
  int escape_slashes;
} writer_t;

static void put(writer_t* w, const char* bytes, size_t count) {
  if (w->failed || count > SIZE_MAX - 1 - w->length ||
      (w->buffer && w->length + count > w->capacity)) {
    w->failed = 1;
    return;
  }
  if (w->buffer) {
    memcpy(w->buffer + w->length, bytes, count);
  }
  w->length += count;
}

static void put_text(writer_t* w, const char* text) {
  put(w, text, strlen(text));
}

static void put_line_break(writer_t* w, size_t depth) {
  if (w->pretty) {
    put(w, "\n", 1);
    for (size_t i = 0; i < depth; i++) {
      put(w, "    ", 4);
    }
  }
}

/* The escape sequence for byte `c` into `out`, or 0 when it is written raw. */
static size_t escape_byte(const writer_t* w, unsigned char c, char out[6]) {
  static const char HEX[] = "0123456789abcdef";
  if (c == '/' && !w->escape_slashes) {
    return 0;
  }
  const char* letter = c ? memchr(ESCAPED_BYTES, c, sizeof ESCAPED_BYTES - 1) : NULL;
  if (letter) {
    out[0] = '\\';
    out[1] = ESCAPE_LETTERS[letter - ESCAPED_BYTES];
    return 2;
  }
  if (c < 0x20) {
    memcpy(out, "\\u00", 4);
    out[4] = HEX[c >> 4];
    out[5] = HEX[c & 0xF];
    return 6;
  }
  return 0;
}

static void write_string(writer_t* w, const char* chars, size_t length) {
  put(w, "\"", 1);
  size_t raw_from = 0;
  for (size_t i = 0; i < length; i++) {
    char escape[6];
    size_t escape_length = escape_byte(w, (unsigned char)chars[i], escape);
    if (escape_length) {
      put(w, chars + raw_from, i - raw_from);
      put(w, escape, escape_length);
      raw_from = i + 1;
    }
  }
  put(w, chars + raw_from, length - raw_from);
  put(w, "\"", 1);
}

static void write_number(writer_t* w, double number) {
  char text[32];
  int length = snprintf(text, sizeof text, "%1.17g", number);
  if (length < 0 || (size_t)length >= sizeof text) {
    w->failed = 1;
    return;
  }
  put(w, text, (size_t)length);
}

static void write_value(writer_t* w, const JSON_Value* value, size_t depth);

static void write_container(writer_t* w, const JSON_Value* value, size_t depth) {
  const JSON_Object* object = value->type == JSONObject ? value->as.object : NULL;
  size_t count = object ? object->count : value->as.array->count;
  put(w, object ? "{" : "[", 1);
  for (size_t i = 0; i < count && !w->failed; i++) {
    put_line_break(w, depth + 1);
    if (object) {
      write_string(w, object->members[i].name, strlen(object->members[i].name));
      put_text(w, w->pretty ? ": " : ":");
    }
    write_value(w, object ? object->members[i].value : value->as.array->items[i], depth + 1);
    if (i + 1 < count) {
      put(w, ",", 1);
    }
  }
  if (count) {
    put_line_break(w, depth);
  }
  put(w, object ? "}" : "]", 1);
}

static void write_value(writer_t* w, const JSON_Value* value, size_t depth) {
  if (depth > MAX_NESTING) {
    w->failed = 1;
    return;
  }
  switch (value->type) {
    case JSONNull:
      put_text(w, "null");
      break;
    case JSONBoolean:
      put_text(w, value->as.boolean ? "true" : "false");
      break;
    case JSONNumber:
      write_number(w, value->as.number);
      break;
    case JSONString:
      write_string(w, value->as.string.chars, value->as.string.length);
      break;
    default:
      write_container(w, value, depth);
      break;
  }
}

static void run_writer(writer_t* w, const JSON_Value* value) {
  locale_t previous = enter_c_numeric();
  write_value(w, value, 0);
  leave_c_numeric(previous);
}

/* Bytes of the text including its terminator, or 0 when it cannot be written. */
static size_t measure(const JSON_Value* value, int pretty, int escape_slashes) {
  if (!value) {
    return 0;
  }
  writer_t w = {NULL, 0, 0, 0, pretty, escape_slashes};
  run_writer(&w, value);
  return w.failed ? 0 : w.length + 1;
}

static char* serialize(const JSON_Value* value, int pretty) {
  int escape_slashes = atomic_load(&escape_slashes_setting);
  size_t size = measure(value, pretty, escape_slashes);
  char* buffer = size ? malloc(size) : NULL;
  if (!buffer) {
    return NULL;
  }
  writer_t w = {buffer, size - 1, 0, 0, pretty, escape_slashes};
  run_writer(&w, value);
  if (w.failed) {
    free(buffer);
    return NULL;
  }
  buffer[w.length] = '\0';
  return buffer;
}

static JSON_Status serialize_to_file(const JSON_Value* value, const char* filename, int pretty) {
  char* text = serialize(value, pretty);
  FILE* file = text && filename ? fopen(filename, "w") : NULL;
  JSON_Status status = JSONFailure;
  if (file) {
    int written = fputs(text, file) != EOF;
    status = fclose(file) == 0 && written ? JSONSuccess : JSONFailure;
  }
  free(text);
  return status;
}

void json_set_escape_slashes(int escape_slashes) {
  atomic_store(&escape_slashes_setting, escape_slashes != 0);
}

size_t json_serialization_size(const JSON_Value* value) {
  return measure(value, 0, atomic_load(&escape_slashes_setting));
}

size_t json_serialization_size_pretty(const JSON_Value* value) {
  return measure(value, 1, atomic_load(&escape_slashes_setting));
}

char* json_serialize_to_string(const JSON_Value* value) {
  return serialize(value, 0);
}

char* json_serialize_to_string_pretty(const JSON_Value* value) {
  return serialize(value, 1);
}

JSON_Status json_serialize_to_file(const JSON_Value* value, const char* filename) {
  return serialize_to_file(value, filename, 0);
}

JSON_Status json_serialize_to_file_pretty(const JSON_Value* value, const char* filename) {
  return serialize_to_file(value, filename, 1);
}

void json_free_serialized_string(char* string) {
  free(string);
}

/* ---- validation and copies -------------------------------------------------------------- */

static JSON_Status validate(const JSON_Value* schema, const JSON_Value* value, size_t depth) {
  if (depth > MAX_NESTING) {
    return JSONFailure;
  }
  if (schema->type == JSONNull) {
    return JSONSuccess;
  }
  if (schema->type != value->type) {
    return JSONFailure;
  }
  if (schema->type == JSONObject) {
    const JSON_Object* required = schema->as.object;
    for (size_t i = 0; i < required->count; i++) {
      const JSON_Value* member = json_object_get_value(value->as.object, required->members[i].name);
      if (!member || validate(required->members[i].value, member, depth + 1) != JSONSuccess) {
        return JSONFailure;
      }
    }
  } else if (schema->type == JSONArray && schema->as.array->count > 0) {
    const JSON_Value* element_template = schema->as.array->items[0];
    for (size_t i = 0; i < value->as.array->count; i++) {
      if (validate(element_template, value->as.array->items[i], depth + 1) != JSONSuccess) {
        return JSONFailure;
      }
    }
  }
  return JSONSuccess;
}

JSON_Status json_validate(const JSON_Value* schema, const JSON_Value* value) {
  return schema && value ? validate(schema, value, 0) : JSONFailure;
}

static JSON_Value* copy_value(const JSON_Value* value, size_t depth);

/* Copies every child of `from` into the empty container `to`; 0 on any failure. */
static int copy_children(const JSON_Value* from, JSON_Value* to, size_t depth) {
  int is_object = from->type == JSONObject;
  size_t count = is_object ? from->as.object->count : from->as.array->count;
  for (size_t i = 0; i < count; i++) {
    const member_t* member = is_object ? &from->as.object->members[i] : NULL;
    JSON_Value* child = copy_value(member ? member->value : from->as.array->items[i], depth + 1);
    char* name = member && child ? copy_bytes(member->name, strlen(member->name)) : NULL;
    int attached = child && (is_object ? name && append_member(to->as.object, name, child)
                                       : append_item(to->as.array, child));
    if (!attached) {
      free(name);
      json_value_free(child);
      return 0;
    }
  }
  return 1;
}

static JSON_Value* copy_value(const JSON_Value* value, size_t depth) {
  if (depth > MAX_NESTING) {
    return NULL;
  }
  JSON_Value* copy = NULL;
  switch (value->type) {
    case JSONNull:
      return json_value_init_null();
    case JSONBoolean:
      return json_value_init_boolean(value->as.boolean);
    case JSONNumber:
      return json_value_init_number(value->as.number);
    case JSONString:
      return make_string(value->as.string.chars, value->as.string.length);
    case JSONObject:
      copy = json_value_init_object();
      break;
    default:
      copy = json_value_init_array();
      break;
  }
  if (copy && !copy_children(value, copy, depth)) {
    json_value_free(copy);
    return NULL;
  }
  return copy;
}

JSON_Value* json_value_deep_copy(const JSON_Value* value) {
  return value ? copy_value(value, 0) : NULL;
}

/* ---- value accessors -------------------------------------------------------------------- */

JSON_Value_Type json_value_get_type(const JSON_Value* value) {
  return value ? value->type : JSONError;
}

JSON_Object* json_value_get_object(const JSON_Value* value) {
  return json_value_get_type(value) == JSONObject ? value->as.object : NULL;
}

JSON_Array* json_value_get_array(const JSON_Value* value) {
  return json_value_get_type(value) == JSONArray ? value->as.array : NULL;
}

const char* json_value_get_string(const JSON_Value* value) {
  return json_value_get_type(value) == JSONString ? value->as.string.chars : NULL;
}

size_t json_value_get_string_len(const JSON_Value* value) {
  return json_value_get_type(value) == JSONString ? value->as.string.length : 0;
}

double json_value_get_number(const JSON_Value* value) {
  return json_value_get_type(value) == JSONNumber ? value->as.number : 0;
}

int json_value_get_boolean(const JSON_Value* value) {
  return json_value_get_type(value) == JSONBoolean ? value->as.boolean : -1;
}

JSON_Value* json_value_get_parent(const JSON_Value* value) {
  return value ? value->parent : NULL;
}

JSON_Value_Type json_type(const JSON_Value* value) {
  return json_value_get_type(value);
}

JSON_Object* json_object(const JSON_Value* value) {
  return json_value_get_object(value);
}

JSON_Array* json_array(const JSON_Value* value) {
  return json_value_get_array(value);
}

const char* json_string(const JSON_Value* value) {
  return json_value_get_string(value);
}

double json_number(const JSON_Value* value) {
  return json_value_get_number(value);
}

int json_boolean(const JSON_Value* value) {
  return json_value_get_boolean(value);
}

/* ---- objects ---------------------------------------------------------------------------- */

JSON_Value* json_object_get_value(const JSON_Object* object, const char* name) {
  if (!object || !name) {
    return NULL;
  }
  size_t position = member_position(object, name);
  return position == NOT_FOUND ? NULL : object->members[position].value;
}

const char* json_object_get_string(const JSON_Object* object, const char* name) {
  return json_value_get_string(json_object_get_value(object, name));
}

size_t json_object_get_string_len(const JSON_Object* object, const char* name) {
  return json_value_get_string_len(json_object_get_value(object, name));
}

JSON_Object* json_object_get_object(const JSON_Object* object, const char* name) {
  return json_value_get_object(json_object_get_value(object, name));
}

JSON_Array* json_object_get_array(const JSON_Object* object, const char* name) {
  return json_value_get_array(json_object_get_value(object, name));
}

double json_object_get_number(const JSON_Object* object, const char* name) {
  return json_value_get_number(json_object_get_value(object, name));
}

int json_object_get_boolean(const JSON_Object* object, const char* name) {
  return json_value_get_boolean(json_object_get_value(object, name));
}

size_t json_object_get_count(const JSON_Object* object) {
  return object ? object->count : 0;
}

const char* json_object_get_name(const JSON_Object* object, size_t index) {
  return object && index < object->count ? object->members[index].name : NULL;
}

JSON_Value* json_object_get_value_at(const JSON_Object* object, size_t index) {
  return object && index < object->count ? object->members[index].value : NULL;
}

JSON_Value* json_object_get_wrapping_value(const JSON_Object* object) {
  return object ? object->wrapping_value : NULL;
}

int json_object_has_value(const JSON_Object* object, const char* name) {
  return json_object_get_value(object, name) != NULL;
}

int json_object_has_value_of_type(const JSON_Object* object, const char* name,
                                  JSON_Value_Type type) {
  JSON_Value* value = json_object_get_value(object, name);
  return value && value->type == type;
}

JSON_Status json_object_set_value(JSON_Object* object, const char* name, JSON_Value* value) {
  if (!object || !name || !can_adopt(object->wrapping_value, value)) {
    return JSONFailure;
  }
  size_t position = member_position(object, name);
  if (position != NOT_FOUND) {
    JSON_Value* replaced = object->members[position].value;
    object->members[position].value = value;
    value->parent = object->wrapping_value;
    json_value_free(replaced);
    return JSONSuccess;
  }
  char* copy = copy_bytes(name, strlen(name));
  if (!copy || !append_member(object, copy, value)) {
    free(copy);
    return JSONFailure;
  }
  return JSONSuccess;
}

/* Sets a value made for this call, freeing it when it cannot be set. */
static JSON_Status set_made_value(JSON_Object* object, const char* name, JSON_Value* value) {
  if (json_object_set_value(object, name, value) == JSONSuccess) {
    return JSONSuccess;
  }
  json_value_free(value);
  return JSONFailure;
}

JSON_Status json_object_set_string(JSON_Object* object, const char* name, const char* string) {
  return set_made_value(object, name, json_value_init_string(string));
}

JSON_Status json_object_set_number(JSON_Object* object, const char* name, double number) {
  return set_made_value(object, name, json_value_init_number(number));
}

JSON_Status json_object_set_boolean(JSON_Object* object, const char* name, int boolean) {
  return set_made_value(object, name, json_value_init_boolean(boolean));
}

JSON_Status json_object_set_null(JSON_Object* object, const char* name) {
  return set_made_value(object, name, json_value_init_null());
}

JSON_Status json_object_remove(JSON_Object* object, const char* name) {
  size_t position = object && name ? member_position(object, name) : NOT_FOUND;
  if (position == NOT_FOUND) {
    return JSONFailure;
  }
  remove_member_at(object, position);
  return JSONSuccess;
}

JSON_Status json_object_clear(JSON_Object* object) {
  if (!object) {
    return JSONFailure;
  }
  for (size_t i = 0; i < object->count; i++) {
    free(object->members[i].name);
    json_value_free(object->members[i].value);
  }
  object->count = 0;
  if (object->slots) {
    memset(object->slots, 0, (object->slot_mask + 1) * sizeof *object->slots);
  }
  return JSONSuccess;
}

/* ---- arrays ----------------------------------------------------------------------------- */

JSON_Value* json_array_get_value(const JSON_Array* array, size_t index) {
  return array && index < array->count ? array->items[index] : NULL;
}

const char* json_array_get_string(const JSON_Array* array, size_t index) {
  return json_value_get_string(json_array_get_value(array, index));
}

JSON_Object* json_array_get_object(const JSON_Array* array, size_t index) {
  return json_value_get_object(json_array_get_value(array, index));
}

JSON_Array* json_array_get_array(const JSON_Array* array, size_t index) {
  return json_value_get_array(json_array_get_value(array, index));
}

double json_array_get_number(const JSON_Array* array, size_t index) {
  return json_value_get_number(json_array_get_value(array, index));
}

int json_array_get_boolean(const JSON_Array* array, size_t index) {
  return json_value_get_boolean(json_array_get_value(array, index));
}

size_t json_array_get_count(const JSON_Array* array) {
  return array ? array->count : 0;
}

JSON_Value* json_array_get_wrapping_value(const JSON_Array* array) {
  return array ? array->wrapping_value : NULL;
}

/* Later items move up one place, so the order is kept. */
JSON_Status json_array_remove(JSON_Array* array, size_t index) {
  if (!array || index >= array->count) {
    return JSONFailure;
  }
  json_value_free(array->items[index]);
  memmove(array->items + index, array->items + index + 1,
          (array->count - index - 1) * sizeof *array->items);
  array->count--;
  return JSONSuccess;
}

JSON_Status json_array_append_value(JSON_Array* array, JSON_Value* value) {
  if (!array || !can_adopt(array->wrapping_value, value) || !append_item(array, value)) {
    return JSONFailure;
  }
  return JSONSuccess;
}

/* Appends a value made for this call, freeing it when it cannot be appended. */
static JSON_Status append_made_value(JSON_Array* array, JSON_Value* value) {
  if (json_array_append_value(array, value) == JSONSuccess) {
    return JSONSuccess;
  }
  json_value_free(value);
  return JSONFailure;
}

JSON_Status json_array_append_string(JSON_Array* array, const char* string) {
  return append_made_value(array, json_value_init_string(string));
}

JSON_Status json_array_append_number(JSON_Array* array, double number) {
  return append_made_value(array, json_value_init_number(number));
}

JSON_Status json_array_append_boolean(JSON_Array* array, int boolean) {
  return append_made_value(array, json_value_init_boolean(boolean));
}

JSON_Status json_array_append_null(JSON_Array* array) {
  return append_made_value(array, json_value_init_null());
}

JSON_Status json_array_clear(JSON_Array* array) {
  if (!array) {
    return JSONFailure;
  }
  for (size_t i = 0; i < array->count; i++) {
    json_value_free(array->items[i]);
  }
  array->count = 0;
  return JSONSuccess;
}
