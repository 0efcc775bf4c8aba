#pragma once

#include <string>

#include "base/Files.hpp"
#include "base/Session.hpp"

namespace kestrelune {

/// Opening at login as an autostart entry, `com.kestrelune.menu.desktop` in the user's autostart folder. An entry that
/// the desktop's settings switched off ("Hidden", or GNOME's own key) waits for the user's approval.
class DesktopLoginItem final : public LoginItem {
 public:
  /// `configFolder` holds "autostart", which is made when needed; `launcher` is an absolute path. In a dry run the
  /// entry is read, and nothing is written.
  DesktopLoginItem(Files& files, std::string configFolder, std::string launcher, bool dryRun);

  Status status() const override;
  std::string registerItem(bool asked) override;
  std::string unregister() override;

 private:
  Files& files_;
  std::string folder_;
  std::string path_;
  std::string launcher_;
  bool dryRun_;
};

}  // namespace kestrelune
