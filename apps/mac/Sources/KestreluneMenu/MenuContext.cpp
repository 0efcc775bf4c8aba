#include <cmath>

#include "HelperModel.hpp"
#include "Menu.hpp"
#include "MenuPlan.hpp"
#include "SetupFlow.hpp"
#include "ShareTools.hpp"

namespace kestrelune {

MenuPlan::Context MenuController::context() const {
  const Url folder = configuration_.runnerFolder();
  MenuPlan::Context context;
  const SetupRunner::State& setup = setup_.runner().state();
  context.setupFailed = setup.kind == SetupRunner::State::Case::finished && setup.code != 0;
  context.hasAgent = setup_.hasAgent();
  context.problem = problems_.running();
  context.update = updateLine();
  context.setupOpen = !outside_.defaults.boolean(SetupController::kWindowCompletedKey) &&
                      (!context.hasAgent || !SetupFlow::accountDone(snapshot_));
  context.sharedTools = ShareTools::state(outside_.files, folder);
  context.smallModel = HelperModel::isEnabled(outside_.files, folder);
  return context;
}

MenuController::MenuBasis MenuController::menuBasis() const {
  return {.context = context(),
          .minute = std::floor(outside_.clock.now().seconds / 60),
          .settingUp = settingUp(),
          .busy = setup_.busy(),
          .language = currentLanguage()};
}

std::optional<std::string> MenuController::updateLine() const {
  if (!updater_.busy()) return std::nullopt;
  return UpdateReport::progressLine(updater_.progress());
}

}  // namespace kestrelune
