#include "tools/inspect/trace.hh"

#include "tools/inspect/output.hh"
#include "zentova.hpp"

#include <errno.h>

#include <algorithm>

namespace ztinspect {

void Trace::begin() {
  steps.clear();
  values.clear();
  reason.clear();
}

void Trace::fail(int64_t offset, std::string why) {
  if (!reason.empty()) return;
  reason = std::move(why);
  failedAt = offset;
}

template <typename Value>
static Value valueIn(std::string_view bytes) {
  Value value = {};
  memcpy(&value, bytes.data(), std::min(bytes.size(), sizeof value));
  return value;
}

int32_t Trace::wholeOf(const Step &step) const {
  return valueIn<int32_t>(valueOf(step));
}

int64_t Trace::longOf(const Step &step) const {
  return valueIn<int64_t>(valueOf(step));
}

double Trace::realOf(const Step &step) const {
  return valueIn<double>(valueOf(step));
}

void Trace::forgetFrom(int64_t offset) {
  while (!steps.empty() && steps.back().offset >= offset) steps.pop_back();
  if (steps.empty()) return;
  Step &last = steps.back();
  const bool isRaw = last.kind == Kind::bytes || last.kind == Kind::string;
  const auto kept = static_cast<size_t>(offset - last.offset);
  if (isRaw && kept < last.size) last.size = kept;
}

namespace {

// What tells that a text file had no number where one was read, and left the variable as it was.
constexpr int32_t unsetWhole = INT32_MIN + 77;
constexpr int64_t unsetLong = INT64_MIN + 77;
constexpr double unsetReal = -1.2345678909876e-301;

// The primitives of both classes.
template <typename Self, typename Parent>
struct Traced : zt::Class<Self, Parent> {
  static constexpr bool isText = std::is_same_v<Parent, ztTextFile>;
  using Table = std::conditional_t<isText, ztTextFileMethods, ztFileMethods>;

  Trace *trace = nullptr;

  int32_t readInt(int32_t *out) {
    return readNumber(&Table::readInt, Kind::whole, unsetWhole, out, "an integer");
  }
  int32_t readLong(int64_t *out) {
    return readNumber(&Table::readLong, Kind::longWhole, unsetLong, out, "an integer");
  }
  int32_t readFloat(double *out) {
    return readNumber(&Table::readFloat, Kind::real, unsetReal, out, "a number");
  }
  int32_t readChar(char *out) {
    const int64_t offset = position();
    const int32_t done = parent()->readChar(this, out);
    if (done > 0 && out != nullptr) return note(Kind::character, 1, offset, out, 1, out) ? done : 0;
    fail(offset, "a character");
    return done;
  }
  int32_t readBuf(int32_t n, void *buffer) {
    const int64_t offset = position();
    const int32_t done = parent()->readBuf(this, n, buffer);
    const bool endsEarly = done < n || (isText && position() < offset + n);
    if (endsEarly) fail(offset, std::to_string(n) + " bytes");
    if (endsEarly || done < 0 || (n > 0 && buffer == nullptr)) return done;
    return note(Kind::bytes, n, offset, buffer, static_cast<size_t>(done), buffer) ? done : 0;
  }
  intptr_t readString(int32_t n, char *buffer) {
    const int64_t offset = position();
    const intptr_t done = parent()->readString(this, n, buffer);
    if (done <= 0 || buffer == nullptr) {
      fail(offset, "a text");
      return done;
    }
    const size_t size = isText ? strlen(buffer) : static_cast<size_t>(done);
    return note(Kind::string, n, offset, buffer, size, buffer) ? done : 0;
  }

  int32_t goTo(int64_t offset) {
    return moved(parent()->goTo(this, offset));
  }
  int32_t goToAbs(int64_t offset) {
    return moved(parent()->goToAbs(this, offset));
  }
  int32_t goToBegin() {
    return moved(parent()->goToBegin(this));
  }

  static void define(zt::Def<Self> &c) {
    c.template method<&Self::readInt>(&Table::readInt);
    c.template method<&Self::readLong>(&Table::readLong);
    c.template method<&Self::readFloat>(&Table::readFloat);
    c.template method<&Self::readChar>(&Table::readChar);
    c.template method<&Self::readBuf>(&Table::readBuf);
    c.template method<&Self::readString>(&Table::readString);
    c.template method<&Self::goTo>(&Table::goTo);
    c.template method<&Self::goToAbs>(&Table::goToAbs);
    c.template method<&Self::goToBegin>(&Table::goToBegin);
  }

 private:
  static const Table *parent() {
    if constexpr (isText) {
      return ztTextFile_table();
    } else {
      return ztFile_table();
    }
  }
  int64_t position() {
    return parent()->tell(this);
  }
  bool isEnd() {
    return parent()->eof(this) != 0;
  }

  template <typename Value>
  int32_t readNumber(int32_t (*Table::*primitive)(void *, Value *), Kind kind, Value unset, Value *out,
                     const char *what) {
    const int64_t offset = position();
    Value value = isText ? unset : Value();
    const int32_t done = (parent()->*primitive)(this, &value);
    const bool isMissing = isText && memcmp(&value, &unset, sizeof value) == 0;
    if (done <= 0 || out == nullptr || isMissing) {
      fail(offset, what);
      return 0;
    }
    *out = value;
    return note(kind, sizeof value, offset, &value, sizeof value, out) ? done : 0;
  }

  void fail(int64_t offset, const std::string &what) {
    trace->fail(offset, isEnd() ? "the file ends where " + what + " should be" : "there is no " + what);
  }
  // False when memory is exhausted: no exception may leave a method that the library calls.
  bool note(Kind kind, int32_t wanted, int64_t offset, const void *value, size_t size, const void *address) {
    try {
      trace->steps.push_back({kind, wanted, offset, trace->values.size(), size, address});
      trace->values.append(static_cast<const char *>(value), size);
      return true;
    } catch (const std::exception &) {
      trace->fail(offset, "memory is exhausted");
      return false;
    }
  }
  int32_t moved(int32_t result) {
    if (result == 0) trace->forgetFrom(position());
    return result;
  }
};

struct TracedBinary : Traced<TracedBinary, ztFile> {
  static constexpr auto className = "ztinspect binary file";
};

struct TracedText : Traced<TracedText, ztTextFile> {
  static constexpr auto className = "ztinspect text file";
};

}  // namespace

template <typename File>
static ztFile *openAs(const std::string &path, Trace *trace) {
  zt::Own<File> file = zt::make<File>();
  file->trace = trace;
  errno = 0;
  if (!ztFile_of(file.get())->open(file.get(), path.c_str(), "rb")) failWithErrno(path);
  return reinterpret_cast<ztFile *>(file.release());
}

ztFile *openTraced(const std::string &path, Form form, Trace *trace) {
  return form == Form::text ? openAs<TracedText>(path, trace) : openAs<TracedBinary>(path, trace);
}

void closeTraced(ztFile *file) {
  ztFile_of(file)->unRef(file);
}

}  // namespace ztinspect
