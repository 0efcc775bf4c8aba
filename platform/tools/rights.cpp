#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "base/Surroundings.hpp"
#include "fetch/Rights.hpp"
#include "screen/Rights.hpp"
#include "unpack/Rights.hpp"

using namespace kestrelune;

namespace {

constexpr std::int64_t kArchive = 500'000'000;

std::string section(const std::string& program, const std::string& words, const Confinement& confinement) {
  return "`" + program + "`, " + words + ":\n\n```\n" + describe(confinement) + "```\n";
}

std::string everything() {
  std::string text = section("KestreluneFetch", "for an archive of at most 500 MB, without a proxy",
                             fetch::rights("https://kestrelune.example/", kArchive, {}));
  text += "\n" + section("ditto", "the unpacker", unpack::rights("ARCHIVE", "FOLDER"));
  text += "\n" + section("KestreluneScreen", "at a display of this machine",
                         screenRights({{"DISPLAY", ":0"}, {"XDG_RUNTIME_DIR", "/run/user/ID"}}, "~",
                                      "BUNDLE/Contents/Frameworks"));
  text += "\nVariables that no process of ours takes or hands on:\n\n| they would change | variables |\n|---|---|\n";
  for (const auto& [reason, names] : surroundings::refused())
    text += "| " + std::string(reason) + " | `" + std::string(names) + "` |\n";
  return text;
}

}  // namespace

/// Prints what each confined process may still do, and what the environment may not say, as the manual has it. With a
/// file: says whether it stands in there.
int main(int count, char** arguments) {
  const std::string text = everything();
  if (count < 2) {
    std::fputs(text.c_str(), stdout);
    return 0;
  }
  std::ifstream file(arguments[1]);
  const std::string manual{std::istreambuf_iterator<char>(file), {}};
  if (manual.find(text) != std::string::npos) return 0;
  std::fprintf(stderr, "%s doesn't hold what this command prints without a file.\n", arguments[1]);
  return 1;
}
