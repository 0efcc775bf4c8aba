#include "base/Url.hpp"

#include <unistd.h>

#include "Fakes/TestFolder.hpp"
#include "Fakes/Testing.hpp"

namespace kestrelune {
namespace {

TEST(Url, PartsAreThoseThatWereWritten) {
  const auto url = Url::parse("HTTPS://me:pw@Host.example:443/a%20b/c.zip?q=1#top");
  ASSERT_TRUE(url);
  EXPECT_EQ(url->scheme(), "HTTPS");
  EXPECT_EQ(url->user(), "me:pw");
  EXPECT_EQ(url->host(), "Host.example");
  EXPECT_EQ(url->port(), 443);
  EXPECT_EQ(url->path(), "/a b/c.zip");
  EXPECT_EQ(url->query(), "q=1");
  EXPECT_EQ(url->fragment(), "top");
  EXPECT_EQ(Url::parse("https://host/@x")->user(), std::nullopt);
  EXPECT_EQ(Url::parse("https://good.example@evil.example/")->host(), "evil.example");
  EXPECT_EQ(Url::parse("https://evil.example\\@good.example/"), std::nullopt);
  EXPECT_EQ(Url::parse("codex://threads/1")->host(), "threads");
  EXPECT_EQ(Url::parse("a/b:c")->scheme(), std::nullopt);
  EXPECT_TRUE(Url::parse("antigravity://"));
}

TEST(Url, WhatCantBeOneIsNone) {
  for (const char* text : {"", " ", "https://a b/", "https://a/\n", "https://ä/", "https://a/%zz", "https://a/%2",
                           "1a:x", ":x", "https://a:port/", "https://[::1/"}) {
    EXPECT_FALSE(Url::parse(text)) << text;
  }
}

TEST(Url, FilesAreStandardizedWithoutTheDisk) {
  EXPECT_EQ(Url::file("/a/./b//../c/").standardized().path(), "/a/c");
  EXPECT_EQ(Url::file("/../..").standardized().path(), "/");
  EXPECT_EQ(Url::file("/a/b/").appending("c/d").path(), "/a/b/c/d");
  EXPECT_EQ(Url::file("/a").deletingLastComponent().path(), "/");
  EXPECT_EQ(Url::file("/a ü").text(), "file:///a%20%C3%BC");
  EXPECT_TRUE(Url::file("x").path().ends_with("/x")) << "relative to the working folder";
}

TEST(Url, LinksAreResolvedAsFarAsThePathExists) {
  const TestFolder folder;
  folder.write("real/file", "");
  ASSERT_EQ(symlink("real", folder.path("link").c_str()), 0);
  ASSERT_EQ(symlink("loop", folder.path("loop").c_str()), 0);
  const std::string real = Url::file(folder.path("real")).resolvingSymbolicLinks().path();
  EXPECT_EQ(folder.url("link/file").resolvingSymbolicLinks().path(), real + "/file");
  EXPECT_EQ(folder.url("link/new/deep").resolvingSymbolicLinks().path(), real + "/new/deep");
  EXPECT_EQ(folder.url("loop").resolvingSymbolicLinks().lastComponent(), "loop");
}

}  // namespace
}  // namespace kestrelune
