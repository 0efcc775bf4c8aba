#include "SetupFiles.hpp"

#include <cerrno>

#include "Fakes/FakeFiles.hpp"
#include "Fakes/TestFolder.hpp"
#include "Fakes/Testing.hpp"
#include "Runtime.hpp"
#include "base/Digest.hpp"
#include "base/Task.hpp"

namespace kestrelune {
namespace {

const std::string kRoot = "/home/u/.kestrelune";
const std::string kRuntime = "node-v22.1.0-darwin-x64";
const std::string kOldRuntime = "node-v20.0.0-darwin-x64";
const std::string kHelper = kRoot + "/helper/kestrelune-runner.mjs";
const std::string kLink = kRoot + "/node/current";
const std::string kNode = kRoot + "/node/" + kRuntime + "/bin/node";
const std::string kLauncher = kRoot + "/bin/kestrelune";

struct SetupFilesTest : testing::Test {
  FakeFiles files;
  HelperPayload payload;
  HelperFiles place{Url::file(kRoot), files};

  void SetUp() override {
    payload.helperURL = Url::file("/app/helper.mjs");
    payload.nodeURLs = {{HelperArchitecture::arm64, Url::file("/app/arm64")},
                        {HelperArchitecture::x64, Url::file("/app/x64")}};
    payload.helperVersion = "1.4.0";
    payload.helperSHA256 = sha256("new helper");
    payload.nodeVersion = "v22.1.0";
    layOutNothing();
  }

  void layOutNothing() {
    files = FakeFiles();
    files.mostPerWrite = 5;
    files.put("/app/helper.mjs", "new helper");
    files.put("/app/arm64", "new node arm64", 0755);
    files.put("/app/x64", "new node", 0755);
    files.putFolder("/home/u");
  }
  void layOutOldInstall() {
    layOutNothing();
    files.put(kRoot + "/node/" + kOldRuntime + "/bin/node", "old node", 0755);
    files.putLink(kLink, kOldRuntime);
    files.put(kHelper, "old helper", 0600);
    files.put(kLauncher, "old launcher", 0700);
  }

  HelperFileChanges run(bool replaceHelper = true) {
    return place.place(payload, HelperArchitecture::x64, replaceHelper);
  }
  std::string failure() {
    try {
      run();
      return "";
    } catch (const RuntimeError& error) {
      return error.description();
    }
  }
  mode_t mode(const std::string& path) const { return files.at(path).value_or(FileInfo{}).mode; }

