#include "objects/ztvalues.h"

#include "core/ztlogctrl.h"
#include "core/ztoop.hh"
#include "core/ztthread.hh"
#include "io/ztstring.hh"
#include "objects/ztguard.hh"
#include "objects/ztobjbase.hh"
#include "objects/ztstatics.hh"
#include "objects/ztstrmap.hh"

using namespace ztcore;

namespace {

// A kind of value, by its property type.
struct Kind {
  const char *name;  // in declarations
  const char *typeClass;
  ztCtor ctor;
  ztClass *(*type)();

  bool isOf(const ztProperty *property) const {
    return isWithin(property->type, type());
  }
};

// A call of a host.
struct Request {
  const char *function;
  void *object;
  const char *name;
};

}  // namespace

#define ZT_KIND(name) \
  { #name, #name "PropertyType", name##PropertyType_ctor, name##PropertyTypeClass_Instance }

static const Kind intKind = ZT_KIND(ztInt);
static const Kind boolKind = ZT_KIND(ztBool);
static const Kind charKind = ZT_KIND(ztChar);
static const Kind floatKind = ZT_KIND(ztFloat);
static const Kind pointerKind = ZT_KIND(ztVoidPtr);
static const Kind charPtrKind = ZT_KIND(ztCharPtr);
static const Kind stringKind = ZT_KIND(ztString);

// Finding -----------------------------------------------------------------------------------------

ztProperty *ztObject_findProperty(void *object, const char *name) {
  auto *owner = static_cast<ztObject *>(emitterOf(object));
  if (owner == nullptr || name == nullptr) return nullptr;
  void *found = findByName(staticMapOf(owner->klass), ztPropertyMap_compare_func, name);
  if (found == nullptr) found = findByName(owner->dynamicProperties, ztPropertyMap_compare_func, name);
  return static_cast<ztProperty *>(found);
}

static const char *classNameOf(const Request &request) {
  return ztOOP_classNameOf(request.object);
}

static int32_t refuse(const Request &request, const char *why) {
  ztLc_log("%s - Error, property " ZT_CUT_NAME " of class " ZT_CUT_NAME " %s\n", request.function,
           request.name, classNameOf(request), why);
  return 0;
}

static bool isComplete(const Request &request) {
  return isObject(request.function, request.object, "object") &&
         isGiven(request.function, request.name, "name");
}

// The property that a request names, of one of two kinds; NULL when there is none.
static const ztProperty *find(const Request &request, const Kind &kind, const Kind &other) {
  if (!isComplete(request)) return nullptr;
  const ztProperty *property = ztObject_findProperty(request.object, request.name);
  if (property == nullptr) {
    ztLc_log("%s - Error, class " ZT_CUT_NAME " has no property " ZT_CUT_NAME "\n", request.function,
             classNameOf(request), request.name);
    return nullptr;
  }
  if (kind.isOf(property) || other.isOf(property)) return property;
  const char *type = ztProperty_of(property)->getType(property);
  ztLc_log("%s - Error, property " ZT_CUT_NAME " of class " ZT_CUT_NAME " is a " ZT_CUT_NAME "\n",
           request.function, request.name, classNameOf(request), type == nullptr ? "(null)" : type);
  return nullptr;
}

static bool hasStorage(const ztProperty *property) {
  return property->valuePointer != nullptr && property->valueSize != 0;
}

static const ztProperty *findWritable(const Request &request, const Kind &kind, const Kind &other) {
  const ztProperty *property = find(request, kind, other);
  if (property == nullptr) return nullptr;
  if (property->setter.setInt != nullptr || hasStorage(property)) return property;
  refuse(request, "cannot be written");
  return nullptr;
}

static const ztProperty *findReadable(const Request &request, const Kind &kind, const Kind &other) {
  const ztProperty *property = find(request, kind, other);
  if (property == nullptr) return nullptr;
  if (property->getter.getInt != nullptr || hasStorage(property)) return property;
  refuse(request, "cannot be read");
  return nullptr;
}

// Setting -----------------------------------------------------------------------------------------

static int32_t callSetProperty(const Request &request, const Kind &kind, ztWord value) {
  return ztObject_of(request.object)->setProperty(request.object, request.name, kind.name, value) != 0;
}

static ztWord wordOf(const void *pointer) {
  return reinterpret_cast<ztWord>(pointer);
}

// The object is not used: a setter, a getter or an override of a host may have destroyed it.
static int32_t fail(const Request &request, const char *why) {
  ztLc_log("%s - Error, property " ZT_CUT_NAME " %s\n", request.function, request.name, why);
  return 0;
}

static int32_t write(const Request &request, const Kind &kind, ztWord value) {
  return callSetProperty(request, kind, value) ? 1 : fail(request, "was not set");
}

static int32_t set(const Request &request, const Kind &kind, ztWord value) {
  return findWritable(request, kind, kind) != nullptr && write(request, kind, value);
}

int32_t ztObject_setInt(void *object, const char *name, int32_t value) {
  return set({__func__, object, name}, intKind, value);
}

int32_t ztObject_setBool(void *object, const char *name, int32_t value) {
  return set({__func__, object, name}, boolKind, value);
}

int32_t ztObject_setChar(void *object, const char *name, signed char value) {
  return set({__func__, object, name}, charKind, value);
}

int32_t ztObject_setFloat(void *object, const char *name, double value) {
  return set({__func__, object, name}, floatKind, ztWordOfDouble(value));
}

int32_t ztObject_setPointer(void *object, const char *name, void *value) {
  return set({__func__, object, name}, pointerKind, wordOf(value));
}

// Calls use(string) with a string that is released afterwards.
template <typename Use>
static int32_t withString(const Request &request, const char *text, Use use) {
  ztString *string = makeString(text);
  if (string == nullptr) return fail(request, "has no memory for its text");
  const int32_t done = use(string);
  ztString_of(string)->unRef(string);
  return done;
}

static int32_t writeString(const Request &request, const char *text) {
  const uint32_t lostBefore = thisThread.lostTexts;
  return withString(request, text, [&](const ztString *string) {
    if (!write(request, stringKind, wordOf(string))) return 0;
    return thisThread.lostTexts == lostBefore ? 1 : fail(request, "has no memory for its text");
  });
}

int32_t ztObject_setText(void *object, const char *name, const char *text) {
  const Request request = {__func__, object, name};
  if (!isComplete(request) || !isGiven(__func__, text, "text")) return 0;
  const ztProperty *property = findWritable(request, stringKind, charPtrKind);
  if (property == nullptr) return 0;
  return charPtrKind.isOf(property) ? write(request, charPtrKind, wordOf(text)) : writeString(request, text);
}

// Reading -----------------------------------------------------------------------------------------

template <typename Value>
static int32_t read(const Request &request, const Kind &kind, Value *out) {
  Value value{};
  const ztObjectMethods *methods = ztObject_of(request.object);
  const int32_t done = methods->getProperty(request.object, request.name, kind.name, &value);
  if (!done) return fail(request, "was not read");
  *out = value;
  return 1;
}

template <typename Value>
static int32_t get(const Request &request, const Kind &kind, Value *out) {
  if (!isComplete(request) || !isGiven(request.function, out, "place for the value")) return 0;
  return findReadable(request, kind, kind) != nullptr && read(request, kind, out);
}

int32_t ztObject_getInt(void *object, const char *name, int32_t *out) {
  return get({__func__, object, name}, intKind, out);
}

int32_t ztObject_getBool(void *object, const char *name, int32_t *out) {
  return get({__func__, object, name}, boolKind, out);
}

int32_t ztObject_getChar(void *object, const char *name, signed char *out) {
  return get({__func__, object, name}, charKind, out);
}

int32_t ztObject_getFloat(void *object, const char *name, double *out) {
  return get({__func__, object, name}, floatKind, out);
}

int32_t ztObject_getPointer(void *object, const char *name, void **out) {
  return get({__func__, object, name}, pointerKind, out);
}

int32_t ztObject_getText(void *object, const char *name, const char **out) {
  const Request request = {__func__, object, name};
  if (!isComplete(request) || !isGiven(__func__, out, "place for the value")) return 0;
  const ztProperty *property = findReadable(request, stringKind, charPtrKind);
  if (property == nullptr) return 0;
  if (charPtrKind.isOf(property)) return read(request, charPtrKind, out);
  const void *string = nullptr;
  if (!read(request, stringKind, &string)) return 0;
  *out = string == nullptr ? nullptr : ztString_of(string)->get(string);
  return 1;
}

// Making ------------------------------------------------------------------------------------------

static bool isKnown(const Kind &kind) {
  return ztProperty_functions()->getPropertyTypeClass(nullptr, kind.typeClass) != nullptr;
}

static bool makeKnown(const Kind &kind) {
  if (isKnown(kind)) return true;
  ensureRegistered(kind.typeClass, kind.ctor);
  ztProperty_functions()->registerNewType(nullptr, kind.typeClass);
  return isKnown(kind);
}

int32_t ztProperty_registerTypes(void) {
  const Kind *const kinds[] = {&intKind,   &charKind,    &charPtrKind, &boolKind,
                               &floatKind, &pointerKind, &stringKind};
  for (const Kind *kind : kinds) {
    if (makeKnown(*kind)) continue;
    ztLc_log("%s - Error, memory is exhausted\n", __func__);
    return 0;
  }
  return 1;
}

// Whether a property of that name can be made.
static bool isFree(const Request &request) {
  if (!isComplete(request)) return false;
  if (ztObject_findProperty(request.object, request.name) == nullptr) return true;
  return refuse(request, "exists already") != 0;
}

// A new property takes its value from an address.
static int32_t make(const Request &request, const Kind &kind, const void *initial) {
  if (makeKnown(kind) && callSetProperty(request, kind, wordOf(initial))) return 1;
  return fail(request, "could not be made");
}

static int32_t add(const Request &request, const Kind &kind, const void *initial) {
  return isFree(request) && make(request, kind, initial);
}

int32_t ztObject_addInt(void *object, const char *name, int32_t initial) {
  return add({__func__, object, name}, intKind, &initial);
}

int32_t ztObject_addBool(void *object, const char *name, int32_t initial) {
  return add({__func__, object, name}, boolKind, &initial);
}

int32_t ztObject_addChar(void *object, const char *name, signed char initial) {
  return add({__func__, object, name}, charKind, &initial);
}

int32_t ztObject_addFloat(void *object, const char *name, double initial) {
  return add({__func__, object, name}, floatKind, &initial);
}

int32_t ztObject_addCharPtr(void *object, const char *name, const char *initial) {
  return add({__func__, object, name}, charPtrKind, &initial);
}

int32_t ztObject_addPointer(void *object, const char *name, void *initial) {
  return add({__func__, object, name}, pointerKind, &initial);
}

int32_t ztObject_addText(void *object, const char *name, const char *initial) {
  const Request request = {__func__, object, name};
  if (!isComplete(request) || !isGiven(__func__, initial, "text") || !isFree(request)) return 0;
  return withString(request, initial,
                    [&](const ztString *string) { return make(request, stringKind, string); });
}
