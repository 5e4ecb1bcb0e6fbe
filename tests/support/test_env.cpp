#include "support/test_env.h"

#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
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

}  // namespace test
}  // namespace vtr
