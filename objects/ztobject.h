/**
 * @file ztobject.h
 * ztObject: an object with properties, signals and slots.
 *
 * Properties have a name and a type. Static ones are declared once for a class, in its `initProperties`, and
 * inherited. Dynamic ones are created on one object when a name is set that its class does not declare.
 *
 * A signal is delivered inside the call that emits it, to the slots that were connected when the call began. A
 * slot may do anything: connect and disconnect, emit, or release its receiver, the emitter and any other
 * object. A slot that is disconnected or whose receiver is destroyed before its turn is not called.
 *
 * The two maps of an object, a signal with its name and slots, and a slot with its name may share a block of
 * memory, also with the item that holds them in a map. Each of them is an object: reference, release, replace or
 * take it as any other. But do not free it with ztm_free(), move its bytes, change its class or make another object
 * in its place.
 */
#ifndef ZT_OBJECTS_ZTOBJECT_H
#define ZT_OBJECTS_ZTOBJECT_H

#include "objects/ztproperty.h"
#include "objects/ztsignal.h"

/** Fields of ztObject. */
#define ztObject_FIELDS                                     \
  ztBaseClass_FIELDS                                        \
  uint32_t flags;                   /* the library's own */ \
  ztSignalMap *signals;             /* by name; owned */    \
  ztPropertyMap *dynamicProperties; /* by name; owned */    \
  void *sender; /* the emitter of the signal that is being delivered to this object, or NULL */

/**
 * The methods of an object, in slot order. Two of the slots are data of the class. A class descriptor as the
 * first argument is the object's own.
 *
 *  - `staticProperties`: the class's static properties by name. NULL until the class is registered; also NULL
 *    after memory was exhausted during their declaration, until their next use.
 *  - `printConnections`: writes the object's signals and their slots to a text file of that name.
 *  - `addSignal`: adds a signal with that many arguments, 0 to 4. Returns the signal, also an existing one of
 *    that name, whose argument count stays; NULL on failure.
 *  - `addSlot`: connects a receiver, a ztObject, and a function to a signal. 1; 0 when the two are already
 *    connected, whatever the slot's name, and on failure. Does not disconnect when either end is destroyed.
 *  - `connect`: adds the signal to the sender if it has none of that name, connects receiver and function to
 *    it, and disconnects when either end is destroyed. As `addSlot`; 0 also when one end is being destroyed.
 *  - `connectionExist`: 1 when the object's signal of that name has a slot with these two, else 0.
 *  - `destroyed`: the slot that `connect` uses to disconnect: removes all slots for an object that is
 *    destroyed.
 *  - `reserved`: NULL.
 *  - `addProperty`: declares a static property of the class. 1; 0 when it has one of that name, when the type
 *    is unknown ("ztInt" stands for the registered "ztIntPropertyType"), and on failure. The property stores
 *    the user word and the signal name. That name announces nothing: a change is emitted as "prop->signalname",
 *    told by ztObject_onChange(), and by any signal that the setter itself emits.
 *  - `initProperties`: declares the class's own static properties, after those of its ancestors. Returns the
 *    result of the last declaration.
 *  - `setProperty`: 1, or 0 when a new property cannot be made. An existing property takes its value from the
 *    word itself (see ztProperty's `setValue`). An unknown name makes a dynamic property of the type; the word
 *    is then the address of the initial value (of a ztString for "ztString"; NULL for zero or the empty text).
 *  - `getProperty`: reads a property into @c out, which is as wide as its kind. 1; 0, with @c out unchanged,
 *    when there is none of that name. Ignores the type name.
 *  - `getProperties`, `getStaticProperties`, `getDynamicProperties`: fill a ztPropertyPtrArray with the
 *    addresses of the object's properties in the order of their declaration, inherited ones first, dynamic ones
 *    last. Valid until a property is added. 1, or 0 on failure.
 *  - `getSender`: the object whose signal is being delivered to this one; NULL outside a delivery.
 */
#define ztObject_METHODS                                                                                   \
  ztBaseClass_METHODS                                                                                      \
  ztPropertyMap *staticProperties;                                                                /* 16 */ \
  void (*printConnections)(ztClass * klass, ztBorrowed * object, const ztBorrowedText *fileName); /* 17 */ \
  ztSignal *(*addSignal)(ztClass * klass, ztBorrowed * object, const ztBorrowedText *name,                 \
                         uint32_t argumentCount); /* 18 */                                                 \
  int32_t (*addSlot)(ztClass * klass, ztBorrowed * signal, ztBorrowed * receiver,                          \
                     const ztBorrowedText *slotName, ztSlotFunction function); /* 19 */                    \
  int32_t (*connect)(ztClass * klass, ztBorrowed * sender, const ztBorrowedText *signalName,               \
                     ztBorrowed *receiver, const ztBorrowedText *slotName, ztSlotFunction function,        \
                     uint32_t argumentCount); /* 20 */                                                     \
  int32_t (*connectionExist)(ztClass * klass, const ztBorrowed *object, const ztBorrowedText *signalName,  \
                             const ztBorrowed *receiver, ztSlotFunction function); /* 21 */                \
  void (*destroyed)(void *object, ztBorrowed *peer);                               /* 22 */                \
  void *reserved;                                                                  /* 23 */                \
  int32_t (*addProperty)(ztClass * klass, const ztBorrowedText *name, const ztBorrowedText *typeName,      \
                         ztGetter getter, ztSetter setter, ztBorrowed *userWord,                           \
                         const ztBorrowedText *signalName); /* 24 */                                       \
  int32_t (*initProperties)(ztClass * klass);               /* 25 */                                       \
  int32_t (*setProperty)(void *object, const ztBorrowedText *name, const ztBorrowedText *typeName,         \
                         ztWord value); /* 26 */                                                           \
  int32_t (*getProperty)(void *object, const ztBorrowedText *name, const ztBorrowedText *typeName,         \
                         ztOut *out);                                     /* 27 */                         \
  int32_t (*getProperties)(const void *object, ztBorrowed *array);        /* 28 */                         \
  int32_t (*getStaticProperties)(const void *object, ztBorrowed *array);  /* 29 */                         \
  int32_t (*getDynamicProperties)(const void *object, ztBorrowed *array); /* 30 */                         \
  ztBorrowed *(*getSender)(const void *object);                           /* 31 */

/** An object with properties, signals and slots. */
ZT_DECLARE_CLASS(ztObject)

ZT_BEGIN_C

/** Orders properties by their creation: compares the index fields of the two properties whose addresses are
 *  stored at @p first and @p second. @return -1, 0 or 1 */
ZT_API int32_t ztObject_propertiesSortFunc(const void *first, const void *second);

/** Emits a signal of the object: calls every slot of it with @p first and a zero for each further argument of
 *  the signal. During a call the receiver's `getSender` returns the object.
 *  @return 1; 0 when the object has no signal of that name, when the signal is blocked or has no slots, and
 *          when memory is exhausted (then no slot was called) */
ZT_API int32_t ztObject_emit(void *object, const char *signalName, intptr_t first);

/** As ztObject_emit(), with a double as the first argument. */
ZT_API int32_t ztObject_emitDouble(void *object, const char *signalName, double first);

/** Removes one connection. @return 1, or 0 when there is no such connection */
ZT_API int32_t ztObject_disconnect(void *sender, const char *signalName, void *receiver,
                                   ztSlotFunction function);

/** Blocks (not 0) or unblocks (0) every delivery of a signal.
 *  @return 1, or 0 when the object has no signal of that name */
ZT_API int32_t ztObject_blockSignal(void *object, const char *signalName, uint32_t blocked);

ZT_END_C

#endif
