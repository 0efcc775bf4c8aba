#pragma once

#include <deque>
#include <functional>
#include <memory>

#include "base/Lifetime.hpp"
#include "base/Session.hpp"
#include "session/ActivationToken.hpp"
#include "session/ScreenPort.hpp"

namespace kestrelune {

/// Questions on the screen, one at a time. One that is open when the screen ends is asked again once; then it counts as
/// cancelled.
class ScreenAlert final : public Alert {
 public:
  ScreenAlert(RunLoop& loop, ScreenPort& port, ActivationToken& activation);

  void ask(const Question& question, std::function<void(const Answer&)> answered) override;

 private:
  struct Asked {
    Question question;
    std::function<void(const Answer&)> answered;
    std::string token;
  };

  void showFirst();
  void lost();
  void answer(const Answer& answer);

  RunLoop& loop_;
  ScreenPort& port_;
  ActivationToken& activation_;
  std::deque<Asked> waiting_;  ///< the first is the one being asked
  int id_ = 0;                 ///< of the first
  int losses_ = 0;             ///< screens that ended with the first
  std::unique_ptr<Subscription> listening_;
  Lifetime lifetime_;
};

/// Copying through the screen, which keeps the text for others to paste.
class ScreenPasteboard final : public Pasteboard {
 public:
  ScreenPasteboard(RunLoop& loop, ScreenPort& port);

  bool copy(const std::string& text) override;

 private:
  void send();

  RunLoop& loop_;
  ScreenPort& port_;
  std::string text_;
  int attempts_ = 0;  ///< left for a text that the screen may not have taken; 0: nothing to send
  Timer taken_;
  std::unique_ptr<Subscription> listening_;
};

}  // namespace kestrelune
