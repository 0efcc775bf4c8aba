#include "base/Task.hpp"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

#include "Fakes/TestFolder.hpp"
#include "Fakes/TestLoop.hpp"
#include "Fakes/Testing.hpp"

namespace kestrelune {
namespace {

TaskRequest shell(const std::string& script) {
  TaskRequest request;
  request.executable = "/bin/sh";
  request.arguments = {"-c", script};
  request.output = TaskRequest::Stream::capture;
  request.errors = TaskRequest::Stream::capture;
  return request;
}

bool hasChildren() { return waitid(P_ALL, 0, nullptr, WEXITED | WNOHANG | WNOWAIT) == 0 || errno != ECHILD; }

std::size_t openDescriptors() {
  const std::filesystem::directory_iterator entries("/proc/self/fd");
  return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}

struct TaskTest : testing::Test {
  std::unique_ptr<RunLoop> loop = makePollRunLoop();
  std::unique_ptr<TaskLauncher> launcher = makeTaskLauncher(*loop);
  std::optional<TaskEnd> end;

  std::unique_ptr<Task> launch(const TaskRequest& request) {
    Outcome<std::unique_ptr<Task>> task = launcher->launch(request, [this](const TaskEnd& how) { end = how; });
    EXPECT_EQ(task.error, 0);
    EXPECT_FALSE(end) << "told from within the call";
    return std::move(task.value);
  }

