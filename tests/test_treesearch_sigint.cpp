// Interrupts during a run, in a forked child so that the process-wide flag
// and the exit of the second signal stay there.
#include <gtest/gtest.h>

#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <string>
#include <thread>

#include "morvex.h"
#include "treesearch_script.h"

namespace {

using namespace tstest;
using treesearch::AbstractTimeStampData;

constexpr int kTimeoutMs = 60000;

// Reads one byte, or returns 0 after the timeout or at end of file.
char read_byte(int fd, int timeout_ms = kTimeoutMs) {
  pollfd p{fd, POLLIN, 0};
  if (::poll(&p, 1, timeout_ms) != 1) return 0;
  char c = 0;
  return ::read(fd, &c, 1) == 1 ? c : 0;
}

std::string read_all(int fd) {
  std::string text;
  while (char c = read_byte(fd)) text += c;
  return text;
}

// Exit status of the child, or -1 (after killing it) when it hangs.
int wait_child(pid_t pid) {
  auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(kTimeoutMs);
  int status = 0;
  while (::waitpid(pid, &status, WNOHANG) == 0) {
    if (std::chrono::steady_clock::now() > deadline) {
      ::kill(pid, SIGKILL);
      ::waitpid(pid, &status, 0);
      return -1;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// Forks a child that runs the machine: its ready and result pipes are kept
// for reading and, with `capture`, its standard output. Each task publishes
// a solution and grows the tree until the run must end; once a solution is
// published the child sends 'r', and with `ignore_interrupt` that task then
// keeps running after the first signal (after sending 's'). At the end the
// child reports "<code> kept|lost" (whether the best solution survived).
struct ChildProcess {
  int ready[2], result[2], out[2];
  pid_t pid = -1;
  bool ignore_interrupt;
  std::atomic<bool> ready_sent{false};
  std::atomic<long> best{-1};

  ChildProcess(bool ignore, bool capture) : ignore_interrupt(ignore) {
    if (::pipe(ready) != 0 || ::pipe(result) != 0 || ::pipe(out) != 0) std::abort();
    std::fflush(nullptr);
    pid = ::fork();
    if (pid == 0) {
      if (capture) ::dup2(out[1], STDOUT_FILENO);
      run();
    }
    ::close(ready[1]);
    ::close(result[1]);
    ::close(out[1]);
  }

  ScriptTask::Body task() {
    return [this](ScriptTask& t) {
      long depth = t.get_node()->depth;
      auto solution = std::make_shared<IntSolution>(depth);
      t.machine.update_next_targeted_time_stamp_data(
          t, [&](AbstractTimeStampData& d) { d.solution_pool->add(solution); });
      long seen = best.load();
      while (seen < depth && !best.compare_exchange_weak(seen, depth)) {}
      if (depth >= 3 && !ready_sent.exchange(true)) {
        if (::write(ready[1], "r", 1) != 1) ::_exit(4);
        if (ignore_interrupt) {
          while (!t.machine.terminated_by_sigint()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
          if (::write(ready[1], "s", 1) != 1) ::_exit(4);
          std::this_thread::sleep_for(std::chrono::milliseconds(kTimeoutMs));
          ::_exit(3);
        }
      }
      std::this_thread::sleep_for(std::chrono::microseconds(500));
      if (t.machine.needs_to_end()) return;
      t.spawn({}, 1, task());
      t.spawn({}, 1, task());
    };
  }

  [[noreturn]] void run() {
    auto p = params(2, 2);
    p.time_limit = kTimeoutMs / 1000.0;
    ScriptMachine m(p);
    m.add_task(nullptr, std::make_unique<ScriptTask>(m, std::vector<double>{}, 1, task()));
    int rc = m.run();
    int code = rc != 0 ? MX_RC_INTERNAL_ERROR : m.terminated_by_sigint() ? MX_RC_USER_TERMINATION : 0;
    auto kept = m.get_current_time_stamp_data().solution_pool->get_best_solution();
    const bool same = kept && static_cast<IntSolution&>(*kept).value == best;
    std::string report = std::to_string(code) + (same ? " kept" : " lost");
    if (::write(result[1], report.data(), report.size()) < 0) ::_exit(4);
    ::_exit(0);
  }
};

TEST(TreeSearchInterrupt, FirstSignalEndsTheRunKeepingTheBestSolution) {
  ChildProcess c(false, false);
  ASSERT_GE(c.pid, 0);
  ASSERT_EQ(read_byte(c.ready[0]), 'r');
  ::kill(c.pid, SIGINT);
  EXPECT_EQ(read_all(c.result[0]), std::to_string(MX_RC_USER_TERMINATION) + " kept");
  EXPECT_EQ(wait_child(c.pid), 0);
}

TEST(TreeSearchInterrupt, SecondSignalEndsTheProcess) {
  ChildProcess c(true, true);
  ASSERT_GE(c.pid, 0);
  ASSERT_EQ(read_byte(c.ready[0]), 'r');
  ::kill(c.pid, SIGINT);
  ASSERT_EQ(read_byte(c.ready[0]), 's');
  ::kill(c.pid, SIGINT);
  EXPECT_EQ(wait_child(c.pid), 1);
  EXPECT_EQ(read_all(c.out[0]), "\n");
  EXPECT_EQ(read_all(c.result[0]), "");
}

}  // namespace
