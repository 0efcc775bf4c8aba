#include "session/DesktopWorkspace.hpp"

#include <unistd.h>

#include <utility>

#include "base/Text.hpp"
#include "session/DesktopEntry.hpp"
#include "session/DesktopTerminal.hpp"

namespace kestrelune {
namespace {

constexpr double kQueryPatience = 15;
/// An opener that is still there after that runs the browser itself.
constexpr double kOpenPatience = 5;

bool endedWell(const TaskEnd& end) { return end.reason == TaskEnd::Reason::exited && end.status == 0; }

}  // namespace

DesktopWorkspace::DesktopWorkspace(ShowFile showFile, RunLoop& loop, TaskLauncher& launcher, Files& files,
                                   Terminal& terminal, Environment environment, std::string home, bool dryRun)
    : showFile_(std::move(showFile)),
      loop_(loop),
      launcher_(launcher),
      files_(files),
      terminal_(terminal),
      environment_(environmentForChildren(std::move(environment))),
      home_(std::move(home)),
      dryRun_(dryRun) {}

void DesktopWorkspace::run(const TaskRequest& request, double patience, Late late, Ended ended) {
  const std::uint64_t number = ++lastRun_;
  Run& run = runs_[number];
  run.ended = std::move(ended);
  auto child =
      launcher_.launch(request, lifetime_.guarded([this, number](const TaskEnd& end) { finish(number, end, true); }));
  run.task = std::move(child.value);
  if (!run.task) {
    loop_.post(lifetime_.guarded([this, number] { finish(number, std::nullopt, false); }));
    return;
  }
  run.patience = loop_.after(patience, [this, number, late] {
    if (late == Late::isEnded) runs_.at(number).task->terminate();
    finish(number, std::nullopt, true);
  });
}

void DesktopWorkspace::finish(std::uint64_t number, const std::optional<TaskEnd>& end, bool started) {
  if (auto run = runs_.extract(number)) run.mapped().ended(end, started);
}

TaskRequest DesktopWorkspace::request(const std::string& tool, std::vector<std::string> arguments) const {
  TaskRequest request;
  request.executable = desktop_entry::findExecutable(files_, environment_, tool);
  request.arguments = std::move(arguments);
  request.environment = environment_;
  request.folder = home_;
  request.detached = true;
  return request;
}

void DesktopWorkspace::answerLater(std::function<void(bool)> answer, bool value) {
  loop_.post(lifetime_.guarded([answer = std::move(answer), value] { answer(value); }));
}

bool DesktopWorkspace::hasBrowserWithoutAssociation() const {
  const auto browser = environment_.find("BROWSER");
  if (browser != environment_.end() && !browser->second.empty()) return true;
  for (const char* name : {"x-www-browser", "www-browser"})
    if (!desktop_entry::findExecutable(files_, environment_, name).empty()) return true;
  return false;
}

void DesktopWorkspace::canOpen(const Url& url, std::function<void(bool)> answer) {
  if (url.isFile()) return answerLater(std::move(answer), files_.access(url.path(), F_OK) == 0);
  const std::string scheme = text::lowercased(url.scheme().value_or(""));
  if (scheme.empty()) return answerLater(std::move(answer), false);
  const bool otherwise = (scheme == "http" || scheme == "https") && hasBrowserWithoutAssociation();
  TaskRequest query = request("xdg-mime", {"query", "default", "x-scheme-handler/" + scheme});
  if (query.executable.empty()) return answerLater(std::move(answer), otherwise);
  query.output = TaskRequest::Stream::capture;
  query.endsWithUs = true;
  run(query, kQueryPatience, Late::isEnded,
      [answer = std::move(answer), otherwise](const std::optional<TaskEnd>& end, bool) {
        answer(otherwise || (end && endedWell(*end) && !text::trimmed(end->output).empty()));
      });
}

void DesktopWorkspace::open(const Url& url, std::function<void(bool)> opened) {
  if (dryRun_) return answerLater(std::move(opened), true);
  canOpen(url, [this, url, opened = std::move(opened)](bool handled) {
    if (handled)
      handOver(url, opened);
    else
      opened(false);
  });
}

void DesktopWorkspace::handOver(const Url& url, std::function<void(bool)> opened) {
  const TaskRequest opener = request("xdg-open", {url.text()});
  if (opener.executable.empty()) return answerLater(std::move(opened), false);
  run(opener, kOpenPatience, Late::goesOn,
      [opened = std::move(opened)](const std::optional<TaskEnd>& end, bool started) {
        opened(end ? endedWell(*end) : started);
      });
}

void DesktopWorkspace::openApplication(const std::string& identifier, std::function<void(bool)> opened) {
  const auto entry = desktop_entry::findApplication(files_, environment_, home_, identifier);
  const auto tried = entry ? entry->find("TryExec") : desktop_entry::Entry::const_iterator();
  if (!entry || (tried != entry->end() && desktop_entry::findExecutable(files_, environment_, tried->second).empty()))
    return answerLater(std::move(opened), false);
  std::vector<std::string> command = desktop_entry::commandLine(*entry);
  if (command.empty()) return answerLater(std::move(opened), false);
  if (dryRun_) return answerLater(std::move(opened), true);
  if (desktop_entry::isTrue(*entry, "Terminal")) {
    std::string line;
    for (const std::string& word : command) line += terminal_plan::shellQuoted(word) + " ";
    terminal_.run(line, [](const std::string&) {});
    return answerLater(std::move(opened), true);
  }
  TaskRequest application = request(command.front(), {command.begin() + 1, command.end()});
  if (application.executable.empty()) return answerLater(std::move(opened), false);
  if (const auto folder = entry->find("Path"); folder != entry->end() && !folder->second.empty())
    application.folder = folder->second;
  run(application, kOpenPatience, Late::goesOn,
      [opened = std::move(opened)](const std::optional<TaskEnd>& end, bool started) {
        opened(end ? endedWell(*end) : started);
      });
}

void DesktopWorkspace::reveal(const Url& file) {
  if (dryRun_) return;
  showFile_(file, lifetime_.guarded([this, file](bool shown) {
    if (!shown) handOver(file.deletingLastComponent(), [](bool) {});
  }));
}

}  // namespace kestrelune
