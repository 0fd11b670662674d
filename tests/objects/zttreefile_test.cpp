// Trees in files of their own.
#include "objects/ztroot.h"

#include "containers/ztarrays.h"
#include "io/zttxtfile.h"
#include "tests/helpers/host_process.hh"
#include "tests/helpers/scale.hh"
#include "tests/objects/tree_nodes.hh"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <setjmp.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <functional>

// A node that does something when it is stored, and tells what a test wants when it was read.
#define Meddling_FIELDS ztRoot_FIELDS
#define Meddling_METHODS ztRoot_METHODS
ZT_DECLARE_CLASS(Meddling)

static std::function<int32_t(const void *node, void *file)> meddle;

static int32_t meddlingWrite(const void *object, void *file) {
  return meddle(object, file);
}

static int32_t resultOfReading = 1;

static int32_t meddlingRead(void *object, void *file) {
  return ztRoot_table()->read(object, file) ? resultOfReading : 0;
}

static void meddlingMethods(MeddlingMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, read, meddlingRead);
  ZT_OVERRIDE_METHOD(methods, write, meddlingWrite);
}

ZT_DEFINE_CLASS(Meddling, ztRoot, meddlingMethods)

namespace {

const char sampleShape[] = "1(2(3 4) 5(6))";

// 1(2(3 4) 5(6)), of nodes that are counted.
ztRoot *newSample(int32_t first = 1) {
  ztRoot *top = newNode(first);
  ztRoot *left = newChild(top, first + 1);
  newChild(left, first + 2);
  newChild(left, first + 3);
  newChild(newChild(top, first + 4), first + 5);
  return top;
}

int32_t saveSample(const std::string &path, bool isText, int32_t first = 1) {
  ztRoot *top = newSample(first);
  const int32_t saved = ztRoot_saveTree(top, path.c_str(), isText);
  release(top);
  return saved;
}

std::string shapesIn(const std::string &path) {
  const Loaded loaded(path);
  return loaded.result ? loaded.shapes() : "none";
}

std::vector<std::string> namesIn(const std::string &folder) {
  std::vector<std::string> names;
  for (const auto &entry : std::filesystem::directory_iterator(folder)) {
    names.push_back(entry.path().filename());
  }
  std::sort(names.begin(), names.end());
  return names;
}

mode_t modeOf(const std::string &path) {
  struct stat found = {};
  EXPECT_EQ(stat(path.c_str(), &found), 0);
  return found.st_mode & 07777;
}

std::string nameOfForm(const testing::TestParamInfo<bool> &test) {
  return test.param ? "Text" : "Binary";
}

class TreeFile : public testing::TestWithParam<bool> {
 protected:
  const TempFolder folder;
  const std::string path = folder.path("tree.zt");
  const bool isText = GetParam();
  Forest forest;
};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Forms, TreeFile, testing::Bool(), nameOfForm);

// Saving ------------------------------------------------------------------------------------------

TEST_P(TreeFile, BringsATreeBack) {
  EXPECT_EQ(saveSample(path, isText), 6);
  const Loaded loaded(path);
  EXPECT_EQ(loaded.result, 1);
  EXPECT_EQ(loaded.shapes(), sampleShape);
  EXPECT_EQ(loaded.counts(), (std::vector<int32_t>{6, 0, 0, 0}));
  EXPECT_EQ(loaded.tops()[0]->klass, LiveNodeClass_Instance());
  EXPECT_EQ(namesIn(folder.path()), std::vector<std::string>{"tree.zt"});
}

TEST_P(TreeFile, ReplacesTheTreeThatWasThere) {
  for (const int32_t first : {1, 10, 100, 1}) {
    EXPECT_EQ(saveSample(path, isText, first), 6);
    ASSERT_EQ(Loaded(path).tops()[0]->uid, first);
  }
  EXPECT_EQ(namesIn(folder.path()), std::vector<std::string>{"tree.zt"});
}

