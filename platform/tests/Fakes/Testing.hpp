#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

/// What nearly every test includes.
namespace kestrelune {

/// The rows of a test, whose columns get their names in the loop over them.
template <class... Columns>
using Table = std::vector<std::tuple<Columns...>>;

}  // namespace kestrelune
