#include "base/Clock.hpp"

#include <ctime>

namespace kestrelune {
namespace {

double secondsOf(clockid_t clock) {
  timespec time{};
  clock_gettime(clock, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

}  // namespace

Date SystemClock::now() const { return {secondsOf(CLOCK_REALTIME)}; }
double SystemClock::uptime() const { return secondsOf(CLOCK_MONOTONIC); }

}  // namespace kestrelune
