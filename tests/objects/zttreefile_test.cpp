// Trees in files of their own.
#include "io/zttxtfile.h"
#include "tests/helpers/host_process.hh"
#include "tests/helpers/scale.hh"
#include "tests/objects/tree_nodes.hh"

#include <fcntl.h>
#include <grp.h>
#include <setjmp.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

namespace {

using Names = std::vector<std::string>;

const std::string sample = "1(2(3 4) 5(6))";
const std::string otherSample = "20(21(22 23) 24(25))";

int32_t save(const std::string &shape, const std::string &path, bool isText) {
  return ztRoot_saveTree(Tree(shape), path.c_str(), isText);
}

std::string shapesIn(const std::string &path) {
  return Loaded(path).shapes();
}

Names namesIn(const std::string &folder) {
  Names names;
  for (const auto &entry : std::filesystem::directory_iterator(folder)) {
    names.push_back(entry.path().filename());
  }
  std::sort(names.begin(), names.end());
  return names;
}

struct stat statusOf(const std::string &path) {
  struct stat found = {};
  EXPECT_EQ(stat(path.c_str(), &found), 0);
  return found;
}

std::string nameOfForm(const testing::TestParamInfo<bool> &test) {
  return test.param ? "Text" : "Binary";
}

// What the `write` of an OddNode does.
std::function<int32_t(const void *node, void *file)> meddle;

// Makes the process another user, who is in one group alone, as long as it lives.
class AnotherUser {
 public:
  AnotherUser(uid_t user, gid_t group) {
    groups.resize(static_cast<size_t>(getgroups(0, nullptr)));
    EXPECT_GE(getgroups(static_cast<int>(groups.size()), groups.data()), 0);
    EXPECT_EQ(setgroups(0, nullptr), 0);
    EXPECT_EQ(setegid(group), 0);
    EXPECT_EQ(seteuid(user), 0);
  }
  ~AnotherUser() {
    EXPECT_EQ(seteuid(0), 0);
    EXPECT_EQ(setegid(0), 0);
    EXPECT_EQ(setgroups(groups.size(), groups.data()), 0);
  }
  AnotherUser(const AnotherUser &) = delete;
  AnotherUser &operator=(const AnotherUser &) = delete;

 private:
  std::vector<gid_t> groups;
};

class TreeFile : public ForestTest, public testing::WithParamInterface<bool> {
 protected:
  // Saves the sample, and expects that to do.
  void saveSample() {
    ASSERT_EQ(save(sample, path, isText), 6);
  }
  // What a file with these bytes is opened as.
  std::string shapesOf(const std::string &bytes) const {
    writeContents(path, bytes);
    return shapesIn(path);
  }
  void expectThereIsOneFile() const {
    EXPECT_EQ(namesIn(folder.path()), Names{"tree.zt"});
  }

  const TempFolder folder;
  const std::string path = folder.path("tree.zt");
  const bool isText = GetParam();
  const ztCtor constructor = isText ? ztTextFile_ctor : ztFile_ctor;
  const Replaced<int32_t (*)(const void *, void *)> write{
      oddNode().write, [](const void *node, void *file) { return meddle(node, file); }};
};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Forms, TreeFile, testing::Bool(), nameOfForm);

// Saving ------------------------------------------------------------------------------------------

TEST_P(TreeFile, BringsATreeBackAndReplacesTheOneThatWasThere) {
  saveSample();
  {
    const Loaded loaded(path);
    EXPECT_EQ(loaded.result, 1);
    EXPECT_EQ(loaded.shapes(), sample);
    EXPECT_EQ(loaded.counts(), (Numbers{6, 0, 0, 0}));
    EXPECT_EQ(loaded.tops()[0]->klass, LiveNodeClass_Instance());
    expectThereIsOneFile();
  }
  for (const std::string &shape : {otherSample, std::string("10"), sample}) {
    EXPECT_GT(save(shape, path, isText), 0);
    EXPECT_EQ(shapesIn(path), shape);
  }
  expectThereIsOneFile();
}

