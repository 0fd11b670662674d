#include "tests/helpers/faulty_file.hh"

#include <algorithm>
#include <type_traits>

static FileScript *script;
static const char *const anyMethod = "";

FileScript::FileScript() {
  script = this;
}

FileScript::~FileScript() {
  script = nullptr;
}

int FileScript::count(const std::string &method) const {
  return static_cast<int>(std::count_if(calls.begin(), calls.end(), [&](const std::string &call) {
    return call.substr(0, call.find(' ')) == method;
  }));
}

void FileScript::answer(const std::string &method, int64_t result, int after) {
  answers[method] = {result, after};
}

void FileScript::answerAll(int64_t result, int after) {
  answer(anyMethod, result, after);
}

void FileScript::clear() {
  answers.clear();
}

const FileScript::Answer *FileScript::note(const std::string &method, const std::string &given) {
  calls.push_back(given.empty() ? method : method + " " + given);
  for (const std::string &name : {method, std::string(anyMethod)}) {
    const auto found = answers.find(name);
    if (found != answers.end() && found->second.after-- <= 0) return &found->second;
  }
  return nullptr;
}

// What a call was given ------------------------------------------------------------------------------

template <typename Number>
requires std::is_arithmetic_v<Number>
static std::string textOf(Number number) {
  return std::to_string(number);
}

static std::string textOf(const char *text) {
  return text == nullptr ? "NULL" : text;
}

// Where a result goes.
static std::string textOf(void *) {
  return "";
}

static std::string textOf(char *) {
  return "";
}

static std::string given() {
  return "";
}

template <typename First, typename... Rest>
static std::string given(First first, Rest...) {
  return textOf(first);
}

// The primitives -------------------------------------------------------------------------------------

namespace {

template <auto method>
struct Primitive;

template <typename Result, typename... Arguments, Result (*ztFileMethods::*method)(void *, Arguments...)>
struct Primitive<method> {
  static inline const char *name;

  static Result call(void *file, Arguments... arguments) {
    const FileScript::Answer *answer = script == nullptr ? nullptr : script->note(name, given(arguments...));
    if (answer != nullptr) return static_cast<Result>(answer->result);
    return (ztFile_table()->*method)(file, arguments...);
  }
};

template <auto method>
void overrideIn(ztFileMethods *methods, const char *name) {
  Primitive<method>::name = name;
  methods->*method = Primitive<method>::call;
}

}  // namespace

static void faultyFileMethods(FaultyFileMethods *methods) {
  auto *primitives = reinterpret_cast<ztFileMethods *>(methods);
  overrideIn<&ztFileMethods::close>(primitives, "close");
  overrideIn<&ztFileMethods::goToBegin>(primitives, "goToBegin");
  overrideIn<&ztFileMethods::goToEnd>(primitives, "goToEnd");
  overrideIn<&ztFileMethods::goTo>(primitives, "goTo");
  overrideIn<&ztFileMethods::goToAbs>(primitives, "goToAbs");
  overrideIn<&ztFileMethods::tell>(primitives, "tell");
  overrideIn<&ztFileMethods::flush>(primitives, "flush");
  overrideIn<&ztFileMethods::eof>(primitives, "eof");
  overrideIn<&ztFileMethods::writeInt>(primitives, "writeInt");
  overrideIn<&ztFileMethods::readInt>(primitives, "readInt");
  overrideIn<&ztFileMethods::writeLong>(primitives, "writeLong");
  overrideIn<&ztFileMethods::readLong>(primitives, "readLong");
  overrideIn<&ztFileMethods::writeFloat>(primitives, "writeFloat");
  overrideIn<&ztFileMethods::readFloat>(primitives, "readFloat");
  overrideIn<&ztFileMethods::writeBuf>(primitives, "writeBuf");
  overrideIn<&ztFileMethods::readBuf>(primitives, "readBuf");
  overrideIn<&ztFileMethods::writeString>(primitives, "writeString");
  overrideIn<&ztFileMethods::readString>(primitives, "readString");
  overrideIn<&ztFileMethods::writeChar>(primitives, "writeChar");
  overrideIn<&ztFileMethods::readChar>(primitives, "readChar");
}

ZT_DEFINE_CLASS(FaultyFile, ztFile, faultyFileMethods)
