// Files whose system calls are interrupted by signals, and what lies in the way of a file.
#include "io/zttxtfile.h"

#include "tests/helpers/owned.hh"
#include "tests/helpers/records.hh"
#include "tests/helpers/temp_folder.hh"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <termios.h>
#include <unistd.h>

#include <atomic>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using File = Owned<ztFile, ztFileMethods>;

volatile sig_atomic_t interruptions;

void interrupt(int) {
  interruptions = interruptions + 1;
}

// Interrupts this thread's system calls, a thousand times a second, as long as it lives.
class Interruptions {
 public:
  Interruptions() {
    struct sigaction action = {};
    action.sa_handler = interrupt;  // without SA_RESTART
    sigaction(SIGALRM, &action, nullptr);
    interruptions = 0;
    const itimerval often = {{0, 1000}, {0, 1000}};
    setitimer(ITIMER_REAL, &often, nullptr);
  }
  ~Interruptions() {
    const itimerval never = {};
    setitimer(ITIMER_REAL, &never, nullptr);
    signal(SIGALRM, SIG_IGN);  // one may still be on its way
  }
  Interruptions(const Interruptions &) = delete;
  Interruptions &operator=(const Interruptions &) = delete;
};

// A thread that takes no signals, so that they meet the other.
template <typename Work>
std::thread quietThread(Work work) {
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &before);
  std::thread thread(work);
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  return thread;
}

class Signals : public testing::TestWithParam<ztCtor> {
 protected:
  Signals() {
    EXPECT_EQ(pipe(ends), 0);
  }
  ~Signals() override {
    for (const int end : ends) {
      if (end >= 0) close(end);
    }
  }
  void open(int which, const char *mode) {
    const std::string name = "/proc/self/fd/" + std::to_string(ends[which]);
    ASSERT_EQ(file->open(file, name.c_str(), mode), 1);
    close(takeEnd(which));
  }
  // Whoever takes it closes it.
  int takeEnd(int which) {
    return std::exchange(ends[which], -1);
  }

  const File file{GetParam()};
  int ends[2];
};

INSTANTIATE_TEST_SUITE_P(Of, Signals, testing::Values(ztFile_ctor, ztTextFile_ctor),
                         [](const auto &kind) { return kind.param == ztFile_ctor ? "Bytes" : "Text"; });

void pause(int milliseconds) {
  usleep(static_cast<useconds_t>(milliseconds) * 1000);
}

// Writes the parts with a pause ahead of each, and closes.
void writeSlowly(int writer, const std::vector<std::string> &parts) {
  for (const std::string &part : parts) {
    pause(3);
    EXPECT_EQ(write(writer, part.data(), part.size()), static_cast<ssize_t>(part.size()));
  }
  pause(5);
  close(writer);
}

void writeMany(const File &file) {
  const std::string large(30000, 'b');
  for (int32_t i = 0; i < 3000; ++i) {
    ASSERT_GT(file->writeInt(file, i), 0);
    ASSERT_GT(file->writeFloat(file, i / 4.0), 0);
    ASSERT_GT(file->writeString(file, "a text of some length"), 0);
    if (i % 500 == 0) {
      ASSERT_EQ(file->writeBuf(file, 30000, large.data()), 30000);
    }
    if (i % 100 == 0) {
      ASSERT_EQ(file->flush(file), 0);
    }
  }
  EXPECT_EQ(file->flush(file), 0);
}

void writeManyInterrupted(const File &file) {
  const Interruptions often;
  writeMany(file);
  file->close(file);
  EXPECT_GT(interruptions, 10);
}

// What the same writes leave where nothing interrupts them.
std::string manyWritten(const File &file) {
  const TempFolder folder;
  const std::string path = folder.path("same");
  EXPECT_EQ(file->open(file, path.c_str(), "w"), 1);
  writeMany(file);
  file->close(file);
  return contentsOf(path);
}

// All that comes until there is nobody to write, or no more than so many bytes.
std::string readSlowly(int reader, size_t most) {
  std::string arrived;
  char bytes[20000];
  pause(50);
  while (arrived.size() < most) {
    const ssize_t n = read(reader, bytes, sizeof bytes);
    if (n <= 0) break;
    arrived.append(bytes, static_cast<size_t>(n));
    pause(2);
  }
  return arrived;
}

}  // namespace

TEST_P(Signals, ThatInterruptWritesLoseNoByte) {
  std::string arrived;
  const int reader = ends[0];
  std::thread slow = quietThread([&] { arrived = readSlowly(reader, SIZE_MAX); });
  open(1, "w");
  writeManyInterrupted(file);
  slow.join();
  EXPECT_TRUE(arrived == manyWritten(file)) << arrived.size() << " bytes";
}

