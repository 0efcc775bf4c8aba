#pragma once

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "base/Url.hpp"

namespace kestrelune {

/// A folder of its own for one test, made when it is first asked for, and removed with it.
class TestFolder {
 public:
  TestFolder() {}  // not defaulted, so that there may be a constant one
  ~TestFolder() {
    std::error_code ignored;
    if (!path_.empty()) std::filesystem::remove_all(path_, ignored);
  }
  TestFolder(const TestFolder&) = delete;
  TestFolder& operator=(const TestFolder&) = delete;

  std::string path(const std::string& name = "") const {
    if (path_.empty()) {
      std::string made = (std::filesystem::temp_directory_path() / "kestrelune-XXXXXX").string();
      path_ = ::mkdtemp(made.data()) ? made : "";
    }
    return name.empty() ? path_ : path_ + "/" + name;
  }
  Url url(const std::string& name = "") const { return Url::file(path(name)); }

  void write(const std::string& name, const std::string& content) const {
    const std::filesystem::path file = path(name);
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << content;
  }
  std::string read(const std::string& name) const {
    std::ifstream file(path(name), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  bool has(const std::string& name) const { return std::filesystem::exists(path(name)); }
  std::size_t count(const std::string& name = "") const {
    const std::filesystem::directory_iterator entries(path(name));
    return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
  }

 private:
  mutable std::string path_;
};

}  // namespace kestrelune
