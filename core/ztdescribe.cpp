#include "core/ztdescribe.h"

#include "core/ztbasec.h"
#include "core/ztdeclaration.hh"
#include "core/ztdescribed.hh"
#include "core/ztlock.hh"
#include "core/ztlogctrl.h"
#include "core/ztmem.hh"
#include "core/ztoop.hh"

#include <string.h>

using namespace ztcore;

namespace {

// The lists of one class, as text.
struct ClassTexts {
  const char *fields;
  const char *methods;
  const char *functions;
};

// What a list may take in a description.
struct Bound {
  int32_t names;
  size_t bytes;
};

// The capacity of the lists of a description.
struct Space {
  int32_t methods;
  int32_t fields;
  int32_t functions;
  size_t textBytes;
};

// The lists of a description while they are being written.
struct Lists {
  ztMethodInfo *methods;
  ztFieldInfo *fields;
  ztFunctionInfo *functions;
  char *texts;  // the end of the texts that are written
  int32_t methodCount;
  int32_t fieldCount;
  int32_t functionCount;
};

// The end of the fields that are written; unknown behind a field of an unknown type.
struct FieldEnd {
  static constexpr int32_t unknown = -1;
  int32_t offset;
  int32_t alignment;
};

}  // namespace

// Texts -------------------------------------------------------------------------------------------

// The root class adds the whole of its lists: they are its parent's, too.
static constexpr ClassTexts textsOfRoot = {ZT_TEXT_OF(ztBaseClass_FIELDS), ZT_TEXT_OF(ztBaseClass_METHODS),
                                           ZT_TEXT_OF(ztBaseClass_FUNCTIONS)};

// Empty texts for a class without a description.
static ClassTexts textsOf(const ztClass *klass) {
  if (klass == ztBaseClassClass_Instance()) return textsOfRoot;
  const ztClassDescription *description = descriptionOf(klass);
  if (description == nullptr) return {"", "", ""};
  return {description->fieldsText, description->methodsText, description->functionsText};
}

static int32_t namesIn(const char *list) {
  int32_t count = 0;
  Declarator declarator;
  for (Declarations declarations(list); declarations.next();) {
    while (declarations.nextDeclarator(&declarator)) ++count;
  }
  return count;
}

// Each name has a text for itself and one for the type or the declaration.
static Bound boundOf(const char *list) {
  Bound bound = {0, 0};
  for (Declarations declarations(list); declarations.next();) {
    size_t names = 1;
    for (size_t i = 0; i < declarations.text().length; ++i) names += declarations.text().begin[i] == ',';
    bound.names += static_cast<int32_t>(names);
    bound.bytes += names * 2 * (declarations.text().length + 2);
  }
  return bound;
}

// Appends to the texts, without a zero. Headers in the style of this library have "ztClass * klass" in macros.
static void append(Lists *lists, const TextPart &part) {
  for (size_t i = 0; i < part.length; ++i) {
    const bool isAfterStar = i > 1 && part.begin[i - 1] == '*' && part.begin[i - 2] == ' ';
    if (part.begin[i] != ' ' || !isAfterStar) *lists->texts++ = part.begin[i];
  }
}

static const char *addText(Lists *lists, const TextPart &part) {
  const char *text = lists->texts;
  append(lists, part);
  *lists->texts++ = '\0';
  return text;
}

// "void (*first)(void)", also where another method stands before it in the same declaration.
static const char *addDeclaration(Lists *lists, const Declarator &declarator) {
  const char *text = lists->texts;
  if (declarator.text.begin != declarator.base.begin) {
    append(lists, declarator.base);
    append(lists, {" ", 1});
  }
  addText(lists, declarator.text);
  return text;
}

static const char *addType(Lists *lists, const Declarator &declarator) {
  const char *type = lists->texts;
  append(lists, declarator.base);
  if (declarator.before.length > 0) append(lists, {" ", 1});
  append(lists, declarator.before);
  append(lists, declarator.after);
  *lists->texts++ = '\0';
  return type;
}

// The classes of a chain --------------------------------------------------------------------------

static int32_t depthOf(const ztClass *klass) {
  int32_t depth = 0;
  while ((klass = klass->parent) != nullptr) ++depth;
  return depth;
}

// The class at a depth of the chain that ends with this class; the root has depth 0.
static ztClass *classAt(ztClass *klass, int32_t depth) {
  for (int32_t above = depthOf(klass) - depth; above > 0; --above) klass = klass->parent;
  return klass;
}

// Methods -----------------------------------------------------------------------------------------

static void *inSlot(const ztClass *klass, int32_t slot) {
  return static_cast<void *const *>(klass->methodTable)[slot];
}

static bool isAbstract(const void *method) {
  return method == reinterpret_cast<const void *>(ztOOP_ztVirtualFuncHandler);
}