TEST_P(TreeFile, IsAStoredTreeAndAMark) {
  ztRoot *top = newSample();
  const NodeFile stored(isText ? ztTextFile_ctor : ztFile_ctor);
  EXPECT_EQ(ztRoot_storeTree(top, stored.get()), 6);
  EXPECT_EQ(ztRoot_saveTree(top, path.c_str(), isText), 6);
  release(top);
  const std::string records = stored.bytes();
  const std::string saved = contentsOf(path);
  EXPECT_EQ(saved.substr(0, records.size()), records);
  EXPECT_EQ(saved.substr(records.size(), 13), "(end of tree)");
  char numbers[80];
  snprintf(numbers, sizeof numbers, "nodes %010d bytes %020zu ", 6, records.size());
  EXPECT_NE(saved.find(numbers), std::string::npos);
}

TEST_P(TreeFile, KeepsTheModeOfTheOldOneAndGivesANewOneTheProcesss) {
  const mode_t mask = umask(027);
  EXPECT_EQ(saveSample(path, isText), 6);
  umask(mask);
  EXPECT_EQ(modeOf(path), 0640u);
  for (const mode_t mode : {0600u, 0644u, 0755u, 0666u}) {
    ASSERT_EQ(chmod(path.c_str(), mode), 0);
    EXPECT_EQ(saveSample(path, isText), 6);
    EXPECT_EQ(modeOf(path), mode);
  }
}

TEST_P(TreeFile, KeepsTheOwnerWhereTheProcessMayGiveIt) {
  if (geteuid() != 0) GTEST_SKIP() << "only root may give files away";
  EXPECT_EQ(saveSample(path, isText), 6);
  ASSERT_EQ(chown(path.c_str(), 12345, 12346), 0);
  EXPECT_EQ(saveSample(path, isText), 6);
  struct stat found = {};
  ASSERT_EQ(stat(path.c_str(), &found), 0);
  EXPECT_EQ(found.st_uid, 12345u);
  EXPECT_EQ(found.st_gid, 12346u);
}

TEST_P(TreeFile, IsReplacedBehindASymbolicLinkThatStays) {
  std::filesystem::create_directory(folder.path("data"));
  std::filesystem::create_directory(folder.path("links"));
  std::filesystem::create_symlink("../data/tree.zt", folder.path("links/inner"));
  std::filesystem::create_symlink("links/inner", folder.path("outer"));
  std::filesystem::create_symlink(folder.path("outer"), folder.path("absolute"));
  // The first leads to nothing yet.
  for (const char *link : {"outer", "links/inner", "absolute"}) {
    EXPECT_EQ(saveSample(folder.path(link), isText), 6);
    EXPECT_EQ(shapesIn(folder.path(link)), sampleShape);
    EXPECT_TRUE(std::filesystem::is_symlink(folder.path(link)));
  }
  EXPECT_EQ(namesIn(folder.path("data")), std::vector<std::string>{"tree.zt"});
  EXPECT_EQ(namesIn(folder.path("links")), std::vector<std::string>{"inner"});
  std::filesystem::create_symlink("round", folder.path("round"));
  EXPECT_EQ(saveSample(folder.path("round"), isText), 0);
}

TEST_P(TreeFile, OfANameInTheCurrentFolderIsSavedThere) {
  const auto before = std::filesystem::current_path();
  std::filesystem::current_path(folder.path());
  EXPECT_EQ(saveSample("tree.zt", isText), 6);
  EXPECT_EQ(shapesIn("tree.zt"), sampleShape);
  std::filesystem::current_path(before);
}

TEST_P(TreeFile, IsNotSavedWhereThereIsNoRegularFile) {
  ASSERT_EQ(mkfifo(folder.path("fifo").c_str(), 0600), 0);
  std::filesystem::create_directory(folder.path("folder"));
  std::filesystem::create_symlink("/dev/null", folder.path("device"));
  const int nameless = memfd_create("tree", 0);
  for (const std::string &name :
       {folder.path("fifo"), folder.path("folder"), folder.path("device"), folder.path("folder/"),
        folder.path("missing/tree.zt"), std::string(), std::string(5000, 'n'),
        folder.path(std::string(300, 'n')), "/proc/self/fd/" + std::to_string(nameless),
        std::string("/proc/tree.zt")}) {
    EXPECT_EQ(saveSample(name, isText), 0) << name;
  }
  EXPECT_EQ(namesIn(folder.path()), (std::vector<std::string>{"device", "fifo", "folder"}));
  EXPECT_EQ(namesIn(folder.path("folder")), std::vector<std::string>{});
  struct stat found = {};
  ASSERT_EQ(stat("/dev/null", &found), 0);
  EXPECT_TRUE(S_ISCHR(found.st_mode));
  close(nameless);
}

