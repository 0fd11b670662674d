/**
 * @file ztoop.h
 * The engine: class descriptors, the registry of classes, start and clean-up.
 *
 * Conventions for every header of the library:
 *
 *  1. An integer result is 1 for success and 0 for failure; a pointer result is NULL for "no object", unless
 *     the declaration says otherwise. Nothing throws or aborts.
 *  2. An operation takes its object first. For a NULL object it returns 0 or NULL and changes nothing.
 *  3. Class functions have one leading argument that they ignore; pass NULL.
 *  4. Make a heap object with `C_ctor(NULL, 1)`, `C_newop()` or `ztNewFromName("C")` and release it with
 *     `unRef`. Make an object in your own memory with `C_ctor(address, 1)` and destroy it by calling its
 *     `destroy` directly, never `unRef`. An object has one owner: see `ref` in ztBaseClassMethods.
 *  5. Texts are zero-terminated bytes. The caller keeps the texts that it passes; the library keeps the texts
 *     that it returns. A text that is longer than its buffer is cut.
 *  6. One thread at a time uses an object and all that is connected to it or owned by it; another thread may
 *     use it later. Different threads may use different objects at the same time. The library locks the data of
 *     the process: the registry, the tables of classes, the property types, the log, the records of the memory
 *     manager, counters. Each thread has its own buffers for returned texts. The hooks of a class run while the
 *     registry is locked: they may use the engine, but not wait for a thread that uses it.
 *  7. Marks in the lists of methods and class functions say who releases what a pointer leads to:
 *      - `ztOwned`: the caller releases a result with `unRef`, but an item of `newItem` with `deleteItem`, and
 *        memory of `allocate` and `reallocate` with `deallocate`. An argument is taken over: the caller no
 *        longer releases it, unless the call failed.
 *      - `ztBorrowed`: the caller does not release a result. It keeps an argument, for as long as the object
 *        has its address.
 *      - `ztOut`: an argument, memory of the caller that the call writes to.
 *      - `ztOwnedText` (released with ztm_free()), `ztBorrowedText`, `ztOutText`: the same for characters.
 *     A result that is one of the arguments is borrowed, and so is a pointer to any other type; the call may
 *     write to what an argument without `const` leads to. The leading argument (the object, its class, or as in
 *     3) has a mark only if the call takes the object over. Pointers to functions, words (`intptr_t`, `ztWord`)
 *     and slots that are data have none. Where a case differs from its mark, the comment of the method says so.
 */
#ifndef ZT_CORE_ZTOOP_H
#define ZT_CORE_ZTOOP_H

#include <stddef.h>
#include <stdint.h>

/** Exports a declaration from the library. */
#define ZT_API __attribute__((visibility("default")))

/** Lets the parent's and the child's struct access the same memory. */
#define ZT_MAY_ALIAS __attribute__((may_alias))

/** For a declaration that a source file need not use. */
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

/* Marks of pointers: names of `void` and `char`, so that a function that is declared without them fits a slot.
   They are no macros, because they stay in the text of a list after macro expansion. */

/** A result that the caller releases; an argument that the call takes over. */
typedef void ztOwned;
/** A result that the caller does not release; an argument that the caller keeps. */
typedef void ztBorrowed;
/** An argument: memory of the caller that the call writes to. */
typedef void ztOut;
/** As ztOwned, for characters; released with ztm_free(). */
typedef char ztOwnedText;
/** As ztBorrowed, for characters. */
typedef char ztBorrowedText;
/** As ztOut, for characters. */
typedef char ztOutText;

/** The descriptor of a class. */
typedef struct ztClass ztClass;

/** Makes an object of one class in @p object, or on the heap for NULL; not 0 in @p create runs its `create`. */
typedef void *(*ztCtor)(void *object, int32_t create);

/** Called with a class's prototype when the registry frees the class. */
typedef void (*ztClassDestroyHook)(void *prototype);

