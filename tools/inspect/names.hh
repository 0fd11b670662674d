// What the values of a record belong to: the fields of the object that read them, and of the objects within it.
#ifndef ZT_INSPECT_NAMES_HH
#define ZT_INSPECT_NAMES_HH

#include "core/ztclass.h"
#include "tools/inspect/trace.hh"

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace ztinspect {

// The name of a step. Empty where the object keeps the value elsewhere.
struct Name {
  std::string text;
  int32_t element = -1;   // the number of an element of an array
  Kind kind;              // as which bytes are shown
  bool isTarget = false;  // the identifier that a link leads to

  // Whether it is the next element of the same array.
  bool follows(const Name &before) const {
    return element == before.element + 1 && text == before.text;
  }
};

// A field of a class, and where it leads.
struct Field {
  std::string name;
  size_t offset;
  ztClass *klass;  // of an object in it or behind it; NULL for other fields
  bool isPointer;
  bool isTarget;  // the identifier that a link leads to
};

class Namer {
 public:
  // One name for each step, of an object that has just read them.
  void nameAll(void *object, const Trace &trace, std::vector<Name> *names);

 private:
  // Memory that belongs to a field.
  struct Part {
    const char *start;
    size_t size;
    std::string prefix;
    const std::vector<Field> *fields;  // of an object; NULL for the elements of an array
    size_t elementSize;
    Kind kind;
  };

  const std::vector<Field> &fieldsOf(ztClass *klass);
  void addObject(void *object, const std::string &prefix, int depth);
  void addField(char *object, const Field &field, const std::string &prefix, int depth);
  void addElements(void *array, const std::string &prefix, int depth);
  void addAttributes(void *tag);
  bool nameIn(const Part &part, const Step &step, Name *name) const;
  static void nameTypes(std::vector<Name> *names);
  static void nameCounts(const Trace &trace, std::vector<Name> *names);

  std::unordered_map<ztClass *, std::unique_ptr<std::vector<Field>>> known;
  std::vector<Part> parts;
};

}  // namespace ztinspect

#endif
