#include "base/Defaults.hpp"

#include <cerrno>
#include <functional>
#include <map>
#include <tuple>
#include <utility>

#include "base/Json.hpp"
#include "base/System.hpp"
#include "base/Text.hpp"

namespace kestrelune {
namespace {

constexpr std::size_t kLargestFile = 16 << 20;
constexpr mode_t kFolderMode = 0700;
constexpr mode_t kFileMode = 0600;
constexpr char kBytes[] = "base64";

/// What tells two states of the file apart: each one is a file of its own.
using Identity = std::tuple<std::uint64_t, std::uint64_t, std::uint64_t, std::int64_t>;

bool isAbsent(int error) { return error == ENOENT || error == ENOTDIR; }

class FileDefaults final : public Defaults {
 public:
  FileDefaults(Files& files, std::string path) : files_(files), path_(std::move(path)) { readIfChanged(); }

  bool boolean(std::string_view key) const override {
    const Json* value = find(key);
    const bool* boolean = value ? value->boolean() : nullptr;
    return boolean && *boolean;
  }
  void setBoolean(std::string_view key, bool value) override { change(key, Json(value)); }

  std::optional<std::string> data(std::string_view key) const override {
    const Json* value = find(key);
    const Json* encoded = value ? value->find(kBytes) : nullptr;
    const std::string* text = encoded ? encoded->string() : nullptr;
    return text ? text::fromBase64(*text) : std::nullopt;
  }
  void setData(std::string_view key, std::string_view bytes) override {
    Json value;
    value.set(kBytes, text::base64(bytes));
    change(key, std::move(value));
  }

  void remove(std::string_view key) override { change(key, std::nullopt); }

 private:
  using Change = std::optional<Json>;

  const Json* find(std::string_view key) const {
    readIfChanged();
    const auto found = values_.find(key);
    return found == values_.end() ? nullptr : &found->second;
  }

  void change(std::string_view key, Change value) {
    readIfChanged();
    const auto found = values_.find(key);
    const bool same = found == values_.end() ? !value : value && found->second == *value;
    if (same && unwritten_.empty()) return;
    unwritten_.insert_or_assign(std::string(key), std::move(value));
    applyUnwritten();
    write();
  }

  void applyUnwritten() const {
    for (const auto& [key, value] : unwritten_) {
      if (value)
        values_.insert_or_assign(key, *value);
      else
        values_.erase(key);
    }
  }

  /// While the file can't be looked at, what was read last holds.
  void readIfChanged() const {
    const Outcome<FileInfo> info = files_.info(path_);
    unread_ = isAbsent(info.error) ? 0 : info.error;
    if (unread_ != 0) return;
    std::optional<Identity> identity;
    if (info) identity = Identity(info.value.device, info.value.inode, info.value.size, info.value.changed);
    if (read_ && identity == identity_) return;
    unread_ = readValues();
    if (unread_ != 0) return;
    read_ = true;
    identity_ = identity;
    applyUnwritten();
  }

  /// Returns 0, also for a damaged file, or an error number; then the values stay.
  int readValues() const {
    const Outcome<std::string> file = readFile(files_, path_, kLargestFile);
    if (!file && !isAbsent(file.error)) return file.error;
    values_.clear();
    damaged_ = file.error == 0;
    if (!file) return 0;
    try {
      const Json whole = Json::parse(file.value);
      if (!whole.object()) return 0;
      values_ = *whole.object();
      damaged_ = false;
    } catch (const JsonError&) {
    }
    return 0;
  }

  void write() {
    const int error = place();
    if (error == 0) {
      unwritten_.clear();
      read_ = false;
    } else if (!std::exchange(complained_, true)) {
      system::printLine("Settings could not be saved: " + system::errorText(error));
    }
  }

  int place() {
    // What is perhaps sound mustn't be written over.
    if (mayPass(unread_)) return unread_;
    if (const int error = makeFolders(files_, folder(), kFolderMode); error != 0) return error;
    if (damaged_ || unread_ != 0)
      if (const int error = files_.rename(path_, path_ + ".damaged-" + text::makeUuid()); error != 0) return error;
    damaged_ = false;
    return placeFile(files_, path_, Json(values_).write(), kFileMode, ".defaults-");
  }

  std::string folder() const { return path_.substr(0, path_.find_last_of('/')); }

  Files& files_;
  const std::string path_;
  // Reading keeps up with the file, so it changes these.
  mutable Json::Object values_;
  mutable std::optional<Identity> identity_;
  mutable bool read_ = false;
  mutable bool damaged_ = false;
  mutable int unread_ = 0;                                ///< the error number that hides the file now
  std::map<std::string, Change, std::less<>> unwritten_;  ///< changes that the file doesn't have
  bool complained_ = false;
};

}  // namespace

std::unique_ptr<Defaults> makeFileDefaults(Files& files, std::string path) {
  return std::make_unique<FileDefaults>(files, std::move(path));
}

}  // namespace kestrelune