static ztMethodState stateOf(const void *method, bool isFunction) {
  if (method == nullptr) return ztMethodEmpty;
  if (isAbstract(method)) return ztMethodAbstract;
  return isFunction ? ztMethodDefined : ztMethodData;
}

// The class that put the function into the slot: the highest one with the same.
static ztClass *definerOf(ztClass *klass, int32_t slot, const ztClass *introducedBy) {
  const void *method = inSlot(klass, slot);
  while (klass != introducedBy && inSlot(klass->parent, slot) == method) klass = klass->parent;
  return klass;
}

static void addMethod(Lists *lists, ztClass *klass, ztClass *introducedBy, const Declarator &declarator) {
  ztMethodInfo *method = &lists->methods[lists->methodCount];
  const int32_t slot = lists->methodCount++;
  const bool isFunction = memmem(declarator.text.begin, declarator.text.length, "(*", 2) != nullptr;
  method->name = addText(lists, declarator.name);
  method->declaration = addDeclaration(lists, declarator);
  method->slot = slot;
  method->state = stateOf(inSlot(klass, slot), isFunction || declarator.name.isEmpty());
  method->introducedBy = introducedBy;
  const bool isDefined = method->state == ztMethodDefined || method->state == ztMethodData;
  method->definedBy = isDefined ? definerOf(klass, slot, introducedBy) : nullptr;
}

static void addUnnamed(Lists *lists, ztClass *klass, ztClass *introducedBy, int32_t end) {
  constexpr TextPart none = {"", 0};
  while (lists->methodCount < end) addMethod(lists, klass, introducedBy, {none, none, none, none, none});
}

// The slots that one class of the chain added. If its parent has no texts, the first ones are the parent's. Otherwise
// each must have a name; if not, there is something else in the list, and nobody can tell which slots it takes.
static void addMethods(Lists *lists, ztClass *klass, ztClass *introducedBy) {
  const ztClassDescription *description = descriptionOf(introducedBy);
  if (description == nullptr) return;
  const int32_t end = description->slotCount;
  const int32_t unnamed = end - lists->methodCount - namesIn(textsOf(introducedBy).methods);
  ztClass *parent = introducedBy->parent;
  const bool followsUnknown = parent != nullptr && descriptionOf(parent) == nullptr;
  if (unnamed < 0 || (unnamed > 0 && !followsUnknown)) return addUnnamed(lists, klass, introducedBy, end);
  addUnnamed(lists, klass, parent, lists->methodCount + unnamed);
  for (Declarations declarations(textsOf(introducedBy).methods); declarations.next();) {
    Declarator declarator;
    while (declarations.nextDeclarator(&declarator)) addMethod(lists, klass, introducedBy, declarator);
  }
}

// Fields ------------------------------------------------------------------------------------------

static int32_t aligned(int32_t offset, int32_t alignment) {
  return (offset + alignment - 1) / alignment * alignment;
}

// The offset of a field of an unknown type: known where every alignment that the class may have leads to it.
static int32_t placeUnknown(FieldEnd *end, int32_t instanceSize) {
  const int32_t most = instanceSize % 16 == 0 ? 16 : instanceSize & -instanceSize;
  const int32_t offset = end->offset % most == 0 ? end->offset : FieldEnd::unknown;
  end->offset = FieldEnd::unknown;
  return offset;
}

// The offset of the next field, which moves the end.
static int32_t placeField(FieldEnd *end, const TypeSize &type, int32_t instanceSize) {
  if (end->offset == FieldEnd::unknown) return FieldEnd::unknown;
  if (type.alignment == 0) return placeUnknown(end, instanceSize);
  const int32_t offset = aligned(end->offset, type.alignment);
  if (offset > INT32_MAX / 2 || type.size > INT32_MAX / 2) {
    end->offset = FieldEnd::unknown;
    return FieldEnd::unknown;
  }
  end->offset = offset + type.size;
  if (type.alignment > end->alignment) end->alignment = type.alignment;
  return offset;
}

static void addField(Lists *lists, ztClass *introducedBy, const Declarator &declarator, FieldEnd *end) {
  ztFieldInfo *field = &lists->fields[lists->fieldCount++];
  field->name = addText(lists, declarator.name);
  field->type = addType(lists, declarator);
  field->offset = placeField(end, sizeOf(declarator), introducedBy->instanceSize);
  field->introducedBy = introducedBy;
}

// The offsets are right only if they lead to the size that the compiler found.
static void checkOffsets(Lists *lists, int32_t first, const ztClass *introducedBy, FieldEnd *end) {
  // Those before a field of an unknown type are right.
  if (end->offset == FieldEnd::unknown) return;
  if (aligned(end->offset, end->alignment) == introducedBy->instanceSize) return;
  for (int32_t i = first; i < lists->fieldCount; ++i) lists->fields[i].offset = FieldEnd::unknown;
  end->offset = FieldEnd::unknown;
}

