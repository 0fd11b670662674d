// The text of C declarations, as the preprocessor leaves it in the lists of a class: no comments, no line breaks.
#ifndef ZT_CORE_ZTDECLARATION_HH
#define ZT_CORE_ZTDECLARATION_HH

#include "core/zttextpart.hh"

#include <stdint.h>

namespace ztcore {

// One declared name: `char *name[8]` has the type "char *[8]", in the pieces before and after the name.
struct Declarator {
  TextPart text;    // "char *name[8]"; without the base where it is not the first of its declaration
  TextPart base;    // "char", what all declarators of one declaration have in common
  TextPart before;  // "*"
  TextPart name;
  TextPart after;  // "[8]"
};

// The declarations in a list, each ended by a semicolon, and the declarators in each of them.
class Declarations {
 public:
  explicit Declarations(const char *list) : rest(list) {}
  // False at the end. Passes over semicolons that end nothing.
  bool next();
  // The declaration, without its semicolon.
  TextPart text() const {
    return whole;
  }
  // False behind the last name. Also before a bit field and what declares no name; `isCut` is true then.
  bool nextDeclarator(Declarator *declarator);
  bool isCut() const {
    return cut;
  }

 private:
  const char *rest;
  TextPart whole = {nullptr, 0};
  TextPart base = {nullptr, 0};
  const char *declarators = nullptr;  // the next one
  bool cut = false;
};

// One argument of a function: "int32_t level", or only its type.
struct ArgumentText {
  TextPart type;
  TextPart name;  // empty when there is none
};

// The arguments in the brackets of "(int32_t level, const char *unit)".
class ArgumentList {
 public:
  explicit ArgumentList(const char *brackets);
  // Empty behind the last one.
  ArgumentText next();

 private:
  const char *rest;
  const char *end;
};

// Bytes and alignment of a type. An alignment of 0 stands for a type that is not known.
struct TypeSize {
  int32_t size;
  int32_t alignment;
};

TypeSize sizeOf(const Declarator &declarator);

}  // namespace ztcore

#endif
