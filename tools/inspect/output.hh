// What the program writes: results to standard output or a file, messages to standard error.
#ifndef ZT_INSPECT_OUTPUT_HH
#define ZT_INSPECT_OUTPUT_HH

#include <stdint.h>

#include <chrono>
#include <stdexcept>
#include <string>
#include <string_view>

namespace ztinspect {

// What ends the program with a message and the status 1.
struct Problem : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// A Problem with the text of `errno`.
[[noreturn]] void failWithErrno(const std::string &what);

// Writes a line to standard error, behind the name of the program.
void say(const std::string &message);

// When results have colours: automatic is on a terminal that takes them, unless NO_COLOR is set.
enum class Colours { automatic, always, never };
void chooseColours(Colours choice);
bool hasColours();
// A text in a colour of terminals, by its number, where results have colours.
std::string painted(const char *colour, const std::string &text);

// A text without control characters, which could command a terminal, and with valid UTF-8 only; others as \xNN.
std::string printable(std::string_view text);
bool isPrintable(std::string_view text);

// A text in quotes as JSON has it. The text is valid UTF-8.
void appendJsonText(std::string *to, std::string_view text);

std::string toHex(std::string_view bytes);

// Standard output, or a file which is only there when it is whole: it is written under another name beside it, and
// renamed by finish().
class Output {
 public:
  // Without path, standard output.
  explicit Output(std::string path);
  ~Output();
  Output(const Output &) = delete;
  Output &operator=(const Output &) = delete;

  bool isStandard() const {
    return target.empty();
  }
  void write(std::string_view text);
  // Writes all that is buffered, and gives a file its name.
  void finish();

 private:
  void openBeside();
  void flush();

  std::string target;
  std::string temporary;  // empty while nothing is to be removed
  std::string buffer;
  int descriptor;
};

// The share of a file that is done, on a terminal only, and only where it takes more than a second.
class Progress {
 public:
  // `printsMeanwhile` is for results that go to standard output: on the same terminal, they would be mixed.
  Progress(std::string what, bool printsMeanwhile);
  ~Progress();
  Progress(const Progress &) = delete;
  Progress &operator=(const Progress &) = delete;

  void show(int64_t done, int64_t all);

 private:
  std::string name;
  std::chrono::steady_clock::time_point next;
  uint32_t calls = 0;
  bool isTerminal;
  bool isShown = false;
};

}  // namespace ztinspect

#endif