TEST_P(TreeFile, StaysWhereANodeIsNotWritten) {
  ASSERT_EQ(saveSample(path, isText), 6);
  const std::string before = contentsOf(path);
  ztRoot *top = newNode(1);
  addChild(top, newNode(2, Meddling_ctor));
  const std::function<int32_t(const void *, void *)> waysToFail[] = {
      [](const void *, void *) { return 0; },
      [](const void *, void *) { return -1; },  // what a text file's primitives give
      [](const void *node, void *file) {
        ztFile_of(file)->close(file);
        return ztRoot_table()->write(node, file);
      },
      [](const void *node, void *file) {
        ztFile_of(file)->close(file);
        ztRoot_table()->write(node, file);
        return 1;
      },
  };
  for (const auto &way : waysToFail) {
    meddle = way;
    EXPECT_EQ(ztRoot_saveTree(top, path.c_str(), isText), 0);
    EXPECT_EQ(contentsOf(path), before);
    EXPECT_EQ(namesIn(folder.path()), std::vector<std::string>{"tree.zt"});
  }
  EXPECT_EQ(ztRoot_saveTree(nullptr, path.c_str(), isText), 0);
  EXPECT_EQ(ztRoot_saveTree(top, nullptr, isText), 0);
  release(top);
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
    ASSERT_EQ(saveSample(path, isText), 6);
    const std::string before = contentsOf(path);
    ztRoot *top = newNode(1);
    newChild(top, 2);
    addChild(top, newNode(3, Meddling_ctor));
    EXPECT_TRUE(isDoneElsewhere([&] {
      for (int i = 0; i < 3; ++i) {
        if (!isSaveLeft(top, path, isText, byException) || contentsOf(path) != before) return false;
      }
      meddle = [](const void *node, void *file) { return ztRoot_table()->write(node, file); };
      return ztRoot_saveTree(top, path.c_str(), isText) == 3;
    }));
    release(top);
    EXPECT_EQ(shapesIn(path), "1(2 3)");
  }
  // As a process that is killed leaves them.
  std::vector<std::string> names = namesIn(folder.path());
  ASSERT_EQ(names.size(), 7U);
  EXPECT_EQ(names.back(), "tree.zt");
  names.pop_back();
  for (const std::string &name : names) {
    EXPECT_EQ(name.size(), 36U);
    EXPECT_EQ(name.rfind(".zt-", 0), 0U);
  }
}

TEST_P(TreeFile, ThatTwoProcessesSaveAtOnceIsAlwaysTheWholeTreeOfOne) {
  ASSERT_EQ(saveSample(path, isText, 10), 6);
  const std::string shapes[] = {"10(11(12 13) 14(15))", "20(21 22)"};
  pid_t children[2];
  for (const int which : {0, 1}) {
    children[which] = fork();
    if (children[which] != 0) continue;
    ztRoot *top = which == 0 ? newSample(10) : newNode(20);
    if (which == 1) {
      newChild(top, 21);
      newChild(top, 22);
    }
    for (int i = 0; i < scale(400); ++i) {
      if (ztRoot_saveTree(top, path.c_str(), isText) != (which == 0 ? 6 : 3)) _exit(1);
    }
    // So that nothing is told of what this process has inherited.
    raise(SIGKILL);
  }
  ASSERT_GT(children[0], 0);
  ASSERT_GT(children[1], 0);
  int seen[2] = {};
  for (int running = 2; running > 0;) {
    const std::string found = shapesIn(path);
    ASSERT_TRUE(found == shapes[0] || found == shapes[1]) << found;
    ++seen[found == shapes[1]];
    int status = 0;
    const pid_t ended = waitpid(-1, &status, WNOHANG);
    if (ended <= 0) continue;
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << "a save failed";
    --running;
  }
  EXPECT_GT(seen[0] + seen[1], 2);
  const std::string last = shapesIn(path);
  EXPECT_TRUE(last == shapes[0] || last == shapes[1]) << last;
  EXPECT_EQ(namesIn(folder.path()), std::vector<std::string>{"tree.zt"});
}

