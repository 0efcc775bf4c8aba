#include "AppUpdateTimes.hpp"

namespace kestrelune::AppUpdateTimes {

const double kFirstCheck = KESTRELUNE_FIRST_CHECK;
const double kCheckPeriod = KESTRELUNE_CHECK_PERIOD;
const double kQuietPeriod = KESTRELUNE_QUIET_PERIOD;
const double kConfirmation = KESTRELUNE_CONFIRMATION;
const int kWatchdogRounds = KESTRELUNE_WATCHDOG_ROUNDS;

}  // namespace kestrelune::AppUpdateTimes
