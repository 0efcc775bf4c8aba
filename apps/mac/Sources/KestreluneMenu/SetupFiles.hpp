#pragma once

#include <string>

#include "SetupPayload.hpp"
#include "base/Files.hpp"
#include "base/Url.hpp"

namespace kestrelune {

/// What a placement changed.
struct HelperFileChanges {
  bool runtimeChanged = false;  ///< the runtime was written, or the link had to be moved to it
  bool helperChanged = false;   ///< the installed helper was written

  bool operator==(const HelperFileChanges&) const = default;
};

/// The helper's place on disk. Everybody runs `node()` with `helper()`, or `launcher()`; never a versioned runtime.
struct HelperFiles {
  Url root;
  Files& files;

  Url node() const { return root.appending("node/current/bin/node"); }
  Url helper() const { return root.appending("helper/kestrelune-runner.mjs"); }
  Url launcher() const { return root.appending("bin/kestrelune"); }

  /// Puts the payload in place and does only what is missing: first what can be verified, then the versioned runtime,
  /// the switch of the link, the helper, last the launcher. Wherever it ends early, also by a power cut, an older or a
  /// newer whole install works, and the next run goes on from there. With `replaceHelper` false an installed helper
  /// stays, whatever its content. Uses nothing but `files`, so it may run on any thread.
  /// Throws `RuntimeError`: a payload that doesn't match its hash, a path that must be a folder and isn't, or the
  /// error number of what failed.
  HelperFileChanges place(const HelperPayload& payload, HelperArchitecture architecture, bool replaceHelper) const;

  /// Removes what a placement that was killed left under names of its own. Only while no other may run. Failures are
  /// passed over.
  void removeTemporaries() const;

  /// The launcher's text: it runs the helper under the current runtime with the launcher's own arguments.
  static std::string wrapper(const Url& root);
};

}  // namespace kestrelune
