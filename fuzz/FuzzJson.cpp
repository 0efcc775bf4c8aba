#include "Input.hpp"
#include "base/Json.hpp"
#include "base/Text.hpp"

using namespace kestrelune;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  try {
    const Json json = Json::parse(fuzz::text(data, size));
    const std::string written = json.write();
    fuzz::require(text::isValidUtf8(written), "what is written is UTF-8");
    fuzz::require(Json::parse(written).write() == written, "what is written reads back");
  } catch (const JsonError&) {
  }
  return 0;
}
