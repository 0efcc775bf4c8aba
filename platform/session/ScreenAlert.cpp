#include "session/ScreenAlert.hpp"

#include <algorithm>
#include <utility>

#include "base/System.hpp"
#include "base/Text.hpp"
#include "session/SessionCopy.hpp"

namespace kestrelune {
namespace {

using namespace messages;

constexpr int kMostLosses = 2;  ///< screens that may end with a question before it counts as cancelled
constexpr int kCopyAttempts = 2;
constexpr double kCopyTaken = 2;  ///< seconds after which a screen that lives has taken a text

}  // namespace

ScreenAlert::ScreenAlert(RunLoop& loop, ScreenPort& port, ActivationToken& activation)
    : loop_(loop),
      port_(port),
      activation_(activation),
      listening_(port.listen({[this](const Ready&) { showFirst(); },
                              [this](const Up& message) {
                                const Answered* answered = std::get_if<Answered>(&message);
                                if (answered && !waiting_.empty() && answered->id == id_)
                                  answer({answered->button, answered->text});
                              },
                              [this] { lost(); }})) {}

void ScreenAlert::ask(const Question& asked, std::function<void(const Answer&)> answered) {
  Question question = asked;
  if (question.buttons.empty()) question.buttons = {session_copy::text(session_copy::Key::ok)};
  if (!port_.hasDisplay()) {
    system::printLine(text::filled(session_copy::text(session_copy::Key::noDisplayAsk),
                                   {question.title + (question.text.empty() ? "" : " " + question.text)}));
    return loop_.post(lifetime_.guarded([answered = std::move(answered)] { answered({}); }));
  }
  const auto equal =
      std::find_if(waiting_.begin(), waiting_.end(), [&](const Asked& other) { return other.question == question; });
  if (equal != waiting_.end()) {
    if (equal == waiting_.begin() && port_.running()) port_.send(RaiseQuestion{id_, activation_.take()});
    return;
  }
  waiting_.push_back({std::move(question), std::move(answered), activation_.take()});
  if (waiting_.size() == 1) showFirst();
}

void ScreenAlert::showFirst() {
  if (waiting_.empty()) return;
  if (!port_.running()) return port_.ensure();
  port_.send(Ask{++id_, waiting_.front().question, std::exchange(waiting_.front().token, "")});
}

/// It may never have been seen: a screen that has nothing to show ends while a question is on its way.
void ScreenAlert::lost() {
  if (waiting_.empty()) return;
  if (++losses_ < kMostLosses && port_.hasDisplay()) return port_.ensure();
  answer({});
}

void ScreenAlert::answer(const Answer& answer) {
  losses_ = 0;
  const Asked first = std::move(waiting_.front());
  waiting_.pop_front();
  showFirst();
  first.answered(answer);
}

ScreenPasteboard::ScreenPasteboard(RunLoop& loop, ScreenPort& port)
    : loop_(loop),
      port_(port),
      listening_(port.listen({[this](const Ready&) { send(); }, nullptr,
                              [this] {
                                taken_.reset();
                                if (attempts_ > 0) port_.ensure();
                              }})) {}

bool ScreenPasteboard::copy(const std::string& text) {
  if (!port_.hasDisplay()) return false;
  text_ = text;
  attempts_ = kCopyAttempts;
  if (port_.running())
    send();
  else
    port_.ensure();
  return true;
}

void ScreenPasteboard::send() {
  if (attempts_ == 0) return;
  --attempts_;
  port_.send(Copy{text_});
  taken_ = loop_.after(kCopyTaken, [this] {
    const Timer done = std::move(taken_);
    attempts_ = 0;
    text_.clear();
  });
}

}  // namespace kestrelune
