// Where a host's log goes: what is printed, and which files there are.
#include "core/ztlogctrl.h"

#include "tests/helpers/host_process.hh"

#include <gtest/gtest.h>

#include <stdlib.h>
#include <sys/stat.h>

#include <algorithm>
#include <optional>

namespace {

using Names = std::vector<std::string>;

const std::string starts = "host starts\n";

// The variable, as long as it lives.
class Environment {
 public:
  explicit Environment(const std::optional<std::string> &value) {
    if (value) setenv("ZENTOVA_LOG", value->c_str(), 1);
  }
  ~Environment() {
    unsetenv("ZENTOVA_LOG");
  }
  Environment(const Environment &) = delete;
  Environment &operator=(const Environment &) = delete;
};

class LogChoice : public testing::Test {
 protected:
  LogChoice() {
    host.keepsErrors = true;
  }

  void run(const std::string &program, const std::string &scenario = "talk",
           const std::optional<std::string> &variable = std::nullopt) {
    const Environment environment(variable);
    EXPECT_EQ(host.run(program, {scenario}), 0) << host.output() << host.errors();
  }

  // Compares the outputs, and the files by name and contents.
  void expect(const std::string &output, const std::string &errors,
              const std::vector<std::pair<std::string, std::string>> &files = {}) const {
    EXPECT_EQ(host.output(), output);
    EXPECT_EQ(host.errors(), errors);
    Names expected;
    for (const auto &[name, contents] : files) {
      EXPECT_EQ(contentsOf(host.folder.path(name)), contents) << name;
      expected.push_back(name);
    }
    Names found;
    for (const auto &entry : std::filesystem::directory_iterator(host.folder.path())) {
      found.push_back(entry.path().filename());
    }
    std::sort(found.begin(), found.end());
    EXPECT_EQ(found, expected);
  }

  HostProcess host;
};

// What the scenario "talk" logs; standard output interprets it.
const std::string talk = "100%%\n";
const std::string talkPrinted = "100%\n";
const std::string all = loading + banner + talk + ending;

std::string notOpened(const std::string &path) {
  return "Zentova - Log file '" + path + "' cannot be opened\n";
}

}  // namespace

// By the environment ------------------------------------------------------------------------------

TEST_F(LogChoice, IsStandardOutputAndAFileWhereNobodyChooses) {
  run("log_choice");
  expect(loading + banner + starts + talkPrinted + ending, "", {{"zentova.log", banner + talk + ending}});
}

TEST_F(LogChoice, IsNothingForAnEmptyVariable) {
  run("log_choice", "talk", "");
  expect(starts, "");
  run("log_choice", "talk", "/dev/null");
  expect(starts, "");
}

TEST_F(LogChoice, MayBeStandardError) {
  run("log_choice", "talk", "stderr");
  expect(starts, all);
}

TEST_F(LogChoice, MayBeAFileThatIsEmptiedAndHasAllTexts) {
  writeContents(host.folder.path("my.log"), std::string(10000, 'x'));
  run("log_choice", "talk", "my.log");
  expect(starts, "", {{"my.log", all}});
}

TEST_F(LogChoice, MayBeAFileElsewhereOrOfTheNameStderr) {
  const TempFolder other;
  run("log_choice", "talk", other.path("a b.log"));
  expect(starts, "");
  EXPECT_EQ(contentsOf(other.path("a b.log")), all);
  run("log_choice", "talk", "./stderr");
  expect(starts, "", {{"stderr", all}});
}

TEST_F(LogChoice, IsStandardErrorWhereTheFileCannotBeOpened) {
  const std::string pipe = host.folder.path("pipe");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  for (const std::string &path :
       {std::string("missing/my.log"), std::string("."), std::string("/dev/full"), pipe}) {
    run("log_choice", "talk", path);
    expect(starts, notOpened(path) + all, {{"pipe", ""}});
  }
}

