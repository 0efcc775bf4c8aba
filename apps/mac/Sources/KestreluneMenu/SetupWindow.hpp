#pragma once

#include <functional>
#include <optional>
#include <string>

#include "AppConfiguration.hpp"
#include "Outside.hpp"
#include "RuntimeActionRunner.hpp"
#include "Setup.hpp"
#include "SetupWindowViews.hpp"
#include "base/Lifetime.hpp"

namespace kestrelune {

/// The first-run window: account, AI, this Mac. It looks at the status file once a second, moves on by itself when the
/// helper reports in, and redraws only what changed. What decides lies in `SetupFlow`.
class SetupWindowController {
 public:
  static constexpr const char* kWindowId = "setup";
  static constexpr double kPollSeconds = 1;

  /// `step`: where it opens; absent: at the first step that is open. `closed` is called when the window has gone; it
  /// may destroy this object.
  SetupWindowController(const Configuration& configuration, const Outside& outside, SetupController& setup,
                        ActionRunner& actions, std::optional<SetupStep> step, std::function<void()> closed);
  ~SetupWindowController();

  /// Brings the window to the front, and begins to poll.
  void present();
  void setStep(SetupStep step);
  /// Looks at how things stand. A given snapshot is used as it is; without one the status file is read.
  void tick(const std::optional<Snapshot>& given = std::nullopt);
  /// The setup has begun, gone on or ended: draws that anew where the window is seen.
  void setupChanged();
  bool isVisible() const;
  const SetupWindowModel& model() const { return model_; }
  /// What a control does, by its key.
  void handle(const ViewEvent& event);

 private:
  Snapshot readStatus() const;
  void render();
  void show(bool raise);
  void startAccount();
  void choose(const std::string& id);
  void connect();
  void performRow(std::size_t index);
  void toggleTool(const std::string& id, bool on);
  void tryFirstTask();
  void complete();
  void close();
  void copyText(const std::string& text);
  void openExternal(const Url& url);

  const Configuration configuration_;
  Outside outside_;
  SetupController& setup_;
  ActionRunner& actions_;
  std::function<void()> closed_;
  SetupWindowModel model_;
  bool wasAccountDone_ = false;
  bool wasConnected_ = false;
  Timer timer_;
  Lifetime lifetime_;
};

}  // namespace kestrelune
