#include "AppUpdatePolicy.hpp"

namespace kestrelune {

/// The new build may be broken in any way, so the script needs nothing of it: the two tools that it calls by `$dir` are
/// copies from the build that wrote it. Each move ends with one whole application, whatever it crosses.
std::string AppUpdatePolicy::watchdog(int rounds) {
  return R"(#!/bin/sh
# Kestrelune App update: start the new version, keep the old one until the new one reports in.
old_pid="$1"
app="$2"
backup="$3"
dir="$4"
build="$5"

n=0
while kill -0 "$old_pid" 2>/dev/null && [ "$n" -lt 60 ]; do
  sleep 0.5
  n=$((n + 1))
done

"$dir/open" -n "$app"

n=0
while [ "$n" -lt )" +
         std::to_string(rounds) + R"( ]; do
  if [ -f "$dir/confirmed-$build" ]; then
    /bin/rm -rf "$backup"
    /bin/rm -f "$dir/confirmed-$build"
    exit 0
  fi
  sleep 1
  n=$((n + 1))
done

# What a path may hold that means something in a pattern, stands for itself.
program=$(printf '%s\n' "$app/Contents/MacOS/KestreluneMenu" | sed 's/[][\\.*^$+?(){}|]/\\&/g')
/usr/bin/pkill -f "$program"
sleep 1
# One that hangs takes no notice of a request.
/usr/bin/pkill -KILL -f "$program"
failed="$dir/failed-$build.app"
/bin/rm -rf "$failed"
if [ -d "$backup" ] && "$dir/move" "$app" "$failed"; then
  if "$dir/move" "$backup" "$app"; then
    echo "$build" > "$dir/rolled-back"
    /bin/rm -rf "$failed"
  else
    "$dir/move" "$failed" "$app"
  fi
fi
"$dir/open" -n "$app"
)";
}

}  // namespace kestrelune
