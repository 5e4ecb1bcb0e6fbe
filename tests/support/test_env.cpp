#include "support/test_env.h"

#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>
#include <vector>

namespace vtr {
namespace test {

std::string makeTempDirectory(const std::string& prefix) {
  const char* tmp = std::getenv("TMPDIR");
  std::string pattern = std::string(tmp && *tmp ? tmp : "/tmp") + "/" + prefix + ".XXXXXX";
  std::vector<char> buffer(pattern.begin(), pattern.end());
  buffer.push_back('\0');
  if (!mkdtemp(buffer.data())) {
    throw std::runtime_error("cannot create a temporary directory like " + pattern);
  }
  return buffer.data();
}

void removeDirectory(const std::string& dir) {
  std::error_code ignored;
  std::filesystem::remove_all(dir, ignored);
}

std::string prependToPath(const std::string& dir) {
  const char* current = std::getenv("PATH");
  std::string saved = current ? current : "";
  setenv("PATH", (dir + ":" + saved).c_str(), 1);
  return saved;
}

void restorePath(const std::string& savedPath) { setenv("PATH", savedPath.c_str(), 1); }

ShellResult runShell(const std::string& command) {
  ShellResult result;
  FILE* pipe = popen(command.c_str(), "r");
  if (!pipe) {
    result.output = "cannot run: " + command;
    return result;
  }
  char buffer[4096];
  for (size_t n; (n = fread(buffer, 1, sizeof buffer, pipe)) > 0;) {
    result.output.append(buffer, n);
  }
  const int status = pclose(pipe);
  if (status != -1 && WIFEXITED(status)) {
    result.exitCode = WEXITSTATUS(status);
  }
  return result;
}

std::string shellQuote(const std::string& text) {
  std::string quoted = "'";
  for (char c : text) {
    quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  }
  return quoted + "'";
}

namespace {

void writeFile(const std::string& path, const std::string& text) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out << text;
  if (!out) {
    throw std::runtime_error("cannot write " + path);
  }
}

}  // namespace

std::string fixturePath(const std::string& fixtureCase, const std::string& file) {
  return std::string(VTR_TEST_FIXTURES_DIR) + "/" + fixtureCase + "/" + file;
}

std::string readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    throw std::runtime_error("cannot read " + path);
  }
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

FakeIpmitool::FakeIpmitool(const std::string& fixtureCase)
    : dir_(makeTempDirectory("vtr-fake-ipmitool")) {
  namespace fs = std::filesystem;
  const std::string tool = dir_ + "/ipmitool";
  try {
    fs::copy_file(std::string(VTR_TEST_SUPPORT_DIR) + "/fake-ipmitool", tool);
    fs::permissions(tool, fs::perms::owner_all | fs::perms::group_read | fs::perms::group_exec |
                              fs::perms::others_read | fs::perms::others_exec);
    replay(fixtureCase);
  } catch (...) {
    removeDirectory(dir_);
    throw;
  }
  savedPath_ = prependToPath(dir_);
}

FakeIpmitool::~FakeIpmitool() {
  restorePath(savedPath_);
  removeDirectory(dir_);
}

void FakeIpmitool::replay(const std::string& fixtureCase) {
  replayText(readFile(fixturePath(fixtureCase, "verbose.txt")),
             readFile(fixturePath(fixtureCase, "compact.txt")));
  const std::string sdrListing = fixturePath(fixtureCase, "sdr-elist.txt");
  replaySdrListing(std::filesystem::exists(sdrListing) ? readFile(sdrListing) : "");
  const std::string exitCode = fixturePath(fixtureCase, "exit-code");
  writeFile(dir_ + "/exit-code", std::filesystem::exists(exitCode) ? readFile(exitCode) : "");
}

void FakeIpmitool::replayText(const std::string& verboseListing,
                              const std::string& compactListing) {
  writeFile(dir_ + "/verbose.txt", verboseListing);
  writeFile(dir_ + "/compact.txt", compactListing);
}

void FakeIpmitool::replaySdrListing(const std::string& sdrListing) { writeFile(dir_ + "/sdr-elist.txt", sdrListing); }

void FakeIpmitool::setExitCode(int code) { writeFile(dir_ + "/exit-code", std::to_string(code)); }

void FakeIpmitool::injectFault(const std::string& shellCode) { writeFile(dir_ + "/fault.sh", shellCode); }

void FakeIpmitool::injectShellFault(const std::string& shellCode) { writeFile(dir_ + "/shell-fault.sh", shellCode); }

std::vector<std::string> FakeIpmitool::recordedCalls() const {
  std::vector<std::string> calls;
  std::ifstream log(dir_ + "/calls.log");
  for (std::string line; std::getline(log, line);) {
    calls.push_back(line);
  }
  return calls;
}

}  // namespace test
}  // namespace vtr
