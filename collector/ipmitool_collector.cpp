#include "collector/ipmitool_collector.h"

#include <chrono>
#include <cstdlib>
#include <utility>

#include "collector/command_result.h"
#include "collector/discrete_states.h"
#include "collector/listing_labels.h"
#include "collector/remote_bmc.h"
#include "collector/sample_assembly.h"
#include "collector/schema_builder.h"
#include "collector/shell_run.h"
#include "collector/stop_flag.h"
#include "runtime/logger.h"
#include "runtime/rate_limit.h"

namespace vtr {
namespace ipmitool {

namespace {

// The commands as their error lines name them, without time limit, sudo or LAN arguments.
constexpr const char* kDiscreteStatesCommand = "ipmitool sensor | grep discrete";
constexpr const char* kCompactTableCommand = "ipmitool sensor";
constexpr const char* kSdrDumpCommand = "ipmitool sdr dump";
constexpr const char* kCachedListingCommand = "ipmitool sdr elist";
// The request that reads every sensor through the cache, comma-separated (-c).
constexpr const char* kCachedListingRequest = "sdr elist";
// Get Device ID: one request, answered by every BMC, in hex bytes.
constexpr const char* kKeepSessionRequest = "raw 0x06 0x01";

// A BMC drops a LAN session left idle for long (ipmi_sim after 30 s); a tool process that waited
// longer than this is replaced rather than asked.
constexpr std::chrono::seconds kSessionIdleLimit{20};
static_assert(IpmitoolCollector::kToolShellKeepAlive < kSessionIdleLimit, "a kept session must not count as idle");

bool isHexBytes(const std::string& answer) {
  return answer.find_first_not_of("0123456789abcdefABCDEF \n") == std::string::npos &&
         answer.find_first_not_of(" \n") != std::string::npos;
}

}  // namespace

IpmitoolCollector::IpmitoolCollector(const CollectorConfig& config, const volatile bool& stop_flag)
    : config_(config), stopRequested(stop_flag), toolShell_(stop_flag) {}

int IpmitoolCollector::runCommandAndCheck(std::string command, std::string& output) const {
  if (isStopRequested(stopRequested)) {
    vtr_log(VTR_LOG_DEBUG, "[ipmitool collector] Stop flag asserted - skipping command execution");
    return -1;
  }
  const std::string line = composeCommandLine(command, config_.commandTimeout, config_.useSudo);
  vtr_log_rate_limited(VTR_LOG_INFO, "[ipmitool collector] Running command: '%s'", line.c_str());

  ShellRun run = runInOwnSession(line, config_.commandTimeout, stopRequested);
  const bool ended = run.end == ShellEnd::Exited || run.end == ShellEnd::DeadlineKilled;
  // A stop that came while the tool ran makes its output worthless.
  if (ended && isStopRequested(stopRequested)) return -1;
  const int result = commandResult(run, line);
  if (ended) output = std::move(run.output);
  return result;
}

int IpmitoolCollector::askToolShell(const std::string& command, const std::string& request, std::string& output) {
  if (isStopRequested(stopRequested)) {
    vtr_log(VTR_LOG_DEBUG, "[ipmitool collector] Stop flag asserted - skipping command execution");
    return -1;
  }
  // A host killed before it destroys the provider leaves the shell reading an ended input, on
  // which the real tool spins for good: the kernel kills it when the thread that started it ends.
  const std::string line = "exec setpriv --pdeathsig KILL " + command + " 2>&1";
  vtr_log_rate_limited(VTR_LOG_INFO, "[ipmitool collector] Running command: '%s' in '%s'", request.c_str(),
                       line.c_str());
  const std::chrono::seconds idleLimit = config_.remoteBmc.host.empty() ? std::chrono::seconds(0) : kSessionIdleLimit;
  ShellRun run = toolShell_.ask(line, request, config_.commandTimeout, idleLimit);
  if (run.end == ShellEnd::Answered && isStopRequested(stopRequested)) return -1;
  const int result = answerResult(run, line);
  if (result == 0) output = std::move(run.output);
  return result;
}

void IpmitoolCollector::getDiscreteSensorStatesAssertedFieldsData(DiscreteSensorsData& discrete_sensors_data) {
  std::string output;
  const int result = runCommandAndCheck(ipmitoolCommand(config_.remoteBmc, "sensor | grep discrete"), output);
  if (isStopRequested(stopRequested)) return;
  // Also the case of a machine without discrete sensors: grep then exits 1.
  if (result != 0) {
    vtr_log(VTR_LOG_ERR, "[ipmitool collector] Failed to execute command '%s'.", kDiscreteStatesCommand);
    return;
  }
  parseDiscreteStatesTable(output, discrete_sensors_data);
}

void IpmitoolCollector::parseDiscreteStatesTable(const std::string& output,
                                                 DiscreteSensorsData& discrete_sensors_data) {
  readDiscreteStatesTable(config_, output, schemaCreated ? &discreteSensorsAtStart : nullptr, discrete_sensors_data);
  if (!schemaCreated) {
    for (const auto& entry : discrete_sensors_data) discreteSensorsAtStart.insert(entry.first);
  }
}

void IpmitoolCollector::getIpmitoolSensorData(SensorListing& listing, ListingOrder* order) {
  DiscreteSensorsData discrete_sensors_data;
  if (config_.includeDiscreteSensors) {
    getDiscreteSensorStatesAssertedFieldsData(discrete_sensors_data);
    if (isStopRequested(stopRequested)) return;
    if (discrete_sensors_data.empty()) {
      vtr_log(VTR_LOG_ERR,
              "[ipmitool collector] No numeric data found for discrete sensors for field 'States Asserted'.");
    }
  } else if (!config_.includeContinuousSensors) {
    vtr_log_rate_limited(VTR_LOG_WARNING,
                         "[ipmitool collector] No sensors will be collected since no sensor types are included.");
    return;
  }

  std::string output;
  const int result = runCommandAndCheck(ipmitoolCommand(config_.remoteBmc, "sensor -v"), output);
  if (isStopRequested(stopRequested)) return;
  if (result != 0) {
    vtr_log(VTR_LOG_ERR, "[ipmitool collector] Failed to execute 'ipmitool sensor -v' command.");
    return;
  }
  parseSensorListing(config_, output, discrete_sensors_data, listing, order);
}

bool IpmitoolCollector::readListing(SensorListing& listing, ListingOrder* order) {
  getIpmitoolSensorData(listing, order);
  if (isStopRequested(stopRequested)) return false;
  if (listing.empty()) {
    vtr_log(VTR_LOG_ERR, "[ipmitool collector] Failed to retrieve data from ipmitool sensors.");
    return false;
  }
  return true;
}

void IpmitoolCollector::createSensorsIdsMap(const SensorListing& listing) {
  if (!schemaCreated) sensorsIdsMap = uniqueSensorNames(listing);
}

std::string IpmitoolCollector::getSavedUniqueSensorNameFromSensorData(const SensorRecord& record) const {
  const auto id = record.find(kSensorIdLabel);
  if (id == record.end()) return "";
  const auto saved = sensorsIdsMap.find(id->second);
  return saved == sensorsIdsMap.end() ? "" : saved->second;
}

bool IpmitoolCollector::setFieldsInfo(std::vector<std::unique_ptr<vtr_type_field_info_t>>& fields) {
  if (schemaCreated) {
    vtr_log(VTR_LOG_ERR, "[ipmitool collector] Schema has already been created.");
    return false;
  }
  SensorListing listing;
  ListingOrder order;
  if (!readListing(listing, &order)) return false;
  createSensorsIdsMap(listing);

  std::vector<SensorField> kept;
  for (SensorField& field : buildSensorFields(listing, sensorsIdsMap, order)) {
    auto info = createSchemaField(field.name, field.description, fieldTypeName(field.type), VTR_VALUE_TYPE_ABSOLUTE, 1);
    if (!info) continue;  // a field without its record is no field of the event type either
    fields.push_back(std::move(info));
    kept.push_back(std::move(field));
  }
  fields_ = SensorFields(std::move(kept));
  if (config_.singleRunSampling) compactTable_ = CompactTableSampler(order, fields_);
  if (config_.cachedSampling) cachedSampler_ = CachedSampler(order, fields_, listing);
  schemaCreated = true;
  return true;
}

void IpmitoolCollector::freeFieldsInfo(std::vector<std::unique_ptr<vtr_type_field_info_t>>& fields) {
  for (auto& info : fields) {
    free(info->field_name);
    free(info->description);
    free(info->type_name);
    info->field_name = nullptr;
    info->description = nullptr;
    info->type_name = nullptr;
  }
  fields.clear();
}

bool IpmitoolCollector::getSensorsData(SensorSample& out) {
  out.assign(fields_.size(), FieldReading{});
  if (config_.cachedSampling) return sampleThroughCache(out);
  return config_.singleRunSampling ? sampleCompactTable(out) : sampleVerboseListing(out);
}

bool IpmitoolCollector::sampleVerboseListing(SensorSample& out) {
  SensorListing listing;
  if (!readListing(listing)) return false;
  if (!schemaCreated) {
    vtr_log(VTR_LOG_ERR, "[ipmitool collector] The schema has not been created. Cannot parse sensor data.");
    return false;
  }
  assembleSample(fields_, sensorsIdsMap, listing, out);
  return true;
}

bool IpmitoolCollector::sampleCompactTable(SensorSample& out) {
  std::string table;
  const int result = runCommandAndCheck(ipmitoolCommand(config_.remoteBmc, "sensor"), table);
  if (isStopRequested(stopRequested)) return false;
  if (result != 0) {
    vtr_log(VTR_LOG_ERR, "[ipmitool collector] Failed to execute command '%s'.", kCompactTableCommand);
  } else if (!schemaCreated) {
    vtr_log(VTR_LOG_ERR, "[ipmitool collector] The schema has not been created. Cannot parse sensor data.");
    return false;
  } else if (compactTable_.sample(config_, fields_, table, out)) {
    return true;
  }
  // A failed run and an empty table end the pass as an empty verbose listing does.
  vtr_log(VTR_LOG_ERR, "[ipmitool collector] Failed to retrieve data from ipmitool sensors.");
  return false;
}

bool IpmitoolCollector::sampleThroughCache(SensorSample& out) {
  if (!schemaCreated) {
    vtr_log(VTR_LOG_ERR, "[ipmitool collector] The schema has not been created. Cannot parse sensor data.");
    return false;
  }
  if (!sdrCache_.file().empty()) {
    const std::string refusal = sdrCache_.refusal();
    if (!refusal.empty()) remakeSdrCache(refusal);
  }
  if (sdrCache_.file().empty() && !makeSdrCache()) return false;

  std::string answer;
  const int result = readThroughCache(answer);
  if (isStopRequested(stopRequested)) return false;
  if (result != 0) {
    vtr_log(VTR_LOG_ERR, "[ipmitool collector] Failed to execute command '%s'.", kCachedListingCommand);
    return false;
  }
  const CachedPass pass = cachedSampler_.sample(config_, fields_, answer, out);
  switch (pass.outcome) {
    case CachedPass::Read:
      return true;
    case CachedPass::CacheStale:
      // Its other readings may belong to sensors that moved as well: no event from it.
      remakeSdrCache("sensor '" + pass.staleSensor + "' no longer reads through it");
      return false;
    case CachedPass::NoRows:
      break;
  }
  // An answer without a sensor: whatever the tool says instead, its next answer comes from a
  // fresh process.
  toolShell_.end();
  vtr_log(VTR_LOG_ERR, "[ipmitool collector] Failed to retrieve data from ipmitool sensors.");
  return false;
}

bool IpmitoolCollector::makeSdrCache() {
  toolShell_.end();  // a tool process keeps the SDR it loaded: none outlives its cache
  const std::string file = sdrCache_.nextFile();
  if (file.empty()) return false;
  std::string output;
  const int result = runCommandAndCheck(ipmitoolCommand(config_.remoteBmc, "sdr dump " + file), output);
  if (!sdrCache_.adopt(file, result == 0 && !isStopRequested(stopRequested))) {
    if (!isStopRequested(stopRequested))
      vtr_log(VTR_LOG_ERR, "[ipmitool collector] Failed to make the SDR cache with '%s'.", kSdrDumpCommand);
    return false;
  }
  cachedSampler_.startCache();
  return true;
}

void IpmitoolCollector::remakeSdrCache(const std::string& reason) {
  vtr_log_rate_limited(VTR_LOG_WARNING, "[ipmitool collector] The SDR cache is remade: %s.", reason.c_str());
  toolShell_.end();
  sdrCache_.discard();
}

int IpmitoolCollector::readThroughCache(std::string& answer) {
  if (config_.useSudo)
    return runCommandAndCheck(
        ipmitoolCommand(config_.remoteBmc, "-S " + sdrCache_.file() + " -c " + kCachedListingRequest), answer);
  return askToolShell(cachedShellCommand(), kCachedListingRequest, answer);
}

std::string IpmitoolCollector::cachedShellCommand() const {
  return ipmitoolCommand(config_.remoteBmc, "-S " + sdrCache_.file() + " -c shell");
}

void IpmitoolCollector::keepToolShellSession() {
  // A local BMC has no session to lose; one idle past the limit is replaced by the next sample.
  if (!toolShell_.running() || config_.remoteBmc.host.empty()) return;
  if (toolShell_.idleFor() > kSessionIdleLimit) return;
  std::string answer;
  if (askToolShell(cachedShellCommand(), kKeepSessionRequest, answer) != 0 || !isHexBytes(answer)) toolShell_.end();
}

}  // namespace ipmitool
}  // namespace vtr
