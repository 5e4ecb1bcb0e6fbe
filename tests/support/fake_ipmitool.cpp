#include "support/fake_ipmitool.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "support/test_env.h"

namespace vtr {
namespace test {

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
  const std::string exitCode = fixturePath(fixtureCase, "exit-code");
  writeFile(dir_ + "/exit-code", std::filesystem::exists(exitCode) ? readFile(exitCode) : "");
}

void FakeIpmitool::replayText(const std::string& verboseListing,
                              const std::string& compactListing) {
  writeFile(dir_ + "/verbose.txt", verboseListing);
  writeFile(dir_ + "/compact.txt", compactListing);
}

void FakeIpmitool::setExitCode(int code) { writeFile(dir_ + "/exit-code", std::to_string(code)); }

void FakeIpmitool::injectFault(const std::string& shellCode) { writeFile(dir_ + "/fault.sh", shellCode); }
// Detached from the tool's stdout, so that only killing the run ends the reader's wait.
void FakeIpmitool::hang() { injectFault("sleep infinity </dev/null >/dev/null 2>&1"); }

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
