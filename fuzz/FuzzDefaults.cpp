#include "Input.hpp"
#include "Scratch.hpp"
#include "base/Defaults.hpp"

using namespace kestrelune;

namespace {

bool holds(const fuzz::Scratch& scratch, std::string_view text) {
  for (const auto& entry : std::filesystem::directory_iterator(scratch.path())) {
    std::ifstream file(entry.path(), std::ios::binary);
    const std::string kept((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    if (kept == text) return true;
  }
  return false;
}

}  // namespace

/// The settings, over a file with anything in it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const fuzz::Scratch scratch;
  const std::string_view text = fuzz::text(data, size);
  scratch.clear();
  scratch.write("defaults.json", text);
  const std::string path = scratch / "defaults.json";
  const auto kept = makeFileDefaults(systemFiles(), path);
  const std::optional<std::string> before = kept->data("kept");
  const bool set = kept->boolean("set");
  fuzz::require(holds(scratch, text), "reading changes nothing");
  kept->setBoolean("added", true);
  kept->setData("bytes", text);

  const auto again = makeFileDefaults(systemFiles(), path);
  fuzz::require(again->boolean("added") && again->data("bytes") == text, "what was set reads back");
  fuzz::require(again->boolean("set") == set && again->data("kept") == before, "other values stay");
  for (const auto& entry : std::filesystem::directory_iterator(scratch.path())) {
    const std::string name = entry.path().filename();
    if (name == "defaults.json") continue;
    fuzz::require(name.starts_with("defaults.json.damaged-"), "nothing else is left behind");
    fuzz::require(holds(scratch, text), "a damaged file is set aside as it was");
  }
  return 0;
}
