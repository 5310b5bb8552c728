#include "kit/child_process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <iostream>
#include <thread>

extern char** environ;

namespace vela::testkit {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

struct Pipe {
  int read = -1;
  int write = -1;
};

void CloseFd(int& fd) {
  if (fd >= 0) ::close(fd);
  fd = -1;
}

bool MakePipe(Pipe& pipe, std::string& error) {
  int fds[2];
  if (::pipe2(fds, O_CLOEXEC) != 0) {
    error = std::string("pipe2: ") + std::strerror(errno);
    return false;
  }
  pipe.read = fds[0];
  pipe.write = fds[1];
  return true;
}

// Nothing buffered in this process may reach the child's copy of the buffers,
// or the child would write it a second time.
void FlushAll() {
  std::cout.flush();
  std::cerr.flush();
  std::fflush(nullptr);
}

// In the freshly forked child: stdin from /dev/null, stdout and stderr into
// the pipes, and a process group of its own so that a timeout kill reaches
// whatever the child started in turn.
void AttachChildStdio(Pipe& out, Pipe& err) {
  ::setpgid(0, 0);
  int null = ::open("/dev/null", O_RDONLY);
  if (null >= 0 && null != STDIN_FILENO) {
    ::dup2(null, STDIN_FILENO);
    ::close(null);
  }
  ::dup2(out.write, STDOUT_FILENO);  // dup2 leaves the copies without CLOEXEC
  ::dup2(err.write, STDERR_FILENO);
  CloseFd(out.read);
  CloseFd(err.read);
  CloseFd(out.write);
  CloseFd(err.write);
}

// Reads what is available without blocking; false once the pipe is at its end.
bool Drain(int fd, std::string& into) {
  char buffer[65536];
  for (;;) {
    ssize_t n = ::read(fd, buffer, sizeof buffer);
    if (n > 0) {
      into.append(buffer, size_t(n));
      continue;
    }
    if (n == 0) return false;
    if (errno == EINTR) continue;
    return errno == EAGAIN || errno == EWOULDBLOCK;
  }
}

// True once the child has ended; it stays a zombie (WNOWAIT), so that its
// process id and group cannot be reused before it is reaped.
bool HasEnded(pid_t pid) {
  siginfo_t info{};
  if (::waitid(P_PID, id_t(pid), &info, WEXITED | WNOHANG | WNOWAIT) != 0)
    return errno == ECHILD;
  return info.si_pid == pid;
}

// The parent's side: collects both streams until they close or the child
// ends, kills the child's group at the deadline, and reaps the child.
ChildResult Collect(pid_t pid, Pipe& out, Pipe& err, milliseconds timeout, Clock::time_point start) {
  ChildResult result;
  CloseFd(out.write);
  CloseFd(err.write);
  ::fcntl(out.read, F_SETFL, O_NONBLOCK);
  ::fcntl(err.read, F_SETFL, O_NONBLOCK);
  const auto deadline = start + timeout;
  bool outOpen = true, errOpen = true;

  while (outOpen || errOpen) {
    pollfd fds[2];
    nfds_t count = 0;
    if (outOpen) fds[count++] = {out.read, POLLIN, 0};
    if (errOpen) fds[count++] = {err.read, POLLIN, 0};
    // Short slices: a grandchild may keep the pipes open after the child
    // itself ended, and that must not hold the caller up to the deadline.
    auto left = std::chrono::duration_cast<milliseconds>(deadline - Clock::now()).count();
    int wait = int(std::max<long long>(0, std::min<long long>(left, 20)));
    int ready = ::poll(fds, count, wait);
    if (ready < 0 && errno != EINTR) break;
    if (outOpen) outOpen = Drain(out.read, result.out);
    if (errOpen) errOpen = Drain(err.read, result.err);
    if (!outOpen && !errOpen) break;
    if (HasEnded(pid)) {
      Drain(out.read, result.out);
      Drain(err.read, result.err);
      break;
    }
    if (Clock::now() >= deadline) {
      result.timedOut = true;
      break;
    }
  }

  // The streams are closed, but the child may not have ended yet.
  while (!result.timedOut && !HasEnded(pid)) {
    if (Clock::now() >= deadline) {
      result.timedOut = true;
      break;
    }
    std::this_thread::sleep_for(milliseconds(2));
  }
  // Kill the group: the child at a timeout, and in every case whatever it
  // left running. The child is not reaped yet, so its group id is still its own.
  ::kill(-pid, SIGKILL);
  if (result.timedOut) ::kill(pid, SIGKILL);  // in case it left its group

  int status = 0;
  while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  result.elapsed = std::chrono::duration_cast<milliseconds>(Clock::now() - start);
  if (result.timedOut) {
    Drain(out.read, result.out);
    Drain(err.read, result.err);
  }
  CloseFd(out.read);
  CloseFd(err.read);

  if (WIFEXITED(status)) {
    result.exited = true;
    result.exitCode = WEXITSTATUS(status);
  } else if (WIFSIGNALED(status)) {
    result.signaled = true;
    result.signal = WTERMSIG(status);
  }
  return result;
}

ChildResult NotStarted(std::string error) {
  ChildResult result;
  result.started = false;
  result.error = std::move(error);
  return result;
}

// Turns gtest failures reported inside a forked child into text on its
// standard error, and remembers that there were some.
class ChildFailureListener final : public ::testing::EmptyTestEventListener {
 public:
  static bool sFailed;
  void OnTestPartResult(const ::testing::TestPartResult& part) override {
    if (!part.failed()) return;
    sFailed = true;
    std::fprintf(stderr, "%s:%d: Failure in child process\n%s\n",
                 part.file_name() ? part.file_name() : "unknown file", part.line_number(),
                 part.message());
    std::fflush(stderr);
  }
};
bool ChildFailureListener::sFailed = false;

[[noreturn]] void RunBodyAndExit(const std::function<int()>& body) {
  ChildFailureListener::sFailed = false;
  // Owned by gtest's listener list from here on; the child never returns to
  // free it.
  ::testing::UnitTest::GetInstance()->listeners().Append(new ChildFailureListener);
  int code = 0;
  try {
    code = body();
  } catch (const std::exception& e) {
    std::fprintf(stderr, "uncaught exception in child process: %s\n", e.what());
    code = kChildUncaughtException;
  } catch (...) {
    std::fprintf(stderr, "uncaught exception in child process\n");
    code = kChildUncaughtException;
  }
  if (ChildFailureListener::sFailed) code = kChildTestFailure;
  FlushAll();
  ::_exit(code);
}

// The environment of a started program: this process's, with `changes`.
std::vector<std::string> ChangedEnvironment(const std::vector<std::string>& changes) {
  std::vector<std::string> env;
  for (char** entry = environ; entry && *entry; ++entry) env.emplace_back(*entry);
  for (const auto& change : changes) {
    const auto eq = change.find('=');
    const std::string name = change.substr(0, eq);
    std::erase_if(env, [&](const std::string& e) {
      return e.size() > name.size() && e.compare(0, name.size(), name) == 0 &&
             e[name.size()] == '=';
    });
    if (eq != std::string::npos) env.push_back(change);
  }
  return env;
}

}  // namespace

