#pragma once
// RunInChild: runs checks in a forked child, for faults that must stay out of the test process
// (a file size limit, an ignored signal, a killed process), and brings back every failed check
// as readable text. ChildProcess and Gate: children that live on beside the test, say when they
// are ready, start together, and end normally or are killed, for what processes sharing a
// directory do to each other.

#include <errno.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <set>
#include <string>

/// What a child's checks say; given to the body that runs in the child.
class ChildChecks {
 public:
  /// Records `what` as failed unless `ok`; answers `ok`, so a body can stop early.
  bool Check(bool ok, const std::string& what) {
    if (!ok) m_failures += "  " + what + "\n";
    return ok;
  }
  const std::string& Failures() const { return m_failures; }

 private:
  std::string m_failures;
};

/// The child's report: "" when every check held, else the failed checks one per line, or how
/// the child ended if it did not end by itself.
inline std::string RunInChild(const std::function<void(ChildChecks&)>& body) {
  int pipe_ends[2];
  if (::pipe(pipe_ends) != 0) return "no pipe to the child";
  const pid_t child = ::fork();
  if (child < 0) return "fork failed";
  if (child == 0) {
    ::close(pipe_ends[0]);
    ChildChecks checks;
    body(checks);
    const std::string& text = checks.Failures();
    for (size_t done = 0; done < text.size();) {
      const ssize_t n = ::write(pipe_ends[1], text.data() + done, text.size() - done);
      if (n <= 0) break;
      done += static_cast<size_t>(n);
    }
    ::_exit(0);
  }
  ::close(pipe_ends[1]);
  std::string report;
  char buffer[512];
  for (ssize_t n; (n = ::read(pipe_ends[0], buffer, sizeof buffer)) > 0;) report.append(buffer, static_cast<size_t>(n));
  ::close(pipe_ends[0]);
  int status = 0;
  ::waitpid(child, &status, 0);
  if (WIFSIGNALED(status)) report += "  the child was killed by signal " + std::to_string(WTERMSIG(status)) + "\n";
  return report;
}

// Children wait at a gate until the parent opens it. The parent holds the only writing end of
// its pipe (every child closes its copies as it starts), so opening it lets all through at once.
class Gate {
 public:
  Gate() {
    if (::pipe(m_ends) == 0) Writers().insert(m_ends[1]);
  }
  ~Gate() {
    Open();
    ::close(m_ends[0]);
  }
  Gate(const Gate&) = delete;
  Gate& operator=(const Gate&) = delete;

  void Open() {
    if (Writers().erase(m_ends[1])) ::close(m_ends[1]);
  }
  void Wait() const {
    char byte;
    for (ssize_t n; (n = ::read(m_ends[0], &byte, 1)) > 0 || (n < 0 && errno == EINTR);) {
    }
  }
  // In a new child: lets go of the writing end of every gate.
  static void CloseWritersInChild() {
    for (int fd : Writers()) ::close(fd);
    Writers().clear();
  }

 private:
  static std::set<int>& Writers() {
    static std::set<int> writers;
    return writers;
  }
  int m_ends[2] = {-1, -1};
};

// A forked child running `body`. Through a pipe it tells the parent once that it is ready
// (a mark byte), and at its end its failed checks as text. It ends with exit(0) (End), so the
// process's static clean-up runs as at any normal end, or the parent kills it.
class ChildProcess {
 public:
  explicit ChildProcess(const std::function<void(ChildProcess&)>& body) {
    int ends[2];
    if (::pipe(ends) != 0) {
      m_report = "  no pipe to the child\n";
      return;
    }
    std::fflush(nullptr);  // what the parent buffered is printed once
    m_pid = ::fork();
    if (m_pid == 0) {
      Gate::CloseWritersInChild();
      ::close(ends[0]);
      m_fd = ends[1];
      body(*this);
      End();
    }
    ::close(ends[1]);
    m_fd = ends[0];
    if (m_pid < 0) m_report = "  fork failed\n";
  }
  ~ChildProcess() {
    if (m_pid > 0 && !m_reaped) Kill();
    if (m_fd >= 0) ::close(m_fd);
  }
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  // In the child.
  ChildChecks checks;
  void Ready() { (void)!::write(m_fd, &kReadyMark, 1); }
  /// Sends the report and ends the process normally, with whatever is still open.
  [[noreturn]] void End() {
    const std::string& text = checks.Failures();
    for (size_t done = 0; done < text.size();) {
      const ssize_t n = ::write(m_fd, text.data() + done, text.size() - done);
      if (n <= 0) break;
      done += static_cast<size_t>(n);
    }
    std::exit(0);
  }

  // In the parent.
  pid_t Pid() const { return m_pid; }
  /// True once the child said it is ready; false if it ended or the time ran out first.
  bool WaitReady() { return _Receive(false); }
  void Kill() {
    ::kill(m_pid, SIGKILL);
    _Reap();
  }
  /// Waits for the child's end: "" when all its checks held, else its failed checks one per
  /// line, or how it ended if not by exit(0).
  std::string Finish() {
    if (!m_reaped) {
      if (!_Receive(true)) {
        m_report += "  the child did not end in time\n";
        ::kill(m_pid, SIGKILL);
      }
      const int status = _Reap();
      if (WIFSIGNALED(status))
        m_report += "  the child was killed by signal " + std::to_string(WTERMSIG(status)) + "\n";
      if (WIFEXITED(status) && WEXITSTATUS(status) != 0)
        m_report += "  the child exited with " + std::to_string(WEXITSTATUS(status)) + "\n";
    }
    return m_report;
  }

 private:
  static constexpr char kReadyMark = '\1';

  // Reads from the child until its ready mark arrives (or, with `to_end`, the pipe ends);
  // false when the pipe ended first or the time ran out.
  bool _Receive(bool to_end) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (true) {
      if (!to_end && m_ready) return true;
      if (m_ended) return to_end;
      using std::chrono::milliseconds;
      const auto left = std::chrono::duration_cast<milliseconds>(deadline - std::chrono::steady_clock::now());
      pollfd poll_fd{m_fd, POLLIN, 0};
      const int polled = ::poll(&poll_fd, 1, static_cast<int>(std::max<long long>(left.count(), 0)));
      if (polled < 0 && errno == EINTR) continue;
      if (polled <= 0) return false;
      char buffer[512];
      const ssize_t n = ::read(m_fd, buffer, sizeof buffer);
      if (n < 0 && errno == EINTR) continue;
      if (n <= 0) {
        m_ended = true;
        continue;
      }
      for (ssize_t i = 0; i < n; ++i) {
        if (buffer[i] == kReadyMark)
          m_ready = true;
        else
          m_report.push_back(buffer[i]);
      }
    }
  }
  int _Reap() {
    int status = 0;
    if (m_pid > 0 && !m_reaped) ::waitpid(m_pid, &status, 0);
    m_reaped = true;
    return status;
  }

  pid_t m_pid = -1;
  int m_fd = -1;
  bool m_ready = false, m_ended = false, m_reaped = false;
  std::string m_report;
};
