/**
 * @file ztroot.h
 * ztRoot, a named node of a tree.
 *
 * A node has a name, an identifier that is stored with it, a parent and an ordered list of children.
 * Nodes of a tree are heap objects. Attaching a node gives its parent one reference; taking it off
 * releases none. So a node that was made and attached has count 2, and its maker may forget it: the
 * parent's end is the node's end too, unless further references were taken; one that survives is then
 * without parent. A node that is released by its maker while it is attached ends at once and leaves its
 * parent's list. A node is on one list of children at a time, and never below itself.
 *
 * A node announces its children with the signals "childAdded" and "childDeleted", whose first argument
 * is the child. A slot may do anything to the nodes meanwhile, such as release either of them.
 *
 * A stored node is its own record only: the identifier, 80 bytes of name and the parent's identifier.
 * ztRoot_storeTree() and ztRoot_loadTree() take care of whole trees, ztRoot_saveTree() and
 * ztRoot_openTree() of whole files of them.
 *
 * A tree may be of any depth. When it ends, each node ends behind those below it; nodes whose class has no
 * `destroy` of its own take no stack for that. A class's own `destroy` finds the node's children listed
 * still, and takes stack for each level of such nodes; where there is none left, the children go first.
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
 *  - `setParent`: takes the node off its parent, which costs nobody a reference but gives the node one
 *    more, and appends it to the children of another, NULL for none. 1; 0 when the new parent is the
 *    node itself or below it, on failure, and when a slot ended either: the node may have left its
 *    parent then.
 *  - `getParent`: the parent, or NULL.
 *  - `update`: does nothing; for subclasses.
 *  - `findChildById`: NULL; for subclasses.
 *  - `addChild`: has the child take this node as its parent and emits "childAdded"; also for a child
 *    that is one already.
 *  - `deleteChild`: takes the first child off whose identifier equals that of the given node. Emits
 *    "childDeleted" while the child is detached but still listed. Nothing when there is none.
 *  - `deleteAllChild`: takes all children off, from the first on, until none is left; 0. It does not
 *    end while a slot keeps adding children.
 *  - `getChildAt`: the child at an index from 0, NULL when out of range. `getChildCount`: how many.
 *  - `reserved1`, `reserved2`: NULL.
 *
 * `clone` copies the children too; a copy, and each copied child, comes out without parent and with a
 * count of 1, the reference of the list that it is on. Identifiers are copied. To give copied children
 * their parent, add each to the node that holds it, where it then stays in its place. `assign` assigns
 * child to child as far as both nodes have them. Both take trees of any depth; where they go through a
 * class's own `clone` or `assign`, these take stack for each level. When there is not enough, or no memory,
 * or when a host made a list lead back to a node above it, `clone` gives NULL and `assign` 0, with nothing
 * changed; an `assign` whose overrides take more than a kilobyte of stack each may have begun.
 */
#define ztRoot_METHODS                                            \
  ztObject_METHODS                                                \
  char *(*setName)(void *node, const char *name);        /* 32 */ \
  const char *(*getName)(const void *node);              /* 33 */ \
  int32_t (*generateUid)(void *node);                    /* 34 */ \
  void (*setUid)(void *node, int32_t uid);               /* 35 */ \
  int32_t (*getUid)(const void *node);                   /* 36 */ \
  int32_t (*setParent)(void *node, void *parent);        /* 37 */ \
  void *(*getParent)(const void *node);                  /* 38 */ \
  void (*update)(void *node);                            /* 39 */ \
  void *(*findChildById)(const void *node, int32_t uid); /* 40 */ \
  void (*addChild)(void *node, void *child);             /* 41 */ \
  void (*deleteChild)(void *node, void *child);          /* 42 */ \
  int32_t (*deleteAllChild)(void *node);                 /* 43 */ \
  void *(*getChildAt)(const void *node, int32_t index);  /* 44 */ \
  int32_t (*getChildCount)(const void *node);            /* 45 */ \
  void *reserved1;                                       /* 46 */ \
  void *reserved2;                                       /* 47 */

/** A node of a tree. */
ZT_DECLARE_CLASS(ztRoot)

/** Kept for programs that name it: there is no such limit any more. */
#define ZT_ROOT_MAX_LEVELS 4096

ZT_BEGIN_C

