#include "fetch/Target.hpp"

#include <gtest/gtest.h>

namespace kestrelune::fetch {
namespace {

TEST(FetchTarget, FollowsARedirectOnlyWithinItsHost) {
  const char* from = "https://host.example/a/b?c";
  const struct {
    const char* to;
    bool followed;
  } rows[] = {
      {"https://host.example/other", true},
      {"https://HOST.example/other", true},
      {"https://host.example:443/other", true},
      {"https://host.example:444/other", false},
      {"http://host.example/other", false},
      {"https://other.example/a", false},
      {"https://host.example.evil/a", false},
      {"https://evil@host.example/a", false},
      {"https://host.example@evil.example/a", false},
      {"file:///etc/passwd", false},
      {"ftp://host.example/a", false},
      {"/relative", false},
      {"", false},
  };
  for (const auto& row : rows) EXPECT_EQ(redirect(from, row.to).has_value(), row.followed) << row.to;
  EXPECT_FALSE(redirect("http://host.example/", "https://host.example/"));
}

TEST(FetchTarget, AsksOnlyHttpsWithoutASignIn) {
  EXPECT_TRUE(isAdmitted("https://host.example"));
  for (const char* address : {"http://host.example", "https://a@host.example", "https://a:b@host.example", "https://",
                              "host.example", "file:///a", ""}) {
    EXPECT_FALSE(isAdmitted(address)) << address;
  }
}

}  // namespace
}  // namespace kestrelune::fetch
