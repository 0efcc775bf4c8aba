#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace kestrelune::fetch {

/// Whether an address may be asked at all: https, a host, nobody signs in.
bool isAdmitted(const std::string& address);

/// Where a redirect may lead: an admitted address of the same host and port, or nothing.
std::optional<std::string> redirect(const std::string& from, const std::string& to);

/// The port that an address is asked at, and the one at which a proxy listens that is named so; 0 for none.
std::uint16_t portOf(const std::string& address);
std::uint16_t proxyPortOf(const std::string& proxy);

}  // namespace kestrelune::fetch
