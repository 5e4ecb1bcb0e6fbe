#ifndef VTR_HOST_HOST_BOARD_H
#define VTR_HOST_HOST_BOARD_H

#include <array>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "tools/sensor_facts.h"

namespace vtr {
namespace host {

// How a field's sensor stood in one event, as the plug-in tells it (vtr_ipmitool_field_health_t).
struct FieldHealth {
  std::uint8_t health = 3;  // a vtr_ipmitool_health_t; unknown until told
  std::string status;       // a threshold sensor's status as the listing prints it
  // lower non-recoverable, critical, non-critical, upper non-critical, critical,
  // non-recoverable; none where the listing has none
  std::array<std::optional<double>, 6> thresholds;
  std::uint16_t asserted = 0;  // a discrete sensor's: bit n for state n
};

// One numeric field of an event; no value when the field holds no reading.
struct FieldValue {
  std::string name;
  std::optional<double> value;
  std::optional<FieldHealth> health;  // none when the plug-in does not tell
};

// What the pages show of one event: plain values, so no plug-in memory crosses threads.
struct EventSnapshot {
  std::string schema;
  std::string source;
  std::uint64_t timestampUs = 0;  // the event block's
  // The sample's own time stamp (the event's first timestamp field, else the block's), and
  // from then to the event's arrival at the host.
  std::uint64_t sampleTimeUs = 0;
  double sampleDurationSeconds = 0;
  std::vector<FieldValue> fields;  // the event's numeric fields, in schema order

  std::uint64_t fieldsWithoutReading() const;
};

// The provider's last sampling pass that ran to its end (vtr_ipmitool_pass_t).
struct PassSummary {
  bool read = false;  // the tool answered with readings
  double durationSeconds = 0;
};

// Per field, its last values, oldest first; nullopt for a sample without a reading.
using FieldTrends = std::unordered_map<std::string, std::vector<std::optional<double>>>;

// Everything a page is rendered from, copied out of the board in one go.
struct BoardView {
  std::optional<EventSnapshot> latest;
  std::uint64_t eventsTotal = 0;
  bool up = false;
  std::shared_ptr<const SensorFactsTable> facts;  // never null
  FieldTrends trends;
  std::optional<PassSummary> lastPass;  // none before the first pass ends, or from a plug-in that does not tell
};

// The latest event, the host's counters and the recent values, handed from the progress loop
// to the HTTP thread.
class MetricsBoard {
 public:
  // Samples each field's trend keeps.
  static constexpr std::size_t kTrendLength = 60;

  MetricsBoard();
  void setUp(bool up);
  // Once, before the first event.
  void setSensorFacts(SensorFactsTable facts);
  void publish(EventSnapshot snapshot);
  void setLastPass(PassSummary pass);
  BoardView view() const;

 private:
  mutable std::mutex mutex_;
  std::optional<EventSnapshot> latest_;
  std::uint64_t eventsTotal_ = 0;
  bool up_ = false;
  std::shared_ptr<const SensorFactsTable> facts_;
  std::unordered_map<std::string, std::deque<std::optional<double>>> trends_;
  std::optional<PassSummary> lastPass_;
};

}  // namespace host
}  // namespace vtr

#endif
