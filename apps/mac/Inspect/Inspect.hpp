#pragma once

#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "ProblemPlan.hpp"
#include "StatusReader.hpp"
#include "base/Dates.hpp"
#include "base/Json.hpp"

/// The command line that looks into the program's logic, for support and for scripts. Each subcommand is a `const
/// Subcommand` of its own unit; that alone makes it known.
namespace kestrelune::inspect {

/// The most that is read of a file.
constexpr std::size_t kMostBytes = 512u << 20;

/// Arguments that can't be used: one line on standard error, exit status 2.
class Unusable : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// The subcommand worked, and its answer is a refusal: its line on standard error, exit status 1.
class Refused : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// What stands behind a subcommand's name: words, options with a value each, and flags.
class Arguments {
 public:
  /// `options` and `flags` are those that the subcommand knows ("--now"); where there are none, each word is taken as
  /// it stands. Behind "--" there are only words. Throws `Unusable` for an unknown option, one without its value, and
  /// one given twice.
  Arguments(const std::vector<std::string>& given, const std::vector<std::string>& options,
            const std::vector<std::string>& flags);

  const std::vector<std::string>& words() const { return words_; }
  std::optional<std::string> option(const std::string& name) const;
  bool flag(const std::string& name) const { return options_.contains(name); }
  /// Throws `Unusable` unless there are so many words.
  void requireWords(std::size_t least, std::size_t most) const;

 private:
  std::vector<std::string> words_;
  std::map<std::string, std::string> options_;  ///< flags with an empty value
};

class Subcommand {
 public:
  using Run = Json (*)(const Arguments& arguments);

  Subcommand(const char* name, const char* usage, std::vector<std::string> options, Run run,
             std::vector<std::string> flags = {});
  Subcommand(const Subcommand&) = delete;
  Subcommand& operator=(const Subcommand&) = delete;

  const char* usage() const { return usage_; }
  Json run(const std::vector<std::string>& given) const { return run_(Arguments(given, options_, flags_)); }

  static const Subcommand* find(const std::string& name);
  static std::vector<std::string> names();

 private:
  const char* usage_;
  std::vector<std::string> options_;
  Run run_;
  std::vector<std::string> flags_;
};

/// "--now": an ISO 8601 time; the present without it.
Date nowOption(const Arguments& arguments);
/// Any other argument that is such a time.
Date timeArgument(const std::string& text);
/// "--alive real|all|none": which processes count as alive; the real ones without it.
StatusReader::Alive aliveOption(const Arguments& arguments);
/// The snapshot of a status file under "--now", "--alive" and "--marks".
Snapshot snapshotOf(const std::string& file, const Arguments& arguments);
/// "--problem": the record in a file, taken as one that is under way.
std::optional<ProblemRecord> problemOption(const Arguments& arguments);
/// A whole JSON file; absent when it is missing or damaged.
std::optional<Json> jsonFile(const std::string& path);

/// The value's JSON, or null.
template <class T, class Convert>
Json orNull(const std::optional<T>& value, Convert convert) {
  return value ? Json(convert(*value)) : Json();
}

}  // namespace kestrelune::inspect
