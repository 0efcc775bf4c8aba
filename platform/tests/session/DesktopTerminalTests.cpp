#include "session/DesktopTerminal.hpp"

#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Fakes/TestFolder.hpp"
#include "Fakes/TestLoop.hpp"
#include "Fakes/Testing.hpp"

namespace kestrelune {
namespace {

using Strings = std::vector<std::string>;

const std::string kNasty = "printf '%s|' \"a b\" 'it'\\''s' \\\\ \"$HOME\" '`x`' \"$(printf hi)\" '%@ *'\nprintf end";

/// A terminal in a folder of its own: nothing of this machine is found.
struct DesktopTerminalTest : testing::Test {
  DesktopTerminalTest() {
    std::filesystem::create_directories(folder.path("bin"));
    for (const char* tool : {"sh", "rm", "cat", "dirname"})
      std::filesystem::create_symlink(std::string("/bin/") + tool, folder.path("bin") + "/" + tool);
  }
  void addTool(const std::string& name, const std::string& script) {
    folder.write("bin/" + name, "#!/bin/sh\nD='" + folder.path() + "'\n" + script);
    std::filesystem::permissions(folder.path("bin/" + name), std::filesystem::perms::owner_all);
  }
  /// An emulator that drops `options` of its arguments and runs the others.
  void addEmulator(const std::string& name, int options = 1) {
    addTool(name, "for a; do printf '%s\\0' \"$a\" >>\"$D/argv\"; done\nprintf . >>\"$D/" + name + ".starts\"\nshift " +
                      std::to_string(options) + "\nexec \"$@\" >>\"$D/output\" 2>/dev/null </dev/null\n");
  }
  DesktopTerminal& terminal(bool hasDisplay = true, bool dryRun = false) {
    made = std::make_unique<DesktopTerminal>(*launcher, *loop, systemFiles(), environment, hasDisplay, dryRun);
    return *made;
  }
  bool run(const std::string& command, const std::function<bool()>& done) {
    terminal().run(command, [this](const std::string& reason) { failures.push_back(reason); });
    return serveUntil(*loop, [&] { return done() || !failures.empty(); });
  }
  bool outputHas(const std::string& text) const { return folder.read("output").find(text) != std::string::npos; }

