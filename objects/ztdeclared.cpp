#include "objects/ztdeclared.h"

#include "core/ztcore.hh"
#include "core/ztkept.hh"
#include "core/ztlock.hh"
#include "core/ztlogctrl.h"
#include "core/ztmem.hh"
#include "core/ztoop.hh"
#include "core/ztpointermap.hh"
#include "core/zttextpart.hh"
#include "objects/ztchange.hh"
#include "objects/ztdeclared.hh"
#include "objects/ztguard.hh"
#include "objects/ztproperty.hh"
#include "objects/ztroot.h"
#include "objects/ztstatics.hh"

#include <string.h>

using namespace ztcore;

// Texts -------------------------------------------------------------------------------------------

namespace {

struct Parsed {
  TextPart text;
  TextPart name;
  uint32_t argumentCount;
};

}  // namespace

// What is wrong with a list of arguments, or NULL. They are counted up to one too many.
static const char *countArguments(const TextPart &brackets, uint32_t *count) {
  constexpr uint32_t most = 4;
  *count = 0;
  TextPart list = trimmed(brackets);
  if (list.isEmpty() || list.is(wholeOf("void"))) return nullptr;
  for (;;) {
    const TextPart argument = between(list.begin, findOutside(list, ","));
    if (trimmed(argument).isEmpty()) return "has an empty argument";
    if (++*count > most) return "has more than four arguments";
    if (argument.end() == list.end()) return nullptr;
    list = between(argument.end() + 1, list.end());
  }
}

// What is wrong with a declaration, or NULL.
static const char *parse(const char *declaration, Parsed *parsed) {
  constexpr size_t longest = 255;
  const TextPart text = trimmed(wholeOf(declaration));
  parsed->text = text;
  parsed->argumentCount = 0;
  if (text.length > longest) return "has more than 255 characters";
  const char *opening = text.begin + strcspn(text.begin, "(),");
  if (opening > text.end()) opening = text.end();
  parsed->name = trimmed(between(text.begin, opening));
  if (parsed->name.isEmpty()) return "has no name";
  if (opening == text.end()) return nullptr;
  if (*opening != '(') return "has no opening bracket";
  const TextPart rest = between(opening + 1, text.end());
  const char *closing = findOutside(rest, ")");
  if (closing == text.end()) return "has no closing bracket";
  if (closing + 1 != text.end()) return "has text behind its closing bracket";
  return countArguments(between(rest.begin, closing), &parsed->argumentCount);
}

// Declarations ------------------------------------------------------------------------------------

namespace {

// Declared by a host. The text follows.
struct Declaration {
  DeclaredSignal signal;
  Declaration *next;  // of the same class
};

struct DeclaringClass {
  ztClass *klass;
  Declaration *first;
  DeclaringClass *next;
};

// Declared by the library: nothing is made for them when it is loaded.
struct OwnSignal {
  ztClass *(*klass)();
  const char *text;
  uint32_t nameLength;
};

}  // namespace

