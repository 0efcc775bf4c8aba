#pragma once

#include <linux/filter.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

/// What a process may ask of the kernel at all.
namespace kestrelune::calls {

/// Holds where `argument & mask` is the value; with `other` where the whole argument isn't.
struct When {
  unsigned argument = 0;
  std::uint64_t mask = 0, value = 0;
  bool other = false;
};

struct Rule {
  const char* call;  ///< by its name; one that this system doesn't know is left out
  int error = 0;     ///< 0: allowed; else it fails with this
  std::optional<When> when;
};

struct Filter {
  bool endsAtOthers = true;  ///< what no rule names ends the process; otherwise it is allowed
  std::vector<Rule> rules;
};

/// A filter as the kernel takes it, for a process that starts in a hurry: made by the build, for this processor.
using Program = std::span<const sock_filter>;
std::vector<sock_filter> compiled(const Filter& filter);

/// From now on, for this thread and whatever it starts, for ever. An error number, or 0; also 0 where the kernel has no
/// filters. Needs `PR_SET_NO_NEW_PRIVS`.
int load(const Filter& filter);
int load(Program program);

/// The rules of one kind for many calls; 0: allowed.
inline std::vector<Rule> rulesFor(const std::vector<const char*>& names, int error) {
  std::vector<Rule> rules;
  rules.reserve(names.size());
  for (const char* name : names) rules.push_back({name, error, {}});
  return rules;
}
inline std::vector<Rule> allowed(const std::vector<const char*>& names) { return rulesFor(names, 0); }
inline std::vector<Rule> refused(const std::vector<const char*>& names, int error) { return rulesFor(names, error); }

}  // namespace kestrelune::calls
