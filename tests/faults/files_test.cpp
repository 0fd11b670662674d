// Files as a system may really offer them: a full disk, a pipe that nobody reads, a directory in place of a
// file, a folder that takes no files, files and folders that are not there.
#include "io/zttxtfile.h"

#include "tests/faults/injection.hh"
#include "tests/helpers/storage.hh"
#include "tests/helpers/temp_folder.hh"
#include "zentova.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

class RealFiles : public testing::TestWithParam<ztCtor> {
 protected:
  Owned<ztFile, ztFileMethods> file{GetParam()};
};

// No file of the process grows beyond so many bytes, as on a disk that is full.
class FullDisk {
 public:
  explicit FullDisk(rlim_t bytes) {
    getrlimit(RLIMIT_FSIZE, &before);
    previous = signal(SIGXFSZ, SIG_IGN);
    const rlimit less = {bytes, before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &less);
  }
  ~FullDisk() {
    setrlimit(RLIMIT_FSIZE, &before);
    signal(SIGXFSZ, previous);
  }
  FullDisk(const FullDisk &) = delete;
  FullDisk &operator=(const FullDisk &) = delete;

 private:
  rlimit before;
  sighandler_t previous;
};

// A pipe whose writing end is open under a name.
class Pipe {
 public:
  Pipe() {
    EXPECT_EQ(pipe(ends), 0);
  }
  ~Pipe() {
    closeReader();
    close(ends[1]);
  }
  Pipe(const Pipe &) = delete;
  Pipe &operator=(const Pipe &) = delete;

