/**
 * @file ztroot.h
 * ztRoot, a named node of a tree.
 *
 * A node has a name, an identifier that is stored with it, a parent and an ordered list of children. Nodes of a
 * tree are heap objects. Attaching a node adds a reference for its parent; detaching it releases none. So a
 * node that was made and attached has count 2, and its maker may drop its pointer: when the parent is
 * destroyed, the node is destroyed too, or, if it has further references, has no parent any more. A node that
 * its maker releases while it is attached is destroyed at once and removed from its parent's list. A node is on
 * one list of children at a time, and never below itself.
 *
 * Children are found without a walk where there are many. What a host writes to the field `uid` of a child, or to
 * the `data` of an item, counts. But if it thereby gives an earlier child or item what a later one has, the later
 * one may be taken for the first; and a `getUid` of a class of its own may not be called for a child that it wrote
 * into an item.
 *
 * A node emits the signals "childAdded" and "childDeleted", whose first argument is the child. A slot may do
 * anything to the nodes, such as release either of them.
 *
 * A stored node is one record: the identifier, 80 bytes of name and the parent's identifier. ztRoot_storeTree()
 * and ztRoot_loadTree() store and load whole trees, ztRoot_saveTree() and ztRoot_openTree() files of one tree.
 *
 * A tree may have any depth. When it is destroyed, each node is destroyed after those below it. Nodes whose
 * class does not override `destroy` need no stack for that. An overriding `destroy` still finds the node's
 * children listed and needs stack for each level of such nodes; without it, the children are destroyed first.
 */
#ifndef ZT_OBJECTS_ZTROOT_H
#define ZT_OBJECTS_ZTROOT_H

#include "containers/ztlist.h"
#include "objects/ztobject.h"

#define ztRootPtrList_FIELDS ztList_FIELDS
#define ztRootPtrList_METHODS ztList_METHODS
/** A list of pointers to nodes; it neither copies nor owns them. */
ZT_DECLARE_CLASS(ztRootPtrList)

/** Fields of ztRoot. */
#define ztRoot_FIELDS                                                                       \
  ztObject_FIELDS                                                                           \
  ztRootPtrList *children; /* in the order of insertion; the list is owned */               \
  char name[80];           /* cut to 79 characters, zero behind the text */                 \
  int32_t uid;             /* the identifier, set by setUid; may be the same in several */  \
  int32_t parentUid;       /* of the parent; -1 before the first parent, 0 once detached */ \
  struct ztRoot *parent;   /* NULL for a node without parent; not owned */                  \
  void *reservedWord;      /* NULL */

/**
 * The methods of a node, in slot order after those of ztObject.
 *
 *  - `setName`: copies a text (NULL counts as empty) and returns the name. `getName`: the name.
 *  - `generateUid`: sets the identifier to ztCu_genUniqueId() and returns it.
 *  - `setUid`, `getUid`: the identifier.
 *  - `setParent`: removes the node from its parent's list, which releases no reference and adds one; then
 *    appends it to the children of the new parent, if that is not NULL; without a parent the node is the
 *    caller's to release. 1; 0 when the new parent is the node itself or below it, on failure, and when a slot
 *    destroyed either; the node may then have left its parent.
 *  - `getParent`: the parent, or NULL.
 *  - `update`: does nothing; for subclasses.
 *  - `findChildById`: NULL; for subclasses.
 *  - `addChild`: sets this node as the child's parent, which takes the child over, and emits "childAdded", also
 *    if it is the parent.
 *  - `deleteChild`: removes the first child whose identifier equals that of the given node. Emits
 *    "childDeleted" while the child is detached but still listed. The child is then the caller's to release.
 *    Does nothing when there is none.
 *  - `deleteAllChild`: removes the first child until none is left; 0. Goes on while a slot adds children.
 *  - `getChildAt`: the child at an index from 0, NULL when out of range. `getChildCount`: their number.
 *  - `reserved1`, `reserved2`: NULL.
 *
 * `clone` copies the children too. A copy and each copied child have no parent and a count of 1, the reference
 * of the list that they are on; identifiers are copied. To set the parent of copied children, add each to the
 * node that holds it; it keeps its position. `assign` assigns child to child as far as both nodes have them.
 * Both handle trees of any depth, but a class's own `clone` or `assign` needs stack for each level. When stack
 * or memory is exhausted, or when a host made a list refer to a node above it, `clone` returns NULL and
 * `assign` 0, with nothing changed; `assign` may have begun if an override uses more than a kilobyte of stack.
 */
#define ztRoot_METHODS                                                         \
  ztObject_METHODS                                                             \
  ztBorrowedText *(*setName)(void *node, const ztBorrowedText *name); /* 32 */ \
  const ztBorrowedText *(*getName)(const void *node);                 /* 33 */ \
  int32_t (*generateUid)(void *node);                                 /* 34 */ \
  void (*setUid)(void *node, int32_t uid);                            /* 35 */ \
  int32_t (*getUid)(const void *node);                                /* 36 */ \
  int32_t (*setParent)(ztOwned * node, ztBorrowed * parent);          /* 37 */ \
  ztBorrowed *(*getParent)(const void *node);                         /* 38 */ \
  void (*update)(void *node);                                         /* 39 */ \
  ztBorrowed *(*findChildById)(const void *node, int32_t uid);        /* 40 */ \
  void (*addChild)(void *node, ztOwned *child);                       /* 41 */ \
  void (*deleteChild)(void *node, ztBorrowed *child);                 /* 42 */ \
  int32_t (*deleteAllChild)(void *node);                              /* 43 */ \
  ztBorrowed *(*getChildAt)(const void *node, int32_t index);         /* 44 */ \
  int32_t (*getChildCount)(const void *node);                         /* 45 */ \
  void *reserved1;                                                    /* 46 */ \
  void *reserved2;                                                    /* 47 */

