#include "HelperModel.hpp"
#include "Menu.hpp"
#include "MenuPlan.hpp"
#include "SetupFlow.hpp"
#include "ShareTools.hpp"

namespace kestrelune {
namespace {

/// A helper is installed, as a service of its own or within this program.
bool hasHelper(const Configuration& configuration, Files& files) {
  const auto exists = [&](const Url& url) { return static_cast<bool>(files.info(url.path())); };
  if (configuration.dryRun) return false;
  return exists(configuration.launchAgentURL) || exists(configuration.runnerFolder().appending("in-app"));
}

}  // namespace

MenuPlan::Context MenuController::context() const {
  const Url folder = configuration_.runnerFolder();
  MenuPlan::Context context;
  context.hasAgent = hasHelper(configuration_, outside_.files);
  context.problem = problems_.running();
  context.update = updateLine();
  context.setupOpen =
      !outside_.defaults.boolean(kSetupCompletedKey) && (!context.hasAgent || !SetupFlow::accountDone(snapshot_));
  context.sharedTools = ShareTools::state(outside_.files, folder);
  context.smallModel = HelperModel::isEnabled(outside_.files, folder);
  return context;
}

std::optional<std::string> MenuController::updateLine() const {
  if (!updater_.busy()) return std::nullopt;
  return UpdateReport::progressLine(updater_.progress());
}

}  // namespace kestrelune
