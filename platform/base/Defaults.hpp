#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "base/Files.hpp"

namespace kestrelune {

/// The small persistent key-value store of the application.
class Defaults {
 public:
  virtual ~Defaults() = default;
  /// Absent, or of another type: false.
  virtual bool boolean(std::string_view key) const = 0;
  virtual void setBoolean(std::string_view key, bool value) = 0;
  /// Absent, or of another type: nothing.
  virtual std::optional<std::string> data(std::string_view key) const = 0;
  virtual void setData(std::string_view key, std::string_view bytes) = 0;
  virtual void remove(std::string_view key) = 0;
};

/// One JSON file, read at construction, and again when another process changed it, written whole at each change. A
/// damaged file is set aside beside it under another name before anything is written. When it can't be read for the
/// moment what was read last holds, and when writing fails the new value holds for this process, while the file keeps
/// what it had; a line on standard output says so once.
std::unique_ptr<Defaults> makeFileDefaults(Files& files, std::string path);

}  // namespace kestrelune
