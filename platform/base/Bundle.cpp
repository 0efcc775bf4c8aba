#include "base/Bundle.hpp"

#include <filesystem>
#include <utility>

namespace kestrelune {
namespace {

constexpr std::size_t kLargestInfo = 1 << 20;
namespace fs = std::filesystem;

/// `Name.app` for a program in `Name.app/Contents/{MacOS,Helpers}`, otherwise the program's own folder.
fs::path bundleOf(const fs::path& program) {
  const fs::path folder = program.parent_path();
  const bool inside =
      (folder.filename() == "MacOS" || folder.filename() == "Helpers") && folder.parent_path().filename() == "Contents";
  return inside ? folder.parent_path().parent_path() : folder;
}

Url ownBundle() {
  std::error_code ignored;
  return Url::file(bundleOf(fs::read_symlink("/proc/self/exe", ignored)).string());
}

}  // namespace

Bundle Bundle::main() {
  // Looked up once: the system follows the running file wherever an update moves it to.
  static const Url url = ownBundle();
  return Bundle(url);
}

Bundle::Bundle(Url url) : Bundle(systemFiles(), std::move(url)) {}

Bundle::Bundle(Files& files, Url url) : url_(std::move(url)) {
  const Outcome<std::string> file = readFile(files, contents("Info.json").path(), kLargestInfo);
  if (!file) return;
  try {
    info_ = Json::parse(file.value);
  } catch (const JsonError&) {
    info_ = Json();
  }
}

std::optional<std::string> Bundle::infoString(std::string_view key) const {
  const Json* member = info_.find(key);
  const std::string* value = member ? member->string() : nullptr;
  return value ? std::optional(*value) : std::nullopt;
}

Url Bundle::contents(std::string_view path) const { return url_.appending("Contents").appending(path); }

}  // namespace kestrelune
