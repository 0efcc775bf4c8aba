#pragma once

namespace kestrelune::AppUpdateTimes {

/// Seconds. Set by the build, which a rehearsal of an update gives shorter ones.
extern const double kFirstCheck;
extern const double kCheckPeriod;
extern const double kQuietPeriod;
extern const double kConfirmation;  ///< how long a new build has run when it is taken to be well
extern const int kWatchdogRounds;   ///< how long the watchdog waits for that, in rounds of a second

}  // namespace kestrelune::AppUpdateTimes
