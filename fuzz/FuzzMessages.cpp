#include "Input.hpp"
#include "base/Messages.hpp"

using namespace kestrelune;

/// What companion and screen say to each other, in both directions.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view line = fuzz::text(data, size);
  try {
    const messages::Down message = messages::decodeDown(line);
    fuzz::require(messages::decodeDown(messages::encode(message)) == message, "a message down reads back");
  } catch (const JsonError&) {
  }
  try {
    const messages::Up message = messages::decodeUp(line);
    fuzz::require(messages::decodeUp(messages::encode(message)) == message, "a message up reads back");
  } catch (const JsonError&) {
  }
  return 0;
}
