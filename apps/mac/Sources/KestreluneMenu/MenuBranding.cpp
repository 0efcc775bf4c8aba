#include "MenuBranding.hpp"

namespace kestrelune::Branding {
namespace {

constexpr Color kGreen{46, 125, 91};
constexpr Color kAmber{217, 130, 43};
constexpr Color kRed{208, 52, 44};
constexpr Color kEmber{201, 52, 0};

}  // namespace

Color dot(Signal signal, bool settingUp) {
  if (settingUp) return kAmber;
  switch (signal) {
    case Signal::green: return kGreen;
    case Signal::yellow: return kAmber;
    case Signal::red: return kRed;
    case Signal::running: return kEmber;
  }
  return kRed;
}

StatusItemLook::PillTone pillTone(MenuPlan::Tone tone) {
  switch (tone) {
    case MenuPlan::Tone::none: return StatusItemLook::PillTone::none;
    case MenuPlan::Tone::needsYou: return StatusItemLook::PillTone::needsYou;
    case MenuPlan::Tone::done: return StatusItemLook::PillTone::done;
    case MenuPlan::Tone::running: return StatusItemLook::PillTone::running;
  }
  return StatusItemLook::PillTone::none;
}

}  // namespace kestrelune::Branding
