#include "ScreenFilter.hpp"
#include "screen/Rights.hpp"

namespace kestrelune {

std::string confineScreen(const Environment& environment, const std::string& home, const std::string& libraries) {
  const Confinement rights = screenRights(environment, home, libraries);
  return confine(
      rights, rights.openings.ports.empty() ? calls::Program(kScreenFilter) : calls::Program(kScreenFilterWithNetwork));
}

}  // namespace kestrelune
