// Runs a fuzz target without a fuzzer: over every file of its corpus, and over a fixed series of changes
// made to them, so that every compiler and every instrumentation runs the same inputs. The input that ended
// the program is left in the file "replay-input".
//
// usage: replay_<target> [-c CHANGES] FILE|FOLDER...
#include "fuzz/input.hh"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<uint8_t>;

constexpr size_t longest = 65536;

Bytes contentsOf(const std::filesystem::path &path) {
  std::ifstream file(path, std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

std::vector<std::filesystem::path> filesOf(const std::vector<std::string> &arguments) {
  std::vector<std::filesystem::path> files;
  for (const std::string &argument : arguments) {
    if (!std::filesystem::is_directory(argument)) {
      files.emplace_back(argument);
      continue;
    }
    for (const auto &entry : std::filesystem::directory_iterator(argument)) files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  return files;
}

class Changes {
 public:
  explicit Changes(std::vector<Bytes> inputs) : originals(std::move(inputs)) {}

  Bytes next() {
    Bytes bytes = originals.empty() ? Bytes() : originals[below(originals.size())];
    for (size_t i = 1 + below(8); i > 0; --i) changeOnce(bytes);
    if (bytes.size() > longest) bytes.resize(longest);
    return bytes;
  }

 private:
  size_t below(size_t bound) {
    return random() % bound;
  }
  uint8_t anyByte() {
    return static_cast<uint8_t>(below(256));
  }

  void changeOnce(Bytes &bytes) {
    const size_t place = below(bytes.size() + 1);
    const auto at = bytes.begin() + static_cast<ptrdiff_t>(place);
    switch (below(5)) {
      case 0:
        if (at != bytes.end()) *at = anyByte();
        break;
      case 1:
        bytes.insert(at, 1 + below(8), anyByte());
        break;
      case 2:
        bytes.erase(at, at + static_cast<ptrdiff_t>(std::min<size_t>(below(8), bytes.size() - place)));
        break;
      case 3:
        if (!originals.empty()) {
          const Bytes &other = originals[below(originals.size())];
          bytes.resize(place);
          bytes.insert(bytes.end(), other.begin() + static_cast<ptrdiff_t>(below(other.size() + 1)),
                       other.end());
        }
        break;
      default:
        for (size_t i = 0; i < 32; ++i) bytes.push_back(anyByte());
    }
  }

  std::mt19937 random{20250117};
  std::vector<Bytes> originals;
};

// Runs inputs, each of which lies in a file meanwhile: when one ends the program, it is still there.
class Runner {
 public:
  Runner() : descriptor(open(name, O_CREAT | O_RDWR | O_CLOEXEC, 0600)) {
    ZT_REQUIRE(descriptor >= 0);
  }
  ~Runner() {
    close(descriptor);
    unlink(name);
  }
  Runner(const Runner &) = delete;
  Runner &operator=(const Runner &) = delete;

  void run(const Bytes &bytes) const {
    ZT_REQUIRE(pwrite(descriptor, bytes.data(), bytes.size(), 0) == static_cast<ssize_t>(bytes.size()));
    ZT_REQUIRE(ftruncate(descriptor, static_cast<off_t>(bytes.size())) == 0);
    // Of its very size, so that a read behind it is seen.
    Bytes exact(bytes);
    exact.shrink_to_fit();
    LLVMFuzzerTestOneInput(exact.data(), exact.size());
  }

 private:
  static constexpr const char *name = "replay-input";
  int descriptor;
};

}  // namespace

int main(int argc, char **argv) {
  std::vector<std::string> arguments(argv + 1, argv + argc);
  int changes = 0;
  if (arguments.size() >= 2 && arguments[0] == "-c") {
    changes = atoi(arguments[1].c_str());
    arguments.erase(arguments.begin(), arguments.begin() + 2);
  }
  // The log would fill it.
  const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
  if (nowhere < 0 || dup2(nowhere, STDOUT_FILENO) < 0) return 1;
  LLVMFuzzerInitialize(&argc, &argv);

  const Runner runner;
  std::vector<Bytes> inputs;
  const auto files = filesOf(arguments);
  for (const auto &file : files) {
    inputs.push_back(contentsOf(file));
    runner.run(inputs.back());
  }
  Changes series(inputs);
  for (int i = 0; i < changes; ++i) runner.run(series.next());
  fprintf(stderr, "replay: %zu files and %d changes of them\n", files.size(), changes);
  return 0;
}