  TaskEnd run(const TaskRequest& request) {
    const std::unique_ptr<Task> task = launch(request);
    EXPECT_TRUE(serveUntil(*loop, [this] { return end.has_value(); }));
    EXPECT_FALSE(task->running());
    return end.value_or(TaskEnd{});
  }
};

TEST_F(TaskTest, EndsCarryReasonStatusAndStreams) {
  const Table<const char*, std::string, TaskEnd::Reason, int, std::string, std::string> rows = {
      {"success", "echo out; echo err >&2", TaskEnd::Reason::exited, 0, "out\n", "err\n"},
      {"failure", "exit 75", TaskEnd::Reason::exited, 75, "", ""},
      {"signal", "kill -9 $$", TaskEnd::Reason::signalled, SIGKILL, "", ""},
      {"closed streams", "exec >&- 2>&-; sleep 0.1; exit 3", TaskEnd::Reason::exited, 3, "", ""},
  };
  std::optional<std::size_t> open;
  for (const auto& [name, script, reason, status, output, errors] : rows) {
    SCOPED_TRACE(name);
    loop = makePollRunLoop();
    launcher = makeTaskLauncher(*loop);
    end.reset();
    const TaskEnd got = run(shell(script));
    EXPECT_EQ(got.reason, reason);
    EXPECT_EQ(got.status, status);
    EXPECT_EQ(got.output, output);
    EXPECT_EQ(got.errors, errors);
    EXPECT_EQ(openDescriptors(), open.emplace(open.value_or(openDescriptors()))) << "leaked";
  }
  EXPECT_FALSE(hasChildren());
}

TEST_F(TaskTest, AChildInheritsNeitherSignalsNorDescriptors) {
  const int leaked = ::open("/proc/self/status", O_RDONLY), input = ::dup(STDIN_FILENO);
  ::dup2(leaked, STDIN_FILENO);
  sigset_t blocked, before;
  sigfillset(&blocked);
  pthread_sigmask(SIG_BLOCK, &blocked, &before);
  signal(SIGPIPE, SIG_IGN);
  const TaskEnd got = run(shell("exec /bin/grep -hE '^Sig(Blk|Ign)' /proc/self/status"));
  end.reset();
  loop = makePollRunLoop();
  launcher = makeTaskLauncher(*loop);
  // The fourth is the one through which the listing itself is read.
  const TaskEnd listed = run(shell("ls /proc/self/fd; cat"));
  signal(SIGPIPE, SIG_DFL);
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  ::dup2(input, STDIN_FILENO);
  ::close(input);
  ::close(leaked);

  EXPECT_NE(got.output.find("SigBlk:\t0000000000000000"), std::string::npos) << got.output;
  EXPECT_NE(got.output.find("SigIgn:\t0000000000000000"), std::string::npos) << got.output;
  EXPECT_EQ(listed.output, "0\n1\n2\n3\n");
  EXPECT_EQ(listed.errors, "");
}

TEST_F(TaskTest, AChildLeadsItsOwnGroupInItsFolderWithItsEnvironment) {
  TestFolder folder;
  TaskRequest request =
      shell("pwd; echo \"$ONLY|$HOME|$1|$2\"; read line; echo \"$line\"; echo $$; cut -d' ' -f5 /proc/$$/stat");
  request.arguments.insert(request.arguments.end(), {"sh", "a b", "$x\"\n'`"});
  request.folder = folder.path();
  request.environment = Environment{{"ONLY", "this"}};
  request.input = "typed\nrest";
  std::unique_ptr<Task> task = launch(request);
  const std::string pid = std::to_string(task->pid());
  EXPECT_TRUE(serveUntil(*loop, [this] { return end.has_value(); }));
  EXPECT_EQ(end->output, folder.path() + "\nthis||a b|$x\"\n'`\ntyped\n" + pid + "\n" + pid + "\n");
}

TEST_F(TaskTest, ADetachedChildLeadsItsOwnSession) {
  TaskRequest request = shell("[ $(cut -d' ' -f6 /proc/$$/stat) = $$ ]");
  request.detached = true;
  EXPECT_EQ(run(request).status, 0);
}

TEST_F(TaskTest, OnlyThePassedDescriptorIsPassedOn) {
  int ends[2];
  ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
  TaskRequest request = shell("echo hello >&3");
  request.passedDescriptor = ends[1];
  run(request);
  char text[16] = {};
  EXPECT_EQ(::read(ends[0], text, sizeof text), 6);
  EXPECT_STREQ(text, "hello\n");
  ::close(ends[0]);
  ::close(ends[1]);
}

TEST_F(TaskTest, WhatIsKeptIsBoundedAndTheRestIsDrained) {
  TaskRequest request = shell("printf start; head -c 5000000 /dev/zero; echo end >&2");
  request.captureLimit = 1000;
  const TaskEnd got = run(request);
  EXPECT_EQ(got.output.substr(0, 5), "start");
  EXPECT_EQ(got.output.size(), 1000u);
  EXPECT_EQ(got.errors, "end\n");
}

TEST_F(TaskTest, AGrandchildThatHoldsThePipesDelaysNothing) {
  const TaskEnd got = run(shell("sleep 30 & echo $!"));
  EXPECT_EQ(got.status, 0);
  ASSERT_FALSE(got.output.empty());
  ::kill(std::stoi(got.output), SIGKILL);
}

TEST_F(TaskTest, TerminateReachesTheChildAndADroppedTaskIsReaped) {
  const std::unique_ptr<Task> task = launch(shell("exec sleep 30"));
  EXPECT_TRUE(task->running());
  task->terminate();
  launcher->launch(shell("exit 0"), nullptr);
  EXPECT_TRUE(serveUntil(*loop, [this] { return end && !hasChildren(); }));
  EXPECT_EQ(end->reason, TaskEnd::Reason::signalled);
  EXPECT_EQ(end->status, SIGTERM);
  task->terminate();
}

TEST_F(TaskTest, OutputIsAppendedToAFile) {
  TestFolder folder;
  folder.write("log", "before\n");
  const int log = ::open(folder.path("log").c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
  TaskRequest request = shell("echo out; echo err >&2");
  request.output = TaskRequest::Stream::file;
  request.errorsJoinOutput = true;
  request.outputDescriptor = log;
  run(request);
  ::close(log);
  EXPECT_EQ(folder.read("log"), "before\nout\nerr\n");
}

TEST_F(TaskTest, WhatCannotStartSaysWhyAndLeavesNothing) {
  TestFolder folder;
  folder.write("plain", "text");
  const std::size_t before = openDescriptors();
  const Table<const char*, std::string, std::string, int> rows = {
      {"missing", "/nonexistent", "", ENOENT},
      {"not executable", folder.path("plain"), "", EACCES},
      {"missing folder", "/bin/sh", "/nonexistent", ENOENT}};
  for (const auto& [name, executable, place, error] : rows) {
    TaskRequest request = shell("exit 0");
    request.executable = executable;
    request.folder = place;
    EXPECT_EQ(launcher->launch(request, nullptr).error, error) << name;
  }
  EXPECT_EQ(openDescriptors(), before);
  EXPECT_FALSE(hasChildren());
}

TEST_F(TaskTest, LeftBehindAGroupEndsOrGoesOnWithWhatItWrites) {
  for (const bool endsWithUs : {false, true}) {
    TestFolder folder;
    TaskRequest request =
        shell("(trap '' TERM; sleep 0.3; head -c 1000000 /dev/zero; echo x >" + folder.path() + "/written) & wait");
    request.endsWithUs = endsWithUs;
    launch(request);
    launcher->leave();
    launcher.reset();  // and with it our ends of the pipes
    loop = makePollRunLoop();
    const Timer limit = loop->after(endsWithUs ? 1.0 : 20.0, [this] { loop->stop(); });
    const bool written = serveUntil(*loop, [&] { return std::filesystem::exists(folder.path() + "/written"); });
    EXPECT_EQ(written, !endsWithUs);
    launcher = makeTaskLauncher(*loop);
  }
  while (waitid(P_ALL, 0, nullptr, WEXITED) == 0) continue;
}

}  // namespace
}  // namespace kestrelune
