#include "runtime/logger.h"

#include <ctype.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <memory>
#include <ostream>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "support/log_capture.h"
#include "runtime/rate_limit.h"

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

void set_or_unset(const char* name, const char* value) {
  if (value != nullptr)
    setenv(name, value, 1);
  else
    unsetenv(name);
}

// The part of a line after its time stamp "[YYYY-MM-DD hh:mm:ss.mmm] "; empty when the line
// does not start with one.
std::string after_timestamp(const std::string& line) {
  const std::string shape = "[0000-00-00 00:00:00.000] ";  // '0' stands for any digit
  if (line.size() < shape.size()) return "";
  for (size_t i = 0; i < shape.size(); ++i) {
    const bool matches = shape[i] == '0' ? isdigit(static_cast<unsigned char>(line[i])) != 0 : line[i] == shape[i];
    if (!matches) return "";
  }
  return line.substr(shape.size());
}

// Lines of the file that carry `marker`, so the logger's own debug lines do not count.
std::vector<std::string> lines_with(const ScratchFile& file, const std::string& marker) {
  std::vector<std::string> result;
  for (const std::string& line : file.lines())
    if (line.find(marker) != std::string::npos) result.push_back(line);
  return result;
}

// ---- Level from the environment -------------------------------------------------------

struct LevelCase {
  const char* prefixed;
  const char* bare;
  uint32_t level;
};

std::ostream& operator<<(std::ostream& out, const LevelCase& c) {
  return out << (c.prefixed ? c.prefixed : "unset") << " and " << (c.bare ? c.bare : "unset");
}

// The level is read once per process, by the first message.
class LogLevelFromEnvironmentFreshProcess : public ::testing::TestWithParam<LevelCase> {};

TEST_P(LogLevelFromEnvironmentFreshProcess, AdmitsExactlyThePrioritiesUpToTheLevel) {
  set_or_unset("VTR_API_LOG_LEVEL", GetParam().prefixed);
  set_or_unset("API_LOG_LEVEL", GetParam().bare);
  unsetenv("VTR_LOG_THREAD_SAFE");
  unsetenv("LOG_THREAD_SAFE");
  LogRecorder log(vtr_set_log_func, VTR_LOG_LEVEL_UNSET);  // the first message reads the level

  for (int priority : {VTR_LOG_ERR, VTR_LOG_WARNING, VTR_LOG_INFO, VTR_LOG_DEBUG})
    vtr_log(priority, "message at %d", priority);

  EXPECT_EQ(vtr_log_level, GetParam().level);
  for (int priority : {VTR_LOG_ERR, VTR_LOG_WARNING, VTR_LOG_INFO, VTR_LOG_DEBUG})
    EXPECT_EQ(log.contains("message at " + std::to_string(priority)), GetParam().level >= uint32_t(priority))
        << "priority " << priority;
  // Reading the level itself never logs, not even the conflict of its two forms.
  EXPECT_EQ(log.countContaining("API_LOG_LEVEL"), 0u);
}

INSTANTIATE_TEST_SUITE_P(Cases, LogLevelFromEnvironmentFreshProcess,
                         ::testing::Values(LevelCase{nullptr, nullptr, 0}, LevelCase{"7", nullptr, 7},
                                           LevelCase{"abc", nullptr, 0}, LevelCase{"-2", nullptr, 0xFFFFFFFEu},
                                           LevelCase{"3", "7", 3}, LevelCase{nullptr, "6", 6},
                                           LevelCase{"4", "4", 4}));

// ---- Thread safety switch -------------------------------------------------------------

struct ThreadSafeCase {
  const char* value;
  bool locked;
};

std::ostream& operator<<(std::ostream& out, const ThreadSafeCase& c) {
  return out << (c.value ? "'" + std::string(c.value) + "'" : "unset");
}

// Once a process has its logger mutex it keeps it.
class LogThreadSafeSwitchFreshProcess : public ::testing::TestWithParam<ThreadSafeCase> {};

TEST_P(LogThreadSafeSwitchFreshProcess, DecidesWhetherLinesAreSerialised) {
  set_or_unset("VTR_LOG_THREAD_SAFE", GetParam().value);
  unsetenv("LOG_THREAD_SAFE");
  LogRecorder log;

  ASSERT_EQ(vtr_init_stderr_logger(VTR_LOG_DEBUG), 1);

  EXPECT_EQ(snapshot()->mutex != nullptr, GetParam().locked);
  EXPECT_EQ(log.contains("[logger] [vtr_init_stderr_logger] Initialized logger without thread-safety"),
            !GetParam().locked);
}