TEST_P(TreeFile, GivesTheNodesAFileObjectOfItsForm) {
  ztRoot *node = newNode(1, Meddling_ctor);
  meddle = [this](const void *object, void *file) {
    EXPECT_TRUE(ztOOP_isClass(file, isText ? "ztTextFile" : "ztFile"));
    EXPECT_EQ(ztFile_of(file)->getFileName(file), path);
    return ztRoot_table()->write(object, file);
  };
  EXPECT_EQ(ztRoot_saveTree(node, path.c_str(), isText), 1);
  EXPECT_EQ(shapesIn(path), "1");
  release(node);
}

TEST_P(TreeFile, SavedWithinASaveIsNeverMixed) {
  ztRoot *top = newNode(1);
  addChild(top, newNode(2, Meddling_ctor));
  newChild(top, 3);
  meddle = [this](const void *object, void *file) {
    EXPECT_EQ(saveSample(path, isText, 20), 6);
    EXPECT_EQ(shapesIn(path), "20(21(22 23) 24(25))");
    return ztRoot_table()->write(object, file);
  };
  EXPECT_EQ(ztRoot_saveTree(top, path.c_str(), isText), 3);
  EXPECT_EQ(shapesIn(path), "1(2 3)") << "the last one's stays";
  release(top);
}

// Opening -----------------------------------------------------------------------------------------

TEST_P(TreeFile, CutAtAnyByteIsNone) {
  ASSERT_EQ(saveSample(path, isText), 6);
  const std::string whole = contentsOf(path);
  const std::string cut = folder.path("cut");
  for (size_t length = 0; length < whole.size(); ++length) {
    writeContents(cut, whole.substr(0, length));
    const int32_t live = nodesLive;
    const Loaded loaded(cut);
    ASSERT_EQ(loaded.result, 0) << length;
    ASSERT_TRUE(loaded.tops().empty());
    ASSERT_EQ(loaded.counts(), (std::vector<int32_t>{0, 0, 0, 0})) << "nothing was made";
    ASSERT_EQ(nodesLive, live);
  }
}

TEST_P(TreeFile, WithAChangedByteIsNone) {
  ASSERT_EQ(saveSample(path, isText), 6);
  const std::string whole = contentsOf(path);
  for (size_t at = 0; at < whole.size(); ++at) {
    std::string changed = whole;
    changed[at] = static_cast<char>(changed[at] ^ 1);
    writeContents(folder.path("changed"), changed);
    ASSERT_EQ(shapesIn(folder.path("changed")), "none") << at;
  }
}

TEST_P(TreeFile, WithAnythingBehindItsMarkIsNone) {
  ASSERT_EQ(saveSample(path, isText), 6);
  const std::string whole = contentsOf(path);
  for (const std::string &more :
       {std::string("\n"), std::string(" "), std::string("x"), std::string(1, '\0'), whole}) {
    writeContents(path, whole + more);
    EXPECT_EQ(shapesIn(path), "none");
  }
  writeContents(path, whole);
  EXPECT_EQ(shapesIn(path), sampleShape);
}

// The beginning of one file and the end of another.
TEST_P(TreeFile, MixedOfTwoIsNone) {
  ASSERT_EQ(saveSample(path, isText), 6);
  const std::string one = contentsOf(path);
  ASSERT_EQ(saveSample(path, isText, 2), 6);
  const std::string other = contentsOf(path);
  for (size_t at = 0; at <= one.size(); ++at) {
    const std::string mixed = one.substr(0, at) + other.substr(std::min(at, other.size()));
    if (mixed == one || mixed == other) continue;
    writeContents(path, mixed);
    ASSERT_EQ(shapesIn(path), "none") << at;
  }
}

