#include "session/UserService.hpp"

#include <systemd/sd-bus.h>

#include <cerrno>
#include <memory>

#include "base/Clock.hpp"
#include "base/System.hpp"

namespace kestrelune {
namespace {

constexpr const char* kManager = "org.freedesktop.systemd1";
constexpr const char* kManagerPath = "/org/freedesktop/systemd1";
constexpr const char* kManagerInterface = "org.freedesktop.systemd1.Manager";
constexpr double kMicroseconds = 1e6;

struct BusClose {
  void operator()(sd_bus* bus) const { sd_bus_close_unref(bus); }
};

struct MessageUnref {
  void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};

struct BusError {
  sd_bus_error error{};
  BusError() = default;
  BusError(const BusError&) = delete;
  BusError& operator=(const BusError&) = delete;
  ~BusError() { sd_bus_error_free(&error); }
};

/// The manager tells of every job that has ended; ours is known by its path.
struct Job {
  std::string path;
  std::string result;

  static int removed(sd_bus_message* message, void* data, sd_bus_error*) {
    Job& job = *static_cast<Job*>(data);
    std::uint32_t id = 0;
    const char *path = nullptr, *unit = nullptr, *result = nullptr;
    if (sd_bus_message_read(message, "uoss", &id, &path, &unit, &result) >= 0 && job.path == path) job.result = result;
    return 0;
  }
};

ServiceOutcome failed(int result) { return {-result, system::errorText(-result)}; }

}  // namespace

ServiceOutcome startUserService(const std::string& unit, bool again, double seconds) {
  const SystemClock clock;
  const double deadline = clock.uptime() + seconds;
  sd_bus* opened = nullptr;
  if (const int result = sd_bus_open_user(&opened); result < 0) return failed(result);
  const std::unique_ptr<sd_bus, BusClose> bus(opened);
  sd_bus_set_method_call_timeout(bus.get(), static_cast<std::uint64_t>(seconds * kMicroseconds));

  // Before the job is asked for: it may have ended before the answer is read.
  Job job;
  sd_bus_match_signal(bus.get(), nullptr, kManager, kManagerPath, kManagerInterface, "JobRemoved", Job::removed, &job);
  sd_bus_call_method(bus.get(), kManager, kManagerPath, kManagerInterface, "Subscribe", nullptr, nullptr, "");
  BusError error;
  sd_bus_message* answer = nullptr;
  const int called =
      sd_bus_call_method(bus.get(), kManager, kManagerPath, kManagerInterface, again ? "RestartUnit" : "StartUnit",
                         &error.error, &answer, "ss", unit.c_str(), "replace");
  const std::unique_ptr<sd_bus_message, MessageUnref> owned(answer);
  if (called < 0) return {-called, error.error.message ? std::string(error.error.message) : system::errorText(-called)};
  const char* path = nullptr;
  if (const int result = sd_bus_message_read(answer, "o", &path); result < 0) return failed(result);
  job.path = path;

  while (job.result.empty()) {
    const int done = sd_bus_process(bus.get(), nullptr);
    if (done < 0) return failed(done);
    if (done > 0) continue;
    const double left = deadline - clock.uptime();
    if (left <= 0) return failed(-ETIMEDOUT);
    sd_bus_wait(bus.get(), static_cast<std::uint64_t>(left * kMicroseconds));
  }
  return job.result == "done" ? ServiceOutcome{} : ServiceOutcome{EIO, unit + ": " + job.result};
}

}  // namespace kestrelune
