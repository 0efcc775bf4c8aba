#pragma once

#include "MenuEntry.hpp"
#include "StatusReader.hpp"
#include "base/Session.hpp"

/// The colours that carry the state in the menu bar.
namespace kestrelune::Branding {

/// The colour of the dot on the icon. Amber while the setup is running, whatever the signal.
Color dot(Signal signal, bool settingUp);

StatusItemLook::PillTone pillTone(MenuPlan::Tone tone);

}  // namespace kestrelune::Branding
