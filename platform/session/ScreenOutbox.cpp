#include "session/ScreenOutbox.hpp"

#include <algorithm>
#include <utility>

namespace kestrelune {
namespace {

using namespace messages;

template <class Message>
Message* as(Down& message) {
  return std::get_if<Message>(&message);
}

/// The newest waiting message that `matches`; null when there is none.
template <class Matches>
Down* newest(std::deque<Down>& waiting, Matches matches) {
  const auto found = std::find_if(waiting.rbegin(), waiting.rend(), matches);
  return found == waiting.rend() ? nullptr : &*found;
}

/// Put at the place of the message that it replaces. Each says whether there was one.
struct Merge {
  std::deque<Down>& waiting;

  bool operator()(ShowWindow& show) {
    Down* earlier = newest(waiting, [&](Down& other) {
      const ShowWindow* shown = as<ShowWindow>(other);
      const CloseWindow* closed = as<CloseWindow>(other);
      return (shown && shown->spec.id == show.spec.id) || (closed && closed->id == show.spec.id);
    });
    ShowWindow* shown = earlier ? as<ShowWindow>(*earlier) : nullptr;
    if (!shown) return false;
    if (show.activationToken.empty()) show.activationToken = std::move(shown->activationToken);
    *shown = std::move(show);
    return true;
  }

  bool operator()(RaiseWindow& raise) {
    std::erase_if(waiting, [&](Down& other) {
      const RaiseWindow* earlier = as<RaiseWindow>(other);
      if (!earlier || earlier->id != raise.id) return false;
      if (raise.activationToken.empty()) raise.activationToken = earlier->activationToken;
      return true;
    });
    return false;
  }

  bool operator()(CloseWindow& close) {
    std::erase_if(waiting, [&](Down& other) {
      const ShowWindow* show = as<ShowWindow>(other);
      const RaiseWindow* raise = as<RaiseWindow>(other);
      return (show && show->spec.id == close.id) || (raise && raise->id == close.id);
    });
    return false;
  }

  /// One menu is open at a time.
  bool operator()(ShowMenu&) {
    forgetMenus();
    return false;
  }
  bool operator()(CloseMenu& close) {
    forgetMenus();
    return isWaiting(close);
  }

  bool operator()(UpdateMenu& update) {
    Down* earlier = newest(waiting, [&](Down& other) {
      const ShowMenu* show = as<ShowMenu>(other);
      const UpdateMenu* rows = as<UpdateMenu>(other);
      return (show && show->id == update.id) || (rows && rows->id == update.id);
    });
    if (!earlier) return false;
    (as<ShowMenu>(*earlier) ? as<ShowMenu>(*earlier)->menu : as<UpdateMenu>(*earlier)->menu) = std::move(update.menu);
    return true;
  }

  bool operator()(ShowStatusItem& item) { return replace(item); }
  bool operator()(Copy& copy) { return replace(copy); }
  bool operator()(RaiseQuestion& raise) { return isWaiting(raise); }
  bool operator()(AskBounds& ask) { return isWaiting(ask); }

  template <class Message>
  bool operator()(Message&) {
    return false;
  }

 private:
  template <class Message>
  bool replace(Message& message) {
    Down* earlier = newest(waiting, [](Down& other) { return as<Message>(other) != nullptr; });
    if (!earlier) return false;
    *earlier = std::move(message);
    return true;
  }
  void forgetMenus() {
    std::erase_if(waiting, [](Down& other) { return as<ShowMenu>(other) || as<UpdateMenu>(other); });
  }
  bool isWaiting(const Down& message) { return std::find(waiting.begin(), waiting.end(), message) != waiting.end(); }
};

}  // namespace

void ScreenOutbox::add(Down message) {
  if (!std::visit(Merge{waiting_}, message)) waiting_.push_back(std::move(message));
}

std::optional<Down> ScreenOutbox::next() {
  if (waiting_.empty()) return std::nullopt;
  std::optional<Down> message = std::move(waiting_.front());
  waiting_.pop_front();
  return message;
}

}  // namespace kestrelune
