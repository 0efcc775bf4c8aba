#pragma once

/// Roles, names and states for those widgets of ours of which the toolkit knows nothing.
namespace kestrelune::accessible {

void install();

}  // namespace kestrelune::accessible