/** A node of a tree. */
ZT_DECLARE_CLASS(ztRoot)

/** Kept for programs that use it: the limit no longer exists. */
#define ZT_ROOT_MAX_LEVELS 4096

ZT_BEGIN_C

/** The result of ztRoot_loadTree(). */
typedef struct ztTreeReport {
  int32_t nodes;   /**< nodes that were read, even before a failure */
  int32_t orphans; /**< nodes whose parent's identifier no record has */
  int32_t doubles; /**< nodes with the identifier of an earlier record */
  int32_t loops;   /**< cycles of nodes that would each have been above itself */
} ztTreeReport;

/**
 * Writes a node and all below it to an open file, each before its children: the identity of its class
 * (`classWrite`) and its record (`write`). A record has the current identifier of the node above, so that
 * copies and nodes whose parent's identifier was changed are loaded into their places; @p root keeps its own.
 * One file may hold several trees.
 *
 * Trees in which several nodes have one identifier, or a parent has 0 or -1, are also loaded unchanged. Where
 * the identifier alone would lead to another node, or the file is not at its beginning, the name field of the
 * class identity also has the distance to the parent's record, counted in records ("above:" and ten digits at
 * byte 83; not for a class whose name has more than 82 characters).
 * @param root  also a node within a tree
 * @param file  a ztFile, or a ztTextFile, which cannot restore names that begin with white space
 * @return the number of nodes, or 0 on failure, which may leave a part in the file
 */
ZT_API int32_t ztRoot_storeTree(const void *root, void *file);

/** Reads nodes with the identities of their classes, in any order, and attaches each to its parent: the node at
 *  the stored distance if it has the parent's identifier, else the first node with that identifier. Without a
 *  distance, 0 and -1 stand for no parent. The children of a node are in the order of their records. A cycle of
 *  nodes is opened at one of them. No signals are emitted.
 *  @param file    an open file, at the first record
 *  @param count   the number of records; if negative, reads to the end of the file or to the mark that
 *                 ztRoot_saveTree() writes: the file is then behind the mark
 *  @param roots   a ztPtrArray; nodes without parent are appended to it in the order of their records, each
 *                 with one reference, the caller's
 *  @param report  the result; may be NULL
 *  @return 1, also when there was nothing to read; 0 when the file is damaged or ends too early, a record has
 *          an unknown class or one that is no ztRoot, a node refuses its parent, or memory is exhausted: then
 *          all nodes that were read are released and @p roots is unchanged */
ZT_API int32_t ztRoot_loadTree(void *file, int32_t count, void *roots, ztTreeReport *report);

/**
 * Saves a node and all below it as a file of its own, or leaves the existing file: a reader always finds the
 * old tree or the new one, even if the process or the system stops meanwhile. The records are those of
 * ztRoot_storeTree(). After them comes a mark, which shows that the file is complete (a class identity with the
 * name "(end of tree)" and 64 characters of text: the number of nodes, the bytes before it and a check sum).
 *
 * The tree is written to a file beside the target, with an unpredictable name, flushed to the disk and renamed
 * to the target. The new file has the mode of the old one, and its owner and group if the process may set them;
 * the mode of a first file is 0666 less the process's mask. If the target is a symbolic link, the file that it
 * leads to is replaced. If several save to one path at once, the last tree stays. A process that is killed may
 * leave its file, ".zt-" and 32 digits; so may a `write` of a host that leaves by an exception or a `longjmp`,
 * which also leaves the file open.
 * @param root  also a node within a tree
 * @param path  a regular file that may be written, or a new one
 * @param text  not 0 for the text form, which cannot restore names that begin with white space
 * @return the number of nodes; 0 on failure, with the target unchanged and no other file left. (If the folder
 *         itself cannot be flushed to the disk, the result is also 0, but the new tree is in place.)
 */
ZT_API int32_t ztRoot_saveTree(const void *root, const char *path, int32_t text);

/** Reads a file of ztRoot_saveTree() and detects its form. @p roots, @p report and the result are those of
 *  ztRoot_loadTree(). Returns 0 before it makes any node if the file differs from what was saved (its end is
 *  missing, a byte is changed, or there is data behind its mark) or is no regular file. */
ZT_API int32_t ztRoot_openTree(const char *path, void *roots, ztTreeReport *report);

/** Compares the node pointers stored at two addresses. @return 0, 1 or -1 */
ZT_API int32_t ztRootPtrList_compare_func(const void *first, const void *second);
/** Compares two node pointers. @return 0, 1 or -1 */
ZT_API int32_t ztRootPtrList_compare_func_ptr(const void *first, const void *second);

ZT_END_C

#endif
