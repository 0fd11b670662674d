/**
 * @file ztroot.h
 * ztRoot, a named node of a tree.
 *
 * A node has a name, an identifier that is stored with it, a parent and an ordered list of children.
 * Attaching a node gives its parent one reference; taking it off releases none. So a node that was made
 * and attached has count 2, and its maker may forget it: the parent's end is the node's end too. A node
 * that is released by its maker while it is attached ends at once and leaves its parent's list.
 *
 * A node announces its children with the signals "childAdded" and "childDeleted", whose first argument
 * is the child. A stored node is its own record only; see ztRoot_storeTree() for whole trees.
 */
#ifndef ZT_OBJECTS_ZTROOT_H
#define ZT_OBJECTS_ZTROOT_H

#include "containers/ztlist.h"
#include "objects/ztobject.h"

#define ztRootPtrList_FIELDS ztList_FIELDS
#define ztRootPtrList_METHODS ztList_METHODS
/** A list of pointers to nodes, which it neither copies nor owns. */
ZT_DECLARE_CLASS(ztRootPtrList)

/** Fields of ztRoot. */
#define ztRoot_FIELDS                                                                            \
  ztObject_FIELDS                                                                                \
  ztRootPtrList *children; /* in the order of insertion; the list is owned */                    \
  char name[80];           /* cut to 79 characters, zero behind the text */                      \
  int32_t uid;             /* the identifier; nothing sees to it that it is the only one */      \
  int32_t parentUid;       /* the parent's; -1 for a node that never had one, 0 once detached */ \
  struct ztRoot *parent;   /* NULL for a node without parent; not owned */                       \
  void *reservedWord;      /* NULL */

/**
 * The methods of a node, in slot order after those of ztObject.
 *
 *  - `setName`: takes over a text (NULL counts as empty) and returns the name. `getName`: the name.
 *  - `generateUid`: gives the node an identifier of ztCu_genUniqueId() and returns it.
 *  - `setUid`, `getUid`: the identifier.
 *  - `setParent`: takes the node off its parent and appends it to the children of another, NULL for
 *    none. 1; 0 when the new parent is the node itself or below it, or on failure.
 *  - `getParent`: the parent, or NULL.
 *  - `update`: does nothing; for subclasses.
 *  - `findChildById`: NULL; for subclasses.
 *  - `addChild`: has the child take this node as its parent and emits "childAdded"; also for a child
 *    that is one already.
 *  - `deleteChild`: takes the first child off whose identifier equals that of the given node. Emits
 *    "childDeleted" while the child is detached but still listed. Nothing when there is none.
 *  - `deleteAllChild`: takes all children off, from the first on; 0.
 *  - `getChildAt`: the child at an index from 0, NULL when out of range. `getChildCount`: how many.
 *  - `reserved1`, `reserved2`: NULL.
 *
 * `clone` copies the children too; a copy, and each copied child, comes out without parent. `assign`
 * assigns child to child as far as both nodes have them.
 */
#define ztRoot_METHODS                                   \
  ztObject_METHODS                                       \
  char *(*setName)(void *node, const char *name);        \
  const char *(*getName)(const void *node);              \
  int32_t (*generateUid)(void *node);                    \
  void (*setUid)(void *node, int32_t uid);               \
  int32_t (*getUid)(const void *node);                   \
  int32_t (*setParent)(void *node, void *parent);        \
  void *(*getParent)(const void *node);                  \
  void (*update)(void *node);                            \
  void *(*findChildById)(const void *node, int32_t uid); \
  void (*addChild)(void *node, void *child);             \
  void (*deleteChild)(void *node, void *child);          \
  int32_t (*deleteAllChild)(void *node);                 \
  void *(*getChildAt)(const void *node, int32_t index);  \
  int32_t (*getChildCount)(const void *node);            \
  void *reserved1;                                       \
  void *reserved2;

/** A node of a tree. */
ZT_DECLARE_CLASS(ztRoot)

ZT_BEGIN_C

/** Compares the node pointers stored at two addresses. @return 0, 1 or -1 */
ZT_API int32_t ztRootPtrList_compare_func(const void *first, const void *second);
/** Compares two node pointers. @return 0, 1 or -1 */
ZT_API int32_t ztRootPtrList_compare_func_ptr(const void *first, const void *second);

ZT_END_C

#endif
