// Files that note what is read from them: an object's own `read` says what its record consists of.
#ifndef ZT_INSPECT_TRACE_HH
#define ZT_INSPECT_TRACE_HH

#include <stdint.h>

#include <string>
#include <string_view>
#include <vector>

struct ztFile;

namespace ztinspect {

enum class Form { binary, text };

enum class Kind : uint8_t { whole, longWhole, real, character, bytes, string };

// One call of a primitive that read a value.
struct Step {
  Kind kind;
  int32_t wanted;       // the bytes that were asked for, of bytes and strings
  int64_t offset;       // in the file
  size_t at;            // of the value in Trace::values
  size_t size;          // of the value: 4, 8, 8, 1, or the bytes that were read
  const void *address;  // where the object has it
};

// What was read since begin(). Values are kept in the form of the machine, whatever the form of the file.
struct Trace {
  std::vector<Step> steps;
  std::string values;
  // The first read that failed; an empty reason for none.
  std::string reason;
  int64_t failedAt = 0;

  void begin();
  void fail(int64_t offset, std::string why);
  std::string_view valueOf(const Step &step) const {
    return std::string_view(values).substr(step.at, step.size);
  }
  int32_t wholeOf(const Step &step) const;
  int64_t longOf(const Step &step) const;
  double realOf(const Step &step) const;
  // Steps over what an object stepped back behind, because it reads it again.
  void forgetFrom(int64_t offset);
};

// A file of a class of its own below ztFile or ztTextFile, whose primitives note what they read. A Problem where it
// cannot be opened or made. Release it with closeTraced().
ztFile *openTraced(const std::string &path, Form form, Trace *trace);
void closeTraced(ztFile *file);

}  // namespace ztinspect

#endif
