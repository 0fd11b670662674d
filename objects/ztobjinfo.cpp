#include "objects/ztobjinfo.h"

#include "containers/ztwalk.hh"
#include "core/ztdeclaration.hh"
#include "core/ztlock.hh"
#include "core/ztlogctrl.h"
#include "core/ztmem.hh"
#include "core/ztoop.hh"
#include "objects/ztdeclared.hh"
#include "objects/ztstatics.hh"
#include "objects/ztstrmap.hh"

#include <string.h>

using namespace ztcore;

namespace {

// What a description takes.
struct Space {
  int32_t properties;
  int32_t signals;
  int32_t arguments;
  size_t textBytes;
};

// The lists of a description while they are being written.
struct Lists {
  ztPropertyInfo *properties;
  ztSignalInfo *signals;
  ztSignalArgument *arguments;
  char *texts;
  int32_t propertyCount;
  int32_t signalCount;
};

}  // namespace

// Space -------------------------------------------------------------------------------------------

static const char *nameOf(const ztProperty *property) {
  return ztString_of(property->name)->get(property->name);
}

static size_t bytesOf(const char *text) {
  return text == nullptr ? 1 : strlen(text) + 1;
}

static void countSignal(const DeclaredSignal &signal, void *context) {
  auto *space = static_cast<Space *>(context);
  ++space->signals;
  space->arguments += static_cast<int32_t>(signal.argumentCount);
  // Its own text, its name, and of each argument a name and a type.
  space->textBytes += 3 * bytesOf(signal.text) + 2 * size_t{signal.argumentCount};
}

static Space spaceFor(ztClass *klass, const ztPropertyMap *map) {
  Space space = {sizeOfMap(map), 0, 0, 0};
  for (const ztMapItem *item : itemsOf(map)) {
    const auto *property = static_cast<const ztProperty *>(item->value);
    space.textBytes += bytesOf(nameOf(property)) + bytesOf(ztProperty_of(property)->getType(property)) +
                       bytesOf(property->ownerClassName);
  }
  visitDeclaredSignals(klass, countSignal, &space);
  return space;
}

static ztObjectInfo *newInfo(const Space &space, Lists *lists) {
  const size_t bytes = sizeof(ztObjectInfo) + static_cast<size_t>(space.properties) * sizeof(ztPropertyInfo) +
                       static_cast<size_t>(space.signals) * sizeof(ztSignalInfo) +
                       static_cast<size_t>(space.arguments) * sizeof(ztSignalArgument) + space.textBytes;
  if (bytes > INT32_MAX) return nullptr;
  auto *info = static_cast<ztObjectInfo *>(hidden(ztm_alloc(static_cast<int32_t>(bytes))));
  if (info == nullptr) return nullptr;
  auto *properties = reinterpret_cast<ztPropertyInfo *>(info + 1);
  auto *signals = reinterpret_cast<ztSignalInfo *>(properties + space.properties);
  auto *arguments = reinterpret_cast<ztSignalArgument *>(signals + space.signals);
  *lists = {properties, signals, arguments, reinterpret_cast<char *>(arguments + space.arguments), 0, 0};
  return info;
}

// Lists -------------------------------------------------------------------------------------------

static const char *addText(Lists *lists, const TextPart &part) {
  char *text = lists->texts;
  if (part.length > 0) memcpy(text, part.begin, part.length);
  text[part.length] = '\0';
  lists->texts += part.length + 1;
  return text;
}

static const char *addText(Lists *lists, const char *text) {
  return addText(lists, {text, text == nullptr ? 0 : strlen(text)});
}

// Moves a property to its place in the order of declaration.
static void sortIn(const ztProperty **ordered, int32_t count, const ztProperty *property) {
  int32_t at = count;
  while (at > 0 && ordered[at - 1]->index > property->index) {
    ordered[at] = ordered[at - 1];
    --at;
  }
  ordered[at] = property;
}

static void addProperty(Lists *lists, const ztProperty *property) {
  lists->properties[lists->propertyCount++] = {addText(lists, nameOf(property)),
                                               addText(lists, ztProperty_of(property)->getType(property)),
                                               property->type,
                                               addText(lists, property->ownerClassName),
                                               property->getter.getInt != nullptr,
                                               property->setter.setInt != nullptr};
}

// False when memory is exhausted.
static bool addProperties(Lists *lists, const ztPropertyMap *map, int32_t count) {
  auto **ordered =
      static_cast<const ztProperty **>(ztm_alloc((count + 1) * static_cast<int32_t>(sizeof(void *))));
  if (ordered == nullptr) return false;
  int32_t found = 0;
  for (const ztMapItem *item : itemsOf(map))
    sortIn(ordered, found++, static_cast<const ztProperty *>(item->value));
  for (int32_t i = 0; i < found; ++i) addProperty(lists, ordered[i]);
  ztm_free(ordered);
  return true;
}

// "int32_t level" has a type and a name, "int32_t" and "const char *" only a type.
static void addArgument(Lists *lists, ztSignalArgument *argument, const ArgumentText &text) {
  argument->type = addText(lists, text.type);
  argument->name = addText(lists, text.name);
}

static void addSignal(const DeclaredSignal &signal, void *context) {
  auto *lists = static_cast<Lists *>(context);
  ztSignalInfo *info = &lists->signals[lists->signalCount++];
  info->name = addText(lists, {signal.text, signal.nameLength});
  info->declaration = addText(lists, signal.text);
  info->declaredBy = signal.klass;
  info->argumentCount = static_cast<int32_t>(signal.argumentCount);
  info->arguments = lists->arguments;
  ArgumentList arguments(signal.text + signal.nameLength);
  for (uint32_t i = 0; i < signal.argumentCount; ++i)
    addArgument(lists, lists->arguments++, arguments.next());
}

// Descriptions ------------------------------------------------------------------------------------

static ztPropertyMap *mapOf(ztClass *klass) {
  if (!isInUse(klass)) {
    ztLc_log("ztObject_classInfo - Error, the class is not in use: see ZT_REGISTER_CLASS\n");
    return nullptr;
  }
  if (isWithin(klass, ztObjectClass_Instance())) return staticMapOf(klass);
  ztLc_log("ztObject_classInfo - Error, the class '%s' is no ztObject class\n", klass->name);
  return nullptr;
}

ztObjectInfo *ztObject_classInfo(ztClass *klass) {
  const Locked locked(engineLock, Locked::hostsCode);
  const ztPropertyMap *map = mapOf(klass);
  if (map == nullptr) return nullptr;
  Lists lists;
  const Space space = spaceFor(klass, map);
  ztObjectInfo *info = newInfo(space, &lists);
  if (info == nullptr) return nullptr;
  const Lists begin = lists;
  if (!addProperties(&lists, map, space.properties)) {
    ztm_free(info);
    return nullptr;
  }
  visitDeclaredSignals(klass, addSignal, &lists);
  *info = {klass, lists.propertyCount, begin.properties, lists.signalCount, begin.signals};
  return info;
}

void ztObject_freeClassInfo(ztObjectInfo *info) {
  ztm_free(info);
}