std::string ChildResult::Describe() const {
  std::string text;
  if (!started) {
    text = "child could not be started: " + error;
  } else if (timedOut) {
    text = "child timed out after " + std::to_string(elapsed.count()) + " ms and was killed";
  } else if (exited) {
    text = "child exited with code " + std::to_string(exitCode);
  } else if (signaled) {
    const char* name = ::strsignal(signal);
    text = "child was killed by signal " + std::to_string(signal) + " (" +
           (name ? name : "?") + ")";
  } else {
    text = "child ended in an unknown way";
  }
  // The tails are enough to see what went wrong, and keep reports readable.
  auto tail = [](const std::string& s) {
    constexpr size_t kKeep = 8000;
    return s.size() <= kKeep ? s : "[...]" + s.substr(s.size() - kKeep);
  };
  text += "\n--- stdout ---\n" + tail(out) + "\n--- stderr ---\n" + tail(err);
  return text;
}

namespace {

// Makes the pipes, forks, and in the child attaches them to stdout and
// stderr and runs `inChild`, which never returns; the parent collects.
template <class InChild>
ChildResult ForkAndCollect(milliseconds timeout, InChild inChild) {
  Pipe out, err;
  std::string error;
  if (!MakePipe(out, error) || !MakePipe(err, error)) {
    CloseFd(out.read);
    CloseFd(out.write);
    return NotStarted(error);
  }
  FlushAll();
  const auto start = Clock::now();
  pid_t pid = ::fork();
  if (pid < 0) {
    error = std::string("fork: ") + std::strerror(errno);
    CloseFd(out.read), CloseFd(out.write), CloseFd(err.read), CloseFd(err.write);
    return NotStarted(error);
  }
  if (pid == 0) {
    AttachChildStdio(out, err);
    inChild();
  }
  ::setpgid(pid, pid);  // also here, so that a kill cannot race the child's own call
  return Collect(pid, out, err, timeout, start);
}

}  // namespace

ChildResult RunInChild(std::function<int()> body, milliseconds timeout) {
  return ForkAndCollect(timeout, [&] { RunBodyAndExit(body); });
}

ChildResult RunProgram(const std::vector<std::string>& argv, const std::vector<std::string>& env,
                       milliseconds timeout) {
  if (argv.empty()) return NotStarted("no program given");
  // Everything exec needs is prepared before the fork: the child of a
  // threaded process should do no more than the calls below.
  std::vector<std::string> environment = ChangedEnvironment(env);
  std::vector<char*> args, envp;
  for (const auto& a : argv) args.push_back(const_cast<char*>(a.c_str()));
  args.push_back(nullptr);
  for (const auto& e : environment) envp.push_back(const_cast<char*>(e.c_str()));
  envp.push_back(nullptr);

  return ForkAndCollect(timeout, [&] {
    ::execvpe(args[0], args.data(), envp.data());
    // Only async-signal-safe calls from here on.
    const char* reason = std::strerror(errno);
    const char prefix[] = "cannot run ";
    (void)!::write(STDERR_FILENO, prefix, sizeof prefix - 1);
    (void)!::write(STDERR_FILENO, args[0], std::strlen(args[0]));
    (void)!::write(STDERR_FILENO, ": ", 2);
    (void)!::write(STDERR_FILENO, reason, std::strlen(reason));
    (void)!::write(STDERR_FILENO, "\n", 1);
    ::_exit(kChildExecFailure);
  });
}

}  // namespace vela::testkit
