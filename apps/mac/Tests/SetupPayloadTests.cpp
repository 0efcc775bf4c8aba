#include "SetupPayload.hpp"

#include "Fakes/TestFolder.hpp"
#include "Fakes/Testing.hpp"
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
  const Table<const char*, const char*> rows = {{"1.9.9", "1.10.0"}, {"1.2", "1.2.1"}, {"0.9", "1"}, {"1.2.3", "1.3"}};
  for (const auto& [less, greater] : rows) {
    EXPECT_TRUE(*HelperVersion::parse(less) < *HelperVersion::parse(greater)) << less;
    EXPECT_FALSE(*HelperVersion::parse(greater) < *HelperVersion::parse(less)) << less;
  }
  EXPECT_FALSE(*HelperVersion::parse("1.2") < *HelperVersion::parse("1.2.0"));
  EXPECT_FALSE(*HelperVersion::parse("1.2.0") < *HelperVersion::parse("1.2"));
}

/// A bundle that carries a helper.
struct Carrying {
  TestFolder folder;
  std::string version = "1.4.0", digest = sha256("helper"), nodeVersion = "v22.1.0";

  std::string contents(const std::string& name) const { return "A.app/Contents/" + name; }
  Url url(const std::string& name) const { return folder.url(contents(name)); }
  void layOut() const {
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
  void remove(const std::string& name) const { systemFiles().unlink(folder.path(contents(name))); }
  std::optional<HelperPayload> load() const { return HelperPayload::load(Bundle(folder.url("A.app")), systemFiles()); }
};

TEST(PayloadTest, AGoodBundleCarriesAll) {
  Carrying bundle;
  for (char& c : bundle.digest)
    if (c >= 'a') c = static_cast<char>(c - 'a' + 'A');
  bundle.layOut();
  const std::optional<HelperPayload> payload = bundle.load();
  ASSERT_TRUE(payload);
  EXPECT_EQ(payload->helperVersion, "1.4.0");
  EXPECT_EQ(payload->helperSHA256, sha256("helper")) << "in lower case";
  EXPECT_EQ(payload->nodeVersion, "v22.1.0");
  EXPECT_EQ(payload->helperURL, bundle.url("Resources/helper/kestrelune-runner.mjs"));
  EXPECT_EQ(payload->nodeURLs.at(HelperArchitecture::arm64), bundle.url("Helpers/node-darwin-arm64/node"));
  EXPECT_EQ(payload->nodeURLs.at(HelperArchitecture::x64), bundle.url("Helpers/node-darwin-x64/node"));
}

TEST(PayloadTest, AnythingWrongMeansNone) {
  const std::string helper = "Resources/helper/kestrelune-runner.mjs";
  const std::string other = currentArchitecture() == HelperArchitecture::x64 ? "arm64" : "x64";
  const Table<const char*, std::function<void(Carrying&)>> rows = {
      {"version", [](Carrying& b) { b.version = "v1.4"; }},
      {"digest too short", [](Carrying& b) { b.digest = b.digest.substr(0, 63); }},
      {"digest with other letters", [](Carrying& b) { b.digest[0] = 'g'; }},
      {"another digest", [](Carrying& b) { b.digest = sha256("other"); }},
      {"node version without v", [](Carrying& b) { b.nodeVersion = "22.1.0"; }},
      {"node version with a suffix", [](Carrying& b) { b.nodeVersion = "v22.1.0-pre"; }},
      {"helper changed", [&](Carrying& b) { b.folder.write(b.contents(helper), "helpeR"); }},
      {"helper missing", [&](Carrying& b) { b.remove(helper); }},
      {"the other processor's runtime missing",
       [&](Carrying& b) { b.remove("Helpers/node-darwin-" + other + "/node"); }},
      {"a runtime that isn't executable",
       [](Carrying& b) { systemFiles().chmod(b.url("Helpers/node-darwin-x64/node").path(), 0644); }},
      {"no keys", [](Carrying& b) { b.remove("Info.json"); }},
  };
  for (const auto& [name, spoil] : rows) {
    Carrying bundle;
    bundle.layOut();
    ASSERT_TRUE(bundle.load()) << name;
    spoil(bundle);
    bundle.layOut();
    spoil(bundle);
    EXPECT_FALSE(bundle.load()) << name;
  }
}

}  // namespace
}  // namespace kestrelune
