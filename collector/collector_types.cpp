#include "collector/collector_types.h"

namespace vtr {
namespace ipmitool {

std::string fieldTypeName(CollectorFieldType type) {
  switch (type) {
    case CollectorFieldType::Double:
      return "double";
    case CollectorFieldType::Uint64:
      return "uint64_t";
    case CollectorFieldType::Uint16:
      return "uint16_t";
    case CollectorFieldType::Timestamp:
      return "timestamp";
    default:
      return "";
  }
}

}  // namespace ipmitool
}  // namespace vtr
