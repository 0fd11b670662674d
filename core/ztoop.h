/**
 * @file ztoop.h
 * The engine: class descriptors, the registry of classes, start and clean-up.
 *
 * Conventions, which hold for every header of the library:
 *
 *  1. An integer result is 1 for success and 0 for failure, a pointer result is NULL for "no object",
 *     unless the declaration says otherwise. Nothing is thrown and nothing aborts.
 *  2. An operation takes its object first. A NULL object gives 0 or NULL and changes nothing.
 *  3. Class functions take one leading argument that they ignore; pass NULL.
 *  4. A heap object is made with `C_ctor(NULL, 1)`, `C_newop()` or `ztNewFromName("C")` and released
 *     with `unRef`. An object inside memory of yours is made with `C_ctor(address, 1)` and ended with
 *     a direct call of its `destroy`, never with `unRef`.
 *  5. Texts are zero-terminated bytes. A text handed to the library stays the caller's; a text that
 *     it returns stays the library's. A text longer than the buffer it goes into is cut to fit.
 *  6. An object, and all that is connected to it or owned by it, is used by one thread at a time, and may
 *     be handed on to another one. Different threads may use different objects at the same time: what the
 *     process has once (the registry, the tables of classes, the property types, the log, the records of
 *     the memory manager, counters) is locked inside, and a text that a function returns in a buffer of its
 *     own is in a buffer of the calling thread's. The hooks of a class run while the registry is locked: they
 *     may use the engine, but not wait for a thread that does.
 */
#ifndef ZT_CORE_ZTOOP_H
#define ZT_CORE_ZTOOP_H

#include <stddef.h>
#include <stdint.h>

/** Marks what the library exports. */
#define ZT_API __attribute__((visibility("default")))

/** Lets two views of one object (the parent's and the child's structs) name the same memory. */
#define ZT_MAY_ALIAS __attribute__((may_alias))

/** Marks what a class declaration gives and a source file need not use. */
#define ZT_MAYBE_UNUSED __attribute__((unused))

#ifdef __cplusplus
#define ZT_BEGIN_C extern "C" {
#define ZT_END_C }
#else
/** Opens a block of declarations with C linkage. */
#define ZT_BEGIN_C
/** Closes what ZT_BEGIN_C opened. */
#define ZT_END_C
#endif

ZT_BEGIN_C

/** A class, by its descriptor. */
typedef struct ztClass ztClass;

/** Makes an object of one class: in @p object, or on the heap when it is NULL; runs its `create`
 *  when @p create is not 0. */
typedef void *(*ztCtor)(void *object, int32_t create);

/** Called with a class's prototype when the registry frees the class. */
typedef void (*ztClassDestroyHook)(void *prototype);

/** Class descriptor: one static record per class, filled when the class is first used. */
struct ZT_MAY_ALIAS ztClass {
  ztClass *parent;      /**< the parent class; NULL for ztBaseClass */
  uint32_t version;     /**< stored with every object, compared when it is read back */
  int32_t instanceSize; /**< bytes of one instance, header included */
  const char *name;     /**< the class name */
  uint32_t initialised; /**< 0 until the descriptor is filled, then 1 */
  uint32_t spare;       /**< always 0 */
  void *classTable;     /**< class functions: ztClassFunctions, or a longer table that begins with it */
  void *methodTable;    /**< methods: ztBaseClassMethods, or a longer table that begins with it */
};

/** Registry entry: one per registered class, newest first. Hosts may read it. */
typedef struct ztClassEntry {
  char name[104];                  /**< the class name, cut to 103 characters */
  ztCtor ctor;                     /**< makes the objects of ztNewFromName() */
  ztClassDestroyHook classDestroy; /**< may be NULL */
  void *prototype;                 /**< an object whose `create` never ran; owned by the entry */
  struct ztClassEntry *next;       /**< the entry registered before this one */
} ztClassEntry;

/**
 * Registers a class under a name.
 *
 * Calls `classInstanceCreate` of the prototype's class when the entry is in place.
 * @param prototype     an object of the class made with create flag 0; the registry owns it when the
 *                      result is 1, and releases it with ztm_free()
 * @param name          copied, cut to 103 characters (with a line in the log): the class is known by what is
 *                      kept, and a longer name finds nothing
 * @param ctor          used by ztNewFromName()
 * @param classDestroy  called with the prototype when the class is freed; may be NULL
 * @return 1; 0 when what is kept of the name is registered already (nothing changes), when memory is exhausted, or
 *         when one of the first three arguments is NULL
 */
ZT_API int32_t ztAddNewClass(void *prototype, const char *name, ztCtor ctor, ztClassDestroyHook classDestroy);

/**
 * Makes an object of the class registered under @p name.
 * @return a new heap object whose `create` has run, the caller's to `unRef`; NULL, with a line in the
 *         log, when no class has that name
 */
ZT_API void *ztNewFromName(const char *name);

/**
 * Takes the class registered under @p name out of the registry and releases its prototype.
 *
 * Calls `classInstanceDestroy` of the class, then its `classDestroy` hook. An unknown name does
 * nothing. Objects of the class stay usable.
 */
ZT_API void ztFreeClass(const char *name);

/** @return the descriptor of the newest registered class that bears @p name, or NULL. Compares the
 *  names that the classes bear themselves, not those they were registered under. */
ZT_API ztClass *ztOOP_findClass(const char *name);

/** @return 1 when a class is registered under @p name, else 0 */
ZT_API int32_t ztOOP_isClassRegistered(const char *name);

/** @return the newest registry entry (follow `next` for older ones), NULL when none; valid until a
 *  class is registered or freed */
ZT_API const ztClassEntry *ztOOP_classList(void);

/** @return the number of registrations that succeeded since the library was loaded; freeing a class
 *  does not lower it */
ZT_API int32_t ztOOP_classCount(void);

/**
 * Starts the engine: opens `<baseName>.log` and writes the banner. Loading the library has done it
 * with "zentova"; a further call does nothing until ztOOP_CleanUp() ran.
 * @param baseName  path of the log file without its ending; NULL for no file
 * @return 1, also when the log file cannot be opened (the log then goes to standard output only)
 */
ZT_API int32_t ztOOP_Init(const char *baseName);

/** Frees every registered class and closes the log. Runs by itself when the process ends; a host may
 *  call it earlier, once or twice. Classes stay usable by their functions, but no longer by name.
 *
 *  A child of `fork` has all that its parent had, and releases it when it ends; of that it logs nothing,
 *  since the start was its parent's. An engine that it stops and starts itself is its own. */
ZT_API void ztOOP_CleanUp(void);

/** Logs "zt_assert: %s\n" with @p message when @p condition is 0; never stops the program. */
ZT_API void zt_assert(int32_t condition, const char *message);

/** Reports the call of an empty method slot of @p object to the log; see ZT_HAS_METHOD().
 *  @return 0 */
ZT_API int32_t ztOOP_HandleNullFuncPtr(const void *object, const char *memberName);

/**
 * What every abstract method slot holds: calling such a slot gives this text as its result.
 * @param object  an object, or a class descriptor where the method takes one
 * @return "ztOOP -> Error: Trying to call a virtual function member for class: %s\n" with the class
 *         name, in the buffer of ztCu_fmtMsg()
 */
ZT_API void *ztOOP_ztVirtualFuncHandler(const void *object);

ZT_END_C

#endif
