#include "session/DesktopLoginItem.hpp"

#include <cerrno>
#include <utility>

#include "base/System.hpp"
#include "session/DesktopEntry.hpp"

namespace kestrelune {
namespace {

constexpr std::size_t kLargestEntry = 1u << 20;
constexpr const char* kFileName = "com.kestrelune.menu.desktop";

std::string entryText(const std::string& launcher) {
  using namespace desktop_entry;
  // TryExec: a desktop skips the entry in silence once the application is gone.
  return "[Desktop Entry]\nType=Application\nName=Kestrelune\nTryExec=" + escapedValue(launcher) +
         "\nExec=" + escapedValue(quotedArgument(launcher)) +
         "\nTerminal=false\nStartupNotify=false\nX-GNOME-Autostart-enabled=true\n";
}

}  // namespace

DesktopLoginItem::DesktopLoginItem(Files& files, std::string configFolder, std::string launcher, bool dryRun)
    : files_(files),
      folder_(std::move(configFolder) + "/autostart"),
      path_(folder_ + "/" + kFileName),
      launcher_(std::move(launcher)),
      dryRun_(dryRun) {}

LoginItem::Status DesktopLoginItem::status() const {
  const Outcome<std::string> content = readFile(files_, path_, kLargestEntry);
  if (!content) return Status::notRegistered;
  const desktop_entry::Entry entry = desktop_entry::parse(content.value);
  const bool off =
      entry.contains("X-GNOME-Autostart-enabled") && !desktop_entry::isTrue(entry, "X-GNOME-Autostart-enabled");
  if (off || desktop_entry::isTrue(entry, "Hidden")) return Status::requiresApproval;
  // A desktop passes over one whose application is gone.
  const auto tried = entry.find("TryExec");
  const bool isGone = tried != entry.end() && !isExecutableFile(files_, tried->second);
  return entry.contains("Exec") && !isGone ? Status::enabled : Status::notRegistered;
}

std::string DesktopLoginItem::registerItem(bool asked) {
  if (dryRun_ || (!asked && status() == Status::requiresApproval)) return "";
  const std::string text = entryText(launcher_);
  if (const auto present = readFile(files_, path_, kLargestEntry); present && present.value == text) return "";
  int error = makeFolders(files_, folder_, 0700);
  if (error == 0) error = placeFile(files_, path_, text, 0644, ".kestrelune-", ".tmp");
  return error == 0 ? "" : system::errorText(error);
}

std::string DesktopLoginItem::unregister() {
  if (dryRun_) return "";
  const int error = files_.unlink(path_);
  if (error != 0 && error != ENOENT) return system::errorText(error);
  syncFolder(files_, folder_);
  return "";
}

}  // namespace kestrelune