INSTANTIATE_TEST_SUITE_P(Cases, LogThreadSafeSwitchFreshProcess,
                         ::testing::Values(ThreadSafeCase{nullptr, true}, ThreadSafeCase{"", true},
                                           ThreadSafeCase{"y", true}, ThreadSafeCase{"t", true},
                                           ThreadSafeCase{"1", true}, ThreadSafeCase{"no", false},
                                           ThreadSafeCase{"0", false}));

// ---- Line format ----------------------------------------------------------------------

TEST(LoggerFileSink, EachLineCarriesTimestampLevelTagAndMessage) {
  ScratchFile file;
  ASSERT_EQ(vtr_init_file_logger(file.path(), VTR_LOG_DEBUG), 1);
  const std::vector<std::pair<int, std::string>> cases = {
      {VTR_LOG_ERR, "[error] "}, {VTR_LOG_WARNING, "[warning] "}, {5, ""},
      {VTR_LOG_INFO, "[info] "}, {VTR_LOG_DEBUG, "[debug] "}};
  for (const auto& [priority, tag] : cases) vtr_log(priority, "line at %d", priority);
  vtr_close_logger();

  const std::vector<std::string> lines = lines_with(file, "line at ");
  ASSERT_EQ(lines.size(), cases.size());
  for (size_t i = 0; i < cases.size(); ++i)
    EXPECT_EQ(after_timestamp(lines[i]), cases[i].second + "line at " + std::to_string(cases[i].first)) << lines[i];
}

TEST(LoggerFileSink, FileThatCannotBeOpenedFallsBackToStderr) {
  EXPECT_EQ(vtr_init_file_logger("/nonexistent-directory/vtr.log", VTR_LOG_INFO), 0);

  const LoggerCtx ctx = snapshot();
  EXPECT_EQ(ctx->type, uint32_t(VTR_LOGGER_STDERR));
  EXPECT_EQ(ctx->stream, stderr);
  EXPECT_EQ(ctx->level, uint32_t(VTR_LOG_INFO));
}

TEST(LoggerFileSink, ClosingKeepsTheWrittenLinesAndReturnsToStderr) {
  ScratchFile file;
  ASSERT_EQ(vtr_init_file_logger(file.path(), VTR_LOG_INFO), 1);
  EXPECT_EQ(snapshot()->type, uint32_t(VTR_LOGGER_FILE));
  vtr_log(VTR_LOG_INFO, "kept line");
  vtr_close_logger();

  EXPECT_EQ(lines_with(file, "kept line").size(), 1u);
  const LoggerCtx ctx = snapshot();
  EXPECT_EQ(ctx->type, uint32_t(VTR_LOGGER_STDERR));
  EXPECT_EQ(ctx->stream, stderr);
  EXPECT_EQ(ctx->level, uint32_t(VTR_LOG_INFO));
}

TEST(LoggerSyslogSink, SnapshotCarriesNoStreamAndCloseReturnsToStderr) {
  ASSERT_EQ(vtr_init_syslog_logger("vtr-runtime-test", VTR_LOG_ERR), 1);
  const LoggerCtx ctx = snapshot();
  EXPECT_EQ(ctx->type, uint32_t(VTR_LOGGER_SYSLOG));
  EXPECT_EQ(ctx->stream, nullptr);
  vtr_log(VTR_LOG_ERR, "runtime test line to syslog");

  vtr_close_logger();
  EXPECT_EQ(snapshot()->type, uint32_t(VTR_LOGGER_STDERR));
}

// ---- Hex dump -------------------------------------------------------------------------

// The text of a debug line after its time stamp and tag.
std::string dump_text(const std::string& line) { return line.substr(line.find("[debug] ") + 8); }

