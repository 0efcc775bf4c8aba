#pragma once

#include <cstdint>
#include <string>

#include "base/Descriptor.hpp"

namespace kestrelune::fetch {

struct Order {
  std::string address;
  std::int64_t limit = 0;    ///< bytes
  long timeout = 0;          ///< seconds in which something must arrive
  long wholeTimeout = 0;     ///< seconds for everything, redirects included
  const Descriptor& output;  ///< where the body goes
};

/// Fetches over https. The status of the last response, or 0 when there is none that is whole and admitted; `reason`
/// then says why.
long transfer(const Order& order, std::string& reason);

}  // namespace kestrelune::fetch
