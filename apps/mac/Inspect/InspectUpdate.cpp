#include "AppUpdateFiles.hpp"
#include "AppUpdatePolicy.hpp"
#include "Inspect.hpp"
#include "base/Clock.hpp"
#include "base/CodeSignature.hpp"

namespace kestrelune::inspect {

namespace {

constexpr std::size_t kLargestAnchor = 1 << 20;

/// What a manifest offers; all null where it isn't one.
Json release(const Arguments& arguments) {
  arguments.requireWords(1, 1);
  Json answer = Json::Object{{"download", nullptr}, {"minimum", nullptr}};
  const std::optional<Json> json = jsonFile(arguments.words()[0]);
  if (!json) return answer;
  try {
    AppRelease found;
    decodeJson(*json, found);
    if (const auto url = AppUpdatePolicy::download(found)) answer.set("download", url->text());
    if (const auto minimum = AppUpdatePolicy::systemVersion(found.minimumSystemVersion))
      answer.set("minimum", Json::Array(minimum->begin(), minimum->end()));
  } catch (const JsonError&) {
  }
  return answer;
}

Json verify(const Arguments& arguments) {
  arguments.requireWords(1, 1);
  const auto requirement = arguments.option("--requirement");
  const auto anchorFile = arguments.option("--anchor");
  if (!requirement || !anchorFile) throw Unusable("--requirement and --anchor are both needed");
  const auto anchor = readFile(systemFiles(), *anchorFile, kLargestAnchor);
  if (!anchor) throw Unusable("--anchor: can't read " + *anchorFile);
  const CodeSignature signature(systemFiles(), anchor.value);
  const std::string bundle = Url::file(arguments.words()[0]).path();
  return Json::Object{{"satisfies", signature.satisfies(bundle, *requirement, SystemClock().now())},
                      {"team", orNull(signature.team(bundle), [](const std::string& team) { return team; })}};
}

/// What is remembered in the folder; an empty state for a missing or damaged file.
Json updateState(const Arguments& arguments) {
  arguments.requireWords(1, 1);
  const AppUpdateState state =
      AppUpdateFiles(systemFiles(), Url::file(arguments.words()[0])).read().value_or(AppUpdateState{});
  return toJson(state);
}

const Subcommand kRelease("release", "FILE", {}, release);
const Subcommand kVerify("verify", "BUNDLE --requirement TEXT --anchor FILE", {"--requirement", "--anchor"}, verify);
const Subcommand kUpdateState("update-state", "DIR", {}, updateState);

}  // namespace

}  // namespace kestrelune::inspect
