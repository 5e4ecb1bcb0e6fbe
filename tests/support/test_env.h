#ifndef VTR_TEST_TEST_ENV_H
#define VTR_TEST_TEST_ENV_H

// What tests run in: temporary directories, PATH, shell commands, the recorded fixtures, and
// the fake `ipmitool` that replays them.

#include <string>
#include <vector>

namespace vtr {
namespace test {

// Creates a fresh directory under $TMPDIR (or /tmp) named <prefix>.XXXXXX; throws on failure.
std::string makeTempDirectory(const std::string& prefix);
// Removes a directory tree; errors are ignored (used from destructors).
void removeDirectory(const std::string& dir);

// Puts dir first in PATH for this process and returns the previous PATH for restorePath.
std::string prependToPath(const std::string& dir);
void restorePath(const std::string& savedPath);

struct ShellResult {
  int exitCode = -1;  // -1 when the shell did not exit normally
  std::string output;
};
// Runs a command line through popen's shell and reads its standard output whole.
ShellResult runShell(const std::string& command);
// The text as one single-quoted shell word.
std::string shellQuote(const std::string& text);

// Puts a fake `ipmitool` first in PATH for this process. It replays a recorded fixture
// (tests/fixtures/<case>/verbose.txt for "sensor -v", tests/fixtures/<case>/compact.txt for
// "sensor", sdr-elist.txt for "sdr elist" through an SDR cache, also in its shell, and exits
// with the code in its exit-code file, if any), records every argument list, and can run
// injected shell code first. The destructor restores PATH and removes the temporary directory.
class FakeIpmitool {
 public:
  explicit FakeIpmitool(const std::string& fixtureCase = "small-server");
  ~FakeIpmitool();
  FakeIpmitool(const FakeIpmitool&) = delete;
  FakeIpmitool& operator=(const FakeIpmitool&) = delete;

  // Replays these texts instead of a fixture case.
  void replayText(const std::string& verboseListing, const std::string& compactListing);
  // The SDR listing its shell and "-c sdr elist" print.
  void replaySdrListing(const std::string& sdrListing);
  void setExitCode(int code);
  // Shell code the tool runs first, in its own shell, with $dir its directory.
  void injectFault(const std::string& shellCode);
  // Shell code the tool's shell runs before each answer, with $command the command it answers.
  void injectShellFault(const std::string& shellCode);
  // One entry per run: the arguments joined by single blanks, e.g. "sensor -v"; one entry
  // "shell: COMMAND" per command its shell read.
  std::vector<std::string> recordedCalls() const;
  const std::string& directory() const { return dir_; }

 private:
  void replay(const std::string& fixtureCase);

  std::string dir_;
  std::string savedPath_;
};

// Absolute path of a fixture file, e.g. fixturePath("small-server", "verbose.txt").
std::string fixturePath(const std::string& fixtureCase, const std::string& file);
std::string readFile(const std::string& path);

}  // namespace test
}  // namespace vtr

#endif
