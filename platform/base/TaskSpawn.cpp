#include "base/TaskSpawn.hpp"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <vector>

// The header of this C library doesn't say so itself.
extern "C" {
#include <sys/pidfd.h>
}

namespace kestrelune::spawn {
namespace {

constexpr int kFirstOwn = TaskRequest::kPassedDescriptor + 1;
constexpr int kMostReads = 64;

/// posix_spawn's two lists. Nothing in them touches the parent.
struct Plan {
  Plan() {
    posix_spawn_file_actions_init(&actions);
    posix_spawnattr_init(&attributes);
  }
  ~Plan() {
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
  }
  Plan(const Plan&) = delete;
  Plan& operator=(const Plan&) = delete;

  posix_spawn_file_actions_t actions;
  posix_spawnattr_t attributes;
};

/// Away from the numbers that the child's own will have, where they would overwrite it: a program that was started with
/// closed streams gets those numbers for whatever it opens.
Outcome<Descriptor> keptApart(int number) {
  Descriptor given(number);
  if (!given) return {{}, errno};
  if (number >= kFirstOwn) return {std::move(given), 0};
  Descriptor moved(fcntl(number, F_DUPFD_CLOEXEC, kFirstOwn));
  const int error = moved ? 0 : errno;
  return {std::move(moved), error};
}

Outcome<Descriptor> openNull() { return keptApart(::open("/dev/null", O_RDWR | O_CLOEXEC)); }

/// The input as a file in memory: the child reads it at its own pace, and nobody has to feed it.
Outcome<Descriptor> openInput(const std::optional<std::string>& input) {
  if (!input) return openNull();
  Outcome<Descriptor> memory = keptApart(memfd_create("input", MFD_CLOEXEC));
  if (!memory) return memory;
  if (const int error = writeAll(memory.value.number(), input->data(), input->size()); error != 0) return {{}, error};
  if (lseek(memory.value.number(), 0, SEEK_SET) == -1) return {{}, errno};
  return memory;
}

int makePipe(Descriptor& ours, Descriptor& childs) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) == -1) return errno;
  Outcome<Descriptor> reading = keptApart(ends[0]);
  Outcome<Descriptor> writing = keptApart(ends[1]);
  if (!reading) return reading.error;
  if (!writing) return writing.error;
  if (fcntl(reading.value.number(), F_SETFL, O_NONBLOCK) == -1) return errno;
  ours = std::move(reading.value);
  childs = std::move(writing.value);
  return 0;
}

/// Opens what the child's stream `number` is to be. An empty `childs` means that it stays ours.
int openStream(TaskRequest::Stream stream, int number, int file, Descriptor& ours, Descriptor& childs) {
  Outcome<Descriptor> opened;
  switch (stream) {
    case TaskRequest::Stream::inherit:
      if (fcntl(number, F_GETFD) != -1) return 0;
      [[fallthrough]];
    case TaskRequest::Stream::null: opened = openNull(); break;
    case TaskRequest::Stream::capture: return makePipe(ours, childs);
    case TaskRequest::Stream::file: opened = keptApart(fcntl(file, F_DUPFD_CLOEXEC, kFirstOwn)); break;
  }
  childs = std::move(opened.value);
  return opened.error;
}

struct Streams {
  Descriptor input, output, errors;
};

int addStreams(Plan& plan, const Streams& streams, const TaskRequest& request) {
  const auto place = [&](int from, int to) {
    return from < 0 ? 0 : posix_spawn_file_actions_adddup2(&plan.actions, from, to);
  };
  // First what is the caller's: its number may be one that a stream takes.
  const bool passes = request.passedDescriptor >= 0;
  int error = place(request.passedDescriptor, TaskRequest::kPassedDescriptor);
  if (error == 0) error = place(streams.input.number(), STDIN_FILENO);
  if (error == 0) error = place(streams.output.number(), STDOUT_FILENO);
  if (error == 0) error = place(request.errorsJoinOutput ? STDOUT_FILENO : streams.errors.number(), STDERR_FILENO);
  if (error == 0)
    error =
        posix_spawn_file_actions_addclosefrom_np(&plan.actions, passes ? kFirstOwn : TaskRequest::kPassedDescriptor);
  return error;
}

