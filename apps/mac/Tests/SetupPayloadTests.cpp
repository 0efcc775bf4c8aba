#include "SetupPayload.hpp"

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "Fakes/TestFolder.hpp"
#include "base/Digest.hpp"

namespace kestrelune {
namespace {

TEST(HelperVersionTest, Parsing) {
  for (const char* text : {"1", "0", "1.2", "1.2.3.4", "007.1", "9223372036854775807"})
    EXPECT_TRUE(HelperVersion::parse(text)) << text;
  for (const char* text : {"", ".", "1.", ".1", "1..2", "v1.2", "1.2-beta", "1.2a", "-1", "+1", " 1", "1 ", "1,2",
                           "9223372036854775808", "123456789012345678901234567890", "\xd9\xa1"})
    EXPECT_FALSE(HelperVersion::parse(text)) << text;
}

TEST(HelperVersionTest, Comparing) {
  struct Row {
    const char *less, *greater;
  };
  for (const Row& row : {Row{"1.9.9", "1.10.0"}, Row{"1.2", "1.2.1"}, Row{"0.9", "1"}, Row{"1.2.3", "1.3"}}) {
    EXPECT_TRUE(*HelperVersion::parse(row.less) < *HelperVersion::parse(row.greater)) << row.less;
    EXPECT_FALSE(*HelperVersion::parse(row.greater) < *HelperVersion::parse(row.less)) << row.less;
  }
  EXPECT_FALSE(*HelperVersion::parse("1.2") < *HelperVersion::parse("1.2.0"));
  EXPECT_FALSE(*HelperVersion::parse("1.2.0") < *HelperVersion::parse("1.2"));
}

struct PayloadTest : testing::Test {
  TestFolder folder;
  std::string version = "1.4.0", digest = sha256("helper"), nodeVersion = "v22.1.0";

  std::string contents(const std::string& name) const { return "A.app/Contents/" + name; }
  void layOut() {
    folder.write(contents("Info.json"), R"({"KestreluneHelperVersion":")" + version +
                                            R"(","KestreluneHelperSHA256":")" + digest +
                                            R"(","KestreluneNodeVersion":")" + nodeVersion + R"("})");
    folder.write(contents("Resources/helper/kestrelune-runner.mjs"), "helper");
    for (const char* name : {"arm64", "x64"}) {
      const std::string node = contents(std::string("Helpers/node-darwin-") + name + "/node");
      folder.write(node, "node");
      systemFiles().chmod(folder.path(node), 0755);
    }
  }
  std::optional<HelperPayload> load() { return HelperPayload::load(Bundle(folder.url("A.app")), systemFiles()); }
};

TEST_F(PayloadTest, AGoodBundleCarriesAll) {
  for (char& c : digest)
    if (c >= 'a') c = static_cast<char>(c - 'a' + 'A');
  layOut();
  const std::optional<HelperPayload> payload = load();
  ASSERT_TRUE(payload);
  EXPECT_EQ(payload->helperVersion, "1.4.0");
  EXPECT_EQ(payload->helperSHA256, sha256("helper")) << "in lower case";
  EXPECT_EQ(payload->nodeVersion, "v22.1.0");
  EXPECT_EQ(payload->helperURL, folder.url(contents("Resources/helper/kestrelune-runner.mjs")));
  EXPECT_EQ(payload->nodeURLs.at(HelperArchitecture::arm64), folder.url(contents("Helpers/node-darwin-arm64/node")));
  EXPECT_EQ(payload->nodeURLs.at(HelperArchitecture::x64), folder.url(contents("Helpers/node-darwin-x64/node")));
}

TEST_F(PayloadTest, AnythingWrongMeansNone) {
  struct Row {
    const char* name;
    std::function<void()> spoil;
  };
  const Row rows[] = {
      {"version", [&] { version = "v1.4"; }},
      {"digest too short", [&] { digest.pop_back(); }},
      {"digest with other letters", [&] { digest[0] = 'g'; }},
      {"another digest", [&] { digest = sha256("other"); }},
      {"node version without v", [&] { nodeVersion = "22.1.0"; }},
      {"node version with a suffix", [&] { nodeVersion = "v22.1.0-pre"; }},
      {"helper changed", [&] { folder.write(contents("Resources/helper/kestrelune-runner.mjs"), "helpeR"); }},
      {"helper missing",
       [&] { systemFiles().unlink(folder.path(contents("Resources/helper/kestrelune-runner.mjs"))); }},
      {"the other processor's runtime missing",
       [&] {
         for (const char* name : {"arm64", "x64"})
           if (name != ::kestrelune::name(currentArchitecture()))
             systemFiles().unlink(folder.path(contents(std::string("Helpers/node-darwin-") + name + "/node")));
       }},
      {"a runtime that isn't executable",
       [&] { systemFiles().chmod(folder.path(contents("Helpers/node-darwin-x64/node")), 0644); }},
      {"no keys", [&] { systemFiles().unlink(folder.path(contents("Info.json"))); }},
  };
  const std::string goodVersion = version, goodDigest = digest, goodNode = nodeVersion;
  for (const Row& row : rows) {
    version = goodVersion, digest = goodDigest, nodeVersion = goodNode;
    layOut();
    ASSERT_TRUE(load()) << row.name;
    row.spoil();
    if (version != goodVersion || digest != goodDigest || nodeVersion != goodNode) layOut();
    EXPECT_FALSE(load()) << row.name;
  }
}

}  // namespace
}  // namespace kestrelune
