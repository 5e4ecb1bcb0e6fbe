#include "collector/sdr_cache.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <optional>
#include <system_error>
#include <vector>

#include "collector/remote_bmc.h"
#include "runtime/logger.h"
#include "runtime/rate_limit.h"

namespace vtr {
namespace ipmitool {

namespace {

constexpr std::size_t kSdrHeaderBytes = 5;
constexpr std::size_t kSdrLengthByte = 4;

// The whole file; nothing when it cannot be read.
std::optional<std::string> readWhole(const std::string& file) {
  std::ifstream in(file, std::ios::binary);
  if (!in) return std::nullopt;
  std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  if (in.bad()) return std::nullopt;
  return bytes;
}

// $TMPDIR when it can stand in a command line as it is, else /tmp.
std::string temporaryRoot() {
  const char* tmp = std::getenv("TMPDIR");
  return tmp != nullptr && isCommandLinePath(tmp) ? tmp : "/tmp";
}

}  // namespace

bool holdsWholeSdrRecords(std::string_view bytes) {
  std::size_t at = 0;
  while (at + kSdrHeaderBytes <= bytes.size())
    at += kSdrHeaderBytes + static_cast<unsigned char>(bytes[at + kSdrLengthByte]);
  return at != 0 && at == bytes.size();
}

SdrCache::~SdrCache() {
  if (directory_.empty()) return;
  std::error_code ignored;
  std::filesystem::remove_all(directory_, ignored);
}

std::string SdrCache::nextFile() {
  if (directory_.empty()) {
    std::string pattern = temporaryRoot() + "/vtr-ipmitool-sdr.XXXXXX";
    std::vector<char> name(pattern.begin(), pattern.end());
    name.push_back('\0');
    // mkdtemp makes it 0700.
    if (mkdtemp(name.data()) == nullptr) {
      vtr_log_rate_limited(VTR_LOG_ERR, "[ipmitool collector] Cannot make a private directory for the SDR cache (%s): %s",
                           pattern.c_str(), std::strerror(errno));
      return "";
    }
    directory_ = name.data();
  }
  return directory_ + "/sdr-" + std::to_string(++made_) + ".cache";
}

bool SdrCache::adopt(const std::string& file, bool dumpSucceeded) {
  discard();
  const std::optional<std::string> bytes = dumpSucceeded ? readWhole(file) : std::nullopt;
  if (!bytes || !holdsWholeSdrRecords(*bytes)) {
    std::error_code ignored;
    std::filesystem::remove(file, ignored);
    return false;
  }
  file_ = file;
  size_ = bytes->size();
  digest_ = std::hash<std::string_view>{}(*bytes);
  return true;
}

std::string SdrCache::refusal() const {
  const std::optional<std::string> bytes = readWhole(file_);
  if (!bytes) return "its file cannot be read";
  if (bytes->size() != size_ || std::hash<std::string_view>{}(*bytes) != digest_)
    return "its file no longer holds the SDR the tool dumped";
  return "";
}

void SdrCache::discard() {
  if (file_.empty()) return;
  std::error_code ignored;
  std::filesystem::remove(file_, ignored);
  file_.clear();
}

}  // namespace ipmitool
}  // namespace vtr
