/**
 * @file ztevents.h
 * Connecting and emitting with checks: signals with up to four arguments of any kind.
 *
 * These functions give 0, with nothing changed and one line in the log, for what is certainly a slip: a NULL
 * argument, an object that is no ztObject, a number of arguments that does not fit.
 */
#ifndef ZT_OBJECTS_ZTEVENTS_H
#define ZT_OBJECTS_ZTEVENTS_H

#include "objects/ztobject.h"

ZT_BEGIN_C

#ifdef __cplusplus
#define ZT_SLOT(function)                                                               \
  ztSlotFunction {                                                                      \
    .call0 = reinterpret_cast<void (*)(void *)>(reinterpret_cast<void (*)()>(function)) \
  }
#else
/** The ztSlotFunction of a function with any arguments: `void function(void *receiver, ...)` with up to four, words
 *  and doubles. The compiler does not check them: they must be those of the signal. */
#define ZT_SLOT(function) ((ztSlotFunction){.call0 = (void (*)(void *))(void (*)(void))(function)})
#endif

/**
 * Connects a signal to a function of the receiver, by the sender's `connect`; the slot is called like the signal.
 * Adds the signal to the sender if it has none of that name. The connection ends with either object, and by
 * ztObject_disconnect().
 *
 * @param sender         a ztObject
 * @param signalName     the signal
 * @param receiver       a ztObject, which may be the sender
 * @param function       takes the arguments of the signal, or fewer; see ZT_SLOT()
 * @param argumentCount  how many arguments the signal has, 0 to 4
 * @return 1; 0 with a line in the log when an argument is NULL, an object is no ztObject or is being destroyed,
 *         @p argumentCount is more than 4 or more than the existing signal has (the function would get arguments
 *         that nobody passes), receiver and function are connected already, or memory is exhausted
 */
ZT_API int32_t ztObject_connect(void *sender, const char *signalName, void *receiver, ztSlotFunction function,
                                uint32_t argumentCount);

/**
 * Connects the changes of one property to a function of the receiver. It is called with the new value after each
 * setting of this property, by whatever function, and after the slots of "prop->signalname", which is emitted for all
 * properties of the object. Otherwise as ztObject_connect().
 *
 * The changes are a signal of the object: "change->" and the name of the property. By that name it is disconnected
 * and blocked: `ztObject_disconnect(gauge, "change->level", panel, function)`. The object gets the signal
 * "prop->signalname", too, with one argument, if it has none. A property type of a host tells changes if its
 * `setValue` calls that of a type of the library.
 *
 * @param object        a ztObject
 * @param propertyName  a static or dynamic property of it
 * @param receiver      a ztObject, which may be the object itself
 * @param function      takes one argument: a double for a "ztFloat", else a word; for a "ztString" the ztString that
 *                      was set
 * @return 1; 0 with a line in the log when there is no such property, and as ztObject_connect()
 */
ZT_API int32_t ztObject_onChange(void *object, const char *propertyName, void *receiver,
                                 ztSlotFunction function);

/** How an argument is passed. */
typedef enum ztArgumentKind {
  ZT_ARGUMENT_WORD,  /**< an integer or a pointer */
  ZT_ARGUMENT_DOUBLE /**< a double */
} ztArgumentKind;

/** The value of an argument. */
typedef union ztArgumentValue {
  intptr_t word;       /**< an integer */
  const void *pointer; /**< a pointer, which is passed like an integer */
  double number;       /**< a double */
} ztArgumentValue;

/** One argument of an emission; made by ZT_INT(), ZT_FLOAT() and ZT_POINTER(). */
typedef struct ztArgument {
  int32_t kind;          /**< a ztArgumentKind */
  ztArgumentValue value; /**< the member for the kind */
} ztArgument;

#ifdef __cplusplus
#define ZT_VALUE_AS(Type, value) static_cast<Type>(value)
#else
/** A conversion, in C and in C++. */
#define ZT_VALUE_AS(Type, value) ((Type)(value))
#endif

/* clang-format off */
/** An integer, a character or a boolean in an initialiser of a ztArgument. It is widened to a word, so a slot may
 *  take it as `intptr_t` or any narrower integer type. */
#define ZT_INT(value) {ZT_ARGUMENT_WORD, {.word = ZT_VALUE_AS(intptr_t, value)}}

/** A floating-point number in an initialiser of a ztArgument. A slot takes it as `double`, not as `float`. */
#define ZT_FLOAT(value) {ZT_ARGUMENT_DOUBLE, {.number = ZT_VALUE_AS(double, value)}}

/** A pointer to data in an initialiser of a ztArgument. It is passed on, not followed. */
#define ZT_POINTER(address) {ZT_ARGUMENT_WORD, {.pointer = (address)}}
/* clang-format on */

/**
 * Emits a signal of the object with several arguments, words and doubles in any order:
 *
 * @code
 * const ztArgument arguments[] = {ZT_INT(3), ZT_FLOAT(2.5), ZT_POINTER(station)};
 * ztObject_emitArgs(gauge, "measured", arguments, 3);
 * @endcode
 *
 * calls each slot as `void measured(void *receiver, intptr_t channel, double value, void *station)`. All slots of
 * the signal must take these kinds in this order. Otherwise as ztObject_emit().
 * @param object      a ztObject
 * @param signalName  the signal
 * @param arguments   may be NULL when @p count is 0
 * @param count       0 to 4; each further argument of the signal is zero, in every kind
 * @return 1; 0 as ztObject_emit(). Also 0, with a line in the log and no slot called, when an argument is NULL, the
 *         object is no ztObject, @p count is more than 4 or than the signal has, or a kind is unknown
 */
ZT_API int32_t ztObject_emitArgs(void *object, const char *signalName, const ztArgument *arguments,
                                 uint32_t count);

ZT_END_C

#endif
