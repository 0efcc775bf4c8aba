#pragma once

#include <optional>

#include "base/Files.hpp"
#include "base/Url.hpp"

/// The user's choice of the helper's small model, which the helper keeps in "small-model.json". Only read here.
namespace kestrelune::HelperModel {

struct Stored {
  std::optional<bool> enabled;
};

/// `folder` is the folder of the status file. True until the helper's file says otherwise: a missing, damaged or
/// silent file means on.
bool isEnabled(Files& files, const Url& folder);

}  // namespace kestrelune::HelperModel
