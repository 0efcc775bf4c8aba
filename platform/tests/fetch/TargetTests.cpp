#include "fetch/Target.hpp"

#include "Fakes/Testing.hpp"
#include "fetch/Transfer.hpp"

namespace kestrelune::fetch {
namespace {

TEST(FetchTarget, FollowsARedirectOnlyWithinItsHost) {
  const char* from = "https://host.example/a/b?c";
  for (const char* to : {"https://host.example/other", "https://HOST.example/other", "https://host.example:443/other"})
    EXPECT_TRUE(redirect(from, to)) << to;
  for (const char* to :
       {"https://host.example:444/other", "http://host.example/other", "https://other.example/a",
        "https://host.example.evil/a", "https://evil@host.example/a", "https://host.example@evil.example/a",
        "file:///etc/passwd", "ftp://host.example/a", "/relative", ""})
    EXPECT_FALSE(redirect(from, to)) << to;
  EXPECT_FALSE(redirect("http://host.example:443/", "https://host.example/"));
}

TEST(FetchTarget, AsksOnlyHttpsWithoutASignIn) {
  EXPECT_TRUE(isAdmitted("https://host.example"));
  for (const char* address : {"http://host.example", "https://a@host.example", "https://a:b@host.example",
                              "https://:b@host.example", "https://", "host.example", "file:///a", ""}) {
    EXPECT_FALSE(isAdmitted(address)) << address;
    std::string reason;
    EXPECT_EQ(transfer({.address = address, .limit = 1, .timeout = 1, .wholeTimeout = 1, .output = {}}, reason), 0);
    EXPECT_EQ(reason, "not an https address") << address;
  }
}

}  // namespace
}  // namespace kestrelune::fetch
