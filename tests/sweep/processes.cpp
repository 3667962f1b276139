#include "processes.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <stdexcept>
#include <type_traits>

namespace vok::sweep {

namespace {

static_assert(std::is_trivially_copyable_v<Tally>, "a tally goes through a pipe as it is");

/// A process at work and the end of the pipe at which its tally comes out.
struct Worker {
  pid_t process;
  int tally;
};

[[noreturn]] void Work(int tally_out, u32 number, const std::function<Tally(u32)>& job) {
  int status = 1;
  try {
    const Tally tally = job(number);
    std::fflush(stdout);
    if (write(tally_out, &tally, sizeof tally) == static_cast<ssize_t>(sizeof tally)) status = 0;
  } catch (const std::exception& error) {
    std::printf("FAULT %s\n", error.what());
    std::fflush(stdout);
  }
  _exit(status);
}

Worker StartWorker(u32 number, const std::function<Tally(u32)>& job) {
  int ends[2];
  if (pipe(ends) != 0) throw std::runtime_error("no pipe to a process of the sweep");
  std::fflush(stdout);
  const pid_t process = fork();
  if (process == 0) Work(ends[1], number, job);
  close(ends[1]);
  if (process < 0) throw std::runtime_error("cannot start a process of the sweep");
  return {process, ends[0]};
}

/// Reads until the process closes its end. @return whether a whole tally came
bool Receive(const Worker& worker, Tally& tally) {
  auto* bytes = reinterpret_cast<char*>(&tally);
  std::size_t have = 0;
  while (have < sizeof tally) {
    const ssize_t count = read(worker.tally, bytes + have, sizeof tally - have);
    if (count <= 0) break;
    have += static_cast<std::size_t>(count);
  }
  close(worker.tally);
  int status = 1;
  waitpid(worker.process, &status, 0);
  return have == sizeof tally && status == 0;
}

}  // namespace

Tally InProcesses(u32 count, const std::function<Tally(u32)>& job) {
  std::vector<Worker> workers;
  for (u32 number = 0; number < count; ++number) workers.push_back(StartWorker(number, job));
  Tally sum;
  bool whole = true;
  for (const Worker& worker : workers) {
    Tally tally;
    whole = Receive(worker, tally) && whole;
    sum.Add(tally);
  }
  if (!whole) throw std::runtime_error("a process of the sweep ended early");
  return sum;
}

}  // namespace vok::sweep
