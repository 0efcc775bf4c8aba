#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "confine/Landlock.hpp"
#include "confine/SystemCalls.hpp"

namespace kestrelune {

/// What a process may use up. Absent: as its account may.
struct Quota {
  std::optional<std::uint64_t> memory;       ///< bytes of address space
  std::optional<std::uint64_t> seconds;      ///< of processor time
  std::optional<std::uint64_t> fileSize;     ///< bytes
  std::optional<std::uint64_t> descriptors;  ///< open at once
  std::optional<std::uint64_t> processes;    ///< of the whole account, threads included; the system's own are exempt
};

/// Everything that a process of ours may still do after it has given up the rest.
struct Confinement {
  landlock::Openings openings;
  calls::Filter calls;
  Quota quota;
};

/// Gives up everything else: new privileges and core dumps in any case, the rest as far as this kernel can hold it. To
/// be called before the first byte from outside is read, and before there is a second thread. Empty, or why something
/// that the kernel could hold isn't held; a part may have been given up then.
std::string confine(const Confinement& confinement);

/// The same with a filter that the build has made of its rules: nothing is loaded that makes filters.
std::string confine(const Confinement& confinement, calls::Program program);

/// One line for each thing that is left, as the manual prints them: "reads", "writes", "connects", "calls", "quota".
std::string describe(const Confinement& confinement);

/// What every filter that ends the process needs: memory, time, its own threads and streams, and files to read.
calls::Filter quietFilter();

}  // namespace kestrelune
