#include <utility>

#include "Inspect.hpp"
#include "NoticeTracker.hpp"
#include "UpdateReport.hpp"
#include "base/Files.hpp"

namespace kestrelune::inspect {

namespace {

std::pair<std::string, Date> fileAtTime(const std::string& word) {
  const std::size_t at = word.rfind('@');
  if (at == std::string::npos) throw Unusable("expected FILE@T, got " + word);
  return {word.substr(0, at), timeArgument(word.substr(at + 1))};
}

Json notices(const Arguments& arguments) {
  arguments.requireWords(1, SIZE_MAX);
  const StatusReader::Alive alive = aliveOption(arguments);
  NoticeTracker tracker;
  Json::Array updates;
  for (const std::string& word : arguments.words()) {
    const auto [file, now] = fileAtTime(word);
    Json::Array told;
    for (const Notice& notice :
         tracker.update(StatusReader::read(systemFiles(), Url::file(file), now, {}, alive), now)) {
      told.push_back(Json::Object{
          {"id", notice.id}, {"title", notice.title}, {"body", notice.body}, {"action", notice.action.identifier()}});
    }
    updates.push_back(std::move(told));
  }
  return updates;
}

std::int32_t codeOption(const Arguments& arguments) {
  const std::string text = arguments.option("--code").value_or("0");
  try {
    std::int32_t code = 0;
    decodeJson(Json::parse(text), code);
    return code;
  } catch (const JsonError&) {
    throw Unusable("--code takes an integer");
  }
}

Json updateReport(const Arguments& arguments) {
  arguments.requireWords(1, 1);
  const std::optional<std::string> started = arguments.option("--started");
  if (!started) throw Unusable("--started is missing");
  std::optional<UpdateProgress> progress;
  if (const std::optional<Json> json = jsonFile(arguments.words()[0])) {
    try {
      decodeJson(*json, progress.emplace());
    } catch (const JsonError&) {
      progress.reset();
    }
  }
  const UpdateReport::Summary summary = UpdateReport::summary(progress, timeArgument(*started), codeOption(arguments),
                                                              arguments.option("--last-line").value_or(""));
  return Json::Object{
      {"progress", UpdateReport::progressLine(progress)}, {"title", summary.title}, {"body", summary.body}};
}

const Subcommand kNotices("notices", "[--alive real|all|none] FILE@T ...", {"--alive"}, notices);
const Subcommand kUpdateReport("update-report", "FILE --started T [--code N] [--last-line TEXT]",
                               {"--started", "--code", "--last-line"}, updateReport);

}  // namespace

}  // namespace kestrelune::inspect