TEST_P(TreeFile, OfANodeThatIsNotReadIsNone) {
  ztRoot *top = newNode(1);
  addChild(top, newNode(2, Meddling_ctor));
  meddle = [](const void *node, void *file) { return ztRoot_table()->write(node, file); };
  ASSERT_EQ(ztRoot_saveTree(top, path.c_str(), isText), 2);
  release(top);
  for (const int32_t failure : {0, -1}) {
    resultOfReading = failure;
    EXPECT_EQ(shapesIn(path), "none") << failure;
  }
  resultOfReading = 1;
  EXPECT_EQ(shapesIn(path), "1(2)");
}

TEST_P(TreeFile, WithoutAMarkIsNone) {
  ztRoot *top = newSample();
  const NodeFile stored(isText ? ztTextFile_ctor : ztFile_ctor);
  EXPECT_EQ(ztRoot_storeTree(top, stored.get()), 6);
  release(top);
  writeContents(path, stored.bytes());
  EXPECT_EQ(shapesIn(path), "none");
  writeContents(path, "");
  EXPECT_EQ(shapesIn(path), "none");
}

TEST_P(TreeFile, ThatIsNoRegularFileIsNone) {
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  EXPECT_EQ(shapesIn(path), "none") << "and nobody waits for a writer";
  EXPECT_EQ(shapesIn(folder.path()), "none");
  EXPECT_EQ(shapesIn(folder.path("missing")), "none");
  EXPECT_EQ(shapesIn("/dev/zero"), "none");
  ztTreeReport report = {1, 2, 3, 4};
  void *roots = ztPtrArray_ctor(nullptr, 1);
  EXPECT_EQ(ztRoot_openTree(nullptr, roots, &report), 0);
  EXPECT_EQ(report.nodes, 0);
  EXPECT_EQ(ztRoot_openTree(path.c_str(), nullptr, nullptr), 0);
  release(roots);
}

// A mark that tells of more nodes than there are, though all else is in order, asks for no memory either.
TEST_P(TreeFile, WithoutNodesIsNone) {
  const std::string name = std::string("(end of tree)") + std::string(87, '\0');
  const std::string numbers = "nodes 0000000000 bytes 00000000000000000000 sum 0000000000000000";
  const std::string version(1, '\1');
  writeContents(path,
                isText ? name + "\n1\n" + numbers + "\n" : name + version + std::string(3, '\0') + numbers);
  EXPECT_EQ(shapesIn(path), "none");
  std::string many = contentsOf(path);
  many.replace(many.find("nodes") + 6, 10, "2147483647");
  writeContents(path, many);
  EXPECT_EQ(shapesIn(path), "none");
}

// Other readers -----------------------------------------------------------------------------------

TEST_P(TreeFile, IsReadByLoadTreeUpToItsMark) {
  ASSERT_EQ(saveSample(path, isText), 6);
  const std::string saved = contentsOf(path);
  const ztCtor constructor = isText ? ztTextFile_ctor : ztFile_ctor;
  {
    const NodeFile file(constructor, saved);
    const Loaded loaded(file.get());
    EXPECT_EQ(loaded.result, 1);
    EXPECT_EQ(loaded.shapes(), sampleShape);
  }
  // It stands behind the mark then, where another tree may follow.
  const NodeFile twice(constructor, saved + saved);
  for (int i = 0; i < 2; ++i) {
    const Loaded loaded(twice.get());
    EXPECT_EQ(loaded.result, 1);
    EXPECT_EQ(loaded.shapes(), sampleShape);
  }
  twice.rewind();
  const Loaded counted(twice.get(), 6);
  EXPECT_EQ(counted.shapes(), sampleShape);
  twice.rewind();
  EXPECT_EQ(Loaded(twice.get(), 7).result, 0) << "the mark is no node";
}

TEST_P(TreeFile, WithADamagedMarkIsNotLoaded) {
  ASSERT_EQ(saveSample(path, isText), 6);
  const std::string saved = contentsOf(path);
  const size_t mark = saved.find("(end of tree)");
  // The last line feed of a text alone is not missed.
  for (size_t length = mark + 1; length + 1 < saved.size(); ++length) {
    const NodeFile file(isText ? ztTextFile_ctor : ztFile_ctor, saved.substr(0, length));
    const Loaded loaded(file.get());
    ASSERT_EQ(loaded.result, 0) << length;
    ASSERT_TRUE(loaded.tops().empty());
  }
}

