#ifndef VTR_NUMBER_PARSE_H
#define VTR_NUMBER_PARSE_H

#include <cstdint>

// The whole text must be one non-negative number as strtoull with base 0 reads it (decimal,
// "0x" hexadecimal, leading-zero octal). Leftovers, no digits, a minus sign, overflow, and
// for the 16-bit form a value above 65535 fail; *value is written only on success.
bool string_to_u64(const char* text, uint64_t* value);
bool string_to_u16(const char* text, uint16_t* value);

#endif
