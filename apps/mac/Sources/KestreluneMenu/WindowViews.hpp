#pragma once

#include <functional>
#include <map>
#include <string>

#include "WindowModel.hpp"
#include "base/Dates.hpp"
#include "base/View.hpp"

namespace kestrelune {

/// What using a control of the window does, by the control's key. The value is that of the event.
using ViewHandlers = std::map<std::string, std::function<void(WindowModel& model, const std::string& value)>>;

/// A window's tree with what its controls do. The tree is a value; the handlers are looked up when an event names a
/// key, so an event for a control that has gone does nothing.
struct DrawnView {
  View tree;
  ViewHandlers handlers;
};

/// The views of the main window: functions of the model, without data of their own.
namespace WindowViews {

/// `lists` are those of the state.
DrawnView mainView(const WindowModel::State& state, const TaskLists& lists, Date now,
                   const Calendar& calendar = Calendar::current());

}  // namespace WindowViews
}  // namespace kestrelune
