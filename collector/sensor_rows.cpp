#include "collector/sensor_rows.h"

#include "collector/text_scan.h"
#include "runtime/logger.h"
#include "runtime/rate_limit.h"

namespace vtr {
namespace ipmitool {

namespace {

constexpr std::string_view::size_type kRowNameLength = 16;

}  // namespace

std::string compactRowName(std::string_view listingName) {
  return std::string(trimBlanks(trimBlanks(listingName).substr(0, kRowNameLength)));
}

SensorRows::SensorRows(const ListingOrder& order, const SensorFields& fields) {
  for (const auto& entry : order) fieldsByRow_[compactRowName(entry.first)].emplace_back();
  for (std::size_t index = 0; index < fields.size(); ++index)
    fieldsByRow_[fields[index].tableRowName].at(fields[index].tableOccurrence).push_back(index);
  sensorCount_ = order.size();
}

const std::vector<std::size_t>* SensorRows::Walk::next(const std::string& rowName) {
  ++rowsSeen_;
  const std::size_t occurrence = occurrences_[rowName]++;
  const auto named = rows_.fieldsByRow_.find(rowName);
  if (named == rows_.fieldsByRow_.end() || occurrence >= named->second.size()) return nullptr;
  ++matched_;
  return &named->second[occurrence];
}

void SensorRows::Walk::reportUnmatched(const char* command) const {
  const std::size_t unmatched = (rowsSeen_ - matched_) + (rows_.sensorCount_ - matched_);
  if (unmatched == 0) return;
  vtr_log_rate_limited(VTR_LOG_WARNING,
                       "[ipmitool collector] %zu sensors of '%s' did not match the sensors read at start-up; their "
                       "fields are left out of the sample.",
                       unmatched, command);
}

}  // namespace ipmitool
}  // namespace vtr