/** What ztRoot_loadTree() found. */
typedef struct ztTreeReport {
  int32_t nodes;   /**< nodes that were read, also before a failure */
  int32_t orphans; /**< nodes whose parent's identifier no record bears */
  int32_t doubles; /**< nodes with an identifier that an earlier record bears already */
  int32_t loops;   /**< rings of nodes each of which would have been above itself */
} ztTreeReport;

/**
 * Writes a node and all below it to an open file, each before its children: the identity of its class
 * (`classWrite`) and its record (`write`). A record bears the present identifier of the node above, so
 * copies, and nodes whose parent's identifier was changed, are read back in their places; that of
 * @p root stays as it is. Several trees may be written to one file.
 *
 * Trees in which several nodes bear one identifier, or a parent bears 0 or -1, are read back as they were,
 * too: where the identifier alone would lead to another node, or the file does not stand at its beginning,
 * the name field of the class identity says behind the name how many records above its parent's stands
 * ("above:" and ten digits at byte 83; a class whose name has more than 82 characters does without).
 * @param root  also a node within a tree
 * @param file  a ztFile, or a ztTextFile, which cannot bring back names that begin with white space
 * @return the number of nodes, or 0 on failure, which may leave a part in the file
 */
ZT_API int32_t ztRoot_storeTree(const void *root, void *file);

/**
 * Reads nodes with the identities of their classes, in any order, and attaches each to the one whose record
 * its own tells the distance of, when that bears its parent's identifier, or else to the first one that
 * bears it. Unless the distance is told, 0 and -1 name no parent. The children of a node are in the order of
 * their records. A ring of nodes is opened at one of them. Nothing is announced.
 * @param file    an open file, at the first record
 * @param count   how many records to read; when it is negative, all up to the end of the file or to the mark
 *                that ztRoot_saveTree() writes: the file then stands behind the mark
 * @param roots   a ztPtrArray; the nodes that have got no parent are appended to it in the order of
 *                their records, each with one reference that is the caller's
 * @param report  what was found; may be NULL
 * @return 1, also when there was nothing to read; 0 when the file is damaged or ends too early, a
 *         record is that of an unknown class or of one that is no ztRoot, a node refuses its parent, or
 *         memory is exhausted: then all nodes that were read are released and @p roots is as it was
 */
ZT_API int32_t ztRoot_loadTree(void *file, int32_t count, void *roots, ztTreeReport *report);

/**
 * Saves a node and all below it as a file of its own, or leaves the file that was there: whoever opens the
 * path, also after the process or the system came to its end meanwhile, finds the old tree or the new one.
 * The records are those of ztRoot_storeTree(); behind them stands a mark, which tells that the file is whole
 * (a class identity with the name "(end of tree)", and 64 characters of text: the number of nodes, the bytes
 * ahead of the mark and a check sum).
 *
 * The tree is written to a file beside the target, with a name that nobody can guess, brought to the disk,
 * and takes the target's place. The new file has the mode of the old one, and its owner and group as far as
 * the process may give them; a new one's mode is what the process's mask leaves of 0666. Where the target is
 * a symbolic link, the link stays and the file that it leads to is replaced. Of several that save to one path
 * at once, the last one's tree stays. A process that is killed may leave its file, ".zt-" and 32 digits; so
 * does a `write` of a host's that leaves by an exception or a `longjmp`, and the file stays open then.
 * @param root  also a node within a tree
 * @param path  a regular file that may be written, or a new one
 * @param text  not 0 for the text form, which cannot bring back names that begin with white space
 * @return the number of nodes; 0 on failure, with the target as it was and no other file left. (When the
 *         folder itself cannot be brought to the disk the result is 0, too, though the tree is in place.)
 */
ZT_API int32_t ztRoot_saveTree(const void *root, const char *path, int32_t text);

/**
 * Reads a file of ztRoot_saveTree(), of either form, which it tells by itself. @p roots, @p report and the
 * result are those of ztRoot_loadTree(). 0, before any node is made, for a file that is not as it was saved:
 * one that lacks a part of its end, has a byte changed, or has anything behind its mark; and for what is no
 * regular file.
 */
ZT_API int32_t ztRoot_openTree(const char *path, void *roots, ztTreeReport *report);

/** Compares the node pointers stored at two addresses. @return 0, 1 or -1 */
ZT_API int32_t ztRootPtrList_compare_func(const void *first, const void *second);
/** Compares two node pointers. @return 0, 1 or -1 */
ZT_API int32_t ztRootPtrList_compare_func_ptr(const void *first, const void *second);

ZT_END_C

#endif
