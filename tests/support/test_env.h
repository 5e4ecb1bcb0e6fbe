#ifndef VTR_TEST_TEST_ENV_H
#define VTR_TEST_TEST_ENV_H

#include <string>

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

}  // namespace test
}  // namespace vtr

#endif
