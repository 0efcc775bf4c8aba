#pragma once

#include <optional>
#include <string>

namespace kestrelune::fetch {

/// Whether an address may be asked at all: https, a host, nobody signs in.
bool isAdmitted(const std::string& address);

/// Where a redirect may lead: an admitted address of the same host and port, or nothing.
std::optional<std::string> redirect(const std::string& from, const std::string& to);

}  // namespace kestrelune::fetch
