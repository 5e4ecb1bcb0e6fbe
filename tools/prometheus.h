#ifndef VTR_HOST_PROMETHEUS_H
#define VTR_HOST_PROMETHEUS_H

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace vtr {
namespace host {

struct NumericField {
  std::string name;
  std::string description;
  double value = 0;
};

// What /metrics shows of one event: plain values, so no plug-in memory crosses threads.
struct EventSnapshot {
  std::string schema;
  std::string source;
  std::uint64_t timestampUs = 0;
  std::vector<NumericField> fields;  // those with a reading
  std::uint64_t fieldsWithoutReading = 0;
};

// `<schema>_<field>` with every character outside [a-zA-Z0-9_:] turned into '_' and a '_'
// in front when it would start with a digit.
std::string prometheusMetricName(const std::string& schema, const std::string& field);
// Escaping of the text exposition format 0.0.4: HELP escapes '\' and newline, label values
// also '"'; bytes that are not UTF-8 become U+FFFD.
std::string escapeHelp(const std::string& text);
std::string escapeLabelValue(const std::string& text);
// Shortest text that reads back as the same double; NaN, +Inf and -Inf as Prometheus spells them.
std::string formatSampleValue(double value);

constexpr const char* kExpositionContentType = "text/plain; version=0.0.4; charset=utf-8";

// The latest event and the host's counters, handed from the progress loop to the HTTP thread.
class MetricsBoard {
 public:
  void setUp(bool up);
  void publish(EventSnapshot snapshot);
  // The whole /metrics page.
  std::string exposition() const;

 private:
  mutable std::mutex mutex_;
  std::optional<EventSnapshot> latest_;
  std::uint64_t eventsTotal_ = 0;
  bool up_ = false;
};

}  // namespace host
}  // namespace vtr

#endif
