#include "tests/faults/injection.hh"

#include "objects/ztproperty.h"
#include "tests/helpers/scale.hh"

#include <dirent.h>
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <stdarg.h>
#include <stdio.h>
#include <sys/mman.h>
#include <sys/random.h>
#include <unistd.h>

#include <memory>
#include <utility>

Faults opens;
Faults reads;
Faults writes;
Faults seeks;
Faults closes;
Faults randoms;

int openStreams;
int openFolders;

// The kind that is being tried; NULL while none is.
static const Kind *current;

static bool fails(Faults &faults) {
  if (current == nullptr || !faults.strike()) return false;
  errno = current->error;
  return true;
}

// The log is written without a stream; it alone is opened for appending.
static int logDescriptor = -1;

// The C library's functions ------------------------------------------------------------------------

template <typename Function>
static Function *following(const char *name) {
  return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

namespace {

// A file behind a stream whose calls are counted.
struct CountedFile {
  int descriptor;
  std::unique_ptr<char[]> buffer;
  bool failsNext = false;  // half of a read arrived
};

}  // namespace

static CountedFile *fileOf(void *cookie) {
  return static_cast<CountedFile *>(cookie);
}

static ssize_t countedRead(void *cookie, char *bytes, size_t size) {
  CountedFile *file = fileOf(cookie);
  const bool endsHere = std::exchange(file->failsNext, false);
  if (endsHere) return -1;
  if (!fails(reads)) return read(file->descriptor, bytes, size);
  file->failsNext = current->partial;
  return file->failsNext ? read(file->descriptor, bytes, (size + 1) / 2) : -1;
}

static ssize_t countedWrite(void *cookie, const char *bytes, size_t size) {
  if (!fails(writes)) return write(fileOf(cookie)->descriptor, bytes, size);
  return current->partial ? write(fileOf(cookie)->descriptor, bytes, size / 2) : 0;
}

static int countedSeek(void *cookie, off64_t *offset, int whence) {
  if (fails(seeks)) return -1;
  *offset = lseek(fileOf(cookie)->descriptor, *offset, whence);
  return *offset < 0 ? -1 : 0;
}

static int countedClose(void *cookie) {
  const std::unique_ptr<CountedFile> file(fileOf(cookie));
  if (file->descriptor == logDescriptor) logDescriptor = -1;
  --openStreams;
  close(file->descriptor);
  return fails(closes) ? -1 : 0;
}

static FILE *countedStream(FILE *plain, const char *mode) {
  std::unique_ptr<CountedFile> file(new CountedFile{dup(fileno(plain)), nullptr, false});
  fclose(plain);
  const auto size = static_cast<size_t>(current->bufferSize);
  if (size > 0) file->buffer.reset(new char[size]);
  FILE *stream = fopencookie(file.get(), mode, {countedRead, countedWrite, countedSeek, countedClose});
  if (size > 0) setvbuf(stream, file->buffer.get(), _IOFBF, size);
  file.release();  // the stream's from here on
  ++openStreams;
  return stream;
}

extern "C" FILE *fopen(const char *name, const char *mode) {
  static auto *const open = following<FILE *(const char *, const char *)>("fopen");
  if (fails(opens)) return nullptr;
  FILE *stream = open(name, mode);
  return stream == nullptr || current == nullptr ? stream : countedStream(stream, mode);
}

extern "C" FILE *fdopen(int descriptor, const char *mode) {
  static auto *const open = following<FILE *(int, const char *)>("fdopen");
  if (fails(opens)) return nullptr;
  FILE *stream = open(descriptor, mode);
  return stream == nullptr || current == nullptr ? stream : countedStream(stream, mode);
}

extern "C" int open(const char *name, int flags, ...) {
  static auto *const plainOpen = following<int(const char *, int, ...)>("open");
  va_list arguments;
  va_start(arguments, flags);
  const auto mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : mode_t{0};
  va_end(arguments);
  const bool isLog = (flags & O_APPEND) != 0;
  if (isLog && fails(opens)) return -1;
  const int descriptor = plainOpen(name, flags, mode);
  if (isLog) logDescriptor = descriptor;
  return descriptor;
}

extern "C" ssize_t write(int descriptor, const void *bytes, size_t size) {
  static auto *const plainWrite = following<ssize_t(int, const void *, size_t)>("write");
  // One that is interrupted is made again, for ever where all that follow are interrupted, too.
  const bool mayFail = descriptor == logDescriptor && current != nullptr && current->error != EINTR;
  if (!mayFail || !fails(writes)) return plainWrite(descriptor, bytes, size);
  return current->partial ? plainWrite(descriptor, bytes, size / 2) : -1;
}

extern "C" DIR *opendir(const char *name) {
  static auto *const open = following<DIR *(const char *)>("opendir");
  if (fails(opens)) return nullptr;
  DIR *folder = open(name);
  if (folder != nullptr) ++openFolders;
  return folder;
}

extern "C" struct dirent *readdir(DIR *folder) {
  static auto *const read = following<struct dirent *(DIR *)>("readdir");
  return fails(reads) ? nullptr : read(folder);
}

extern "C" int closedir(DIR *folder) {
  static auto *const close = following<int(DIR *)>("closedir");
  --openFolders;
  return close(folder);
}

extern "C" int getentropy(void *bytes, size_t size) {
  static auto *const fill = following<int(void *, size_t)>("getentropy");
  return fails(randoms) ? -1 : fill(bytes, size);
}

// The kinds ----------------------------------------------------------------------------------------

const Kind memory = {"Memory", &allocationFaults, ENOMEM, 0};

std::ostream &operator<<(std::ostream &out, const Kind &kind) {
  return out << kind.name;
}

std::string nameOf(const testing::TestParamInfo<Kind> &test) {
  return test.param.name;
}

// With the C library's buffer most scenarios write once, when they flush; with a small one at each value.
std::vector<Kind> fileKinds() {
  constexpr int small = 16;
  return {
      {"Open", &opens, EMFILE, 0},
      {"Read", &reads, EIO, 0},
      {"ReadOfFewBytes", &reads, EIO, small},
      {"ReadOfHalf", &reads, EIO, small, true},
      {"Write", &writes, ENOSPC, 0},
      {"WriteOfFewBytes", &writes, ENOSPC, small},
      {"WriteOfHalf", &writes, ENOSPC, small, true},
      {"BrokenPipe", &writes, EPIPE, small},
      {"InterruptedWrite", &writes, EINTR, small},
      {"Seek", &seeks, ESPIPE, 0},
      {"SeekOfFewBytes", &seeks, EIO, small},
      {"Close", &closes, EIO, 0},
  };
}

std::vector<Kind> allKinds() {
  std::vector<Kind> kinds = fileKinds();
  kinds.insert(kinds.begin(), memory);
  return kinds;
}

// Trials -------------------------------------------------------------------------------------------

namespace {

class StruckTrial : public Trial {
 public:
  explicit StruckTrial(const Fault &injected) : fault(injected) {}
  int struck() const override {
    return fault.struck();
  }
  void endFault() override {
    fault.end();
  }

 private:
  const Fault &fault;
};

}  // namespace

static bool runOnce(const Kind &kind, const Scenario &scenario, const std::string &expected, int succeeding,
                    bool andAllFollowing) {
  const std::string which = std::string(kind.name) + ", " + std::to_string(succeeding) + " succeeding" +
                            (andAllFollowing ? ", all that follow failing" : "");
  const testing::ScopedTrace trace(__FILE__, __LINE__, which);
  const int blocksBefore = liveBlocks;
  const int streamsBefore = openStreams;
  const int foldersBefore = openFolders;
  current = &kind;
  const Fault fault(succeeding, andAllFollowing, *kind.faults);
  StruckTrial trial(fault);
  const std::string result = scenario(trial);
  current = nullptr;
  EXPECT_EQ(result, expected);
  EXPECT_EQ(liveBlocks, blocksBefore);
  EXPECT_EQ(openStreams, streamsBefore);
  EXPECT_EQ(openFolders, foldersBefore);
  return fault.end();
}

static std::string runWithoutFault(const Scenario &scenario) {
  const Fault none(-1);
  StruckTrial trial(none);
  return scenario(trial);
}

static int runAll(const Kind &kind, const Scenario &scenario) {
  runWithoutFault(scenario);  // what is made once and kept
  const std::string expected = runWithoutFault(scenario);
  // Fewer where each takes long.
  const int step = 100 / scale(100);
  int strikes = 0;
  for (const bool andAllFollowing : {false, true}) {
    for (int n = 0; !testing::Test::HasFailure(); n += step) {
      if (!runOnce(kind, scenario, expected, n, andAllFollowing)) break;
      ++strikes;
    }
  }
  return strikes;
}

int strikeEach(const Kind &kind, const Scenario &scenario) {
  // What so many runs log is of use only when one of them fails.
  testing::internal::CaptureStdout();
  const int strikes = runAll(kind, scenario);
  const std::string logged = testing::internal::GetCapturedStdout();
  if (testing::Test::HasFailure()) fputs(logged.c_str(), stdout);
  return strikes;
}

std::string nameAndIndexOf(const void *property) {
  const auto *named = static_cast<const ztProperty *>(property);
  return ztString_of(named->name)->get(named->name) + std::to_string(named->index);
}
