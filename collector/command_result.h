#ifndef VTR_COLLECTOR_COMMAND_RESULT_H
#define VTR_COLLECTOR_COMMAND_RESULT_H

#include <string>

#include "collector/shell_run.h"

namespace vtr {
namespace ipmitool {

// The shell line of a tool command: "timeout <seconds> <command> 2>&1", after "sudo " when
// asked. `timeout` wraps only the first program of a pipeline and the redirection applies to
// the last: the line is composed as it stands, without quoting.
std::string composeCommandLine(const std::string& command, unsigned int timeoutSeconds, bool useSudo);

// The result code of a run that was not stopped, with its log line: the shell's exit code,
// 124 when the time limit ended it, -1 when it did not start, was killed by a signal or
// wrote too much.
int commandResult(const ShellRun& run, const std::string& line);
// The same for one answer of a long-lived tool (tool_shell.h): 0 for a whole answer, -1 with
// its own line for a process that ended before its prompt.
int answerResult(const ShellRun& run, const std::string& line);

}  // namespace ipmitool
}  // namespace vtr

#endif
