#ifndef VTR_TEST_FAKE_IPMITOOL_H
#define VTR_TEST_FAKE_IPMITOOL_H

#include <string>
#include <vector>

namespace vtr {
namespace test {

// Puts a fake `ipmitool` first in PATH for this process. It replays a recorded fixture
// (tests/fixtures/<case>/verbose.txt for "sensor -v", tests/fixtures/<case>/compact.txt for
// "sensor", and exits with the code in its exit-code file, if any), records every argument
// list, and can run injected shell code first. The destructor restores PATH and removes the
// temporary directory.
class FakeIpmitool {
 public:
  explicit FakeIpmitool(const std::string& fixtureCase = "small-server");
  ~FakeIpmitool();
  FakeIpmitool(const FakeIpmitool&) = delete;
  FakeIpmitool& operator=(const FakeIpmitool&) = delete;

  // Replays another fixture case from the next run on.
  void replay(const std::string& fixtureCase);
  // Replays these texts instead of a fixture case.
  void replayText(const std::string& verboseListing, const std::string& compactListing);
  void setExitCode(int code);
  // Shell code the tool runs first, in its own shell, with $dir its directory.
  void injectFault(const std::string& shellCode);
  // Every later run sleeps until it is killed.
  void hang();
  // One entry per run: the arguments joined by single blanks, e.g. "sensor -v".
  std::vector<std::string> recordedCalls() const;
  const std::string& directory() const { return dir_; }

 private:
  std::string dir_;
  std::string savedPath_;
};

// Absolute path of a fixture file, e.g. fixturePath("small-server", "verbose.txt").
std::string fixturePath(const std::string& fixtureCase, const std::string& file);
std::string readFile(const std::string& path);

}  // namespace test
}  // namespace vtr

#endif
