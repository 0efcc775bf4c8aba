#include "base/System.hpp"

#include <pwd.h>
#include <string.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <string_view>

#include "base/Descriptor.hpp"

extern "C" {
[[gnu::weak]] extern const char kestreluneRunsTests;
}

namespace kestrelune::system {
namespace {

std::string_view value(const Environment& environment, const std::string& name) {
  const auto found = environment.find(name);
  return found == environment.end() ? std::string_view() : std::string_view(found->second);
}

/// The locale of messages: the first variable that is set and not empty. `valueOf` gives a variable's value by name.
template <class ValueOf>
std::string_view messageLocale(const ValueOf& valueOf) {
  for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"})
    if (const std::string_view locale = valueOf(name); !locale.empty()) return locale;
  return "C";
}

bool isC(std::string_view locale) { return locale == "C" || locale == "POSIX"; }

/// Without character set and variant: "de_DE.UTF-8@euro" is "de_DE".
std::string bareLocale(std::string_view locale) { return std::string(locale.substr(0, locale.find_first_of(".@"))); }

std::string languageTag(std::string_view locale) {
  std::string tag = bareLocale(locale);
  std::replace(tag.begin(), tag.end(), '_', '-');
  return tag;
}

template <class ValueOf>
std::vector<std::string> languagesBy(const ValueOf& valueOf) {
  const std::string_view locale = messageLocale(valueOf);
  if (isC(bareLocale(locale))) return {};

  std::string_view rest = valueOf("LANGUAGE");
  if (rest.empty()) return {languageTag(locale)};
  std::vector<std::string> languages;
  while (!rest.empty()) {
    const std::string_view entry = rest.substr(0, rest.find(':'));
    rest.remove_prefix(std::min(rest.size(), entry.size() + 1));
    // Untranslated text was asked for before anything that follows.
    if (isC(entry)) break;
    if (std::string tag = languageTag(entry); !tag.empty() && !isC(tag)) languages.push_back(std::move(tag));
  }
  return languages;
}

void print(int descriptor, const std::string& line) {
  const std::string whole = line + "\n";
  writeAll(descriptor, whole.data(), whole.size());
}

}  // namespace

Environment environment() {
  Environment result;
  for (char** entry = environ; entry && *entry; ++entry) {
    const std::string_view text = *entry;
    const std::size_t equals = text.find('=');
    if (equals != std::string_view::npos) result.emplace(text.substr(0, equals), text.substr(equals + 1));
  }
  return result;
}

void adoptVariables(const std::vector<std::string>& names, const Environment& from) {
  for (const std::string& name : names) {
    const auto found = from.find(name);
    if (found == from.end())
      ::unsetenv(name.c_str());
    else
      ::setenv(name.c_str(), found->second.c_str(), 1);
  }
}

Url homeFolder() {
  passwd entry{};
  passwd* found = nullptr;
  std::string buffer(1024, '\0');
  while (getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found) == ERANGE) buffer.resize(buffer.size() * 2);
  return Url::file(found && entry.pw_dir && entry.pw_dir[0] == '/' ? entry.pw_dir : "/");
}

uid_t userId() { return getuid(); }

pid_t processId() { return getpid(); }

std::vector<std::string> preferredLanguages() {
  // Asked for each text: the whole environment would be copied as often.
  return languagesBy([](const char* name) {
    const char* value = std::getenv(name);
    return std::string_view(value ? value : "");
  });
}

std::vector<std::string> preferredLanguages(const Environment& environment) {
  return languagesBy([&](const char* name) { return value(environment, name); });
}

std::string localeIdentifier(const Environment& environment) {
  std::string identifier = bareLocale(messageLocale([&](const char* name) { return value(environment, name); }));
  return identifier.empty() || isC(identifier) ? "en_US" : identifier;
}

bool isRunningTests() { return &kestreluneRunsTests != nullptr; }

std::string processor() {
  utsname names{};
  uname(&names);
  const std::string_view machine = names.machine;
  return machine == "aarch64" || machine == "arm64" ? "arm64" : "x64";
}

std::string systemVersion() {
  utsname names{};
  uname(&names);
  return versionOf(names.release);
}

std::string versionOf(std::string_view release) {
  std::string_view version = release.substr(0, release.find_first_not_of("0123456789."));
  std::size_t end = 0;
  for (int part = 0; part < 3 && end != std::string_view::npos; ++part)
    end = version.find('.', part == 0 ? 0 : end + 1);
  version = version.substr(0, end);
  while (version.ends_with('.')) version.remove_suffix(1);
  return std::string(version);
}

std::string errorText(int number) {
  const char* text = strerrordesc_np(number);
  return text ? text : "Unknown error " + std::to_string(number);
}

Url configFolder() {
  const Environment variables = environment();
  const std::string_view configured = value(variables, "XDG_CONFIG_HOME");
  return configured.starts_with('/') ? Url::file(configured) : homeFolder().appending(".config");
}

void printLine(const std::string& line) { print(STDOUT_FILENO, line); }

void printErrorLine(const std::string& line) { print(STDERR_FILENO, line); }

}  // namespace kestrelune::system