TEST_P(Signals, ThatInterruptWritesToATerminalLoseNoByte) {
  const int terminal = posix_openpt(O_RDWR | O_NOCTTY);
  ASSERT_GE(terminal, 0);
  ASSERT_EQ(grantpt(terminal), 0);
  ASSERT_EQ(unlockpt(terminal), 0);
  const std::string name = ptsname(terminal);
  const int other = ::open(name.c_str(), O_RDWR | O_NOCTTY);
  ASSERT_GE(other, 0);
  termios settings;
  ASSERT_EQ(tcgetattr(other, &settings), 0);
  cfmakeraw(&settings);
  ASSERT_EQ(tcsetattr(other, TCSANOW, &settings), 0);
  const std::string expected = manyWritten(file);
  std::string arrived;
  std::thread slow = quietThread([&] { arrived = readSlowly(terminal, expected.size()); });
  ASSERT_EQ(file->open(file, name.c_str(), "w"), 1);
  // What it holds back stays so until the other end has been read.
  close(other);
  writeManyInterrupted(file);
  slow.join();
  close(terminal);
  EXPECT_TRUE(arrived == expected) << arrived.size() << " bytes";
}

TEST_P(Signals, ThatInterruptReadsLoseNoByte) {
  const TempFolder folder;
  const std::string path = folder.path("source");
  ASSERT_EQ(file->open(file, path.c_str(), "w"), 1);
  for (int32_t i = 0; i < 40; ++i) {
    file->writeInt(file, 1000000 + i);
    file->writeFloat(file, i / 4.0);
    file->writeBuf(file, 10, "0123456789");
  }
  file->close(file);
  const std::string all = contentsOf(path);
  std::vector<std::string> parts;  // a few bytes at a time, within numbers, too
  for (size_t at = 0; at < all.size(); at += 7) parts.push_back(all.substr(at, 7));
  std::thread slow = quietThread([&parts, writer = takeEnd(1)] { writeSlowly(writer, parts); });
  open(0, "r");
  {
    const Interruptions often;
    for (int32_t i = 0; i < 40; ++i) {
      ASSERT_EQ(readBy(file->readInt, file), 1000000 + i);
      ASSERT_EQ(readBy(file->readFloat, file), i / 4.0);
      char buffer[11] = "";
      ASSERT_EQ(file->readBuf(file, 10, buffer), 10);
      ASSERT_STREQ(buffer, "0123456789");
    }
    EXPECT_EQ(readBy(file->readInt, file), std::nullopt);
    EXPECT_NE(file->eof(file), 0);
    EXPECT_EQ(file->flush(file), 0) << "nothing failed";
    EXPECT_GT(interruptions, 10);
  }
  slow.join();
}

TEST_P(Signals, ThatInterruptALineLoseNoByte) {
  std::thread slow = quietThread([writer = takeEnd(1)] {
    writeSlowly(writer, {"a li", "ne of", " text\n"});
  });
  open(0, "r");
  const Interruptions often;
  char line[16] = "";
  EXPECT_NE(file->readString(file, 16, line), 0);
  EXPECT_STREQ(line, "a line of text\n");
  slow.join();
}

TEST_P(Signals, ThatInterruptTheOpeningOfAFifoLetItGoOn) {
  const TempFolder folder;
  const std::string path = folder.path("fifo");
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  std::thread late = quietThread([&path] {
    pause(30);
    close(::open(path.c_str(), O_WRONLY));
  });
  {
    const Interruptions often;
    EXPECT_EQ(file->open(file, path.c_str(), "r"), 1);
    EXPECT_GT(interruptions, 2);
  }
  late.join();
}

// What lies in the way ------------------------------------------------------------------------------

TEST(ztFile, FindsAFifoWithoutWaitingForItsOtherEndOrLettingAWriterGoOn) {
  const TempFolder folder;
  const std::string path = folder.path("fifo");
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  EXPECT_EQ(ztFile_functions()->fileExist(nullptr, path.c_str()), 1);
  // A reader would let this succeed.
  std::atomic<bool> asked = false;
  std::thread writer([&] {
    while (!asked) {
      const int end = open(path.c_str(), O_WRONLY | O_NONBLOCK);
      EXPECT_LT(end, 0);
      if (end >= 0) close(end);
    }
  });
  for (int i = 0; i < 1000; ++i) EXPECT_EQ(ztFile_functions()->fileExist(nullptr, path.c_str()), 1);
  asked = true;
  writer.join();
}

TEST(ztFile, FindsADeviceButNothingBehindALinkToNothing) {
  const TempFolder folder;
  const std::string path = folder.path("link");
  ASSERT_EQ(symlink("missing", path.c_str()), 0);
  EXPECT_EQ(ztFile_functions()->fileExist(nullptr, path.c_str()), 0);
  EXPECT_EQ(ztFile_functions()->fileExist(nullptr, "/dev/null"), 1);
}

// Flushing ------------------------------------------------------------------------------------------

TEST(ztFile, IsStillAtItsEndAfterAFlush) {
  const TempFolder folder;
  const std::string path = folder.path("file");
  writeContents(path, "ab");
  for (const ztCtor constructor : {ztFile_ctor, ztTextFile_ctor}) {
    const File file(constructor);
    ASSERT_EQ(file->open(file, path.c_str(), "r"), 1);
    char bytes[4];
    file->readBuf(file, 3, bytes);
    ASSERT_NE(file->eof(file), 0);
    EXPECT_EQ(file->writeChar(file, 'x') > 0, false);
    EXPECT_EQ(file->flush(file), EOF) << "the write failed";
    EXPECT_NE(file->eof(file), 0);
    EXPECT_EQ(file->flush(file), 0) << "an error is told once";
    EXPECT_NE(file->eof(file), 0);
  }
}
