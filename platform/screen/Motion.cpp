#include "Motion.hpp"

namespace kestrelune::motion {
namespace {

bool reducedMotion = false;

}  // namespace

void setReduced(bool reduced) { reducedMotion = reduced; }
bool isReduced() { return reducedMotion; }

}  // namespace kestrelune::motion
