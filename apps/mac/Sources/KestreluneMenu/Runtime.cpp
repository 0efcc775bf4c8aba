#include "Runtime.hpp"

#include <utility>

#include "base/System.hpp"

namespace kestrelune {

RuntimeError::RuntimeError(Case kind, std::int32_t number, std::string text)
    : kind_(kind), number_(number), text_(std::move(text)) {}

RuntimeError RuntimeError::posix(std::int32_t number) { return {Case::posix, number, system::errorText(number)}; }

RuntimeError RuntimeError::script(std::string text) { return {Case::script, 0, std::move(text)}; }

RuntimeError RuntimeError::unsafeDryRun() {
  return {Case::unsafeDryRun, 0, "Dry-run requires separate test paths outside ~/.kestrelune."};
}

bool RuntimeError::operator==(const RuntimeError& other) const {
  return kind_ == other.kind_ && number_ == other.number_ && text_ == other.text_;
}

}  // namespace kestrelune
