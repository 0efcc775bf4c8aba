#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "Status.hpp"
#include "StatusReader.hpp"
#include "base/Dates.hpp"
#include "base/Json.hpp"

namespace kestrelune {

/// One task of the main window: from the helper's history, or built from the live status.
struct WindowTask {
  struct Step {
    std::optional<std::string> at;  ///< ISO 8601
    std::optional<std::string> line;

    bool operator==(const Step&) const = default;
  };
  /// Kept as the text that they came in, and shared by a task's copies: a history can hold millions of them.
  class Steps {
   public:
    Steps() = default;  ///< not known
    /// Throws `JsonError` for anything but a list of steps.
    explicit Steps(const Json& json);
    std::vector<Step> list() const;

    bool operator==(const Steps& other) const {
      return text_ == other.text_ || (text_ && other.text_ && *text_ == *other.text_);
    }

   private:
    std::shared_ptr<const std::string> text_;
  };

  std::string taskId;
  std::optional<std::string> label;
  std::optional<std::string> title;
  std::optional<std::string> state;  ///< "needs_you", "running", "done"; others are in no group
  std::optional<std::string> line;
  std::optional<std::string> from;    ///< the application that gave the task
  std::optional<std::string> app;     ///< the application that carries it out
  std::optional<std::string> ballAt;  ///< who has to act now
  std::optional<std::string> queuedAt;
  std::optional<std::string> endedAt;
  std::optional<std::string> open;  ///< an address that opens the task's chat
  Steps steps;
  std::optional<std::string> hiddenNote;  ///< why it is hidden; never sent by the helper
  std::optional<std::string> settleKey;   ///< likewise

  /// Label and title; for a nameless task the words that something needs the user, whatever its state.
  std::string name() const;

  bool operator==(const WindowTask&) const = default;
};

/// Something the helper starts by itself from time to time.
struct Schedule {
  std::string scheduleId;
  std::optional<std::string> name;
  std::optional<std::string> when;  ///< its rhythm in words
  std::optional<std::string> nextRunAt;
  std::optional<bool> paused;
  std::optional<std::string> pauseNote;
  std::optional<std::string> app;
  std::optional<std::string> computer;

  std::string subtitle(Date now, const Calendar& calendar = Calendar::current()) const;
  /// The time of day today, otherwise with the weekday.
  static std::string whenText(Date date, Date now, const Calendar& calendar);

  bool operator==(const Schedule&) const = default;
};

/// The helper's answers. Throw `JsonError`; one bad entry fails the whole answer.
std::vector<WindowTask> decodeHistory(std::string_view answer);
std::vector<Schedule> decodeSchedules(std::string_view answer);

struct TaskGroup {
  std::string title;
  std::vector<const WindowTask*> tasks;
  std::string empty;  ///< what stands there when there are no tasks

  /// Always three: needs the user, running, done today. They point into `tasks`.
  static std::vector<TaskGroup> groups(const std::vector<WindowTask>& tasks, Date now,
                                       const Calendar& calendar = Calendar::current());
  /// The tasks that are in no group, in their order.
  static std::vector<const WindowTask*> leftovers(const std::vector<WindowTask>& tasks, Date now,
                                                  const Calendar& calendar = Calendar::current());
};

/// How the live status and the helper's history become one list: live facts win, the history adds the rest.
namespace WindowPlan {

std::vector<WindowTask> tasks(const std::optional<HelperStatus>& status, const std::vector<WindowTask>& history,
                              const std::vector<HiddenAttention>& hidden, Date now,
                              const Calendar& calendar = Calendar::current());

/// The line under a task's name; may be empty.
std::string subtitle(const WindowTask& task, const Calendar& calendar = Calendar::current());

/// Why an item is hidden, and until when.
std::string note(const SettleMark& mark, Date now, const Calendar& calendar = Calendar::current());

}  // namespace WindowPlan

/// The merged list with its groups. Holds good while status, history and hidden items are the same ones, on the day for
/// which it was made.
struct TaskLists {
  TaskLists(const Snapshot& snapshot, const std::vector<WindowTask>& history, Date now,
            const Calendar& calendar = Calendar::current());
  TaskLists(const TaskLists&) = delete;
  TaskLists& operator=(const TaskLists&) = delete;

  const Date madeAt;
  const std::vector<WindowTask> all;
  const std::vector<TaskGroup> groups;
  const std::vector<const WindowTask*> leftovers;
  /// For the second and later tasks of one identifier: the how many-th it is.
  const std::unordered_map<const WindowTask*, int> repeats;
};

}  // namespace kestrelune
