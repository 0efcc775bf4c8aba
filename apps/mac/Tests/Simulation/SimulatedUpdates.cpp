#include "Simulation/SimulatedUpdates.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <utility>

#include "AppUpdateTimes.hpp"
#include "base/Digest.hpp"
#include "base/Move.hpp"

namespace kestrelune {
namespace {

constexpr char kArchive[] = "build ", kForged[] = "forged ";

/// The number at the end of a text; 0 if it doesn't begin so.
std::int64_t numberAfter(const std::string& start, const std::string& text) {
  return text.starts_with(start) ? std::strtoll(text.c_str() + start.size(), nullptr, 10) : 0;
}

}  // namespace

SimulatedUpdates::SimulatedUpdates(FakeLoop& loop, FakeFiles& files, FakeHttp& http, std::string folder,
                                   std::map<std::string, std::string> contents)
    : loop_(loop), files_(files), http_(http), folder_(std::move(folder)), contents_(std::move(contents)) {
  putApp(kPlace, offered_);
}

AppSignature SimulatedUpdates::signature() const {
  return {.runningTeam = [] { return "ABCDE12345"; },
          .satisfies = [this](const Url& app, const std::string&) { return wholeAt(app.path()) != 0; }};
}

std::map<std::string, std::string> SimulatedUpdates::contentsOf(std::int64_t build) const {
  const std::string number = std::to_string(build);
  auto contents = contents_;
  contents["Info.json"] = R"({"CFBundleIdentifier":"com.kestrelune.menu","CFBundleShortVersionString":"1",)"
                          R"("CFBundleVersion":")" +
                          number + "\"," + contents_.at("Info.json") + "}";
  for (const char* name : {"Helpers/open", "Helpers/move", "MacOS/KestreluneMenu"}) contents[name] = kArchive + number;
  return contents;
}

void SimulatedUpdates::putApp(const std::string& path, std::int64_t build) {
  for (const auto& [name, content] : contentsOf(build)) files_.put(path + "/Contents/" + name, content, 0755);
}

std::int64_t SimulatedUpdates::wholeAt(const std::string& path) const {
  const auto build = numberAfter(kArchive, files_.content(path + "/Contents/MacOS/KestreluneMenu").value_or(""));
  if (build == 0) return 0;
  const auto wanted = contentsOf(build);
  const bool whole = std::all_of(wanted.begin(), wanted.end(), [&](const auto& file) {
    return files_.content(path + "/Contents/" + file.first) == file.second;
  });
  return whole ? build : 0;
}

void SimulatedUpdates::install(std::int64_t build) {
  files_.take(kPlace);
  putApp(kPlace, build);
}

bool SimulatedUpdates::isAsked() const { return !http_.asked.empty() && http_.asked.back().completed; }

void SimulatedUpdates::answer(Answer how) {
  const std::size_t last = http_.asked.size() - 1;
  const std::string file = http_.asked[last].file;
  if (how == Answer::none) return http_.answer(last, std::nullopt);
  if (!file.empty()) {
    files_.put(file, how == Answer::damaged ? promised_.substr(1) : promised_);
    return http_.answer(last, HttpResponse{200, ""});
  }
  const std::string number = std::to_string(offered_);
  promised_ = (how == Answer::forged ? kForged : kArchive) + number;
  const std::string manifest = R"({"schemaVersion":1,"version":"1","minimumSystemVersion":"1","build":)" + number +
                               R"(,"size":)" + std::to_string(promised_.size()) + R"(,"sha256":")" + sha256(promised_) +
                               R"(","url":"https://kestrelune.example/Kestrelune-)" + number + R"(.zip"})";
  http_.answer(last, HttpResponse{200, how == Answer::damaged ? manifest.substr(1) : manifest});
}

std::string SimulatedUpdates::tool(const HelperCommand& command, bool well) {
  if (command.executable.ends_with("/spctl")) {
    assessed_ = well;
    return well ? "source=Notarized Developer ID" : "rejected";
  }
  if (!command.executable.ends_with("/ditto")) return "";
  const std::string archive = files_.content(command.arguments[2]).value_or("");
  const std::string app = command.arguments[3] + "/Kestrelune.app";
  const bool forged = archive.starts_with(kForged);
  putApp(app, numberAfter(forged ? kForged : kArchive, archive));
  if (forged || !well) files_.put(app + "/Contents/MacOS/KestreluneMenu", archive);
  if (!well) files_.take(app + "/Contents/Helpers/move");
  return "";
}

bool SimulatedUpdates::adoptScript(FakeTaskLauncher& tasks) {
  for (std::size_t i = 0; i < tasks.children.size(); ++i) {
    const auto& child = *tasks.children[i];
    if (!child.running || child.request.executable != "/bin/sh") continue;
    const auto& arguments = child.request.arguments;
    script_ = Script{arguments.at(3), std::stoll(arguments.at(5)), AppUpdateTimes::kWatchdogRounds,
                     loop_.every(1, [this] { look(); })};
    tasks.end(i, {});
    EXPECT_TRUE(std::exchange(assessed_, false)) << "what the notary doesn't know is installed";
    EXPECT_NE(wholeAt(script_->backup), 0) << "there is nothing to go back to";
    return true;
  }
  return false;
}

void SimulatedUpdates::look() {
  const std::string confirmation = folder_ + "/confirmed-" + std::to_string(script_->build);
  if (!files_.content(confirmation)) {
    --script_->roundsLeft;
    return;
  }
  files_.take(script_->backup);
  files_.take(confirmation);
  script_.reset();
}

void SimulatedUpdates::rollBack(int commands) {
  const Script script = *std::exchange(script_, std::nullopt);
  const std::string number = std::to_string(script.build);
  const std::string failed = folder_ + "/failed-" + number + ".app";
  if (commands > 0) files_.take(failed);
  if (!files_.at(script.backup)) return;
  if (commands > 1 && moveItem(files_, kPlace, failed) != 0) return;
  if (commands > 2 && moveItem(files_, script.backup, kPlace) != 0) {
    moveItem(files_, failed, kPlace);
    return;
  }
  if (commands > 3) {
    files_.put(folder_ + "/rolled-back", number + "\n");
    rolledBack_ = script.build;
  }
  if (commands > 4) files_.take(failed);
}

void SimulatedUpdates::launch() {
  if (files_.at(kPlace)) return;
  std::pair<std::int64_t, std::string> newest;
  for (const std::string& name : files_.list(folder_).value) {
    if (!name.starts_with("previous-")) continue;
    const std::string path = folder_ + "/" + name;
    newest = std::max(newest, {wholeAt(path), path});
  }
  if (newest.first != 0) moveItem(files_, newest.second, kPlace);
}

std::vector<std::string> SimulatedUpdates::leftovers() const {
  static const std::set<std::string> kKept = {"state.json", "watchdog.sh", "open", "move", "lock"};
  std::vector<std::string> names = files_.list(folder_).value;
  std::erase_if(names, [](const std::string& name) { return kKept.contains(name); });
  for (const std::string& name : files_.list("/apps").value)
    if (name != "Kestrelune.app") names.push_back(name);
  return names;
}

}  // namespace kestrelune
