#include "AppSignature.hpp"

#include "base/CodeSignature.hpp"

namespace kestrelune {

AppSignature AppSignature::of(const Bundle& running, Files& files, const Clock& clock) {
  const auto anchored = [&files] { return CodeSignature(files, std::string(kCompiledAnchor)); };
  return {.runningTeam = [anchored, app = running.url().path()] { return anchored().team(app); },
          .satisfies =
              [anchored, &clock](const Url& app, const std::string& requirement) {
                return anchored().satisfies(app.path(), requirement, clock.now());
              }};
}

}  // namespace kestrelune
