#include "Notifications.hpp"

#include <utility>

#include "RuntimeAction.hpp"

namespace kestrelune {

Notifications::Notifications(bool dryRun, ActionRunner& actions, Reach reach)
    : dryRun_(dryRun), actions_(actions), reach_(std::move(reach)) {}

void Notifications::start() {
  if (dryRun_) return;
  reach_.center.setClicked(lifetime_.guarded([this](const std::string& identifier) { clicked(identifier); }));
}

void Notifications::send(const Notice& notice) {
  const std::string identifier = notice.action.identifier();
  if (dryRun_) {
    reach_.output("DRY_RUN notification " + notice.id + ": " + notice.title + " | " + notice.body + " -> " +
                  identifier);
    return;
  }
  if (reach_.defaults.boolean(kMutedKey)) return;
  reach_.center.deliver(
      {.id = notice.id, .title = notice.title, .body = notice.body, .action = identifier},
      [output = reach_.output](const std::string& reason) { output("Notification delivery: " + reason); });
}

void Notifications::clicked(const std::string& identifier) {
  const auto action = Action::parse(identifier);
  if (!action) return;
  reach_.loop.post(lifetime_.guarded([this, action = *action] { actions_.perform(action); }));
}

}  // namespace kestrelune