TEST_P(TreeFile, IsAStoredTreeAndAMark) {
  const Tree top(sample);
  const Storage stored(constructor);
  EXPECT_EQ(ztRoot_storeTree(top, stored), 6);
  EXPECT_EQ(ztRoot_saveTree(top, path.c_str(), isText), 6);
  const std::string records = stored.bytes();
  const std::string saved = contentsOf(path);
  EXPECT_EQ(saved.substr(0, records.size()), records);
  EXPECT_EQ(saved.substr(records.size(), 13), "(end of tree)");
  char numbers[80];
  snprintf(numbers, sizeof numbers, "nodes %010d bytes %020zu ", 6, records.size());
  EXPECT_NE(saved.find(numbers), std::string::npos);
  EXPECT_EQ(shapesOf(records), "none") << "without a mark";
  EXPECT_EQ(shapesOf(""), "none");
}

TEST_P(TreeFile, KeepsTheModeOfTheOldOneAndGivesANewOneTheProcesss) {
  const mode_t mask = umask(027);
  saveSample();
  umask(mask);
  EXPECT_EQ(statusOf(path).st_mode & 07777, 0640U);
  for (const mode_t mode : {0600U, 0644U, 0755U, 0666U}) {
    ASSERT_EQ(chmod(path.c_str(), mode), 0);
    saveSample();
    EXPECT_EQ(statusOf(path).st_mode & 07777, mode);
  }
}

TEST_P(TreeFile, KeepsTheOwnerWhereTheProcessMayGiveIt) {
  if (geteuid() != 0) GTEST_SKIP() << "only root may give files away";
  saveSample();
  ASSERT_EQ(chown(path.c_str(), 12345, 12346), 0);
  saveSample();
  EXPECT_EQ(statusOf(path).st_uid, 12345U);
  EXPECT_EQ(statusOf(path).st_gid, 12346U);
}

TEST_P(TreeFile, KeepsNoRightsForAnotherThanItsOwnerAndGroupWhereTheProcessMayNotGiveIt) {
  if (geteuid() != 0) GTEST_SKIP() << "only root may be another user";
  std::filesystem::permissions(folder.path(), std::filesystem::perms::all);
  const struct {
    gid_t group;
    mode_t mode;
  } rows[] = {{0, 0777}, {12346, 0707}};
  for (const auto &[group, mode] : rows) {
    saveSample();
    ASSERT_EQ(chown(path.c_str(), 0, 0), 0);
    ASSERT_EQ(chmod(path.c_str(), 06777), 0);
    {
      const AnotherUser user(12345, group);
      EXPECT_EQ(save(otherSample, path, isText), 6);
    }
    EXPECT_EQ(shapesIn(path), otherSample);
    EXPECT_EQ(statusOf(path).st_uid, 12345U);
    EXPECT_EQ(statusOf(path).st_gid, group);
    EXPECT_EQ(statusOf(path).st_mode & 07777, mode);
  }
}

TEST_P(TreeFile, IsFoundFromTheCurrentFolderAndBehindASymbolicLinkThatStays) {
  std::filesystem::create_directory(folder.path("data"));
  std::filesystem::create_directory(folder.path("links"));
  std::filesystem::create_symlink("../data/tree.zt", folder.path("links/inner"));
  std::filesystem::create_symlink("links/inner", folder.path("outer"));
  std::filesystem::create_symlink(folder.path("outer"), folder.path("absolute"));
  // The first leads to nothing yet.
  for (const char *link : {"outer", "links/inner", "absolute"}) {
    EXPECT_EQ(save(sample, folder.path(link), isText), 6);
    EXPECT_EQ(shapesIn(folder.path(link)), sample);
    EXPECT_TRUE(std::filesystem::is_symlink(folder.path(link)));
  }
  const auto before = std::filesystem::current_path();
  std::filesystem::current_path(folder.path("data"));
  EXPECT_EQ(save(otherSample, "tree.zt", isText), 6) << "in the current folder";
  std::filesystem::current_path(before);
  EXPECT_EQ(shapesIn(folder.path("outer")), otherSample);
  EXPECT_EQ(namesIn(folder.path("data")), Names{"tree.zt"});
  EXPECT_EQ(namesIn(folder.path("links")), Names{"inner"});
  std::filesystem::create_symlink("round", folder.path("round"));
  EXPECT_EQ(save(sample, folder.path("round"), isText), 0);
}

