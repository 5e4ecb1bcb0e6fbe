#ifndef VTR_COLLECTOR_SDR_CACHE_H
#define VTR_COLLECTOR_SDR_CACHE_H

#include <cstddef>
#include <string>
#include <string_view>

namespace vtr {
namespace ipmitool {

// Whether `bytes` are whole SDR records, at least one: each a 5-byte header (record id, SDR
// version, record type, body length) and the body it announces, up to the last byte. A dump
// cut short fails this unless it was cut between two records.
bool holdsWholeSdrRecords(std::string_view bytes);

// One BMC's SDR, cached in a file for the tool to read sensors by ("-S FILE"). The tool makes
// each cache file ("sdr dump FILE") in a directory of this object's own: mode 0700, made at the
// first dump, under $TMPDIR (when it is a plain path) or /tmp, and removed with everything in
// it at destruction, so that no other BMC or process shares it. A new cache gets a new file. A
// file is adopted only when it holds whole SDR records, and used only while it still holds the
// bytes adopted. Used by one thread at a time.
class SdrCache {
 public:
  SdrCache() = default;
  ~SdrCache();
  SdrCache(const SdrCache&) = delete;
  SdrCache& operator=(const SdrCache&) = delete;

  // The file the next dump is to write; empty (with an error line) when no private directory
  // can be made.
  std::string nextFile();
  // Takes the file a dump wrote as the cache, when the dump succeeded and the file holds whole
  // SDR records; otherwise removes it and returns false.
  bool adopt(const std::string& file, bool dumpSucceeded);
  // Why the adopted cache may no longer be used: its file does not hold the bytes adopted any
  // more (changed, cut, unreadable, gone). Empty when it may.
  std::string refusal() const;
  // The adopted file; empty before the first adoption and after discard.
  const std::string& file() const { return file_; }
  // Forgets the cache and removes its file; the next use needs another.
  void discard();

 private:
  std::string directory_;
  std::string file_;
  unsigned int made_ = 0;
  // What the adopted file held.
  std::size_t size_ = 0;
  std::size_t digest_ = 0;
};

}  // namespace ipmitool
}  // namespace vtr

#endif
