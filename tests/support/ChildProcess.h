#pragma once
// RunInChild: runs checks in a forked child, for faults that must stay out of the test process
// (a file size limit, an ignored signal, a killed process), and brings back every failed check
// as readable text.

#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <functional>
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