// The system follows forty.
TEST_P(TreeFile, BehindManyLinksIsReplacedOrStays) {
  saveSample();
  std::string last = path;
  for (int links = 1; links <= 42; ++links) {
    const std::string link = folder.path("link" + std::to_string(links));
    std::filesystem::create_symlink(last, link);
    last = link;
    if (links < 39) continue;
    const int32_t saved = save(otherSample, link, isText);
    if (links == 39) {
      EXPECT_EQ(saved, 6);
    }
    if (links > 40) {
      EXPECT_EQ(saved, 0);
    }
    EXPECT_EQ(shapesIn(path), saved == 0 ? sample : otherSample) << links;
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    saveSample();
  }
}

TEST_P(TreeFile, IsNotSavedWhereThereIsNoRegularFile) {
  ASSERT_EQ(mkfifo(folder.path("fifo").c_str(), 0600), 0);
  std::filesystem::create_directory(folder.path("folder"));
  std::filesystem::create_symlink("fifo", folder.path("link"));
  const int nameless = memfd_create("tree", 0);
  const Names names = {folder.path("fifo"),
                       folder.path("folder"),
                       folder.path("link"),
                       folder.path("folder/"),
                       folder.path("missing/tree.zt"),
                       "",
                       std::string(5000, 'n'),
                       folder.path(std::string(300, 'n')),
                       "/proc/self/fd/" + std::to_string(nameless),
                       "/proc/tree.zt"};
  for (const std::string &name : names) EXPECT_EQ(save(sample, name, isText), 0) << name;
  EXPECT_EQ(namesIn(folder.path()), (Names{"fifo", "folder", "link"}));
  EXPECT_EQ(namesIn(folder.path("folder")), Names{});
  EXPECT_TRUE(S_ISFIFO(statusOf(folder.path("link")).st_mode));
  close(nameless);
}

TEST_P(TreeFile, StaysWhereANodeIsNotWritten) {
  saveSample();
  const std::string before = contentsOf(path);
  const Tree top("1");
  newChild(top, 2, OddNode_ctor);
  const std::function<int32_t(const void *, void *)> waysToFail[] = {
      [](const void *, void *) { return 0; },
      [](const void *, void *) { return -1; },  // what a text file's primitives give
      [](const void *node, void *file) {
        ztFile_of(file)->close(file);
        return LiveNode_table()->write(node, file);
      },
      [](const void *node, void *file) {
        ztFile_of(file)->close(file);
        LiveNode_table()->write(node, file);
        return 1;
      },
  };
  for (const auto &way : waysToFail) {
    meddle = way;
    EXPECT_EQ(ztRoot_saveTree(top, path.c_str(), isText), 0);
    EXPECT_EQ(contentsOf(path), before);
    expectThereIsOneFile();
  }
  EXPECT_EQ(ztRoot_saveTree(nullptr, path.c_str(), isText), 0);
  EXPECT_EQ(ztRoot_saveTree(top, nullptr, isText), 0);
}

namespace {

struct Left {};
jmp_buf whereTo;

// Runs work in a process of its own, which is killed at once when the work is done: what it has allocated by
// then is no leak. Whether the work was done, and gave true.
bool isDoneElsewhere(const std::function<bool()> &work) {
  const pid_t child = fork();
  if (child == 0) {
    if (work()) raise(SIGKILL);
    _exit(1);
  }
  int status = 0;
  return waitpid(child, &status, 0) == child && WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
}

// Whether the save was left.
bool isSaveLeft(const void *top, const std::string &path, bool isText, bool byException) {
  if (byException) {
    meddle = [](const void *, void *) -> int32_t { throw Left(); };
    try {
      ztRoot_saveTree(top, path.c_str(), isText);
    } catch (const Left &) {
      return true;
    }
    return false;
  }
  meddle = [](const void *, void *) -> int32_t { longjmp(whereTo, 1); };
  // NOLINTNEXTLINE: what the jump passes over has no destructors that matter here
  if (setjmp(whereTo) != 0) return true;
  ztRoot_saveTree(top, path.c_str(), isText);
  return false;
}

}  // namespace

