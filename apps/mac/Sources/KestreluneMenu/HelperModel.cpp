#include "HelperModel.hpp"

#include "base/Json.hpp"

namespace kestrelune::HelperModel {
namespace {

constexpr std::size_t kLargestFile = 65536;

void decodeJson(const Json& json, Stored& stored) {
  requireObject(json);
  decodeMember(json, "enabled", stored.enabled);
}

}  // namespace

bool isEnabled(Files& files, const Url& folder) {
  const Outcome<std::string> text = readFile(files, folder.appending("small-model.json").path(), kLargestFile);
  if (!text) return true;
  try {
    Stored stored;
    decodeJson(Json::parse(text.value), stored);
    return stored.enabled.value_or(true);
  } catch (const JsonError&) {
    return true;
  }
}

}  // namespace kestrelune::HelperModel
