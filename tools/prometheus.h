#ifndef VTR_HOST_PROMETHEUS_H
#define VTR_HOST_PROMETHEUS_H

#include <string>

#include "tools/host_board.h"

namespace vtr {
namespace host {

// Escaping of the text exposition format 0.0.4: HELP escapes '\' and newline, label values
// also '"'; bytes that are not UTF-8 become U+FFFD.
std::string escapeHelp(const std::string& text);
std::string escapeLabelValue(const std::string& text);
// Shortest text that reads back as the same double; NaN, +Inf and -Inf as Prometheus spells them.
std::string formatSampleValue(double value);

constexpr const char* kExpositionContentType = "text/plain; version=0.0.4; charset=utf-8";

// The whole /metrics page: the latest event's readings in a few families by unit, the sensor
// in the labels (name, id, entity, type, field, source; unit where the family does not say
// it); beside each reading its sensor's health, thresholds and, for a discrete sensor, each
// state it can name; then ipmi_up and ipmi_scrape_duration_seconds from the provider's last
// pass, and the host's own metrics. A field without a reading is left out with all its series;
// a field whose sensor the plug-in does not describe goes to the ipmi_sensor_* families with
// field and source only.
std::string renderExposition(const BoardView& view);

}  // namespace host
}  // namespace vtr

#endif
