#ifndef VTR_COLLECTOR_SENSOR_ROWS_H
#define VTR_COLLECTOR_SENSOR_ROWS_H

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "collector/listing_parser.h"
#include "collector/sensor_fields.h"

namespace vtr {
namespace ipmitool {

// The name a table row gives a sensor of the verbose listing: the sensor repository keeps at
// most 16 characters, and the tables print no more.
std::string compactRowName(std::string_view listingName);

// Matches the rows of a table of one row per sensor (the compact table, the SDR listing) to the
// sensors of the start-up listing by name and order: the k-th row named X belongs to the k-th
// sensor named X, whose fields say so (SensorField::tableRowName, tableOccurrence).
class SensorRows {
 public:
  SensorRows() = default;
  // `order`: every sensor of the start-up listing, kept or not.
  SensorRows(const ListingOrder& order, const SensorFields& fields);

  // Whether a start-up sensor has this row name.
  bool knows(const std::string& rowName) const { return fieldsByRow_.count(rowName) != 0; }

  // One table, its rows taken in order.
  class Walk {
   public:
    explicit Walk(const SensorRows& rows) : rows_(rows) {}
    // The fields of the start-up sensor that the next row, named `rowName`, stands for; null
    // when it stands for none.
    const std::vector<std::size_t>* next(const std::string& rowName);
    std::size_t rows() const { return rowsSeen_; }
    // Rows that stood for a start-up sensor.
    std::size_t matched() const { return matched_; }
    // Warns, at most once per 10 s, when rows or start-up sensors found no partner: their
    // fields are left out. `command` names the table.
    void reportUnmatched(const char* command) const;

   private:
    const SensorRows& rows_;
    std::unordered_map<std::string, std::size_t> occurrences_;
    std::size_t rowsSeen_ = 0;
    std::size_t matched_ = 0;
  };

 private:
  // Row name -> per start-up sensor of that name, in order, the positions of its fields.
  std::unordered_map<std::string, std::vector<std::vector<std::size_t>>> fieldsByRow_;
  std::size_t sensorCount_ = 0;
};

}  // namespace ipmitool
}  // namespace vtr

#endif
