#pragma once

#include <memory>
#include <optional>

#include "base/Lifetime.hpp"
#include "base/Session.hpp"
#include "session/ActivationToken.hpp"
#include "session/MenuExport.hpp"
#include "session/ScreenPort.hpp"
#include "session/StatusNotifierItem.hpp"

namespace kestrelune {

/// The icon and its menu, shown in the way that the desktop offers at this moment: by a host on the session bus, else
/// by the screen in a tray of the old kind or a strip of our own, else not at all. Chosen anew when a host comes late,
/// restarts or goes.
class StatusItemPresenter final : public StatusItem {
 public:
  StatusItemPresenter(RunLoop& loop, Bus& bus, ScreenPort& screen, ActivationToken& activation,
                      std::string desktop = "");

  void setEvents(Events events) override { events_ = std::move(events); }
  void show(const StatusItemLook& look) override;
  void setMenu(const MenuTree& menu) override;
  bool wantsMenuWhileClosed() const override { return item_.hasHost(); }
  bool menuIsOpen() const override { return openMenu_.has_value() || exported_.isOpen(); }
  void openMenu() override { openAt({}); }
  void cancelTracking() override;
  /// The desktop is another one, of the kind that XDG_CURRENT_DESKTOP tells: looks anew for the way to show the icon.
  void reconsider(std::string desktop);

 private:
  void hostChanged();
  void choose();
  void showOnScreen(bool visible);
  bool screenOpensMenu() const;
  void screenShows(const std::string& form);
  void openAt(messages::MenuPlace place);
  void sendMenu();
  void forgetWish();
  void screenStarted(const messages::Ready& ready);
  void screenSaid(const messages::Up& message);
  void screenLost();

  RunLoop& loop_;
  ScreenPort& screen_;
  Events events_;
  std::optional<StatusItemLook> look_;
  MenuTree menu_;
  MenuExport exported_;
  StatusNotifierItem item_;
  std::string desktop_;
  bool onScreen_ = false;                      ///< the icon is the screen's to show
  std::optional<std::string> form_;            ///< how the screen shows it, once it has said so
  std::optional<messages::MenuPlace> wanted_;  ///< our own menu is wanted and hasn't come up yet
  std::optional<int> openMenu_;                ///< our own menu that is open
  int lastMenu_ = 0;
  Timer patience_, wishEnds_;
  std::unique_ptr<Subscription> screenListening_;
  Lifetime lifetime_;
};

}  // namespace kestrelune
