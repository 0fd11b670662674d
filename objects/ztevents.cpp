#include "objects/ztevents.h"

#include "core/ztcheck.hh"
#include "core/ztlogctrl.h"
#include "objects/ztdelivery.hh"
#include "objects/ztguard.hh"
#include "objects/ztobjbase.hh"

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

static bool isNew(void *sender, const char *signalName, const void *receiver, ztSlotFunction function) {
  ztClass *klass = ztOOP_classOf(sender);
  const ztObjectMethods *methods = ztObject_of(sender);
  if (!methods->connectionExist(klass, sender, signalName, receiver, function)) return true;
  ztLc_log("ztObject_connect - Error, signal " ZT_CUT_NAME " of class " ZT_CUT_NAME
           " is connected to that function already\n",
           signalName, klass->name);
  return false;
}

// The name of a slot is printed only; the function has none.
static int32_t connect(void *sender, const char *signalName, void *receiver, ztSlotFunction function,
                       uint32_t argumentCount) {
  ztClass *klass = ztOOP_classOf(sender);
  const ztObjectMethods *methods = ztObject_of(sender);
  if (methods->connect(klass, sender, signalName, receiver, signalName, function, argumentCount)) return 1;
  ztLc_log("ztObject_connect - Error, signal " ZT_CUT_NAME " was not connected\n", signalName);
  return 0;
}

int32_t ztObject_connect(void *sender, const char *signalName, void *receiver, ztSlotFunction function,
                         uint32_t argumentCount) {
  if (!isObject(__func__, sender, "sender") || !isGiven(__func__, signalName, "name") ||
      !isObject(__func__, receiver, "receiver"))
    return 0;
  const bool hasFunction = function.call0 != nullptr;
  if (!isGiven(__func__, hasFunction ? receiver : nullptr, "function")) return 0;
  if (!isLasting(__func__, sender, "sender") || !isLasting(__func__, receiver, "receiver")) return 0;
  if (!fits(__func__, sender, signalName, argumentCount)) return 0;
  if (!isNew(sender, signalName, receiver, function)) return 0;
  return connect(sender, signalName, receiver, function, argumentCount);
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
  if (checksThreads) checkThread(object, "an emission");
  const ztSignal *signal = findSignal(object, signalName);
  return signal == nullptr ? 0 : emitArguments(object, signal, sorted);
}