TEST_F(LogChoice, CountsForEveryStartOfTheEngine) {
  const std::string again =
      loading + banner + cleaning + cleaned + "stopped\n" + banner + "started\n" + ending;
  run("log_choice", "again", "");
  expect(starts, "");
  run("log_choice", "again", "stderr");
  expect(starts, again);
  run("log_choice", "again", "my.log");
  expect(starts, "", {{"my.log", again}});
}

TEST_F(LogChoice, OfTheEnvironmentLeavesTheProgramNoFileOfItsOwn) {
  const std::string texts = loading + banner + "for the own file\nbehind it\n" + ending;
  run("log_choice", "own-file", "");
  expect(starts + "own file: 0\n", "");
  run("log_choice", "own-file", "stderr");
  expect(starts + "own file: 0\n", texts);
  run("log_choice", "own-file", "my.log");
  expect(starts + "own file: 1\n", "", {{"my.log", texts}});
}

TEST_F(LogChoice, OfTheEnvironmentIsTheHostsThatLoadsTheLibraryItself) {
  const Environment environment("my.log");
  ASSERT_EQ(host.run("dlopen_by_number", {ZT_LIBRARY, "reload"}), 0) << host.output();
  const std::string printed = "host closed the library\n";
  EXPECT_EQ(host.output(), printed + printed + "host ends\n");
  EXPECT_EQ(contentsOf(host.folder.path("my.log")), loading + banner + ending) << "each start empties it";
}

// By the program ----------------------------------------------------------------------------------

TEST_F(LogChoice, OfTheProgramMayBeNothing) {
  run("log_to_nothing");
  expect(starts, "");
  run("fixed_log_to_nothing");
  expect(starts, "");
  run("quiet");
  expect("host ends\n", "");
}

TEST_F(LogChoice, OfTheProgramMayBeStandardErrorOrAFile) {
  run("log_to_errors");
  expect(starts, all);
  run("log_to_file");
  expect(starts, "", {{"chosen.log", all}});
}

TEST_F(LogChoice, OfTheProgramCountsForEveryStartOfTheEngine) {
  run("log_to_nothing", "again");
  expect(starts, "");
}

TEST_F(LogChoice, OfTheProgramLeavesItAFileOfItsOwn) {
  run("log_to_nothing", "own-file");
  expect(starts + "own file: 1\n", "", {{"own.log", "for the own file\n"}});
}

TEST_F(LogChoice, OfTheEnvironmentWins) {
  run("log_to_nothing", "talk", "stderr");
  expect(starts, all);
  run("log_to_errors", "talk", "");
  expect(starts, "");
  run("log_to_file", "talk", "my.log");
  expect(starts, "", {{"my.log", all}});
}

// A program with the rights of another user -------------------------------------------------------

TEST_F(LogChoice, OfTheEnvironmentIsNotThatOfAProgramWithOtherRights) {
  if (geteuid() != 0) GTEST_SKIP() << "only root may give files away";
  using std::filesystem::perms;
  const TempFolder programs;
  const std::string program = programs.path("program");
  std::filesystem::copy_file(ZT_HOSTS_FOLDER "/host_log_choice", program);
  std::filesystem::permissions(programs.path(), perms::all);
  std::filesystem::permissions(host.folder.path(), perms::all);
  ASSERT_EQ(chown(program.c_str(), 12345, 12345), 0);
  ASSERT_EQ(chmod(program.c_str(), 04755), 0);
  const Environment environment("my.log");
  host.runProgram(program, {"rights"});
  if (host.output().find("other rights: 1\n") == std::string::npos)
    GTEST_SKIP() << "the program cannot be run";
  EXPECT_EQ(host.output(), loading + banner + starts + "other rights: 1\n" + ending);
  EXPECT_EQ(host.log(), banner + ending);
  EXPECT_FALSE(std::filesystem::exists(host.folder.path("my.log")));
}
