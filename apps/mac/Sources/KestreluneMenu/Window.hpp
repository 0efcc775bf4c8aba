#pragma once

#include <optional>
#include <string>

#include "AppConfiguration.hpp"
#include "Outside.hpp"
#include "WindowModel.hpp"
#include "WindowViews.hpp"
#include "base/Lifetime.hpp"
#include "base/Session.hpp"

namespace kestrelune {

/// The main window and its model. Closing hides it; the model lives on, so that what was loaded is there at once when
/// it is shown again. It keeps no time of its own and follows the snapshots that it is given.
class MainWindowController {
 public:
  static constexpr const char* kWindowId = "main";
  static constexpr const char* kFrameKey = "mainWindowFrame";

  MainWindowController(const Configuration& configuration, const Outside& outside, ActionRunner& actions);

  /// Brings the window to the front at a place ("tasks" for one that isn't valid), and has the helper asked for what
  /// the status doesn't carry.
  void show(const std::string& place, const Snapshot& snapshot);
  bool isVisible() const;
  /// A look at the status, while the window is visible: what it shows follows the snapshot, the clock's minute, and
  /// the end of a check that it takes for running.
  void follow(const Snapshot& snapshot);
  WindowModel& model() { return model_; }
  /// Ends what is being loaded, and keeps the window's frame.
  void stop();

 private:
  void draw();
  void redrawSoon();
  void handle(const ViewEvent& event);
  std::optional<Rect> savedFrame() const;
  void frameChanged(const Rect& frame);
  void saveFrame();

  Outside outside_;
  WindowModel model_;
  DrawnView drawn_;
  double drawnMinute_ = 0;  ///< of the clock, when it was drawn
  bool redrawing_ = false;
  std::optional<Rect> unsaved_;  ///< where the window came to rest
  Timer saving_;
  Lifetime lifetime_;
};

}  // namespace kestrelune
