#include <string>
#include <vector>

#include "Inspect.hpp"
#include "base/System.hpp"

namespace {

using kestrelune::inspect::Subcommand;

std::string allNames() {
  std::string all;
  for (const std::string& name : Subcommand::names()) all += (all.empty() ? "" : ", ") + name;
  return all;
}

std::string oneLine(std::string text) {
  for (char& c : text) {
    if (c == '\n' || c == '\r') c = ' ';
  }
  return text;
}

}  // namespace

int main(int count, char** values) {
  using namespace kestrelune;
  std::vector<std::string> given(values + 1, values + count);
  const Subcommand* subcommand = given.empty() ? nullptr : Subcommand::find(given.front());
  if (!subcommand) {
    system::printErrorLine("kestrelune-inspect: the first argument is one of " + allNames());
    return 2;
  }
  const std::string name = given.front();
  given.erase(given.begin());
  try {
    system::printLine(subcommand->run(given).write());
    return 0;
  } catch (const inspect::Unusable& error) {
    system::printErrorLine(oneLine("kestrelune-inspect " + name + " " + subcommand->usage() + ": " + error.what()));
    return 2;
  } catch (const inspect::Refused& error) {
    system::printErrorLine(oneLine(error.what()));
    return 1;
  }
}
