#pragma once

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <systemd/sd-bus.h>
#include <systemd/sd-event.h>
#include <unistd.h>

#include <chrono>

#include "Fakes/TestFolder.hpp"
#include "Fakes/Testing.hpp"
#include "session/SessionRunLoop.hpp"

namespace kestrelune {

/// A bus daemon of its own, on which nothing is started on demand.
class PrivateBus {
 public:
  PrivateBus() {
    folder_.write("bus.conf", R"(<busconfig><type>session</type><listen>unix:path=)" + folder_.path("socket") +
                                  R"(</listen><auth>EXTERNAL</auth><policy context="default">
<allow send_destination="*" eavesdrop="true"/><allow eavesdrop="true"/><allow own="*"/></policy></busconfig>)");
    start();
  }
  ~PrivateBus() { stop(); }
  PrivateBus(const PrivateBus&) = delete;
  PrivateBus& operator=(const PrivateBus&) = delete;

  std::string address() const { return "unix:path=" + folder_.path("socket"); }

  /// Returns once it can be connected to.
  void start() {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const std::string config = "--config-file=" + folder_.path("bus.conf");
    const std::string print = "--print-address=" + std::to_string(ends[1]);
    const pid_t parent = getpid();
    pid_ = fork();
    if (pid_ == 0) {
      prctl(PR_SET_PDEATHSIG, SIGKILL);
      if (getppid() != parent) _exit(1);
      close(ends[0]);
      dup2(open("/dev/null", O_WRONLY), STDERR_FILENO);  // it complains of limits that no test needs
      execlp("dbus-daemon", "dbus-daemon", config.c_str(), print.c_str(), "--nofork", "--nopidfile", nullptr);
      _exit(127);
    }
    close(ends[1]);
    char byte = 0;
    EXPECT_EQ(read(ends[0], &byte, 1), 1) << "the bus daemon doesn't start";
    close(ends[0]);
  }
  void stop() {
    if (pid_ <= 0) return;
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
    pid_ = -1;
    unlink(folder_.path("socket").c_str());
  }

 private:
  TestFolder folder_;
  pid_t pid_ = -1;
};

/// Somebody else on a bus, in this process and on this loop, with one name and one object.
class BusPeer {
 public:
  BusPeer(SessionRunLoop& loop, const std::string& address) {
    sd_bus_new(&bus_);
    sd_bus_set_address(bus_, address.c_str());
    sd_bus_set_bus_client(bus_, 1);
    EXPECT_GE(sd_bus_start(bus_), 0);
    sd_bus_attach_event(bus_, loop.event(), 0);
  }
  ~BusPeer() {
    sd_bus_detach_event(bus_);
    sd_bus_close_unref(bus_);
  }
  BusPeer(const BusPeer&) = delete;
  BusPeer& operator=(const BusPeer&) = delete;

  void serve(const char* path, const char* name, const sd_bus_vtable* table, void* data) {
    EXPECT_GE(sd_bus_add_object_vtable(bus_, nullptr, path, name, table, data), 0);
    EXPECT_GE(sd_bus_request_name(bus_, name, 0), 0);
  }
  static std::vector<std::string> readTexts(sd_bus_message* message) {
    std::vector<std::string> all;
    const char* text = nullptr;
    sd_bus_message_enter_container(message, 'a', "s");
    while (sd_bus_message_read(message, "s", &text) > 0) all.emplace_back(text);
    sd_bus_message_exit_container(message);
    return all;
  }

 protected:
  sd_bus* bus_ = nullptr;
};

/// Serves the loop until `done`; may be called again and again. False when that takes over 20 seconds.
inline bool serveBus(SessionRunLoop& loop, const std::function<bool()>& done) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (!done()) {
    if (std::chrono::steady_clock::now() > end) return false;
    sd_event_run(loop.event(), 20'000);
  }
  return true;
}

}  // namespace kestrelune
