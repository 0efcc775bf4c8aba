#pragma once

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

/// A folder for targets whose code works on real files: in memory where there is such a place, gone with the process.
namespace kestrelune::fuzz {

class Scratch {
 public:
  Scratch() {
    const bool memory = std::filesystem::is_directory("/dev/shm");
    std::string pattern =
        (memory ? "/dev/shm" : std::filesystem::temp_directory_path().string()) + "/kestrelune-XXXXXX";
    path_ = mkdtemp(pattern.data()) ? pattern : throw std::filesystem::filesystem_error("mkdtemp", {});
  }
  ~Scratch() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;

  std::string operator/(std::string_view name) const { return path_ + "/" + std::string(name); }
  const std::string& path() const { return path_; }

  void write(std::string_view name, std::string_view text) const {
    std::ofstream(*this / name, std::ios::binary | std::ios::trunc)
        .write(text.data(), static_cast<std::streamsize>(text.size()));
  }
  /// Empties it.
  void clear() const {
    for (const auto& entry : std::filesystem::directory_iterator(path_)) std::filesystem::remove_all(entry);
  }

 private:
  std::string path_;
};

}  // namespace kestrelune::fuzz