TEST(LogHex, PartialAndFullLinesPutTheBarInOneColumn) {
  ScratchFile file;
  ASSERT_EQ(vtr_init_file_logger(file.path(), VTR_LOG_DEBUG), 1);
  const unsigned char bytes[20] = {'H',  'e',  'l', 'l', 'o', ',', ' ', 'W', 0x00, 0x01,
                                   0x7F, 0x80, '~', ' ', 'a', 'b', 'w', 'x', 'y',  'z'};
  log_hex(bytes, 8);
  log_hex(bytes, 16);
  log_hex(bytes, 20);
  log_hex(bytes, 0);
  vtr_close_logger();

  const std::string first_half = "48 65 6C 6C 6F 2C 20 57 ";
  const std::string full = first_half + " 00 01 7F 80 7E 20 61 62  |  Hello, W....~ ab ";
  const std::vector<std::string> expected = {
      first_half + std::string(26, ' ') + "|  Hello, W ",
      full,
      full,
      "77 78 79 7A " + std::string(38, ' ') + "|  wxyz ",
  };
  const std::vector<std::string> lines = lines_with(file, "|  ");
  ASSERT_EQ(lines.size(), expected.size());
  for (size_t i = 0; i < lines.size(); ++i) {
    EXPECT_EQ(dump_text(lines[i]), expected[i]);
    EXPECT_EQ(dump_text(lines[i]).find('|'), 50u);
  }
}

// ---- Registration of a host's logger --------------------------------------------------

TEST(LoggerRegistration, OwnContextChangesNothingAndKeepsTheLoggerConfigurable) {
  ASSERT_EQ(vtr_init_stderr_logger(VTR_LOG_ERR), 1);
  const LoggerCtx own = snapshot();

  EXPECT_EQ(vtr_register_logger(own.get()), 1);
  EXPECT_EQ(is_registered, 0);
  ScratchFile file;
  EXPECT_EQ(vtr_init_file_logger(file.path(), VTR_LOG_ERR), 1);
  vtr_close_logger();
}

TEST(LoggerRegistration, NullContextIsRefused) { EXPECT_EQ(vtr_register_logger(nullptr), 0); }

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
  EXPECT_TRUE(log.contains("[logger] [vtr_init_file_logger] registered logger cannot initialize logger"));
  EXPECT_TRUE(log.contains("[logger] [vtr_init_stderr_logger] registered logger cannot initialize logger"));
  EXPECT_TRUE(log.contains("[logger] [vtr_init_syslog_logger] registered logger cannot initialize logger"));
  EXPECT_TRUE(log.contains("[logger] [vtr_close_logger] tried closing a registered logger, skipping closure"));
  EXPECT_EQ(snapshot()->type, uint32_t(VTR_LOGGER_FUNC));
}

TEST(LoggerRegistrationFreshProcess, HostStreamAndMutexAreSharedAndOutliveTheExitHandler) {
  ScratchFile file;
  FILE* host_stream = fopen(file.path(), "w");
  ASSERT_NE(host_stream, nullptr);
  pthread_mutex_t host_mutex = PTHREAD_MUTEX_INITIALIZER;
  vtr_logger_ctx_t host = {};
  host.type = VTR_LOGGER_FILE;
  host.stream = host_stream;
  host.level = VTR_LOG_WARNING;
  host.mutex = &host_mutex;

  ASSERT_EQ(vtr_register_logger(&host), 1);
  vtr_log(VTR_LOG_WARNING, "through the host's stream");
  vtr_logger_cleanup_mutex_exit_handler();

  EXPECT_EQ(snapshot()->mutex, &host_mutex);
  fclose(host_stream);
  const std::vector<std::string> lines = lines_with(file, "through the host's stream");
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_NE(lines[0].find("[warning] through the host's stream"), std::string::npos);
}

// ---- Rate-limited messages ------------------------------------------------------------

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
  EXPECT_TRUE(allowedAt(50000000));
  EXPECT_FALSE(allowedAt(50000001));
  EXPECT_FALSE(allowedAt(59999999));
  EXPECT_TRUE(allowedAt(60000000));
  EXPECT_FALSE(allowedAt(60000000));
}

TEST(RateLimit, RacingThreadsWriteTheMessageOnce) {
  std::atomic<uint64_t> clock{0};
  std::atomic<int> allowed{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 8; ++t)
    threads.emplace_back([&] {
      for (int i = 0; i < 100; ++i)
        if (vtr::rate_limit_allow(clock)) ++allowed;
    });
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(allowed.load(), 1);
}

TEST(RateLimit, CallSiteWritesItsMessageOncePerWindow) {
  LogRecorder log(vtr_set_log_func, VTR_LOG_WARNING);
  for (int i = 0; i < 3; ++i) vtr_log_rate_limited(VTR_LOG_WARNING, "repeated %d", i);
  EXPECT_EQ(log.all().size(), 1u);
  EXPECT_TRUE(log.contains("repeated 0"));
}

}  // namespace
