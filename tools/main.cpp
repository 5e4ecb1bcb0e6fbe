// vtr-host: runs an event-provider plug-in and prints its events as JSON lines.
#include <csignal>
#include <cstdio>
#include <exception>

#include "tools/command_line.h"
#include "tools/host_loop.h"
#include "tools/plugin_library.h"

namespace {

volatile std::sig_atomic_t stopRequested = 0;

// Lock-free, so safe in a handler; atomic, because other threads read it.
void requestStop(int) { __atomic_store_n(&stopRequested, 1, __ATOMIC_RELEASE); }

void installSignalHandlers() {
  struct sigaction action {};
  action.sa_handler = requestStop;
  sigemptyset(&action.sa_mask);
  action.sa_flags = SA_RESTART;
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
  // A reader that went away shows up as a failed write, not as a kill.
  std::signal(SIGPIPE, SIG_IGN);
}

int fail(const char* message, int code) {
  std::fprintf(stderr, "vtr-host: %s\n", message);
  return code;
}

}  // namespace

int main(int argc, char** argv) {
  vtr::host::CommandLine commandLine = vtr::host::parseCommandLine(argc, argv);
  if (!commandLine.options) {
    if (!commandLine.error.empty()) return fail(commandLine.error.c_str(), commandLine.exitCode);
    std::fputs(commandLine.helpText.c_str(), stdout);
    return commandLine.exitCode;
  }
  installSignalHandlers();
  try {
    vtr::host::runHost(*commandLine.options, stopRequested);
  } catch (const std::exception& error) {
    return fail(error.what(), 1);
  }
  return 0;
}