static void addFields(Lists *lists, ztClass *introducedBy, FieldEnd *end) {
  const int32_t first = lists->fieldCount;
  if (descriptionOf(introducedBy) == nullptr) end->offset = FieldEnd::unknown;
  for (Declarations declarations(textsOf(introducedBy).fields); declarations.next();) {
    Declarator declarator;
    while (declarations.nextDeclarator(&declarator)) addField(lists, introducedBy, declarator, end);
    if (declarations.isCut()) end->offset = FieldEnd::unknown;
  }
  checkOffsets(lists, first, introducedBy, end);
}

// Class functions ---------------------------------------------------------------------------------

static void addFunctions(Lists *lists, const char *list) {
  for (Declarations declarations(list); declarations.next();) {
    Declarator declarator;
    while (declarations.nextDeclarator(&declarator)) {
      ztFunctionInfo *function = &lists->functions[lists->functionCount];
      function->slot = lists->functionCount++;
      function->name = addText(lists, declarator.name);
      function->declaration = addDeclaration(lists, declarator);
    }
  }
}

// Descriptions ------------------------------------------------------------------------------------

static constexpr const char *standardFunctions = ZT_TEXT_OF(ztClass_FUNCTIONS);

// At least what the lists of a class and of what is below it take.
static Space spaceFor(const ztClass *klass) {
  const Bound standard = boundOf(standardFunctions);
  const Bound own = boundOf(textsOf(klass).functions);
  Space space = {0, 0, standard.names + own.names, standard.bytes + own.bytes + strlen(klass->name) + 1};
  for (const ztClass *at = klass; at != nullptr; at = at->parent) {
    const ztClassDescription *description = descriptionOf(at);
    const Bound fields = boundOf(textsOf(at).fields);
    space.fields += fields.names;
    space.textBytes += fields.bytes + boundOf(textsOf(at).methods).bytes;
    if (description != nullptr && space.methods < description->slotCount)
      space.methods = description->slotCount;
  }
  // Slots without names have two empty texts.
  space.textBytes += 2 * static_cast<size_t>(space.methods);
  return space;
}

// The description and its lists in one block.
static ztClassInfo *newInfo(const Space &space, Lists *lists) {
  const size_t bytes = sizeof(ztClassInfo) + static_cast<size_t>(space.methods) * sizeof(ztMethodInfo) +
                       static_cast<size_t>(space.fields) * sizeof(ztFieldInfo) +
                       static_cast<size_t>(space.functions) * sizeof(ztFunctionInfo) + space.textBytes;
  if (bytes > INT32_MAX) return nullptr;
  auto *info = static_cast<ztClassInfo *>(hidden(ztm_alloc(static_cast<int32_t>(bytes))));
  if (info == nullptr) return nullptr;
  auto *methods = reinterpret_cast<ztMethodInfo *>(info + 1);
  auto *fields = reinterpret_cast<ztFieldInfo *>(methods + space.methods);
  auto *functions = reinterpret_cast<ztFunctionInfo *>(fields + space.fields);
  *lists = {methods, fields, functions, reinterpret_cast<char *>(functions + space.functions), 0, 0, 0};
  return info;
}

static void fillLists(Lists *lists, ztClass *klass) {
  FieldEnd end = {0, 1};
  const int32_t depth = depthOf(klass);
  for (int32_t i = 0; i <= depth; ++i) {
    ztClass *introducedBy = classAt(klass, i);
    addMethods(lists, klass, introducedBy);
    addFields(lists, introducedBy, &end);
  }
  addFunctions(lists, standardFunctions);
  addFunctions(lists, textsOf(klass).functions);
}

ztClassInfo *ztOOP_classInfo(ztClass *klass) {
  const Locked locked(engineLock);
  if (!isInUse(klass)) {
    ztLc_log("ztOOP_classInfo - Error, the class is not in use: see ZT_REGISTER_CLASS\n");
    return nullptr;
  }
  Lists lists;
  ztClassInfo *info = newInfo(spaceFor(klass), &lists);
  if (info == nullptr) return nullptr;
  const char *name = addText(&lists, {klass->name, strlen(klass->name)});
  fillLists(&lists, klass);
  *info = {klass,
           name,
           klass->parent,
           klass->version,
           klass->instanceSize,
           descriptionOf(klass) != nullptr,
           lists.methodCount,
           lists.methods,
           lists.fieldCount,
           lists.fields,
           lists.functionCount,
           lists.functions};
  return info;
}

void ztOOP_freeClassInfo(ztClassInfo *info) {
  ztm_free(info);
}
