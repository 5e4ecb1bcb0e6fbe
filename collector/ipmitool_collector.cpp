#include "collector/ipmitool_collector.h"

namespace vtr {
namespace ipmitool {

IpmitoolCollector::IpmitoolCollector(const CollectorConfig& config, const volatile bool& stop_flag)
    : config_(config), stopRequested(stop_flag) {}

}  // namespace ipmitool
}  // namespace vtr