TEST_P(TreeFile, StaysWhereANodesWriteLeavesTheSaveAndAnotherSaveReplacesIt) {
  for (const bool byException : {true, false}) {
    saveSample();
    const std::string before = contentsOf(path);
    const Tree top("1(2)");
    newChild(top, 3, OddNode_ctor);
    EXPECT_TRUE(isDoneElsewhere([&] {
      for (int i = 0; i < 3; ++i) {
        if (!isSaveLeft(top, path, isText, byException) || contentsOf(path) != before) return false;
      }
      meddle = LiveNode_table()->write;
      return ztRoot_saveTree(top, path.c_str(), isText) == 3;
    }));
    EXPECT_EQ(shapesIn(path), "1(2 3)");
  }
  // As a process that is killed leaves them.
  Names names = namesIn(folder.path());
  ASSERT_EQ(names.size(), 7U);
  EXPECT_EQ(names.back(), "tree.zt");
  names.pop_back();
  for (const std::string &name : names) {
    EXPECT_EQ(name.size(), 36U);
    EXPECT_EQ(name.rfind(".zt-", 0), 0U);
  }
}

TEST_P(TreeFile, ThatTwoProcessesSaveAtOnceIsAlwaysTheWholeTreeOfOne) {
  const std::string shapes[] = {otherSample, "30(31 32)"};
  ASSERT_EQ(save(shapes[0], path, isText), 6);
  pid_t children[2];
  for (const int which : {0, 1}) {
    children[which] = fork();
    if (children[which] != 0) continue;
    const Tree top(shapes[which]);
    for (int i = 0; i < scale(400); ++i) {
      if (ztRoot_saveTree(top, path.c_str(), isText) != (which == 0 ? 6 : 3)) _exit(1);
    }
    // So that nothing is told of what this process has inherited.
    raise(SIGKILL);
  }
  ASSERT_GT(children[0], 0);
  ASSERT_GT(children[1], 0);
  int seen = 0;
  for (int running = 2; running > 0; ++seen) {
    const std::string found = shapesIn(path);
    ASSERT_TRUE(found == shapes[0] || found == shapes[1]) << found;
    int status = 0;
    const pid_t ended = waitpid(-1, &status, WNOHANG);
    if (ended <= 0) continue;
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << "a save failed";
    --running;
  }
  EXPECT_GT(seen, 2);
  const std::string last = shapesIn(path);
  EXPECT_TRUE(last == shapes[0] || last == shapes[1]) << last;
  expectThereIsOneFile();
}

TEST_P(TreeFile, GivesTheNodesAFileObjectOfItsForm) {
  const Tree node("1", OddNode_ctor);
  meddle = [this](const void *object, void *file) {
    EXPECT_TRUE(ztOOP_isClass(file, isText ? "ztTextFile" : "ztFile"));
    EXPECT_EQ(ztFile_of(file)->getFileName(file), path);
    return LiveNode_table()->write(object, file);
  };
  EXPECT_EQ(ztRoot_saveTree(node, path.c_str(), isText), 1);
  EXPECT_EQ(shapesIn(path), "1");
}

TEST_P(TreeFile, SavedWithinASaveIsNeverMixed) {
  const Tree top("1");
  newChild(top, 2, OddNode_ctor);
  newChild(top, 3);
  meddle = [this](const void *object, void *file) {
    EXPECT_EQ(save(otherSample, path, isText), 6);
    EXPECT_EQ(shapesIn(path), otherSample);
    return LiveNode_table()->write(object, file);
  };
  EXPECT_EQ(ztRoot_saveTree(top, path.c_str(), isText), 3);
  EXPECT_EQ(shapesIn(path), "1(2 3)") << "the last one's stays";
}

// Opening -----------------------------------------------------------------------------------------

TEST_P(TreeFile, CutAtAnyByteOrWithAnyByteChangedIsNone) {
  saveSample();
  const std::string whole = contentsOf(path);
  for (size_t at = 0; at < whole.size(); ++at) {
    writeContents(path, whole.substr(0, at));
    const Loaded loaded(path);
    ASSERT_EQ(loaded.result, 0) << at;
    ASSERT_TRUE(loaded.tops().empty());
    ASSERT_EQ(loaded.counts(), (Numbers{0, 0, 0, 0})) << "nothing was made";
    ASSERT_EQ(nodesLive, 0);
    std::string changed = whole;
    changed[at] = static_cast<char>(changed[at] ^ 1);
    ASSERT_EQ(shapesOf(changed), "none") << at;
  }
}

