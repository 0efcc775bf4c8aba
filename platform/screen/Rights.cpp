#include "screen/Rights.hpp"

#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <optional>
#include <string_view>

namespace kestrelune {
namespace {

using Places = std::vector<std::string>;
constexpr std::uint16_t kFirstDisplay = 6000;

/// A folder that a variable names, or where it is without one.
std::string folder(const Environment& environment, const char* name, const std::string& otherwise) {
  const auto found = environment.find(name);
  return found != environment.end() && found->second.starts_with('/') ? found->second : otherwise;
}

void add(Places& places, const std::string& base, std::initializer_list<const char*> names) {
  for (const char* name : names) places.push_back(base + "/" + name);
}

Places readPlaces(const Environment& environment, const std::string& home) {
  Places places = {"/usr",
                   "/lib",
                   "/lib64",
                   "/etc",
                   "/proc",
                   "/sys",
                   "/run/udev",
                   "/var/cache/fontconfig",
                   "/var/lib/dbus/machine-id",
                   "/dev/urandom",
                   "/dev/random"};
  add(places, home,
      {".fonts", ".fonts.conf", ".fonts.conf.d", ".icons", ".themes", ".gtkrc-2.0", ".XCompose", ".Xdefaults",
       ".Xauthority", ".ICEauthority", ".xkb", ".drirc"});
  add(places, folder(environment, "XDG_CONFIG_HOME", home + "/.config"),
      {"fontconfig", "gtk-3.0",  "gtk-4.0", "dconf",          "kdeglobals",     "kdedefaults",    "kcminputrc",
       "kwinrc",     "plasmarc", "qt5ct",   "qt6ct",          "Kvantum",        "lxqt",           "xsettingsd",
       "pango",      "xkb",      "ibus",    "Trolltech.conf", "QtProject.conf", "user-dirs.dirs", "drirc"});
  const std::string more = folder(environment, "XDG_DATA_DIRS", "");
  std::string_view rest = more;
  std::string data = folder(environment, "XDG_DATA_HOME", home + "/.local/share");
  while (!data.empty()) {
    add(places, data, {"fonts", "icons", "themes", "color-schemes", "mime", "glib-2.0/schemas", "plasma"});
    const std::string_view next = rest.substr(0, rest.find(':'));
    rest.remove_prefix(std::min(rest.size(), next.size() + 1));
    data = next;
  }
  for (const char* name : {"XAUTHORITY", "ICEAUTHORITY"})
    if (const std::string file = folder(environment, name, ""); !file.empty()) places.push_back(file);
  return places;
}

Places writtenPlaces(const Environment& environment, const std::string& home) {
  Places places = {"/dev/shm"};
  add(places, folder(environment, "XDG_CACHE_HOME", home + "/.cache"),
      {"fontconfig", "mesa_shader_cache", "mesa_shader_cache_db"});
  if (const std::string runtime = folder(environment, "XDG_RUNTIME_DIR", ""); !runtime.empty())
    places.push_back(runtime + "/dconf");
  return places;
}

/// Where an X server on another machine, or at the other end of a secure shell, is reached.
std::optional<std::uint16_t> remoteDisplay(const Environment& environment) {
  const auto found = environment.find("DISPLAY");
  if (found == environment.end()) return std::nullopt;
  const std::string_view text = found->second;
  const std::size_t colon = text.rfind(':');
  if (colon == 0 || colon == text.npos || text.starts_with('/') || text.starts_with("unix")) return std::nullopt;
  std::uint16_t number = 0;
  const auto [end, error] = std::from_chars(text.data() + colon + 1, text.data() + text.size(), number);
  if (error != std::errc{}) return std::nullopt;
  return static_cast<std::uint16_t>(kFirstDisplay + number);
}

}  // namespace

calls::Filter screenFilter(bool hasNetwork) {
  // What needs more rights than an account has is out of reach anyway: there are no new privileges, and none are to be
  // had in namespaces.
  calls::Filter filter{false, calls::refused({"execve",
                                              "execveat",
                                              "fork",
                                              "vfork",
                                              "kill",
                                              "tkill",
                                              "pidfd_send_signal",
                                              "pidfd_getfd",
                                              "ptrace",
                                              "process_vm_readv",
                                              "process_vm_writev",
                                              "io_uring_setup",
                                              "userfaultfd",
                                              "bpf",
                                              "perf_event_open",
                                              "add_key",
                                              "request_key",
                                              "keyctl",
                                              "unshare",
                                              "setns",
                                              "linkat"},
                                             EPERM)};
  // A thread is no child. The newer call hides what it makes from a filter.
  filter.rules.push_back({"clone3", ENOSYS, {}});
  filter.rules.push_back({"clone", EPERM, calls::When{0, CLONE_THREAD, 0}});
  filter.rules.push_back({"ioctl", EPERM, calls::When{1, 0xffffffff, TIOCSTI}});
  if (!hasNetwork) filter.rules.push_back({"socket", EAFNOSUPPORT, calls::When{.value = AF_UNIX, .other = true}});
  return filter;
}

Confinement screenRights(const Environment& environment, const std::string& home, const std::string& libraries) {
  Confinement confinement;
  confinement.openings.read = readPlaces(environment, home);
  confinement.openings.read.push_back(libraries);
  confinement.openings.write = writtenPlaces(environment, home);
  confinement.openings.devices = {"/dev/null",      "/dev/zero",    "/dev/dri",
                                  "/dev/nvidiactl", "/dev/nvidia0", "/dev/nvidia-modeset"};
  confinement.openings.nameless = true;
  const auto display = remoteDisplay(environment);
  if (display) confinement.openings.ports = {*display};
  confinement.calls = screenFilter(display.has_value());
  return confinement;
}

}  // namespace kestrelune