  std::string writer() const {
    return "/proc/self/fd/" + std::to_string(ends[1]);
  }
  std::string reader() const {
    return "/proc/self/fd/" + std::to_string(ends[0]);
  }
  void closeReader() {
    if (ends[0] >= 0) close(ends[0]);
    ends[0] = -1;
  }
  void write(const std::string &bytes) const {
    EXPECT_EQ(::write(ends[1], bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
  }
  void closeWriter() {
    close(ends[1]);
    ends[1] = -1;
  }

 private:
  int ends[2];
};

void *smallTree() {
  void *root = ztRoot_ctor(nullptr, 1);
  for (int32_t uid = 2; uid < 6; ++uid) {
    void *child = ztRoot_ctor(nullptr, 1);
    ztRoot_of(child)->setUid(child, uid);
    ztRoot_of(root)->addChild(root, child);
  }
  return root;
}

}  // namespace

INSTANTIATE_TEST_SUITE_P(Of, RealFiles, testing::Values(ztFile_ctor, ztTextFile_ctor),
                         [](const testing::TestParamInfo<ztCtor> &test) {
                           return test.param == ztFile_ctor ? "Bytes" : "Text";
                         });

// A full disk ---------------------------------------------------------------------------------------

TEST_P(RealFiles, OnAFullDeviceTellSoWhenTheyAreFlushed) {
  ASSERT_EQ(file->open(file, "/dev/full", "w"), 1);
  EXPECT_GT(file->writeInt(file, 1), 0);  // into the buffer
  EXPECT_EQ(file->flush(file), EOF);
}

// The buffer is emptied on the way, and what it held is lost; the writes behind it succeed.
TEST_P(RealFiles, TellAtTheFlushOfWhatWasLostBefore) {
  ASSERT_EQ(file->open(file, "/dev/full", "w"), 1);
  char buffer[64];
  setvbuf(file.fields().stream, buffer, _IOFBF, sizeof buffer);
  bool lost = false;
  for (int i = 0; i < 100; ++i) lost = file->writeInt(file, 1234567) <= 0 || lost;
  EXPECT_TRUE(lost);
  EXPECT_EQ(file->flush(file), EOF);
  EXPECT_EQ(file->flush(file), 0) << "an error is told once";
  file->close(file);
}

// Without a buffer each write meets the disk itself.
TEST_P(RealFiles, TellOfARecordThatTheyRefuse) {
  ASSERT_EQ(file->open(file, "/dev/full", "w"), 1);
  setvbuf(file.fields().stream, nullptr, _IONBF, 0);
  for (const ztCtor constructor : {ztLink_ctor, ztIntArray_ctor, ztString_ctor, ztIntTag_ctor, ztRoot_ctor}) {
    const Held object(constructor(nullptr, 1));
    const char *name = ztOOP_classNameOf(object);
    EXPECT_EQ(ztBaseClass_of(object)->write(object, file), 0) << name;
    // A text file does not tell whether it wrote a buffer, but a number follows.
    EXPECT_EQ(ztBaseClass_functions()->classWrite(nullptr, object, file), 0) << name;
  }
  const ztTagHandle handle = {1, 1};
  EXPECT_EQ(ztTat_writeHandle(file, &handle), 0);
  EXPECT_EQ(file->flush(file), EOF);
}

TEST_P(RealFiles, OnADiskThatFillsUpNeverPassForWhole) {
  Held tree(smallTree());
  const MemoryFile disk;
  const auto store = [&] {
    return file->open(file, disk.path(), "w") && ztRoot_storeTree(tree, file) == 5 && file->flush(file) == 0;
  };
  ASSERT_TRUE(store());
  const std::string whole = disk.bytes();
  for (size_t room = 0; room < whole.size(); room += 1 + room / 8) {
    bool stored = true;
    {
      const FullDisk full(room);
      stored = store();
      file->close(file);
    }
    EXPECT_FALSE(stored) << room;
    EXPECT_EQ(disk.bytes(), whole.substr(0, room));
    // With room again the same objects store all.
    EXPECT_TRUE(store());
    EXPECT_EQ(disk.bytes(), whole);
  }
}

// A pipe --------------------------------------------------------------------------------------------

TEST_P(RealFiles, ThatNobodyReadsAnyMoreFail) {
  const sighandler_t previous = signal(SIGPIPE, SIG_IGN);
  Pipe pipe;
  ASSERT_EQ(file->open(file, pipe.writer().c_str(), "w"), 1);
  pipe.closeReader();
  EXPECT_GT(file->writeInt(file, 1), 0);
  EXPECT_EQ(file->flush(file), EOF);
  file->close(file);
  signal(SIGPIPE, previous);
}

TEST_P(RealFiles, ThatCannotSeekCarryATree) {
  Held tree(smallTree());
  Pipe pipe;
  ASSERT_EQ(file->open(file, pipe.writer().c_str(), "w"), 1);
  EXPECT_EQ(ztRoot_storeTree(tree, file), 5);
  const Owned<ztFile, ztFileMethods> source(GetParam());
  ASSERT_EQ(source->open(source, pipe.reader().c_str(), "r"), 1);
  file->close(file);
  pipe.closeWriter();
  Held roots(ztPtrArray_ctor(nullptr, 1));
  EXPECT_EQ(ztRoot_loadTree(source, -1, roots, nullptr), 1);
  ASSERT_EQ(ztPtrArray_of(roots)->getSize(roots), 1);
  void *root = ztPtrArray_of(roots)->getFront(roots);
  EXPECT_EQ(ztRoot_of(root)->getChildCount(root), 4);
  releaseIfMade(root);
}

TEST(Pipes, ThatEndWithinANodeCarryNoTree) {
  Held tree(smallTree());
  const Storage stored;
  ztRoot_storeTree(tree, stored);
  const std::string whole = stored.bytes();

  Pipe pipe;
  pipe.write(whole.substr(0, whole.size() - 6));
  const Owned<ztFile, ztFileMethods> file(ztFile_ctor);
  file->open(file, pipe.reader().c_str(), "rb");
  pipe.closeWriter();
  Held roots(ztPtrArray_ctor(nullptr, 1));
  ztTreeReport report;
  EXPECT_EQ(ztRoot_loadTree(file, -1, roots, &report), 0);
  EXPECT_EQ(report.nodes, 4);
  EXPECT_EQ(ztPtrArray_of(roots)->getSize(roots), 0);
}

// What is no file -----------------------------------------------------------------------------------

TEST_P(RealFiles, ThatAreDirectoriesAreNeitherWrittenNorRead) {
  const TempFolder folder;
  EXPECT_EQ(file->open(file, folder.path().c_str(), "w"), 0);
  EXPECT_STREQ(file->getFileName(file), "");
  // The system opens a directory for reading, and then refuses to read.
  ASSERT_EQ(file->open(file, folder.path().c_str(), "r"), 1);
  int32_t value = 5;
  EXPECT_EQ(file->readInt(file, &value), 0);
  EXPECT_EQ(value, 5);
  EXPECT_EQ(file->eof(file), 0);
  EXPECT_EQ(file->flush(file), EOF);
  EXPECT_EQ(ztBaseClass_functions()->classRead(nullptr, file), nullptr);
  Held roots(ztPtrArray_ctor(nullptr, 1));
  EXPECT_EQ(ztRoot_loadTree(file, -1, roots, nullptr), 0);
}

// Nobody can make a file in some folders of the system, whoever runs the test.
TEST_P(RealFiles, InAFolderThatTakesNoneOrIsNotThereAreNotOpened) {
  const TempFolder folder;
  const std::string missing = folder.path("missing/file");
  for (const char *path : {"/proc/zentova", "/proc/self/task/zentova", missing.c_str()}) {
    EXPECT_EQ(file->open(file, path, "w"), 0) << path;
    EXPECT_STREQ(file->getFileName(file), "") << path;
    EXPECT_EQ(file->open(file, path, "r"), 0) << path;
    EXPECT_EQ(ztFile_functions()->fileExist(nullptr, path), 0) << path;
    EXPECT_EQ(ztFile_functions()->deleteFile(nullptr, path), -1) << path;
  }
  EXPECT_EQ(ztFile_functions()->renameFile(nullptr, "/proc/version", "/proc/zentova"), -1);
  EXPECT_EQ(ztDm_changeDir(folder.path("missing").c_str()), 0);
}

TEST_P(RealFiles, ThatAreRemovedMeanwhileGoOnWhileOpen) {
  const TempFolder folder;
  const std::string path = folder.path("file");
  ASSERT_EQ(file->open(file, path.c_str(), "w+"), 1);
  EXPECT_GT(file->writeInt(file, 5), 0);
  EXPECT_EQ(ztFile_functions()->deleteFile(nullptr, path.c_str()), 0);
  EXPECT_GT(file->writeInt(file, 6), 0);
  EXPECT_EQ(file->flush(file), 0);
  EXPECT_EQ(file->goToBegin(file), 0);
  int32_t values[2] = {};
  for (int32_t &value : values) EXPECT_EQ(file->readInt(file, &value), 1);
  EXPECT_EQ(values[0] + values[1], 11);
  file->close(file);
  EXPECT_EQ(file->open(file, path.c_str(), "r"), 0);
}

TEST_P(RealFiles, OfManyMoreThanAProcessMayHaveFailToOpen) {
  rlimit before;
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
  const int next = dup(STDIN_FILENO);
  close(next);
  const rlimit none = {static_cast<rlim_t>(next), before.rlim_max};
  // Looked up before: a sanitizer needs a descriptor of its own to check a member of the test.
  void *object = file;
  const auto open = file->open;
  setrlimit(RLIMIT_NOFILE, &none);
  const int32_t opened = open(object, "/dev/null", "w");
  const int32_t walked = ztDm_enumFiles(
      "/", "*", 0, [](auto, auto, auto) { return 1; }, nullptr);
  setrlimit(RLIMIT_NOFILE, &before);
  EXPECT_EQ(opened, 0);
  EXPECT_EQ(walked, 1);
  EXPECT_EQ(file->open(file, "/dev/null", "w"), 1);
}

// The log -------------------------------------------------------------------------------------------

TEST(RealLog, InPlaceOfADirectoryOrADeviceIsNotOpened) {
  const TempFolder folder;
  for (const std::string &path : {folder.path(), std::string("/dev/full")}) {
    ztLc_closeLogFile();
    EXPECT_EQ(ztLc_openLogFile(path.c_str()), 0) << path;
    testing::internal::CaptureStdout();
    ztLc_log("a text\n");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "a text\n") << path;
  }
}
