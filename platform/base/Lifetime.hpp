#pragma once

#include <memory>
#include <utility>

namespace kestrelune {

/// Lets work that comes back later hold its owner weakly: a function wrapped by `guarded` does nothing once the owner,
/// of which this is a member, is gone. Main thread only.
class Lifetime {
 public:
  Lifetime() = default;
  Lifetime(const Lifetime&) = delete;
  Lifetime& operator=(const Lifetime&) = delete;

  template <class Function>
  auto guarded(Function function) const {
    return [alive = std::weak_ptr<char>(token_), function = std::move(function)](auto&&... arguments) {
      if (!alive.expired()) function(std::forward<decltype(arguments)>(arguments)...);
    };
  }

 private:
  std::shared_ptr<char> token_ = std::make_shared<char>();
};

}  // namespace kestrelune
