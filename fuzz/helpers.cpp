// The helpers that take texts apart and put them together: paths, the environment, letter case, numbers,
// messages and the log, and the walk over files. Each result is compared with what a plain model says.
//
// Everything happens in a folder of the target's own, which goes when the program ends.
#include "fuzz/blocks.hh"
#include "tests/helpers/memory_file.hh"
#include "tests/helpers/temp_folder.hh"
#include "zentova.h"

#include <ctype.h>
#include <math.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

namespace {

constexpr size_t pathSize = 512;

// A block of its very size, so that a byte written behind it is seen; zeros behind the text.
class Text {
 public:
  Text(const std::string &text, size_t size) : bytes(std::make_unique<char[]>(size)) {
    text.copy(bytes.get(), size - 1);
  }
  explicit Text(const std::string &text) : Text(text, text.size() + 1) {}
  char *get() const {
    return bytes.get();
  }

 private:
  std::unique_ptr<char[]> bytes;
};

struct PathBuffer : Text {
  explicit PathBuffer(const std::string &text = "") : Text(text, pathSize) {}
};

std::string cut(const std::string &text) {
  return text.substr(0, pathSize - 1);
}

// Where the last of the characters stands, the first place left out.
size_t lastOf(const std::string &text, const char *characters) {
  const size_t at = text.find_last_of(characters);
  return at == 0 ? std::string::npos : at;
}

std::string joined(const std::string &directory, const std::string &name) {
  return cut(directory.empty() ? name : directory + "/" + name);
}

// Texts that look like paths, now and then longer than the buffers.
std::string pathFrom(Input &input) {
  static const char *const pieces[] = {"/",  "\\", ":",        ".",  "..", "//",
                                       "./", "a",  "name.ext", "$(", ")",  "HOME"};
  std::string path;
  for (uint32_t i = input.below(12); i > 0; --i) {
    const uint32_t choice = input.below(16);
    if (choice < 12) {
      path += pieces[choice];
    } else if (choice < 15) {
      path += input.text(12);
    } else {
      path += std::string(input.below(600), 'x');
    }
  }
  return path;
}

// Paths -------------------------------------------------------------------------------------------

void takePathApart(Input &input) {
  const std::string path = pathFrom(input);
  const bool inPlace = input.flag() && path.size() < pathSize;
  const Text own(path);
  const size_t separator = lastOf(path, "/\\:");
  const std::string name = separator == std::string::npos ? path : path.substr(separator + 1);
  const std::string parent = path.substr(0, separator);
  {
    const PathBuffer out(path);
    const char *from = inPlace ? out.get() : own.get();
    ZT_REQUIRE(ztCu_extractFileName(from, out.get()) == out.get());
    ZT_REQUIRE(out.get() == cut(name));
  }
  {
    const PathBuffer out(path);
    const char *from = inPlace ? out.get() : own.get();
    ZT_REQUIRE(ztCu_extractPath(from, out.get()) == out.get());
    ZT_REQUIRE(out.get() == cut(parent));
  }
  const PathBuffer out;
  ZT_REQUIRE(ztDm_getDirName(own.get(), input.flag() ? out.get() : nullptr) == cut(name));
  ZT_REQUIRE(ztDm_extractPath(own.get(), out.get()) == cut(path.substr(0, lastOf(path, "/"))));
  // An argument may be the result of the call before.
  const std::string kept = ztDm_extractPath(own.get(), nullptr);
  ZT_REQUIRE(ztDm_extractPath(ztDm_extractPath(own.get(), nullptr), nullptr) ==
             kept.substr(0, lastOf(kept, "/")));
}

void changeInPlace(Input &input) {
  const std::string path = pathFrom(input);
  const Text cutOff(path);
  ZT_REQUIRE(ztCu_cutFileExt(cutOff.get()) == cutOff.get());
  ZT_REQUIRE(cutOff.get() == path.substr(0, lastOf(path, ".")));

  const auto isSeparator = [](char c) { return c == '/' || c == '\\' || c == ':'; };
  const Text relative(path);
  ZT_REQUIRE(ztCu_fixRelativePath(relative.get()) == relative.get());
  const bool isDoubled = path.size() > 2 && path[0] == '.' && isSeparator(path[1]) && isSeparator(path[2]);
  ZT_REQUIRE(relative.get() == (isDoubled ? "./" + path.substr(3) : path));

  const Text dos(path);
  ZT_REQUIRE(ztCu_fixDosPath(dos.get()) == dos.get() && dos.get() == path);
}

void makePath(Input &input) {
  const std::string directory = pathFrom(input);
  const std::string name = pathFrom(input);
  const std::string expected = joined(directory, name);
  const Text first(directory);
  const Text second(name);
  const PathBuffer out;
  switch (input.below(4)) {
    case 0:
      ZT_REQUIRE(ztCu_makePath(first.get(), second.get(), nullptr) == expected);
      ZT_REQUIRE(ztCu_makePath(ztCu_makePath(first.get(), second.get(), nullptr), second.get(), nullptr) ==
                 joined(expected, name));
      break;
    case 1:
      ZT_REQUIRE(ztCu_makePath(first.get(), second.get(), out.get()) == out.get());
      ZT_REQUIRE(out.get() == expected);
      break;
    case 2:
      ZT_REQUIRE(ztDm_makePath(first.get(), second.get(), nullptr) == expected);
      break;
    default: {
      const PathBuffer both(directory);
      ztDm_makePath(both.get(), second.get(), both.get());
      ZT_REQUIRE(both.get() == joined(cut(directory), name));
    }
  }
}

// The environment ---------------------------------------------------------------------------------

const char *const variables[] = {"A", "ZT_FUZZ", ""};

void expand(Input &input) {
  setenv("ZT_FUZZ", input.text(40).c_str(), 1);
  setenv("A", std::string(input.below(700), 'v').c_str(), 1);
  std::string in = pathFrom(input);
  if (input.flag()) in += "$(" + std::string(variables[input.below(3)]) + ")" + pathFrom(input);

  std::string expected = cut(in);
  int32_t result = 1;
  const std::string before = "what was there";
  const size_t start = in.find("$(");
  if (start != std::string::npos) {
    const size_t end = in.find(')', start + 2);
    if (end == std::string::npos) {
      expected = before;
    } else {
      const char *value = getenv(in.substr(start + 2, std::min<size_t>(end - start - 2, 103)).c_str());
      result = value == nullptr ? -1 : 1;
      if (value != nullptr) expected = cut(value + in.substr(end + 1));
    }
  }
  const Text own(in);
  const PathBuffer out(before);
  ZT_REQUIRE(ztCu_expandEnvString(out.get(), own.get()) == result);
  ZT_REQUIRE(out.get() == expected);
  if (in.size() >= pathSize) return;
  const PathBuffer both(in);
  ZT_REQUIRE(ztCu_expandEnvString(both.get(), both.get()) == result);
  ZT_REQUIRE(both.get() == (expected == before ? in : expected));
}

// Texts and numbers -------------------------------------------------------------------------------

void mapCase(Input &input) {
  const std::string text = input.text(200) + std::string(input.below(400), 'q');
  std::string lower = cut(text);
  std::string upper = lower;
  for (char &c : lower) c = static_cast<char>(tolower(static_cast<unsigned char>(c)));
  for (char &c : upper) c = static_cast<char>(toupper(static_cast<unsigned char>(c)));
  const Text own(text);
  ZT_REQUIRE(ztCu_sToLower(own.get()) == lower);
  ZT_REQUIRE(ztCu_sToUpper(own.get()) == upper);
  ZT_REQUIRE(ztCu_sToLower(ztCu_sToUpper(own.get())) == lower);
}

void roundNumber(Input &input) {
  const auto value = input.flag() ? input.number<double>() : input.number<int32_t>() / 2.0;
  int32_t expected = 0;
  if (!isnan(value)) {
    expected = static_cast<int32_t>(std::clamp(round(value), double{INT32_MIN}, double{INT32_MAX}));
  }
  ZT_REQUIRE(ztCu_round(value) == expected);
  ZT_REQUIRE(ztCu_isnan(value) == 0);
}

// Messages and the log ----------------------------------------------------------------------------

const MemoryFile *logFile;

// A format with at most one conversion, of a letter of a kind; texts around it bear none.
std::string formatFrom(Input &input, const char *letters, const char *length) {
  static const char *const widths[] = {"",    "1",   "7",   "40",    "500",  "511",
                                       "512", "513", "600", "70000", "8000", "99999999999"};
  std::string format;
  for (char c : input.text(30)) format += c == '%' ? std::string("%%") : std::string(1, c);
  format += '%';
  for (uint32_t i = input.below(3); i > 0; --i) format += "-+ #0'"[input.below(6)];
  format += widths[input.below(12)];
  if (input.flag()) format += std::string(".") + widths[input.below(9)];
  format += length;
  format += letters[input.below(static_cast<uint32_t>(strlen(letters)))];
  for (char c : input.text(30)) format += c == '%' ? std::string("%%") : std::string(1, c);
  return format;
}

// The conversions fit the arguments, which a compiler cannot see.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"

template <typename Argument>
void formatOne(const std::string &format, Argument argument, bool inLog) {
  char expected[pathSize] = "";
  const int length = snprintf(expected, sizeof expected, format.c_str(), argument);
  if (!inLog) {
    const std::string found = ztCu_fmtMsg(format.c_str(), argument);
    // What a text is that cannot be formatted is not said.
    ZT_REQUIRE(length < 0 ? found.size() < pathSize : found == expected);
    return;
  }
  ZT_REQUIRE(ztLc_openLogFile(logFile->path()) == 1);
  ztLc_log(format.c_str(), argument);
  ztLc_closeLogFile();
  const std::string found = logFile->bytes();
  ZT_REQUIRE(length < 0 ? found.size() < pathSize : found == expected);
}

// What stands in a text that is logged is interpreted once more on standard output, whatever it is.
std::string hostileText(Input &input) {
  static const char *const pieces[] = {
      "%n",  "%s",      "%%",  "%",       "%*d", "%.*s", "%1$n", "%99999999999d", "%hhn",
      "%ls", "%#.500f", "%Lf", "%5$*3$d", "%c",  "%p",   "%m",   "%'I-+ #0d",     "%b"};
  std::string text;
  for (uint32_t i = input.below(8); i > 0; --i) {
    const uint32_t choice = input.below(24);
    text += choice < 18 ? std::string(pieces[choice]) : input.text(40);
  }
  return text;
}

void format(Input &input) {
  const bool inLog = input.flag();
  switch (input.below(8)) {
    case 0:
      return formatOne(formatFrom(input, "dixXuo", ""), input.number<int32_t>(), inLog);
    case 1:
      return formatOne(formatFrom(input, "dixXuo", "l"), input.number<int64_t>(), inLog);
    case 2:
      return formatOne(formatFrom(input, "eEfFgGaA", ""), input.number<double>(), inLog);
    case 3:
      return formatOne(formatFrom(input, "c", ""), static_cast<int32_t>(input.byte()), inLog);
    case 4:
      return formatOne(formatFrom(input, "p", ""), reinterpret_cast<const void *>(input.number<uintptr_t>()),
                       inLog);
    case 5:
      return formatOne(formatFrom(input, "s", ""), hostileText(input).c_str(), inLog);
    case 6:
      return formatOne("%s",
                       (hostileText(input) + std::string(input.below(600), 'l') + hostileText(input)).c_str(),
                       inLog);
    default:
      // The formatter's own result may be an argument of its next call, and of the log.
      return formatOne("<%s>", ztCu_fmtMsg("%s", hostileText(input).c_str()), inLog);
  }
}

#pragma GCC diagnostic pop

const void *logged;  // an object that the log speaks of

void report(Input &input) {
  const Text text(hostileText(input));
  zt_assert(static_cast<int32_t>(input.below(2)), text.get());
  ZT_REQUIRE(ztOOP_HandleNullFuncPtr(input.flag() ? logged : nullptr, text.get()) == 0);
  if (ztOOP_isClassRegistered(text.get())) return;
  ZT_REQUIRE(ztNewFromName(text.get()) == nullptr);
  ZT_REQUIRE(ztOOP_findClass(text.get()) == nullptr);
  ztFreeClass(text.get());
}

// Folders -----------------------------------------------------------------------------------------

std::string home;     // the folder where everything happens
std::string outside;  // the one where the program was started

// The files and folders that are walked over.
void fillFolder(const std::string &folder) {
  for (const char *name : {"tree", "tree/sub.dir", "tree/sub.dir/deep", "tree/plain", "links"}) {
    std::filesystem::create_directory(folder + "/" + name);
  }
  for (const char *name : {"a.txt", "b.TXT", "c", ".txt", "..txt", "d.*", "e.tar.gz", "f.", "sub.dir/a.txt",
                           "sub.dir/deep/x.dir", "plain/a.txt", "plain/%n.txt"}) {
    writeContents(folder + "/tree/" + name, "");
  }
  std::filesystem::create_directory_symlink("..", folder + "/links/up.dir");
  std::filesystem::create_directory_symlink(".", folder + "/links/same.dir");
  std::filesystem::create_symlink("nowhere", folder + "/links/broken.txt");
}

using Names = std::vector<std::string>;

bool isReported(const std::string &name, const std::string &extension) {
  const size_t dot = lastOf(name, ".");
  if (dot == std::string::npos) return false;
  return name.substr(dot + 1) == extension || name.substr(dot + 1) == "*";
}

int32_t collect(const char *path, const char *name, void *userData) {
  const std::string whole = path;
  ZT_REQUIRE(whole.size() < pathSize && whole.ends_with(name));
  static_cast<Names *>(userData)->push_back(whole);
  return 1;
}

Names enumerated(const std::string &directory, const std::string &extension, bool recursive) {
  Names found;
  ZT_REQUIRE(ztDm_enumFiles(directory.c_str(), extension.c_str(), recursive, collect, &found) == 1);
  std::sort(found.begin(), found.end());
  return found;
}

std::string extensionFrom(Input &input) {
  static const char *const extensions[] = {"txt", "TXT", "dir", "*", "", "gz", "tar.gz", "."};
  const uint32_t choice = input.below(10);
  return choice < 8 ? extensions[choice] : input.text(8);
}

void walkTree(Input &input) {
  const std::string extension = extensionFrom(input);
  const bool recursive = input.flag();
  const std::string tree = home + "/tree";
  Names expected;
  for (const auto &entry : std::filesystem::recursive_directory_iterator(tree)) {
    const bool isDirect = entry.path().parent_path() == tree;
    if ((recursive || isDirect) && isReported(entry.path().filename(), extension))
      expected.push_back(entry.path());
  }
  std::sort(expected.begin(), expected.end());
  ZT_REQUIRE(enumerated(tree, extension, recursive) == expected);
}

void walkLinks(Input &input) {
  const Names found = enumerated(home + "/links", extensionFrom(input), true);
  for (const std::string &path : found) ZT_REQUIRE(path.starts_with(home + "/links"));
  // The links lead to the folder above, and through it to all of the tree, each way once.
  ZT_REQUIRE(found.size() < 100);
}

void changeFolder(Input &input) {
  static const char *const folders[] = {"tree", "tree/plain", "nowhere", "tree/a.txt", ""};
  const std::string folder = home + "/" + folders[input.below(5)];
  const bool isFolder = std::filesystem::is_directory(folder);
  ZT_REQUIRE(ztDm_changeDir(folder.c_str()) == isFolder);
  const PathBuffer out;
  const std::string current = std::filesystem::current_path();
  ZT_REQUIRE(ztDm_getCurrentDir(input.flag() ? out.get() : nullptr) == current);
  ZT_REQUIRE(ztDm_changeDir(home.c_str()) == 1);
  // What does not exist cannot be entered, nor made.
  const std::string unlikely = "./missing-" + std::to_string(input.byte());
  ZT_REQUIRE(ztDm_makeDir(unlikely.c_str()) == 0 && ztDm_changeDir(unlikely.c_str()) == 0);
  ZT_REQUIRE(ztDm_changeDir(outside.c_str()) == 1);
}

void useNothing(Input &) {
  ZT_REQUIRE(ztCu_extractFileName(nullptr, nullptr) == nullptr && ztCu_extractPath("a", nullptr) == nullptr);
  ZT_REQUIRE(ztCu_cutFileExt(nullptr) == nullptr && ztCu_fixRelativePath(nullptr) == nullptr);
  ZT_REQUIRE(ztCu_expandEnvString(nullptr, "a") == 0);
  ZT_REQUIRE(*ztCu_makePath(nullptr, nullptr, nullptr) == '\0' && *ztCu_sToLower(nullptr) == '\0');
  ZT_REQUIRE(*ztDm_getDirName(nullptr, nullptr) == '\0' && ztDm_changeDir(nullptr) == 0);
  ZT_REQUIRE(ztDm_enumFiles(nullptr, "a", 1, collect, nullptr) == 1);
  ztCu_genUniqueId();
}

void walkLinksOrChangeFolder(Input &input) {
  if (input.flag()) return walkLinks(input);
  changeFolder(input);
}

void step(Input &input) {
  static constexpr void (*steps[])(Input &) = {
      takePathApart, takePathApart, changeInPlace, changeInPlace, makePath,
      makePath,      expand,        expand,        mapCase,       roundNumber,
      format,        format,        report,        walkTree,      walkLinksOrChangeFolder,
      useNothing};
  steps[input.below(std::size(steps))](input);
}

}  // namespace

int LLVMFuzzerInitialize(int *, char ***) {
  static const TempFolder folder;
  fillFolder(folder.path());
  static const MemoryFile file;
  home = folder.path();
  outside = std::filesystem::current_path();
  logged = ztFile_ctor(nullptr, 1);
  logFile = &file;
  ztLc_closeLogFile();
  return 0;
}

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  const NoBlocksLeft check;
  Input input(data, size);
  while (!input.isEmpty()) step(input);
  return 0;
}
