#pragma once

#include <initializer_list>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "RuntimeAction.hpp"
#include "WindowViews.hpp"

namespace kestrelune::WindowViews {

/// The pieces that aren't empty, with dots between them.
std::string dotted(std::initializer_list<std::string> pieces);

/// Draws one page of the window, gathering what its controls do.
class Page {
 public:
  Page(const WindowModel::State& state, const TaskLists& lists, Date now, const Calendar& calendar)
      : state_(state), lists_(lists), now_(now), calendar_(calendar) {}

  DrawnView draw();

 private:
  using Press = std::function<void(WindowModel& model)>;

  const std::optional<HelperStatus>& status() const { return state_.snapshot.status; }

  View pressable(View view, Press pressed);
  View button(const std::string& key, const std::string& title, Press pressed,
              View::ButtonStyle style = View::ButtonStyle::normal);
  View actionButton(const std::string& key, const std::string& title, Action action,
                    View::ButtonStyle style = View::ButtonStyle::normal);

  View picker();
  View content();
  View tasks();
  View taskRow(const std::string& key, const WindowTask& task);
  View taskDetail(const std::string& id);
  View schedules(const std::vector<Schedule>& list);
  View ais();
  View connectionRow(const Connection& connection, std::size_t index);
  View appRow(const HostApp& app, std::size_t index);
  View usage(const std::vector<HostApp>& apps);
  View macs();
  View general();
  View switchRow(const std::string& key, const std::string& title, const std::string& subtitle, bool on,
                 void (WindowModel::*toggle)());
  View problem();

  const WindowModel::State& state_;
  const TaskLists& lists_;
  const Date now_;
  const Calendar calendar_;
  ViewHandlers handlers_;
  std::map<std::string, int> ordinals_;
};

}  // namespace kestrelune::WindowViews
