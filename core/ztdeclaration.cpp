#include "core/ztdeclaration.hh"

#include "core/ztoop.h"

#include <string.h>

using namespace ztcore;

// Texts -------------------------------------------------------------------------------------------

static bool isOfName(char character) {
  const auto lower = static_cast<unsigned char>(character | ' ');
  return (lower >= 'a' && lower <= 'z') || (character >= '0' && character <= '9') || character == '_';
}

static const char *findIn(const TextPart &part, const char *wanted) {
  return static_cast<const char *>(memmem(part.begin, part.length, wanted, strlen(wanted)));
}

// Declarations ------------------------------------------------------------------------------------

// Where the name begins that ends before `end`.
static const char *beginOfName(const char *begin, const char *end) {
  while (end > begin && isOfName(end[-1])) --end;
  return end;
}

// The name in one declarator: after "(*" for a pointer to a function, else the last one before an array.
static TextPart nameIn(const TextPart &declarator) {
  const char *pointer = findIn(declarator, "(*");
  if (pointer != nullptr) {
    const char *begin = pointer + 2;
    while (begin < declarator.end() && *begin == ' ') ++begin;
    const char *end = begin;
    while (end < declarator.end() && isOfName(*end)) ++end;
    return between(begin, end);
  }
  const TextPart named = trimmed(between(declarator.begin, findOutside(declarator, "[")));
  return between(beginOfName(named.begin, named.end()), named.end());
}

// The end of the specifiers before the first declarator: "const char *" ends before the star.
static const char *endOfBase(const TextPart &declarator, const TextPart &name) {
  return findOutside(between(declarator.begin, name.begin), "*(");
}

// Such as "flag : 1". The colons of "std::string" are two.
static bool isBitField(const TextPart &declarator) {
  const char *end = declarator.end();
  const char *colon = findOutside(declarator, ":");
  while (end - colon > 1 && colon[1] == ':') colon = findOutside(between(colon + 2, end), ":");
  return colon != end;
}

bool Declarations::next() {
  do {
    const TextPart list = wholeOf(rest);
    const char *semicolon = findOutside(list, ";");
    if (semicolon == list.end()) return false;
    whole = trimmed(between(rest, semicolon));
    rest = semicolon + 1;
  } while (whole.isEmpty());
  declarators = whole.begin;
  cut = false;
  return true;
}

bool Declarations::nextDeclarator(Declarator *declarator) {
  if (cut || declarators == nullptr || declarators >= whole.end()) return false;
  const char *comma = findOutside(between(declarators, whole.end()), ",");
  const TextPart part = trimmed(between(declarators, comma));
  const bool isFirst = declarators == whole.begin;
  declarators = comma + 1;
  const TextPart name = nameIn(part);
  cut = name.isEmpty() || isBitField(part);
  if (cut) return false;
  const char *own = isFirst ? endOfBase(part, name) : part.begin;
  if (isFirst) base = trimmed(between(part.begin, own));
  *declarator = {part, base, trimmed(between(own, name.begin)), name,
                 trimmed(between(name.end(), part.end()))};
  return true;
}

// Arguments ---------------------------------------------------------------------------------------

ArgumentList::ArgumentList(const char *brackets) : rest(strchr(brackets, '(')), end(strrchr(brackets, ')')) {
  rest = rest == nullptr || end == nullptr ? end : rest + 1;
}

static bool isKeyword(const TextPart &word) {
  static constexpr const char *keywords[] = {"int",  "char",   "short",    "long",   "float", "double",
                                             "bool", "signed", "unsigned", "struct", "_Bool", "const"};
  for (const char *keyword : keywords) {
    if (word.is(wholeOf(keyword))) return true;
  }
  return false;
}

// A single word is a type; so is a last word of the language.
ArgumentText ArgumentList::next() {
  if (rest == nullptr || rest >= end) return {{"", 0}, {"", 0}};
  const char *comma = findOutside(between(rest, end), ",");
  const TextPart argument = trimmed(between(rest, comma));
  rest = comma + 1;
  const char *last = beginOfName(argument.begin, argument.end());
  const TextPart name = between(last, argument.end());
  if (last == argument.begin || name.isEmpty() || isKeyword(name)) return {argument, {"", 0}};
  return {trimmed(between(argument.begin, last)), name};
}

// Sizes -------------------------------------------------------------------------------------------

namespace {

struct NamedType {
  char name[24];
  int32_t size;
};

}  // namespace

// Each is aligned to its size.
static constexpr NamedType namedTypes[] = {{"char", 1},
                                           {"signed char", 1},
                                           {"unsigned char", 1},
                                           {"bool", 1},
                                           {"_Bool", 1},
                                           {"int8_t", 1},
                                           {"uint8_t", 1},
                                           {"short", 2},
                                           {"unsigned short", 2},
                                           {"int16_t", 2},
                                           {"uint16_t", 2},
                                           {"int", 4},
                                           {"unsigned", 4},
                                           {"unsigned int", 4},
                                           {"int32_t", 4},
                                           {"uint32_t", 4},
                                           {"float", 4},
                                           {"long", 8},
                                           {"unsigned long", 8},
                                           {"long long", 8},
                                           {"unsigned long long", 8},
                                           {"int64_t", 8},
                                           {"uint64_t", 8},
                                           {"size_t", 8},
                                           {"ssize_t", 8},
                                           {"intptr_t", 8},
                                           {"uintptr_t", 8},
                                           {"ptrdiff_t", 8},
                                           {"time_t", 8},
                                           {"double", 8},
                                           {"ztWord", 8},
                                           {"ztCompareFunc", 8},
                                           {"ztCtor", 8},
                                           {"ztGetter", 8},
                                           {"ztSetter", 8},
                                           {"ztSlotFunction", 8},
                                           {"ztClassDestroyHook", 8}};

static TextPart withoutQualifiers(TextPart base) {
  static constexpr const char *qualifiers[] = {"const ", "volatile "};
  for (const char *qualifier : qualifiers) {
    const size_t length = strlen(qualifier);
    if (base.length > length && memcmp(base.begin, qualifier, length) == 0)
      base = {base.begin + length, base.length - length};
  }
  return base;
}

static int32_t sizeOfNamed(TextPart base) {
  base = withoutQualifiers(base);
  for (const NamedType &type : namedTypes) {
    if (base.is(wholeOf(type.name))) return type.size;
  }
  return 0;
}

// The number of elements of "[4][8]"; 0 when it is not written with plain numbers.
static int32_t countOf(const TextPart &arrays) {
  int64_t count = 1;
  const char *at = arrays.begin;
  const char *end = arrays.end();
  while (at < end) {
    if (*at++ != '[') return 0;
    int64_t length = 0;
    while (at < end && *at >= '0' && *at <= '9' && length < INT32_MAX) length = 10 * length + *at++ - '0';
    if (at == end || *at++ != ']') return 0;
    count *= length;
    if (count > INT32_MAX) return 0;
  }
  return static_cast<int32_t>(count);
}

TypeSize ztcore::sizeOf(const Declarator &declarator) {
  constexpr TypeSize pointer = {sizeof(void *), alignof(void *)};
  const bool isFunction = findIn(declarator.before, "(") != nullptr;
  if (isFunction) return *declarator.after.begin == ')' ? pointer : TypeSize{0, 0};
  const int32_t count = countOf(declarator.after);
  const bool isPointer = findIn(declarator.before, "*") != nullptr;
  const int32_t size = isPointer ? pointer.size : sizeOfNamed(declarator.base);
  if (count == 0 || size == 0 || count > INT32_MAX / size) return {0, 0};
  return {size * count, size};
}
