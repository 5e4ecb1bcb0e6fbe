#include "runtime/logger.h"

#include <ctype.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "runtime/rate_limit.h"
#include "support/log_capture.h"

namespace {
using vtr::test::LogRecorder;
using vtr::test::ScratchFile;

// The wall clock the runtime reads (CLOCK_REALTIME), pinned by a test while this is not
// negative; every other clock, and this one otherwise, is the kernel's.
std::atomic<int64_t> pinnedNowUs{-1};
}  // namespace

extern "C" int clock_gettime(clockid_t id, struct timespec* ts) {
  const int64_t pinned = pinnedNowUs.load();
  if (id != CLOCK_REALTIME || pinned < 0) return static_cast<int>(syscall(SYS_clock_gettime, id, ts));
  ts->tv_sec = pinned / 1000000;
  ts->tv_nsec = pinned % 1000000 * 1000;
  return 0;
}

namespace {

using LoggerCtx = std::unique_ptr<vtr_logger_ctx_t, decltype(&vtr_destroy_logger_ctx)>;
LoggerCtx snapshot() { return LoggerCtx(vtr_get_logger_ctx(), &vtr_destroy_logger_ctx); }

void setOrUnset(const char* name, const char* value) { value ? setenv(name, value, 1) : unsetenv(name); }

// The lines of the file that carry `marker` (the logger's own debug lines do not), each less
// its time stamp "[YYYY-MM-DD hh:mm:ss.mmm] "; a line without one is kept whole, so it fails.
std::vector<std::string> linesWith(const ScratchFile& file, const std::string& marker) {
  const std::string shape = "[0000-00-00 00:00:00.000] ";  // '0' stands for any digit
  std::vector<std::string> result;
  for (const std::string& line : file.lines()) {
    if (line.find(marker) == std::string::npos) continue;
    bool stamped = line.size() >= shape.size();
    for (size_t i = 0; stamped && i < shape.size(); ++i)
      stamped = shape[i] == '0' ? isdigit(static_cast<unsigned char>(line[i])) != 0 : line[i] == shape[i];
    result.push_back(stamped ? line.substr(shape.size()) : line);
  }
  return result;
}

// The level is read once per process, by the first message; reading it never logs, not even
// the conflict of its two forms.
struct LevelCase {
  const char* prefixed;
  const char* bare;
  uint32_t level;
};
class LogLevelFromEnvironmentFreshProcess : public ::testing::TestWithParam<LevelCase> {};

TEST_P(LogLevelFromEnvironmentFreshProcess, AdmitsExactlyThePrioritiesUpToTheLevel) {
  setOrUnset("VTR_API_LOG_LEVEL", GetParam().prefixed);
  setOrUnset("API_LOG_LEVEL", GetParam().bare);
  LogRecorder log(vtr_set_log_func, VTR_LOG_LEVEL_UNSET);
  for (int priority : {VTR_LOG_ERR, VTR_LOG_WARNING, VTR_LOG_INFO, VTR_LOG_DEBUG}) vtr_log(priority, "at %d", priority);
  EXPECT_EQ(vtr_log_level, GetParam().level);
  for (int priority : {VTR_LOG_ERR, VTR_LOG_WARNING, VTR_LOG_INFO, VTR_LOG_DEBUG})
    EXPECT_EQ(log.contains("at " + std::to_string(priority)), GetParam().level >= uint32_t(priority)) << priority;
  EXPECT_EQ(log.countContaining("API_LOG_LEVEL"), 0u);
}

INSTANTIATE_TEST_SUITE_P(Cases, LogLevelFromEnvironmentFreshProcess,
                         ::testing::Values(LevelCase{nullptr, nullptr, 0}, LevelCase{"7", nullptr, 7},
                                           LevelCase{"abc", nullptr, 0}, LevelCase{"-2", nullptr, 0xFFFFFFFEu},
                                           LevelCase{"3", "7", 3}, LevelCase{nullptr, "6", 6},
                                           LevelCase{"4", "4", 4}));

// Once a process has its logger mutex it keeps it. The switch is read through the environment
// lookup, which says what it found, before the logger says what it decided.
struct ThreadSafeCase {
  const char* prefixed;  // VTR_LOG_THREAD_SAFE
  const char* bare;      // LOG_THREAD_SAFE
  bool locked;
  std::vector<std::string> lines;  // everything setting up the logger at level 7 writes, in order
};
void PrintTo(const ThreadSafeCase& row, std::ostream* out) {
  const auto shown = [](const char* value) { return value ? "'" + std::string(value) + "'" : std::string("unset"); };
  *out << "prefixed " << shown(row.prefixed) << ", bare " << shown(row.bare);
}
class LogThreadSafeSwitchFreshProcess : public ::testing::TestWithParam<ThreadSafeCase> {};

TEST_P(LogThreadSafeSwitchFreshProcess, DecidesWhetherLinesAreSerialisedAndSaysWhy) {
  setOrUnset("VTR_LOG_THREAD_SAFE", GetParam().prefixed);
  setOrUnset("LOG_THREAD_SAFE", GetParam().bare);
  LogRecorder log;
  ASSERT_EQ(vtr_init_stderr_logger(VTR_LOG_DEBUG), 1);
  EXPECT_EQ(snapshot()->mutex != nullptr, GetParam().locked);
  std::vector<std::string> lines;
  for (const auto& line : log.all()) lines.push_back(vtr_priority_level_string_logger(line.priority) + line.text);
  EXPECT_EQ(lines, GetParam().lines);
}

const std::string kUsing = "[debug] [vtr_getenv] Using ";
const std::string kDisabled =
    "[debug] [logger] [_vtr_init_logger_mutex] Thread safety is disabled by environment variable VTR_LOG_THREAD_SAFE";
const std::string kUnlocked = "[debug] [logger] [vtr_init_stderr_logger] Initialized logger without thread-safety";

INSTANTIATE_TEST_SUITE_P(
    Cases, LogThreadSafeSwitchFreshProcess,
    ::testing::Values(
        ThreadSafeCase{nullptr, nullptr, true,
                       {"[debug] [vtr_getenv] No value for 'VTR_LOG_THREAD_SAFE' or 'LOG_THREAD_SAFE'"}},
        ThreadSafeCase{"", nullptr, true, {kUsing + "'VTR_LOG_THREAD_SAFE'=''"}},
        ThreadSafeCase{"y", nullptr, true, {kUsing + "'VTR_LOG_THREAD_SAFE'='y'"}},
        ThreadSafeCase{"t", nullptr, true, {kUsing + "'VTR_LOG_THREAD_SAFE'='t'"}},
        ThreadSafeCase{"1", nullptr, true, {kUsing + "'VTR_LOG_THREAD_SAFE'='1'"}},
        ThreadSafeCase{"no", nullptr, false, {kUsing + "'VTR_LOG_THREAD_SAFE'='no'", kDisabled, kUnlocked}},
        ThreadSafeCase{"0", nullptr, false, {kUsing + "'VTR_LOG_THREAD_SAFE'='0'", kDisabled, kUnlocked}},
        ThreadSafeCase{nullptr, "no", false, {kUsing + "'LOG_THREAD_SAFE'='no'", kDisabled, kUnlocked}},
        ThreadSafeCase{"1", "0", true,
                       {"[warning] [vtr_getenv] Environment variables conflict - VTR_LOG_THREAD_SAFE=1 and "
                        "LOG_THREAD_SAFE=0. Using VTR_LOG_THREAD_SAFE",
                        kUsing + "'VTR_LOG_THREAD_SAFE'='1'"}}));

// Registering the logger's own context changes nothing: it stays configurable.
TEST(LoggerFileSink, EachLineCarriesTimestampLevelTagAndMessage) {
  EXPECT_EQ(vtr_register_logger(snapshot().get()), 1);
  EXPECT_EQ(is_registered, 0);
  EXPECT_EQ(vtr_register_logger(nullptr), 0);
  ScratchFile file;
  ASSERT_EQ(vtr_init_file_logger(file.path(), VTR_LOG_DEBUG), 1);
  EXPECT_EQ(snapshot()->type, uint32_t(VTR_LOGGER_FILE));
  for (int priority : {VTR_LOG_ERR, VTR_LOG_WARNING, 5, VTR_LOG_INFO, VTR_LOG_DEBUG}) vtr_log(priority, "line %d", priority);
  vtr_close_logger();
  EXPECT_EQ(linesWith(file, "line "), (std::vector<std::string>{"[error] line 3", "[warning] line 4", "line 5",
                                                                "[info] line 6", "[debug] line 7"}));
}

// A file that cannot be opened, and closing any sink, leave the logger on stderr.
TEST(LoggerSinks, EndOnStderrAtTheirLevel) {
  const struct {
    const char* name;
    std::function<int()> init;
    int result;
    uint32_t type;  // while open
    FILE* stream;
  } rows[] = {
      {"unopenable file", [] { return vtr_init_file_logger("/nonexistent-directory/vtr.log", VTR_LOG_INFO); }, 0,
       VTR_LOGGER_STDERR, stderr},
      {"syslog", [] { return vtr_init_syslog_logger("vtr-runtime-test", VTR_LOG_INFO); }, 1, VTR_LOGGER_SYSLOG, nullptr},
      {"stderr", [] { return vtr_init_stderr_logger(VTR_LOG_INFO); }, 1, VTR_LOGGER_STDERR, stderr},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(row.init(), row.result) << row.name;
    EXPECT_EQ(snapshot()->type, row.type) << row.name;
    EXPECT_EQ(snapshot()->stream, row.stream) << row.name;
    vtr_log(VTR_LOG_INFO, "runtime test line");
    vtr_close_logger();
    const LoggerCtx after = snapshot();
    EXPECT_EQ(after->type, uint32_t(VTR_LOGGER_STDERR)) << row.name;
    EXPECT_EQ(after->stream, stderr) << row.name;
    EXPECT_EQ(after->level, uint32_t(VTR_LOG_INFO)) << row.name;
  }
}

TEST(LogHex, PartialAndFullLinesPutTheBarInOneColumn) {
  ScratchFile file;
  ASSERT_EQ(vtr_init_file_logger(file.path(), VTR_LOG_DEBUG), 1);
  const unsigned char bytes[20] = {'H',  'e',  'l', 'l', 'o', ',', ' ', 'W', 0x00, 0x01,
                                   0x7F, 0x80, '~', ' ', 'a', 'b', 'w', 'x', 'y',  'z'};
  for (size_t length : {8, 16, 20, 0}) log_hex(bytes, length);
  vtr_close_logger();
  const std::string half = "[debug] 48 65 6C 6C 6F 2C 20 57 ";
  const std::string full = half + " 00 01 7F 80 7E 20 61 62  |  Hello, W....~ ab ";
  EXPECT_EQ(linesWith(file, "|  "), (std::vector<std::string>{half + std::string(26, ' ') + "|  Hello, W ", full, full,
                                                              "[debug] 77 78 79 7A " + std::string(38, ' ') + "|  wxyz "}));
}

// A registered host logger stays for the life of the process.
TEST(LoggerRegistrationFreshProcess, HostFunctionReceivesLinesAndLoggerCannotBeReconfigured) {
  LogRecorder log([](vtr_log_func_t, uint32_t) {});  // records what the host function gets
  vtr_logger_ctx_t host = {};
  host.type = VTR_LOGGER_FUNC;
  host.log_func = LogRecorder::capture;
  host.level = VTR_LOG_DEBUG;
  ASSERT_EQ(vtr_register_logger(&host), 1);
  EXPECT_EQ(is_registered, 1);
  vtr_log(VTR_LOG_INFO, "plug-in line %d", 1);
  EXPECT_TRUE(log.contains("plug-in line 1"));
  ScratchFile file;
  EXPECT_EQ(vtr_init_file_logger(file.path(), VTR_LOG_DEBUG), 0);
  EXPECT_EQ(vtr_init_stderr_logger(VTR_LOG_DEBUG), 0);
  EXPECT_EQ(vtr_init_syslog_logger("vtr", VTR_LOG_DEBUG), 0);
  vtr_close_logger();
  for (const char* init : {"vtr_init_file_logger", "vtr_init_stderr_logger", "vtr_init_syslog_logger"})
    EXPECT_TRUE(log.contains(std::string("[logger] [") + init + "] registered logger cannot initialize logger"));
  EXPECT_TRUE(log.contains("[logger] [vtr_close_logger] tried closing a registered logger, skipping closure"));
  EXPECT_EQ(snapshot()->type, uint32_t(VTR_LOGGER_FUNC));
}

TEST(LoggerRegistrationFreshProcess, HostStreamAndMutexAreSharedAndOutliveTheExitHandler) {
  ScratchFile file;
  FILE* stream = fopen(file.path(), "w");
  ASSERT_NE(stream, nullptr);
  pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
  vtr_logger_ctx_t host = {VTR_LOGGER_FILE, stream, nullptr, VTR_LOG_WARNING, &mutex};
  ASSERT_EQ(vtr_register_logger(&host), 1);
  vtr_log(VTR_LOG_WARNING, "through the host's stream");
  vtr_logger_cleanup_mutex_exit_handler();
  EXPECT_EQ(snapshot()->mutex, &mutex);
  fclose(stream);
  EXPECT_EQ(linesWith(file, "host's stream"), std::vector<std::string>{"[warning] through the host's stream"});
}

// A line 9,999,999 us after the last written one is held back, one 10,000,000 us after is
// written; a held-back line does not restart the window.
TEST(RateLimit, WindowEndsExactlyTenSecondsAfterTheLastWrittenLine) {
  std::atomic<uint64_t> clock{0};
  const auto allowedAt = [&](int64_t nowUs) {
    pinnedNowUs = nowUs;
    const bool allowed = vtr::rate_limit_allow(clock);
    pinnedNowUs = -1;
    return allowed;
  };
  std::vector<bool> allowed;
  for (int64_t nowUs : {50000000, 50000001, 59999999, 60000000, 60000000}) allowed.push_back(allowedAt(nowUs));
  EXPECT_EQ(allowed, (std::vector<bool>{true, false, false, true, false}));
}

TEST(RateLimit, RacingThreadsAndRepeatedCallsWriteTheMessageOnce) {
  std::atomic<uint64_t> clock{0};
  std::atomic<int> allowed{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 8; ++t)
    threads.emplace_back([&] {
      for (int i = 0; i < 100; ++i) allowed += vtr::rate_limit_allow(clock);
    });
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(allowed.load(), 1);
  LogRecorder log(vtr_set_log_func, VTR_LOG_WARNING);
  for (int i = 0; i < 3; ++i) vtr_log_rate_limited(VTR_LOG_WARNING, "repeated %d", i);
  EXPECT_EQ(log.all().size(), 1u);
  EXPECT_TRUE(log.contains("repeated 0"));
}

}  // namespace
