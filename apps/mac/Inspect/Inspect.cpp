#include "Inspect.hpp"

#include <algorithm>

#include "base/Clock.hpp"
#include "base/Files.hpp"

namespace kestrelune::inspect {

namespace {

std::map<std::string, const Subcommand*>& registry() {
  static std::map<std::string, const Subcommand*> known;
  return known;
}

SettleMarks marksOption(const Arguments& arguments) {
  const std::optional<std::string> file = arguments.option("--marks");
  if (!file) return {};
  const std::optional<Json> json = jsonFile(*file);
  if (!json) throw Unusable("--marks: no JSON object in " + *file);
  try {
    SettleMarks marks;
    decodeJson(*json, marks);
    return marks;
  } catch (const JsonError& error) {
    throw Unusable("--marks: " + std::string(error.what()));
  }
}

}  // namespace

Arguments::Arguments(const std::vector<std::string>& given, const std::vector<std::string>& options,
                     const std::vector<std::string>& flags) {
  const auto knows = [](const std::vector<std::string>& names, const std::string& word) {
    return std::find(names.begin(), names.end(), word) != names.end();
  };
  bool onlyWords = options.empty() && flags.empty();
  for (std::size_t i = 0; i < given.size(); ++i) {
    const std::string& word = given[i];
    if (onlyWords || !word.starts_with("--")) {
      words_.push_back(word);
      continue;
    }
    if (word == "--") {
      onlyWords = true;
      continue;
    }
    std::string value;
    if (knows(options, word)) {
      if (i + 1 == given.size()) throw Unusable(word + " needs a value");
      value = given[++i];
    } else if (!knows(flags, word)) {
      throw Unusable("unknown option " + word);
    }
    if (!options_.emplace(word, value).second) throw Unusable(word + " is given twice");
  }
}

std::optional<std::string> Arguments::option(const std::string& name) const {
  const auto found = options_.find(name);
  if (found == options_.end()) return std::nullopt;
  return found->second;
}

void Arguments::requireWords(std::size_t least, std::size_t most) const {
  if (words_.size() < least) throw Unusable("an argument is missing");
  if (words_.size() > most) throw Unusable("unexpected argument " + words_[most]);
}

Subcommand::Subcommand(const char* name, const char* usage, std::vector<std::string> options, Run function,
                       std::vector<std::string> flags)
    : usage_(usage), options_(std::move(options)), run_(function), flags_(std::move(flags)) {
  registry()[name] = this;
}

const Subcommand* Subcommand::find(const std::string& name) {
  const auto found = registry().find(name);
  return found == registry().end() ? nullptr : found->second;
}

std::vector<std::string> Subcommand::names() {
  std::vector<std::string> names;
  for (const auto& [name, subcommand] : registry()) names.push_back(name);
  return names;
}

Date nowOption(const Arguments& arguments) {
  const std::optional<std::string> now = arguments.option("--now");
  return now ? timeArgument(*now) : SystemClock().now();
}

Date timeArgument(const std::string& text) {
  const std::optional<Date> time = parseIso8601(text);
  if (!time) throw Unusable("not an ISO 8601 time: " + text);
  return *time;
}

StatusReader::Alive aliveOption(const Arguments& arguments) {
  const std::string alive = arguments.option("--alive").value_or("real");
  if (alive == "all") return [](std::int32_t) { return true; };
  if (alive == "none") return [](std::int32_t) { return false; };
  if (alive == "real") return [](std::int32_t pid) { return isAlive(systemFiles(), pid); };
  throw Unusable("--alive takes real, all or none");
}

Snapshot snapshotOf(const std::string& file, const Arguments& arguments) {
  const Date now = nowOption(arguments);
  return StatusReader::read(systemFiles(), Url::file(file), now, marksOption(arguments), aliveOption(arguments));
}

std::optional<ProblemRecord> problemOption(const Arguments& arguments) {
  const std::optional<std::string> file = arguments.option("--problem");
  if (!file) return std::nullopt;
  const Outcome<std::string> bytes = readFile(systemFiles(), *file, ProblemPlan::kRecordLimit);
  return bytes ? ProblemPlan::decode(bytes.value) : std::nullopt;
}

std::optional<Json> jsonFile(const std::string& path) {
  const Outcome<std::string> bytes = readFile(systemFiles(), path, kMostBytes);
  if (!bytes) return std::nullopt;
  try {
    return Json::parse(bytes.value);
  } catch (const JsonError&) {
    return std::nullopt;
  }
}

}  // namespace kestrelune::inspect
