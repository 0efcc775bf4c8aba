#pragma once

#include <cstdlib>
#include <optional>
#include <string>

namespace kestrelune::testing_support {

/// Gives the process a language for as long as it lives.
class Language {
 public:
  explicit Language(const char* locale) {
    keep(0, "LC_ALL", locale);
    keep(1, "LANGUAGE", nullptr);
  }
  ~Language() {
    restore(0, "LC_ALL");
    restore(1, "LANGUAGE");
  }
  Language(const Language&) = delete;
  Language& operator=(const Language&) = delete;

 private:
  void keep(int slot, const char* name, const char* value) {
    if (const char* old = std::getenv(name)) old_[slot] = old;
    value ? setenv(name, value, 1) : unsetenv(name);
  }
  void restore(int slot, const char* name) { old_[slot] ? setenv(name, old_[slot]->c_str(), 1) : unsetenv(name); }

  std::optional<std::string> old_[2];
};

struct English : Language {
  English() : Language("en_US.UTF-8") {}
};
struct German : Language {
  German() : Language("de_DE.UTF-8") {}
};

}  // namespace kestrelune::testing_support
