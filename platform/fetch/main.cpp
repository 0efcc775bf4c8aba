#include <curl/curl.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <charconv>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "Rights.hpp"
#include "Transfer.hpp"
#include "base/Surroundings.hpp"
#include "base/System.hpp"

using namespace kestrelune;

namespace {

constexpr unsigned kGrace = 10;

/// 0 for anything but a whole number above it.
long number(std::string_view text) {
  long value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  return error == std::errc{} && end == text.data() + text.size() && value > 0 ? value : 0;
}

int failed(const char* reason) {
  std::fprintf(stderr, "%s\n", reason);
  return 1;
}

/// A file of another fetch that still writes is left to it.
Descriptor opened(const char* file) {
  if (!file) return Descriptor(dup(STDOUT_FILENO));
  unlink(file);
  return Descriptor(open(file, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
}

}  // namespace

/// Fetches one address over https, to a file or to standard output, and tells the response's status on standard error.
/// Arguments: the address, the most bytes, the seconds in which something must arrive, the seconds for everything, the
/// file. The exit status is 0 for any whole response.
int main(int count, char** arguments) {
  const long limit = count > 2 ? number(arguments[2]) : 0;
  const long timeout = count > 3 ? number(arguments[3]) : 0;
  const long whole = count > 4 ? number(arguments[4]) : 0;
  if (limit == 0 || timeout == 0 || whole == 0 || count > 6) {
    std::fprintf(stderr, "usage: %s URL LIMIT TIMEOUT WHOLE-TIMEOUT [FILE]\n", arguments[0]);
    return 2;
  }
  surroundings::clear();
  // Nobody waits for the answer once the companion has ended, and nothing here may hang for ever.
  prctl(PR_SET_PDEATHSIG, SIGTERM);
  alarm(static_cast<unsigned>(whole) + kGrace);

  const Descriptor output = opened(count > 5 ? arguments[5] : nullptr);
  if (!output) return failed(strerror(errno));
  curl_global_init(CURL_GLOBAL_DEFAULT);
  const std::string open = confine(fetch::rights(arguments[1], limit, system::environment()));
  if (!open.empty()) return failed(open.c_str());
  std::string reason;
  const long status = fetch::transfer(
      {.address = arguments[1], .limit = limit, .timeout = timeout, .wholeTimeout = whole, .output = output}, reason);
  if (status == 0) return failed(reason.c_str());
  std::fprintf(stderr, "%ld\n", status);
  return 0;
}
