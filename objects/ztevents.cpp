#include "objects/ztevents.h"

#include "core/ztcheck.hh"
#include "core/ztlogctrl.h"
#include "core/ztmem.h"
#include "objects/ztchange.hh"
#include "objects/ztdelivery.hh"
#include "objects/ztguard.hh"
#include "objects/ztobjbase.hh"
#include "objects/ztvalues.h"

#include <string.h>

using namespace ztcore;

// Whether a signal can have so many arguments. It may not exist yet.
static bool fits(const char *function, const void *object, const char *signalName, uint32_t count) {
  const ztSignal *signal = findSignal(object, signalName);
  const uint32_t most = signal == nullptr ? mostArguments : argumentCountOf(signal);
  if (count <= most && count <= mostArguments) return true;
  ztLc_log("%s - Error, signal " ZT_CUT_NAME " of class " ZT_CUT_NAME " has at most %u arguments, not %u\n",
           function, signalName, ztOOP_classNameOf(object), most < mostArguments ? most : mostArguments,
           count);
  return false;
}

// Connecting --------------------------------------------------------------------------------------

namespace {

// A call of a host.
struct Connection {
  const char *function;
  void *sender;
  void *receiver;
  ztSlotFunction slot;
};

}  // namespace

// Whether it has two ends and a function.
static bool isComplete(const Connection &connection, const char *name) {
  const char *function = connection.function;
  if (!isObject(function, connection.sender, "sender") || !isGiven(function, name, "name")) return false;
  if (!isObject(function, connection.receiver, "receiver")) return false;
  if (connection.slot.call0 == nullptr) return isGiven(function, nullptr, "function");
  return isLasting(function, connection.sender, "sender") &&
         isLasting(function, connection.receiver, "receiver");
}

static bool isNew(const Connection &connection, const char *signalName) {
  ztClass *klass = ztOOP_classOf(connection.sender);
  const ztObjectMethods *methods = ztObject_of(connection.sender);
  if (!methods->connectionExist(klass, connection.sender, signalName, connection.receiver, connection.slot))
    return true;
  ztLc_log("%s - Error, signal " ZT_CUT_NAME " of class " ZT_CUT_NAME
           " is connected to that function already\n",
           connection.function, signalName, klass->name);
  return false;
}

static int32_t fail(const Connection &connection, const char *signalName) {
  ztLc_log("%s - Error, signal " ZT_CUT_NAME " was not connected\n", connection.function, signalName);
  return 0;
}

// The slot is called like the signal: its name is only printed, and the function has none.
static int32_t connect(const Connection &connection, const char *signalName, uint32_t argumentCount) {
  if (!isNew(connection, signalName)) return 0;
  void *sender = connection.sender;
  const bool done =
      ztObject_of(sender)->connect(ztOOP_classOf(sender), sender, signalName, connection.receiver, signalName,
                                   connection.slot, argumentCount) != 0;
  return done ? 1 : fail(connection, signalName);
}

int32_t ztObject_connect(void *sender, const char *signalName, void *receiver, ztSlotFunction function,
                         uint32_t argumentCount) {
  const Connection connection = {__func__, sender, receiver, function};
  return isComplete(connection, signalName) && fits(__func__, sender, signalName, argumentCount) &&
         connect(connection, signalName, argumentCount);
}

// Connecting to changes ---------------------------------------------------------------------------

namespace {

// The name of the signal of one property.
class ChangeName {
 public:
  explicit ChangeName(const char *propertyName) {
    constexpr size_t before = sizeof changeOfOne - 1;
    const size_t size = before + strlen(propertyName) + 1;
    if (size <= INT32_MAX) text = static_cast<char *>(ztm_alloc(static_cast<int32_t>(size)));
    if (text == nullptr) return;
    memcpy(text, changeOfOne, before);
    memcpy(text + before, propertyName, size - before);
  }
  ~ChangeName() {
    ztm_free(text);
  }
  ChangeName(const ChangeName &) = delete;
  ChangeName &operator=(const ChangeName &) = delete;

  // NULL when memory is exhausted.
  const char *get() const {
    return text;
  }

 private:
  char *text = nullptr;
};

}  // namespace

static bool hasProperty(const Connection &connection, const char *propertyName) {
  if (ztObject_findProperty(connection.sender, propertyName) != nullptr) return true;
  ztLc_log("%s - Error, class " ZT_CUT_NAME " has no property " ZT_CUT_NAME "\n", connection.function,
           ztOOP_classNameOf(connection.sender), propertyName);
  return false;
}

// The flag is set first: a host's `connect` may end the object.
static int32_t connectChange(const Connection &connection, const char *signalName) {
  auto *object = static_cast<ztObject *>(connection.sender);
  if (ztObject_of(object)->addSignal(object->klass, object, changeOfAny, 1) == nullptr) {
    return fail(connection, changeOfAny);
  }
  object->flags |= objectTellsChanges;
  return connect(connection, signalName, 1);
}

int32_t ztObject_onChange(void *object, const char *propertyName, void *receiver, ztSlotFunction function) {
  const Connection connection = {__func__, object, receiver, function};
  if (!isComplete(connection, propertyName) || !hasProperty(connection, propertyName)) return 0;
  const ChangeName name(propertyName);
  if (name.get() != nullptr) return connectChange(connection, name.get());
  ztLc_log("%s - Error, memory is exhausted\n", __func__);
  return 0;
}

// Emitting ----------------------------------------------------------------------------------------

// Sorts arguments by their kinds. False when one is of no kind.
static bool sortArguments(EmittedArguments *sorted, const ztArgument *arguments, uint32_t count) {
  intptr_t *word = sorted->words;
  double *number = sorted->numbers;
  for (uint32_t i = 0; i < count; ++i) {
    const ztArgument &argument = arguments[i];
    if (argument.kind == ZT_ARGUMENT_WORD) {
      *word++ = argument.value.word;
    } else if (argument.kind == ZT_ARGUMENT_DOUBLE) {
      *number++ = argument.value.number;
    } else {
      ztLc_log("ztObject_emitArgs - Error, argument %u is of the unknown kind %d\n", i, argument.kind);
      return false;
    }
  }
  return true;
}

int32_t ztObject_emitArgs(void *object, const char *signalName, const ztArgument *arguments, uint32_t count) {
  if (!isObject(__func__, object, "object") || !isGiven(__func__, signalName, "name")) return 0;
  if (count != 0 && !isGiven(__func__, arguments, "list of arguments")) return 0;
  if (!fits(__func__, object, signalName, count)) return 0;
  EmittedArguments sorted = {};
  if (!sortArguments(&sorted, arguments, count)) return 0;
  if (watchesEmissions) watchEmission(object, signalName);
  const ztSignal *signal = findSignal(object, signalName);
  return signal == nullptr ? 0 : emitArguments(object, signal, sorted);
}
