#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Bundle.hpp"
#include "base/Files.hpp"
#include "base/Url.hpp"

namespace kestrelune {

/// A version of dotted numbers, such as 1.10.0.
class HelperVersion {
 public:
  /// Absent for anything but pieces of ASCII digits between points, each within 64 bits.
  static std::optional<HelperVersion> parse(std::string_view text);

  const std::vector<std::int64_t>& components() const { return components_; }
  /// A missing component counts as 0.
  bool operator<(const HelperVersion& other) const;

 private:
  explicit HelperVersion(std::vector<std::int64_t> components) : components_(std::move(components)) {}
  std::vector<std::int64_t> components_;
};

enum class HelperArchitecture { arm64, x64 };
std::string_view name(HelperArchitecture architecture);
/// That of this machine.
HelperArchitecture currentArchitecture();

/// The helper and the runtimes that the application carries.
struct HelperPayload {
  Url helperURL;
  std::map<HelperArchitecture, Url> nodeURLs;
  std::string helperVersion;
  std::string helperSHA256;  ///< 64 hexadecimal digits, lower case
  std::string nodeVersion;   ///< with its leading "v"

  bool operator==(const HelperPayload&) const = default;

  /// Reads what the bundle says of them and checks it: the helper by its hash, the runtimes of all processors by their
  /// being executable. Absent when anything is wrong.
  static std::optional<HelperPayload> load(const Bundle& bundle, Files& files);
  /// The hash of a file, lower case. Throws `RuntimeError::posix`.
  static std::string sha256(Files& files, const Url& url);
};

}  // namespace kestrelune
