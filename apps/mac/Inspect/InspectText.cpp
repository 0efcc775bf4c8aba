#include "AppUpdateCopy.hpp"
#include "Inspect.hpp"
#include "ProblemCopy.hpp"
#include "SettleCopy.hpp"
#include "SetupCopy.hpp"
#include "Strings.hpp"
#include "UsageCopy.hpp"

namespace kestrelune::inspect {

namespace {

TextTable tableNamed(const std::string& name) {
  if (name == "Copy") return Copy::table();
  if (name == "SetupCopy") return SetupCopy::table();
  if (name == "SettleCopy") return SettleCopy::table();
  if (name == "UsageCopy") return UsageCopy::table();
  if (name == "ProblemCopy") return ProblemCopy::table();
  if (name == "AppUpdateCopy") return AppUpdateCopy::table();
  throw Unusable("no table " + name);
}

Json text(const Arguments& arguments) {
  arguments.requireWords(1, 2);
  const TextTable table = tableNamed(arguments.words()[0]);
  const Language language = currentLanguage();
  Json::Object all;
  for (const TextRow& row : table) all[row.key] = row.text(language);
  if (arguments.words().size() == 1) return all;
  const auto found = all.find(arguments.words()[1]);
  if (found == all.end()) throw Unusable("no key " + arguments.words()[1]);
  return found->second;
}

const Subcommand kText("text", "TABLE [KEY]", {}, text);

}  // namespace

}  // namespace kestrelune::inspect
