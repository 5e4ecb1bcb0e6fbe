#ifndef VTR_TEST_TOOLS_HOST_JSON_H
#define VTR_TEST_TOOLS_HOST_JSON_H

// Reading vtr-host's JSON output in tests, through the library's own parser.

#include <memory>
#include <string>
#include <vector>

#include "json/parson.h"

namespace vtr {
namespace test {

using JsonDocument = std::unique_ptr<JSON_Value, decltype(&json_value_free)>;

inline JsonDocument parseJson(const std::string& text) { return {json_parse_string(text.c_str()), json_value_free}; }

inline JsonDocument parseJsonFile(const std::string& path) { return {json_parse_file(path.c_str()), json_value_free}; }

// The options every run of these tests passes: discrete sensors on, one sample a second.
inline std::vector<std::string> discreteEverySecond() {
  return {"--option", "ipmitool-include-discrete-sensors=true", "--option", "ipmitool-sample-interval-sec=1"};
}

// What the small server's sensors read (tests/fixtures/small-server, recorded from the
// simulator's "small" profile): threshold readings as doubles, discrete states words as numbers.
struct ExpectedReading {
  const char* field;
  double value;
};

constexpr ExpectedReading kSmallServerReadings[] = {
    {"cpu1_temp", 45},  {"cpu2_temp", 47}, {"inlet_temp", 23}, {"temp_4", 38},      {"temp_5", 41},
    {"fan1", 5400},     {"fan2", 5340},    {"12v", 12.06},     {"3.3v", 3.3},       {"cpu1_vcore", 1.05},
    {"ps1_status", 0x0100}, {"ps2_status", 0x0300},
};

}  // namespace test
}  // namespace vtr

#endif