TEST_P(TreeFile, WithAnythingBehindItsMarkIsNone) {
  saveSample();
  const std::string whole = contentsOf(path);
  for (const std::string &more :
       {std::string("\n"), std::string(" "), std::string("x"), std::string(1, '\0'), whole}) {
    EXPECT_EQ(shapesOf(whole + more), "none");
  }
  EXPECT_EQ(shapesOf(whole), sample);
}

// The beginning of one file and the end of another.
TEST_P(TreeFile, MixedOfTwoIsNone) {
  saveSample();
  const std::string one = contentsOf(path);
  ASSERT_EQ(save("2(3(4 5) 6(7))", path, isText), 6);
  const std::string other = contentsOf(path);
  for (size_t at = 0; at <= one.size(); ++at) {
    const std::string mixed = one.substr(0, at) + other.substr(std::min(at, other.size()));
    if (mixed == one || mixed == other) continue;
    ASSERT_EQ(shapesOf(mixed), "none") << at;
  }
}

TEST_P(TreeFile, OfANodeThatIsNotReadIsNone) {
  const Tree top("1");
  newChild(top, 2, OddNode_ctor);
  meddle = LiveNode_table()->write;
  ASSERT_EQ(ztRoot_saveTree(top, path.c_str(), isText), 2);
  EXPECT_EQ(shapesIn(path), "1(2)");
  static int32_t result;
  const Replaced read(oddNode().read,
                      [](void *node, void *file) { return LiveNode_table()->read(node, file) ? result : 0; });
  for (result = -1; result <= 1; ++result) EXPECT_EQ(shapesIn(path), result == 1 ? "1(2)" : "none") << result;
}

TEST_P(TreeFile, ThatIsNoRegularFileIsNone) {
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  EXPECT_EQ(shapesIn(path), "none") << "and nobody waits for a writer";
  for (const std::string &name : {folder.path(), folder.path("missing"), std::string("/dev/zero")}) {
    EXPECT_EQ(shapesIn(name), "none") << name;
  }
  ztTreeReport report = {1, 2, 3, 4};
  const Pointers roots(ztPtrArray_ctor);
  EXPECT_EQ(ztRoot_openTree(nullptr, roots, &report), 0);
  EXPECT_EQ(report.nodes, 0);
  EXPECT_EQ(ztRoot_openTree(path.c_str(), nullptr, nullptr), 0);
}

// A mark that tells of more nodes than there are, though all else is in order, asks for no memory either.
TEST_P(TreeFile, WithoutNodesIsNone) {
  const std::string name = std::string("(end of tree)") + std::string(87, '\0');
  const std::string version = isText ? "\n1\n" : std::string("\1\0\0\0", 4);
  for (const char *nodes : {"0000000000", "2147483647"}) {
    const std::string numbers =
        std::string("nodes ") + nodes + " bytes 00000000000000000000 sum 0000000000000000";
    EXPECT_EQ(shapesOf(name + version + numbers + (isText ? "\n" : "")), "none");
  }
}

// Other readers -----------------------------------------------------------------------------------

TEST_P(TreeFile, IsReadByLoadTreeUpToItsMark) {
  saveSample();
  const std::string saved = contentsOf(path);
  EXPECT_EQ(Loaded(Storage(constructor, saved)).shapes(), sample);
  // It stands behind the mark then, where another tree may follow.
  const Storage twice(constructor, saved + saved);
  for (int i = 0; i < 2; ++i) {
    const Loaded loaded(static_cast<void *>(twice));
    EXPECT_EQ(loaded.result, 1);
    EXPECT_EQ(loaded.shapes(), sample);
  }
  EXPECT_EQ(Loaded(twice, 6).shapes(), sample);
  EXPECT_EQ(Loaded(twice, 7).result, 0) << "the mark is no node";
}

TEST_P(TreeFile, WithADamagedMarkIsNotLoaded) {
  saveSample();
  const std::string saved = contentsOf(path);
  // The last line feed of a text alone is not missed.
  for (size_t length = saved.find("(end of tree)") + 1; length + 1 < saved.size(); ++length) {
    const Loaded loaded(Storage(constructor, saved.substr(0, length)));
    ASSERT_EQ(loaded.result, 0) << length;
    ASSERT_TRUE(loaded.tops().empty());
  }
}

