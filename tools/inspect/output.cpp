#include "tools/inspect/output.hh"

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ztinspect {

void failWithErrno(const std::string &what) {
  throw Problem(what + ": " + strerror(errno));
}

void say(const std::string &message) {
  fprintf(stderr, "ztinspect: %s\n", message.c_str());
}

static Colours colours = Colours::automatic;

void chooseColours(Colours choice) {
  colours = choice;
}

static bool isColourTerminal() {
  const char *unwanted = getenv("NO_COLOR");
  const char *terminal = getenv("TERM");
  return isatty(STDOUT_FILENO) != 0 && (unwanted == nullptr || *unwanted == '\0') &&
         (terminal == nullptr || strcmp(terminal, "dumb") != 0);
}

bool hasColours() {
  if (colours == Colours::automatic) colours = isColourTerminal() ? Colours::always : Colours::never;
  return colours == Colours::always;
}

std::string painted(const char *colour, const std::string &text) {
  return hasColours() ? "\033[" + std::string(colour) + "m" + text + "\033[0m" : text;
}

// Texts -------------------------------------------------------------------------------------------

// The bytes of the character at the start of a text; 0 for what is no character of valid UTF-8.
static size_t lengthOfCharacter(std::string_view text) {
  const auto byte = [&](size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned first = byte(0);
  if (first < 0x80) return 1;
  const size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
  if (first < 0xC2 || first > 0xF4 || text.size() < length) return 0;
  for (size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0U) != 0x80) return 0;
  }
  const bool isOverlong = (first == 0xE0 && byte(1) < 0xA0) || (first == 0xF0 && byte(1) < 0x90);
  const bool isBeyond = (first == 0xED && byte(1) >= 0xA0) || (first == 0xF4 && byte(1) >= 0x90);
  return isOverlong || isBeyond ? 0 : length;
}

// 0 for what is not shown: control characters too, those of 0x80 to 0x9F among them.
static size_t lengthIfShown(std::string_view text) {
  const auto first = static_cast<unsigned char>(text[0]);
  if (first < 0x20 || first == 0x7F) return 0;
  const size_t length = lengthOfCharacter(text);
  const bool isControl = length == 2 && first == 0xC2 && static_cast<unsigned char>(text[1]) < 0xA0;
  return isControl ? 0 : length;
}

bool isPrintable(std::string_view text) {
  while (!text.empty()) {
    const size_t length = lengthIfShown(text);
    if (length == 0) return false;
    text.remove_prefix(length);
  }
  return true;
}

std::string printable(std::string_view text) {
  std::string shown;
  while (!text.empty()) {
    const size_t length = lengthIfShown(text);
    if (length == 0) shown += "\\x" + toHex(text.substr(0, 1));
    shown += text.substr(0, length);
    text.remove_prefix(length == 0 ? 1 : length);
  }
  return shown;
}

void appendJsonText(std::string *to, std::string_view text) {
  *to += '"';
  for (const char c : text) {
    if (c == '"' || c == '\\') {
      *to += '\\';
      *to += c;
    } else if (static_cast<unsigned char>(c) < 0x20) {
      *to += "\\u00" + toHex({&c, 1});
    } else {
      *to += c;
    }
  }
  *to += '"';
}

std::string toHex(std::string_view bytes) {
  static const char digits[] = "0123456789abcdef";
  std::string hex;
  hex.reserve(bytes.size() * 2);
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    hex += digits[byte >> 4U];
    hex += digits[byte & 15U];
  }
  return hex;
}

// Files -------------------------------------------------------------------------------------------

constexpr size_t bufferSize = size_t{1} << 18U;

// The file to remove when a signal ends the program.
static char unfinished[4096];

static void removeUnfinished(int signal) {
  unlink(unfinished);
  _exit(128 + signal);
}

static void removeOnSignals(const std::string &path) {
  if (path.size() >= sizeof unfinished) return;
  memcpy(unfinished, path.c_str(), path.size() + 1);
  struct sigaction action = {};
  action.sa_handler = removeUnfinished;
  for (const int number : {SIGINT, SIGTERM, SIGHUP}) sigaction(number, &action, nullptr);
}

static void keepOnSignals() {
  for (const int number : {SIGINT, SIGTERM, SIGHUP}) signal(number, SIG_DFL);
}

static std::string resolved(const std::string &path) {
  char *real = realpath(path.c_str(), nullptr);
  if (real == nullptr) return path;
  std::string result = real;
  free(real);
  return result;
}

Output::Output(std::string path) : target(std::move(path)), descriptor(STDOUT_FILENO) {
  if (target.empty()) return;
  // A link stays, and what it leads to is replaced.
  target = resolved(target);
  struct stat found = {};
  const bool isThere = stat(target.c_str(), &found) == 0;
  if (!isThere || S_ISREG(found.st_mode)) {
    openBeside();
  } else {
    descriptor = open(target.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY);
    if (descriptor < 0) failWithErrno(target);
  }
}

void Output::openBeside() {
  struct stat found = {};
  mode_t mode = 0666;
  if (stat(target.c_str(), &found) == 0) {
    if (access(target.c_str(), W_OK) != 0) failWithErrno(target);
    mode = found.st_mode & 07777U;
  } else {
    const mode_t mask = umask(0);
    umask(mask);
    mode &= ~mask;
  }
  std::string name = target + ".XXXXXX";
  descriptor = mkostemp(name.data(), O_CLOEXEC);
  if (descriptor < 0) failWithErrno(target);
  temporary = name;
  removeOnSignals(temporary);
  if (fchmod(descriptor, mode) != 0) failWithErrno(target);
}

Output::~Output() {
  if (descriptor > STDERR_FILENO) close(descriptor);
  if (!temporary.empty()) unlink(temporary.c_str());
}

void Output::write(std::string_view text) {
  buffer += text;
  if (buffer.size() >= bufferSize) flush();
}

void Output::flush() {
  for (size_t done = 0; done < buffer.size();) {
    const ssize_t count = ::write(descriptor, buffer.data() + done, buffer.size() - done);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) failWithErrno(target.empty() ? "standard output" : target);
    done += static_cast<size_t>(count);
  }
  buffer.clear();
}

void Output::finish() {
  flush();
  if (temporary.empty()) return;
  if (fsync(descriptor) != 0 || rename(temporary.c_str(), target.c_str()) != 0) failWithErrno(target);
  temporary.clear();
  keepOnSignals();
}

// Progress ----------------------------------------------------------------------------------------

using namespace std::chrono_literals;

Progress::Progress(std::string what, bool printsMeanwhile)
    : name(std::move(what)),
      next(std::chrono::steady_clock::now() + 1s),
      isTerminal(isatty(STDERR_FILENO) != 0 && !(printsMeanwhile && isatty(STDOUT_FILENO) != 0)) {}

Progress::~Progress() {
  if (isShown) fputs("\r\033[K", stderr);
}

void Progress::show(int64_t done, int64_t all) {
  if (!isTerminal || all <= 0 || ++calls % 1024 != 0) return;
  const auto now = std::chrono::steady_clock::now();
  if (now < next) return;
  next = now + 200ms;
  isShown = true;
  fprintf(stderr, "\r%s: %d %%", name.c_str(),
          static_cast<int>(100.0 * static_cast<double>(done) / static_cast<double>(all)));
}

}  // namespace ztinspect
