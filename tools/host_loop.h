#ifndef VTR_HOST_HOST_LOOP_H
#define VTR_HOST_HOST_LOOP_H

#include <csignal>

#include "tools/command_line.h"

namespace vtr {
namespace host {

// Loads the plug-in, runs its provider and prints its events until the sample count or the
// duration is reached or `stopRequested` is set. Everything it started is stopped and freed
// before it returns or throws (HostError, carrying the one line to report).
void runHost(const HostOptions& options, const volatile std::sig_atomic_t& stopRequested);

}  // namespace host
}  // namespace vtr

#endif