#define ZT_OWN_SIGNAL(C, name, argument) \
  { C##Class_Instance, name "(" argument ")", sizeof name - 1 }

static const OwnSignal ownSignals[] = {ZT_OWN_SIGNAL(ztRoot, "childAdded", "ztRoot *child"),
                                       ZT_OWN_SIGNAL(ztRoot, "childDeleted", "ztRoot *child")};

// Guarded by engineLock.
static DeclaringClass *declaringClasses;
static PointerMap byClass;

bool ztcore::hostsDeclareSignals;

static uint64_t keyOf(const ztClass *klass) {
  return reinterpret_cast<uintptr_t>(klass);
}

static DeclaringClass *declaringClassOf(const ztClass *klass) {
  return static_cast<DeclaringClass *>(byClass.find(keyOf(klass)));
}

static void releaseClass(DeclaringClass **at) {
  DeclaringClass *declaring = *at;
  *at = declaring->next;
  byClass.remove(keyOf(declaring->klass));
  while (Declaration *declaration = declaring->first) {
    declaring->first = declaration->next;
    ztm_free(declaration);
  }
  ztm_free(declaring);
  __atomic_store_n(&hostsDeclareSignals, declaringClasses != nullptr, __ATOMIC_RELAXED);
}

static void releaseDeclarations() {
  const Locked locked(engineLock);
  while (declaringClasses != nullptr) releaseClass(&declaringClasses);
}

static void forgetDeclarations(const ztClass *klass) {
  const Locked locked(engineLock);
  DeclaringClass **at = &declaringClasses;
  while (*at != nullptr) {
    if (isWithin((*at)->klass, klass)) {
      releaseClass(at);
    } else {
      at = &(*at)->next;
    }
  }
}

static Declaration *makeDeclaration(ztClass *klass, const Parsed &parsed) {
  const size_t length = parsed.text.length;
  auto *declaration =
      static_cast<Declaration *>(ztm_alloc(static_cast<int32_t>(sizeof(Declaration) + length + 1)));
  if (declaration == nullptr) return nullptr;
  char *text = reinterpret_cast<char *>(declaration + 1);
  memcpy(text, parsed.text.begin, length);
  text[length] = '\0';
  declaration->signal = {klass, text, static_cast<uint32_t>(parsed.name.length), parsed.argumentCount};
  declaration->next = nullptr;
  return declaration;
}

static DeclaringClass *makeDeclaringClass(ztClass *klass) {
  auto *declaring = static_cast<DeclaringClass *>(hidden(ztm_alloc(sizeof(DeclaringClass))));
  if (declaring == nullptr) return nullptr;
  if (!byClass.insert(keyOf(klass), declaring)) {
    ztm_free(declaring);
    return nullptr;
  }
  keepRegistered(Kept::signals, releaseDeclarations, forgetDeclarations);
  *declaring = {klass, nullptr, declaringClasses};
  declaringClasses = declaring;
  __atomic_store_n(&hostsDeclareSignals, true, __ATOMIC_RELAXED);
  return declaring;
}

static bool addDeclaration(ztClass *klass, const Parsed &parsed) {
  Declaration *declaration = makeDeclaration(klass, parsed);
  if (declaration == nullptr) return false;
  DeclaringClass *declaring = declaringClassOf(klass);
  if (declaring == nullptr) declaring = makeDeclaringClass(klass);
  if (declaring == nullptr) {
    ztm_free(declaration);
    return false;
  }
  Declaration **at = &declaring->first;
  while (*at != nullptr) at = &(*at)->next;
  *at = declaration;
  return true;
}

// Runs visit(signal) for what one class declares, until it returns false.
template <typename Visit>
static bool visitClass(const ztClass *klass, Visit visit) {
  for (const OwnSignal &own : ownSignals) {
    if (own.klass() == klass && !visit({own.klass(), own.text, own.nameLength, 1})) return false;
  }
  const DeclaringClass *declaring = declaringClassOf(klass);
  if (declaring == nullptr) return true;
  for (const Declaration *at = declaring->first; at != nullptr; at = at->next) {
    if (!visit(at->signal)) return false;
  }
  return true;
}

// The signal of that name that a class or an ancestor declares. False when there is none.
static bool findDeclared(const ztClass *klass, const TextPart &name, DeclaredSignal *found) {
  for (; klass != nullptr; klass = klass->parent) {
    const bool isMissing = visitClass(klass, [&](const DeclaredSignal &signal) {
      *found = signal;
      return !name.is({signal.text, signal.nameLength});
    });
    if (!isMissing) return true;
  }
  return false;
}

static bool isObjectClass(const ztClass *klass) {
  return isWithin(klass, ztObjectClass_Instance());
}

static int32_t refuse(const ztClass *klass, const char *declaration, const char *why) {
  ztLc_log("ztOOP_declareSignal - Error, the declaration " ZT_CUT_NAME " of class " ZT_CUT_NAME " %s\n",
           declaration, klass->name == nullptr ? "(null)" : klass->name, why);
  return 0;
}

static int32_t declare(ztClass *klass, const char *declaration, const Parsed &parsed) {
  const Locked locked(engineLock);
  DeclaredSignal known;
  if (findDeclared(klass, parsed.name, &known)) {
    if (parsed.text.is(wholeOf(known.text))) return 1;
    return refuse(klass, declaration, "differs from an earlier one");
  }
  if (addDeclaration(klass, parsed)) return 1;
  ++lostDeclarations;
  return refuse(klass, declaration, "was lost: memory is exhausted");
}

int32_t ztOOP_declareSignal(ztClass *klass, const char *declaration) {
  if (!isGiven(__func__, klass, "class") || !isGiven(__func__, declaration, "declaration")) return 0;
  Parsed parsed;
  const char *problem = isObjectClass(klass) ? parse(declaration, &parsed) : "is not one of a ztObject class";
  return problem == nullptr ? declare(klass, declaration, parsed) : refuse(klass, declaration, problem);
}

// Looking up --------------------------------------------------------------------------------------

// Declares again what a clean-up has released. False when memory is exhausted.
static bool prepare(ztClass *klass) {
  bool done = true;
  for (; isObjectClass(klass); klass = klass->parent) done = staticMapOf(klass) != nullptr && done;
  return done;
}

static void visitAll(const ztClass *klass, void (*visit)(const DeclaredSignal &signal, void *context),
                     void *context) {
  if (klass == nullptr) return;
  visitAll(klass->parent, visit, context);
  visitClass(klass, [=](const DeclaredSignal &signal) {
    visit(signal, context);
    return true;
  });
}

void ztcore::visitDeclaredSignals(ztClass *klass, void (*visit)(const DeclaredSignal &signal, void *context),
                                  void *context) {
  const Locked locked(engineLock, Locked::hostsCode);
  prepare(klass);
  visitAll(klass, visit, context);
}

// No class declares these.
static bool isOfEveryObject(const char *signalName) {
  return strcmp(signalName, "destroyed") == 0 || strcmp(signalName, changeOfAny) == 0 ||
         propertyOfChange(signalName) != nullptr;
}

// Whether a class of a host, from this one upwards, declares signals.
static bool isDeclaring(const ztClass *klass) {
  while (klass != nullptr && (declaringClassOf(klass) == nullptr || isLibraryClass(klass)))
    klass = klass->parent;
  return klass != nullptr;
}

static bool isUndeclared(ztClass *klass, const char *signalName) {
  const Locked locked(engineLock, Locked::hostsCode);
  DeclaredSignal found;
  return prepare(klass) && isDeclaring(klass) && !findDeclared(klass, wholeOf(signalName), &found);
}

void ztcore::checkDeclared(const void *sender, const char *signalName) {
  ztClass *klass = ztOOP_classOf(sender);
  if (isOfEveryObject(signalName) || !isUndeclared(klass, signalName)) return;
  ztLc_log("ztObject::connect - Warning, class " ZT_CUT_NAME " declares no signal " ZT_CUT_NAME "\n",
           klass->name, signalName);
}