int setAttributes(Plan& plan, bool detached) {
  sigset_t all, none;
  // Not sigfillset: that leaves out two real-time signals of the C library's own, which the child then ignores.
  std::memset(&all, 0xff, sizeof all);
  sigemptyset(&none);
  int error = posix_spawnattr_setsigdefault(&plan.attributes, &all);
  if (error == 0) error = posix_spawnattr_setsigmask(&plan.attributes, &none);
  if (error == 0) error = posix_spawnattr_setpgroup(&plan.attributes, 0);
  const int leads = detached ? POSIX_SPAWN_SETSID : POSIX_SPAWN_SETPGROUP;
  if (error == 0)
    error = posix_spawnattr_setflags(&plan.attributes,
                                     static_cast<short>(POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK | leads));
  return error;
}

std::vector<char*> pointers(std::vector<std::string>& texts) {
  std::vector<char*> result;
  result.reserve(texts.size() + 1);
  for (std::string& text : texts) result.push_back(text.data());
  result.push_back(nullptr);
  return result;
}

int spawnProcess(const TaskRequest& request, const Plan& plan, pid_t& pid) {
  std::vector<std::string> arguments = {request.executable};
  arguments.insert(arguments.end(), request.arguments.begin(), request.arguments.end());
  std::vector<std::string> variables;
  if (request.environment)
    for (const auto& [name, value] : *request.environment) variables.push_back(name + "=" + value);
  return posix_spawn(&pid, request.executable.c_str(), &plan.actions, &plan.attributes, pointers(arguments).data(),
                     request.environment ? pointers(variables).data() : environ);
}

/// A program of its own reads a pipe to its end.
void handOver(const Descriptor& pipe) {
  if (!pipe) return;
  TaskRequest reader;
  reader.executable = "/bin/cat";
  reader.arguments = {"/dev/fd/" + std::to_string(TaskRequest::kPassedDescriptor)};
  reader.passedDescriptor = pipe.number();
  reader.detached = true;
  start(reader);
}

}  // namespace

Outcome<Child> start(const TaskRequest& request) {
  Child child;
  child.endsWithUs = request.endsWithUs;
  Plan plan;
  Outcome<Descriptor> input = openInput(request.input);
  if (!input) return {{}, input.error};
  Streams streams;
  streams.input = std::move(input.value);
  int error = openStream(request.output, STDOUT_FILENO, request.outputDescriptor, child.output, streams.output);
  if (error == 0 && !request.errorsJoinOutput)
    error = openStream(request.errors, STDERR_FILENO, request.outputDescriptor, child.errors, streams.errors);
  if (error == 0) error = addStreams(plan, streams, request);
  if (error == 0 && !request.folder.empty())
    error = posix_spawn_file_actions_addchdir_np(&plan.actions, request.folder.c_str());
  if (error == 0) error = setAttributes(plan, request.detached);
  if (error == 0) error = spawnProcess(request, plan, child.pid);
  if (error != 0) return {{}, error};

  child.handle = Descriptor(pidfd_open(child.pid, 0));
  if (child.handle) return {std::move(child), 0};
  // A child that can't be watched must not be left behind.
  error = errno;
  ::kill(child.pid, SIGKILL);
  reap(child);
  return {{}, error};
}

void signal(const Child& child, int number) { pidfd_send_signal(child.handle.number(), number, nullptr, 0); }

void leave(const Child& child) {
  if (!child.endsWithUs) {
    handOver(child.output);
    handOver(child.errors);
  } else if (pidfd_send_signal(child.handle.number(), 0, nullptr, 0) == 0) {
    // Not collected yet, so the number is still its own.
    ::kill(-child.pid, SIGKILL);
  }
}

TaskEnd reap(const Child& child) {
  siginfo_t info{};
  while (waitid(P_PID, static_cast<id_t>(child.pid), &info, WEXITED) == -1 && errno == EINTR) continue;
  TaskEnd end;
  end.reason = info.si_code == CLD_EXITED ? TaskEnd::Reason::exited : TaskEnd::Reason::signalled;
  end.status = info.si_status;
  return end;
}

Drained drain(const Descriptor& pipe, const std::function<void(std::string_view)>& take) {
  std::array<char, 4096> piece;
  for (int i = 0; i < kMostReads; ++i) {
    const ssize_t size = ::read(pipe.number(), piece.data(), piece.size());
    if (size == 0) return Drained::ended;
    if (size < 0) {
      if (errno == EINTR) continue;
      return errno == EAGAIN ? Drained::nothingYet : Drained::ended;
    }
    take({piece.data(), static_cast<std::size_t>(size)});
  }
  return Drained::more;
}

}  // namespace kestrelune::spawn
