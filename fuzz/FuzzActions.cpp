#include "Endpoints.hpp"
#include "Input.hpp"
#include "RuntimeAction.hpp"
#include "RuntimeActionText.hpp"
#include "base/Text.hpp"

using namespace kestrelune;

/// Action identifiers and links, which come back from notifications and out of the helper's files.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(fuzz::text(data, size));
  if (const auto action = Action::parse(text)) {
    const auto again = Action::parse(action->identifier());
    fuzz::require(again == action, "an identifier reads back");
  }
  if (const auto link = Action::appLink(text)) {
    const std::string scheme = text::lowercased(link->scheme().value_or(""));
    const bool ours = text::lowercased(link->host().value_or("")) == endpoints::kServiceHost && !link->user();
    fuzz::require(scheme != "https" || ours, "a web link leads to the service");
    fuzz::require(scheme != "file" && scheme != "javascript" && scheme != "http", "no other scheme passes");
  }
  Action::accountLink(text);
  fuzz::require(!Action::validPlace(text) || text.find('/') == std::string::npos, "a place is no path");
  return 0;
}
