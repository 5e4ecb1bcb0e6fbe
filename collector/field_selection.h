#ifndef VTR_COLLECTOR_FIELD_SELECTION_H
#define VTR_COLLECTOR_FIELD_SELECTION_H

#include <string>

#include "collector/collector_config.h"
#include "collector/collector_types.h"

namespace vtr {
namespace ipmitool {

// Whether a label of a sensor of this kind becomes a field.
bool toAddSensorField(const CollectorConfig& config, const std::string& label, CollectorSensorType sensorType);

}  // namespace ipmitool
}  // namespace vtr

#endif