  /// Everything as a finished placement leaves it.
  void expectWhole(const std::string& context) const {
    EXPECT_EQ(files.content(kNode), "new node") << context;
    EXPECT_EQ(files.linkTarget(kLink), kRuntime) << context;
    EXPECT_EQ(files.content(kHelper), "new helper") << context;
    EXPECT_EQ(files.content(kLauncher), HelperFiles::wrapper(place.root)) << context;
  }
  /// Ends a run at each single call, and has what is left then looked at.
  void stopEverywhere(const std::function<void(const std::string& context, bool fromOld)>& look) {
    for (const bool fromOld : {false, true}) {
      const auto layOut = [&] { fromOld ? layOutOldInstall() : layOutNothing(); };
      layOut();
      run();
      const int count = files.calls();
      for (int n = 1; n <= count; ++n) {
        layOut();
        files.crashAt(n);
        EXPECT_THROW(run(), FakeFiles::Crash);
        look(std::string(fromOld ? "old " : "empty ") + std::to_string(n), fromOld);
        files.restart();
        place.removeTemporaries();
        for (const std::string& path : files.paths())
          EXPECT_TRUE(path.find("/.setup-") == path.npos && path.find("/.current-") == path.npos)
              << n << " left " << path;
      }
    }
  }
  /// At each name an old or a new whole file or nothing, and a link that leads to a runtime that works.
  void expectWorking(const std::string& context, bool fromOld) const {
    const auto oneOf = [&](const std::string& path, const std::string& older, const std::string& newer) {
      const std::string now = files.content(path).value_or("");
      EXPECT_TRUE(now == newer || now == (fromOld ? older : "")) << context << " " << path << ": " << now;
    };
    oneOf(kHelper, "old helper", "new helper");
    oneOf(kLauncher, "old launcher", HelperFiles::wrapper(place.root));
    oneOf(kNode, "", "new node");
    const std::string linked = files.content(kLink + "/bin/node").value_or("");
    EXPECT_TRUE(linked == "new node" || (fromOld ? linked == "old node" : !files.at(kLink))) << context << linked;
    EXPECT_TRUE(fromOld || !files.at(kHelper) || linked == "new node") << context << ": a helper without a runtime";
  }
};

TEST_F(SetupFilesTest, AnEmptyHomeGetsAllAndASecondRunWritesNothing) {
  const std::size_t before = files.paths().size();
  EXPECT_EQ(run(), (HelperFileChanges{true, true}));
  expectWhole("");
  EXPECT_EQ(files.paths().size(), before + 10) << "nothing else was left";
  for (const char* folder : {"", "/node", "/helper", "/bin", "/node/node-v22.1.0-darwin-x64"})
    EXPECT_EQ(mode(kRoot + folder), 0700u) << folder;
  EXPECT_EQ(mode(kNode), 0755u);
  EXPECT_EQ(mode(kHelper), 0600u);
  EXPECT_EQ(mode(kLauncher), 0700u);

  files.restart();
  EXPECT_EQ(run(), (HelperFileChanges{false, false}));
  for (const std::string& call : files.log) {
    for (const char* writing : {"write", "rename", "symlink", "unlink"})
      EXPECT_FALSE(call.starts_with(writing)) << call;
    EXPECT_NE(call, "open /app/x64");
  }
}

TEST_F(SetupFilesTest, WhatIsThereDecidesWhatChanges) {
  const auto relink = [&](const std::string& path, const std::string& target) {
    files.put(kRoot + "/node/" + kOldRuntime + "/bin/node", "old node", 0755);
    files.unlink(path);
    files.putLink(path, target);
  };
  const Table<const char*, std::function<void()>, HelperFileChanges> rows = {
      {"an old install", [&] { layOutOldInstall(); }, {true, true}},
      {"the absolute form of the link", [&] { relink(kLink, kRoot + "/node/" + kRuntime); }, {false, false}},
      {"a link to another version", [&] { relink(kLink, kOldRuntime); }, {true, false}},
      {"a runtime that isn't executable", [&] { files.put(kNode, "broken", 0644); }, {true, false}},
      {"a link in place of the helper", [&] { relink(kHelper, "/app/helper.mjs"); }, {false, true}},
      {"another launcher", [&] { files.put(kLauncher, "#!/bin/bash\n", 0755); }, {false, false}},
      {"a wider folder", [&] { files.chmod(kRoot, 0755); }, {false, false}},
  };
  for (const auto& [name, before, changes] : rows) {
    SCOPED_TRACE(name);
    layOutNothing();
    run();
    before();
    files.restart();
    EXPECT_EQ(run(), changes);
    expectWhole(name);
    EXPECT_EQ(files.at(kHelper)->kind, FileInfo::Kind::regular);
    EXPECT_EQ(mode(kRoot), 0700u);
    EXPECT_EQ(mode(kHelper), 0600u);
    EXPECT_EQ(mode(kLauncher), 0700u);
    EXPECT_EQ(files.openDescriptors(), 0u);
  }
}

TEST_F(SetupFilesTest, AnInstalledHelperMayStay) {
  layOutOldInstall();
  files.chmod(kHelper, 0644);
  EXPECT_EQ(run(false), (HelperFileChanges{true, false}));
  EXPECT_EQ(files.content(kHelper), "old helper");
  EXPECT_EQ(mode(kHelper), 0600u);
  EXPECT_EQ(files.content(kRoot + "/node/" + kOldRuntime + "/bin/node"), "old node") << "old runtimes stay";
}

TEST_F(SetupFilesTest, WhatIsRefused) {
  files.put("/app/helper.mjs", "altered");
  const auto before = files.paths();
  EXPECT_EQ(failure(), "Kestrelune's bundled files do not match their checksum");
  EXPECT_EQ(files.paths(), before) << "before anything is created";

  layOutNothing();
  payload.nodeURLs.erase(HelperArchitecture::x64);
  EXPECT_EQ(failure(), "Kestrelune's bundled files do not match their checksum");

  SetUp();
  files.put(kRoot + "/helper", "a file");
  EXPECT_EQ(failure(), "Not a directory: " + kRoot + "/helper");

  SetUp();
  files.putFolder("/elsewhere");
  files.putLink(kRoot, "/elsewhere");
  EXPECT_EQ(failure(), "Not a directory: " + kRoot);

  SetUp();
  files.unlink("/app/x64");
  EXPECT_EQ(failure(), "No such file or directory");
}

TEST_F(SetupFilesTest, StoppedAnywhereItLeavesWhatWorksAndTheNextRunRepairsIt) {
  stopEverywhere([&](const std::string& context, bool fromOld) {
    expectWorking(context, fromOld);
    files.restart();
    run();
    expectWhole(context);
    files.cutPower(FakeFiles::Cut::losesNames);
    expectWhole(context + ", then a power cut");
  });
}

TEST_F(SetupFilesTest, NoPowerCutLeavesLessThanWorked) {
  for (const FakeFiles::Cut cut : {FakeFiles::Cut::losesNames, FakeFiles::Cut::losesContents})
    stopEverywhere([&](const std::string& context, bool fromOld) {
      files.cutPower(cut);
      expectWorking(context, fromOld);
      run();
      expectWhole(context);
    });
}

TEST_F(SetupFilesTest, EachCallMayFailOnce) {
  for (const int error : {ENOSPC, EACCES, EIO}) {
    layOutOldInstall();
    run();
    const int count = files.calls();
    for (int n = 1; n <= count; ++n) {
      const std::string context = std::to_string(n);
      layOutOldInstall();
      files.failAt(n, error);
      if (failure().empty()) expectWhole(context);
      EXPECT_EQ(files.openDescriptors(), 0u) << context;
      expectWorking(context, true);
      for (const std::string& path : files.paths()) EXPECT_EQ(path.rfind("/."), path.find("/.kestrelune")) << path;
      files.restart();
      run();
      expectWhole(context);
    }
  }
}

TEST(SetupLauncherTest, RunsWhateverThePathHolds) {
  for (const std::string name : {"plain", "two words", "q\"uote", "$HOME", "b`id`", "back\\slash", "tick's",
                                 "new\nline", "\xc3\xbc\xe2\x80\x9c", "!x", "*"}) {
    TestFolder folder;
    const Url root = folder.url(name);
    folder.write(name + "/node/current/bin/node", "#!/bin/sh\nprintf '%s|' \"$@\"\n");
    folder.write("launcher", HelperFiles::wrapper(root));
    systemFiles().chmod(root.appending("node/current/bin/node").path(), 0755);
    systemFiles().chmod(folder.path("launcher"), 0700);
    TaskRequest request;
    request.executable = folder.path("launcher");
    request.arguments = {"a b", "$x\"'", ""};
    std::string output;
    runWatched(request, 10, [&](std::string_view piece) { output.append(piece); });
    EXPECT_EQ(output, root.path() + "/helper/kestrelune-runner.mjs|a b|$x\"'||") << name;
  }
}

}  // namespace
}  // namespace kestrelune