/** Class descriptor: one static record per class, filled on first use. */
struct ZT_MAY_ALIAS ztClass {
  ztClass *parent;      /**< the parent class; NULL for ztBaseClass */
  uint32_t version;     /**< stored with every object, compared when an object is read */
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
 * Calls `classInstanceCreate` of the prototype's class when the entry is in the list.
 * @param prototype     an object of the class made with create flag 0; the registry owns it when the result is
 *                      1, and frees it with ztm_free()
 * @param name          copied and cut to 103 characters (with a line in the log); the longer name finds nothing
 * @param ctor          used by ztNewFromName()
 * @param classDestroy  called with the prototype when the class is freed; may be NULL
 * @return 1; 0 when the cut name is registered already (nothing changes), when memory is exhausted, or when one
 *         of the first three arguments is NULL
 */
ZT_API int32_t ztAddNewClass(void *prototype, const char *name, ztCtor ctor, ztClassDestroyHook classDestroy);

/** Makes an object of the class registered under @p name. The library's classes are registered from the start, a
 *  class of a program with its first object or by ZT_REGISTER_CLASS(): in a fresh process, nothing can be made by its
 *  name or read from a file before.
 *  @return a new heap object whose `create` has run; the caller releases it with `unRef`. NULL, with a line in
 *          the log, when no class has that name */
ZT_API void *ztNewFromName(const char *name);

/** Removes the class registered under @p name and frees its prototype. An unknown name does nothing. Calls
 *  `classInstanceDestroy` of the class, then its `classDestroy` hook. Objects of the class stay usable. */
ZT_API void ztFreeClass(const char *name);

/** @return the descriptor of the newest registered class whose own name is @p name, or NULL. The name that it
 *          was registered under does not count. */
ZT_API ztClass *ztOOP_findClass(const char *name);

/** @return 1 when a class is registered under @p name, else 0 */
ZT_API int32_t ztOOP_isClassRegistered(const char *name);

/** @return the newest registry entry (`next` leads to older ones), NULL when there is none; valid until the
 *          list changes */
ZT_API const ztClassEntry *ztOOP_classList(void);

/** @return the number of successful registrations since the library was loaded; it never decreases */
ZT_API int32_t ztOOP_classCount(void);

/** Starts the engine: opens `<baseName>.log` and logs the banner. The library does so with "zentova" when it is
 *  loaded; further calls do nothing until ztOOP_CleanUp() runs.
 *  @param baseName  path of the log file without its extension; NULL for no file. No file is opened either where
 *                   the variable `ZENTOVA_LOG` or the program's ZT_LOG_TO() chose another place, for all starts
 *  @return 1, also when the log file cannot be opened (the log then goes to standard output only) */
ZT_API int32_t ztOOP_Init(const char *baseName);

/**
 * Frees every registered class and closes the log. Runs when the process ends; a host may call it before, and
 * more than once. Classes stay usable by their functions, but no longer by name.
 *
 * A child of `fork` has copies of all that its parent had, and releases them when it ends, without logging. If
 * it stops and starts the engine itself, it logs.
 */
ZT_API void ztOOP_CleanUp(void);

/** Logs "zt_assert: %s\n" with @p message when @p condition is 0; never stops the program. */
ZT_API void zt_assert(int32_t condition, const char *message);

/** Logs the call of an empty method slot of @p object; see ZT_HAS_METHOD().
 *  @return 0 */
ZT_API int32_t ztOOP_HandleNullFuncPtr(const void *object, const char *memberName);

/** The function in every abstract method slot.
 *  @param object  an object, or a class descriptor where the method takes one
 *  @return "ztOOP -> Error: Trying to call a virtual function member for class: %s\n" with the class name, in
 *          the buffer of ztCu_fmtMsg() */
ZT_API void *ztOOP_ztVirtualFuncHandler(const void *object);

ZT_END_C

#endif