  TestFolder folder;
  Environment environment = {{"PATH", folder.path("bin")},
                             {"SHELL", "/bin/sh"},
                             {"HOME", folder.path()},
                             {"XDG_RUNTIME_DIR", folder.path()},
                             {"XDG_ACTIVATION_TOKEN", "ours"}};
  std::unique_ptr<RunLoop> loop = makePollRunLoop();
  std::unique_ptr<TaskLauncher> launcher = makeTaskLauncher(*loop);
  std::unique_ptr<DesktopTerminal> made;
  Strings failures;
};

TEST_F(DesktopTerminalTest, ACommandArrivesIntactWhateverItHolds) {
  addEmulator("xterm");
  const std::string command =
      kNasty + "; : '" + std::string(10'000, 'x') + "'; printf \"[$XDG_ACTIVATION_TOKEN]\" # \xc3\xbc";
  ASSERT_TRUE(run(command, [&] { return outputHas("[]"); }));
  EXPECT_TRUE(outputHas("a b|it's|\\|" + folder.path() + "|`x`|hi|%@ *|end")) << folder.read("output");
  EXPECT_NE(folder.read("argv").find('\0' + command + '\0'), std::string::npos);
  EXPECT_TRUE(failures.empty());
}

TEST_F(DesktopTerminalTest, EachKindOfEmulatorIsAskedInItsOwnWay) {
  const Strings program = {"sh", "-c", "it's"};
  const Table<const char*, Strings> rows = {{"xterm", {"-e", "sh", "-c", "it's"}},
                                            {"/opt/bin/gnome-terminal --wait", {"--wait", "--", "sh", "-c", "it's"}},
                                            {"xfce4-terminal", {"-x", "sh", "-c", "it's"}},
                                            {"kitty -1", {"-1", "sh", "-c", "it's"}},
                                            {"lxterminal", {"--command='sh' '-c' 'it'\\''s'"}},
                                            {"something-else", {"-e", "sh", "-c", "it's"}}};
  for (const auto& [terminal, arguments] : rows)
    EXPECT_EQ(terminal_plan::emulatorArguments(terminal_plan::candidates({{"TERMINAL", terminal}}).front(), program),
              arguments)
        << terminal;
}

TEST_F(DesktopTerminalTest, TheUsersChoiceComesFirst) {
  addEmulator("gnome-terminal");
  addEmulator("mine", 2);
  environment["TERMINAL"] = folder.path("bin/mine") + " --loud";
  ASSERT_TRUE(run("printf done", [&] { return outputHas("done"); }));
  EXPECT_FALSE(folder.has("gnome-terminal.starts"));
}

TEST_F(DesktopTerminalTest, OneThatFailsBeforeTheCommandGivesWayToTheNext) {
  addTool("x-terminal-emulator", "exit 1\n");
  addTool("konsole", "kill -9 $$\n");
  addEmulator("xterm");
  ASSERT_TRUE(run("printf done", [&] { return outputHas("done"); }));
  EXPECT_TRUE(failures.empty());
}

TEST_F(DesktopTerminalTest, ACommandThatBeganIsNeverBegunAgain) {
  addTool("gnome-terminal", "shift; \"$@\" >>\"$D/output\" 2>&1 </dev/null; exit 1\n");
  addEmulator("xterm");
  struct Ends final : TaskLauncher {
    explicit Ends(TaskLauncher& launcher) : real(launcher) {}
    Outcome<std::unique_ptr<Task>> launch(const TaskRequest& request, Ended ended) override {
      return real.launch(request, [this, ended = std::move(ended)](const TaskEnd& end) {
        ended(end);
        ++count;
      });
    }
    void leave() override {}
    TaskLauncher& real;
    int count = 0;
  } ends(*launcher);
  DesktopTerminal once(ends, *loop, systemFiles(), environment, true, false);
  once.run("printf once; exit 3", [this](const std::string& reason) { failures.push_back(reason); });
  ASSERT_TRUE(serveUntil(*loop, [&] { return ends.count > 0; }));
  EXPECT_TRUE(outputHas("once"));
  EXPECT_FALSE(folder.has("xterm.starts"));
  EXPECT_TRUE(failures.empty());
}

TEST_F(DesktopTerminalTest, FailuresAreTold) {
  const auto failure = [&] {
    failures.clear();
    EXPECT_TRUE(run("true", [] { return false; }));
    return failures.size() == 1 ? failures.front() : "";
  };
  const std::string none = failure();
  loop = makePollRunLoop();
  launcher = makeTaskLauncher(*loop);
  addTool("xterm", "exit 1\n");
  const std::string failed = failure();
  EXPECT_NE(none, "");
  EXPECT_NE(none, failed);
  EXPECT_NE(failed.find("xterm"), std::string::npos);
  for (const auto& entry : std::filesystem::directory_iterator(folder.path()))
    EXPECT_FALSE(entry.path().filename().string().starts_with("kestrelune-")) << "a marker is left";
}

TEST_F(DesktopTerminalTest, AnInterruptedCommandLeavesAShellToReadItsOutcome) {
  for (const char* shell : {"/bin/sh", "/bin/bash"}) {
    if (::access(shell, X_OK) != 0) continue;
    SCOPED_TRACE(shell);
    Strings program =
        terminal_plan::shellArguments(shell, folder.path("marker"), "/bin/sh -c 'echo begun; exec sleep 1000'");
    std::vector<char*> arguments;
    for (std::string& argument : program) arguments.push_back(argument.data());
    arguments.push_back(nullptr);
    int master = -1;
    const pid_t pid = forkpty(&master, nullptr, nullptr, nullptr);
    if (pid == 0) {
      ::signal(SIGINT, SIG_DFL);  // whoever runs the tests may ignore it
      ::execv(arguments.front(), arguments.data());
      ::_exit(127);
    }
    // What is typed while a shell takes the keyboard over may be dropped: it is typed again.
    const auto sees = [master](const std::string& text, std::string_view typed) {
      std::string seen;
      for (int tries = 0; tries < 200 && seen.find(text) == std::string::npos; ++tries) {
        pollfd readable{master, POLLIN, 0};
        char bytes[4096];
        if (::poll(&readable, 1, 100) == 0 && ::write(master, typed.data(), typed.size()) < 0) return false;
        const ssize_t count = readable.revents != 0 ? ::read(master, bytes, sizeof bytes) : 0;
        if (count < 0) return false;
        seen.append(bytes, static_cast<std::size_t>(count));
      }
      return seen.find(text) != std::string::npos;
    };
    EXPECT_TRUE(sees("begun", ""));
    EXPECT_EQ(::write(master, "\x03", 1), 1);
    EXPECT_TRUE(sees("alive", "echo a''live\n"));
    ::close(master);
    ::kill(pid, SIGKILL);
    ::waitpid(pid, nullptr, 0);
  }
}

}  // namespace
}  // namespace kestrelune