TEST_P(TreeFile, EndsForClassReadWithANameThatNoClassBears) {
  ASSERT_EQ(saveSample(path, isText), 6);
  const NodeFile file(isText ? ztTextFile_ctor : ztFile_ctor, contentsOf(path));
  for (int i = 0; i < 6; ++i) {
    void *node = ztBaseClass_functions()->classRead(nullptr, file.get());
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(ztRoot_of(node)->read(node, file.get()), 1);
    release(node);
  }
  EXPECT_EQ(ztBaseClass_functions()->classRead(nullptr, file.get()), nullptr);
  EXPECT_EQ(ztOOP_isClassRegistered("(end of tree)"), 0);
}

// Ends on the way ---------------------------------------------------------------------------------

namespace {

// A folder with an old tree of 30 nodes, over which a host saves one of 40.
class Killed : public TreeFile {
 protected:
  int save(const std::string &how, long number = 0) {
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
  size_t sizeOfTheNew() {
    EXPECT_EQ(save("call", 1000), 0);
    const size_t size = contentsOf(path).size();
    EXPECT_EQ(save("make"), 0);
    EXPECT_EQ(nodesInFile(), 30);
    return size;
  }
};

const int stepsOfBytes = scale(60) < 60 ? 6 : 60;

}  // namespace

INSTANTIATE_TEST_SUITE_P(Forms, Killed, testing::Bool(), nameOfForm);

TEST_P(Killed, AtAnyByteThatIsWrittenLeaveTheOldTree) {
  const size_t size = sizeOfTheNew();
  for (size_t room = 0; room <= size + 1; room += 1 + size / static_cast<size_t>(stepsOfBytes)) {
    const int status = save("bytes", static_cast<long>(room));
    ASSERT_EQ(status, room < size ? 128 + SIGXFSZ : 0) << room;
    ASSERT_EQ(nodesInFile(), room < size ? 30 : 40);
    removeOthers();
  }
  EXPECT_NE(save("bytes", static_cast<long>(size) - 1), 0);
  EXPECT_EQ(nodesInFile(), 30);
}

TEST_P(Killed, OnADiskThatIsFullAtAnyByteLeaveTheOldTreeAlone) {
  const size_t size = sizeOfTheNew();
  for (size_t room = 0; room < size; room += 1 + size / static_cast<size_t>(stepsOfBytes)) {
    ASSERT_EQ(save("full", static_cast<long>(room)), 1) << room;
    ASSERT_EQ(nodesInFile(), 30);
    ASSERT_EQ(namesIn(folder.path()), std::vector<std::string>{"tree.zt"});
  }
  EXPECT_EQ(save("full", static_cast<long>(size) - 1), 1);
  EXPECT_EQ(save("full", static_cast<long>(size)), 0);
  EXPECT_EQ(nodesInFile(), 40);
}

TEST_P(Killed, AtAnyCallForFilesLeaveTheOldTreeOrTheNewOne) {
  ASSERT_EQ(save("make"), 0);
  int killed = 0;
  bool isReplaced = false;
  for (; save("call", killed) == 128 + SIGKILL; ++killed) {
    const int32_t nodes = nodesInFile();
    ASSERT_TRUE(nodes == 30 || nodes == 40) << killed;
    isReplaced = isReplaced || nodes == 40;
    removeOthers();
    ASSERT_EQ(save("make"), 0);
  }
  EXPECT_EQ(killed, 4) << "mode, file, name and folder";
  EXPECT_TRUE(isReplaced) << "the last is behind the rename";
}

TEST_P(Killed, NotButDeniedAnyCallForFilesSaveOrLeaveTheOldTree) {
  ASSERT_EQ(save("make"), 0);
  for (int failing = 0; failing < 4; ++failing) {
    EXPECT_EQ(save("fail", failing), 1 + 2) << failing;
    EXPECT_EQ(nodesInFile(), failing < 3 ? 30 : 40);
    EXPECT_EQ(namesIn(folder.path()), std::vector<std::string>{"tree.zt"});
  }
}