TEST_P(TreeFile, EndsForClassReadWithANameThatNoClassBears) {
  saveSample();
  const Storage file(constructor, contentsOf(path));
  for (int i = 0; i < 6; ++i) {
    const Tree node(ztBaseClass_functions()->classRead(nullptr, file));
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(node->read(node, file), 1);
  }
  EXPECT_EQ(ztBaseClass_functions()->classRead(nullptr, file), nullptr);
  EXPECT_EQ(ztOOP_isClassRegistered("(end of tree)"), 0);
}

// Ends on the way ---------------------------------------------------------------------------------

namespace {

// A folder with an old tree of 30 nodes, over which a host saves one of 40.
class Killed : public TreeFile {
 protected:
  int saveBy(const std::string &how, long number = 0) const {
    HostProcess host;
    return host.run("treesave_killed", {path, isText ? "1" : "0", how, std::to_string(number)});
  }
  int32_t nodesInFile() const {
    const Loaded loaded(path);
    return loaded.result == 0 ? 0 : loaded.counts()[0];
  }
  void removeOthers() const {
    for (const std::string &name : namesIn(folder.path())) {
      if (name == "tree.zt") continue;
      EXPECT_EQ(name.substr(0, 4), ".zt-");
      std::filesystem::remove(folder.path(name));
    }
  }
  size_t sizeOfTheNew() const {
    EXPECT_EQ(saveBy("call", 1000), 0);
    const size_t size = contentsOf(path).size();
    EXPECT_EQ(saveBy("make"), 0);
    EXPECT_EQ(nodesInFile(), 30);
    return size;
  }
};

const int stepsOfBytes = scale(60) < 60 ? 3 : 60;

}  // namespace

INSTANTIATE_TEST_SUITE_P(Forms, Killed, testing::Bool(), nameOfForm);

TEST_P(Killed, AtAnyByteThatIsWrittenLeaveTheOldTree) {
  const size_t size = sizeOfTheNew();
  for (size_t left = 0; left <= size + 1; left += 1 + size / static_cast<size_t>(stepsOfBytes)) {
    const int status = saveBy("bytes", static_cast<long>(left));
    ASSERT_EQ(status, left < size ? 128 + SIGXFSZ : 0) << left;
    ASSERT_EQ(nodesInFile(), left < size ? 30 : 40);
    removeOthers();
  }
  EXPECT_NE(saveBy("bytes", static_cast<long>(size) - 1), 0);
  EXPECT_EQ(nodesInFile(), 30);
}

TEST_P(Killed, OnADiskThatIsFullAtAnyByteLeaveTheOldTreeAlone) {
  const size_t size = sizeOfTheNew();
  for (size_t left = 0; left < size; left += 1 + size / static_cast<size_t>(stepsOfBytes)) {
    ASSERT_EQ(saveBy("full", static_cast<long>(left)), 1) << left;
    ASSERT_EQ(nodesInFile(), 30);
    expectThereIsOneFile();
  }
  EXPECT_EQ(saveBy("full", static_cast<long>(size) - 1), 1);
  EXPECT_EQ(saveBy("full", static_cast<long>(size)), 0);
  EXPECT_EQ(nodesInFile(), 40);
}

TEST_P(Killed, AtAnyCallForFilesLeaveTheOldTreeOrTheNewOne) {
  ASSERT_EQ(saveBy("make"), 0);
  int killed = 0;
  bool isReplaced = false;
  for (; saveBy("call", killed) == 128 + SIGKILL; ++killed) {
    const int32_t nodes = nodesInFile();
    ASSERT_TRUE(nodes == 30 || nodes == 40) << killed;
    isReplaced = isReplaced || nodes == 40;
    removeOthers();
    ASSERT_EQ(saveBy("make"), 0);
  }
  EXPECT_EQ(killed, 4) << "mode, file, name and folder";
  EXPECT_TRUE(isReplaced) << "the last is behind the rename";
}

TEST_P(Killed, NotButDeniedAnyCallForFilesSaveOrLeaveTheOldTree) {
  ASSERT_EQ(saveBy("make"), 0);
  for (int failing = 0; failing < 4; ++failing) {
    EXPECT_EQ(saveBy("fail", failing), 1 + 2) << failing;
    EXPECT_EQ(nodesInFile(), failing < 3 ? 30 : 40);
    expectThereIsOneFile();
  }
}
