#include "AppUpdatePolicy.hpp"
#include "Input.hpp"
#include "MenuPlan.hpp"
#include "ProblemReport.hpp"
#include "UpdateReport.hpp"
#include "WindowPlan.hpp"

using namespace kestrelune;

namespace {

template <class Read>
void attempt(Read read) {
  try {
    read();
  } catch (const JsonError&) {
  }
}

}  // namespace

/// The helper's small files, its answers and the release manifest.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text = fuzz::text(data, size);
  const Url reports = Url::file("/a/reports");
  if (const auto record = ProblemPlan::decode(text)) {
    ProblemPlan::notice(*record);
    ProblemPlan::menuEntry(record);
    const auto folder = ProblemPlan::reportFolder(record, reports);
    fuzz::require(!folder || folder->path().starts_with("/a/reports/"), "a report lies in the reports folder");
  }
  attempt([&] {
    UpdateProgress progress;
    decodeJson(Json::parse(text), progress);
    UpdateReport::progressLine(progress);
    UpdateReport::summary(progress, Date{0}, 1, "");
  });
  attempt([&] {
    AppRelease release;
    decodeJson(Json::parse(text), release);
    const auto url = AppUpdatePolicy::download(release);
    fuzz::require(!url || (url->scheme() == "https" && !url->user() && !url->port()), "a download is plain https");
  });
  attempt([&] {
    const auto tasks = decodeHistory(text);
    for (const WindowTask& task : WindowPlan::tasks(std::nullopt, tasks, {}, Date{1.77e9})) WindowPlan::subtitle(task);
  });
  attempt([&] {
    for (const Schedule& schedule : decodeSchedules(text)) schedule.subtitle(Date{1.77e9});
  });
  return 0;
}
