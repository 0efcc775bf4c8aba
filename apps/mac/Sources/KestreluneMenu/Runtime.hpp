#pragma once

#include <cstdint>
#include <exception>
#include <string>

namespace kestrelune {

/// The program's one error. `description` is what the user sees.
class RuntimeError : public std::exception {
 public:
  enum class Case { posix, script, unsafeDryRun };

  static RuntimeError posix(std::int32_t number);
  static RuntimeError script(std::string text);
  static RuntimeError unsafeDryRun();

  bool operator==(const RuntimeError& other) const;

  Case kind() const { return kind_; }
  /// The error number of a `posix`, otherwise 0.
  std::int32_t number() const { return number_; }
  const std::string& description() const { return text_; }
  const char* what() const noexcept override { return text_.c_str(); }

 private:
  RuntimeError(Case kind, std::int32_t number, std::string text);

  Case kind_;
  std::int32_t number_;
  std::string text_;
};

}  // namespace kestrelune
