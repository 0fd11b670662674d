/*
 * What each class of the library is, by the numbers that hosts rely on.
 *
 *  - the class, its parent and the bytes of one instance;
 *  - the slots of its method table, and of its class-function table;
 *  - the slots of its parent's methods that it overrides. Beyond slot 0, which every class writes, it
 *    leaves all others as its parent has them;
 *  - those of its slots that are abstract, and those that are empty beside slot 3;
 *  - the bytes that `write` stores of a new object in a binary file, or `refused`.
 */
#ifndef ZT_TESTS_PROTOCOL_CLASSES_H
#define ZT_TESTS_PROTOCOL_CLASSES_H

enum { refused = -1 };

/* The order is the one in which loading the library registers the classes. */
/* clang-format off */
#define ZT_CLASSES(CLASS)                                                                              \
  CLASS(ztHashTableItem,        ztContainerItem,        40, 16, 10, "4",               "", "",         0) \
  CLASS(ztAvlIterator,          ztIterator,            552, 22, 10, "4,10,16-21",      "", "",         0) \
  CLASS(ztPropertyType,         ztBaseClass,            16, 21, 10, "",                "16-17", "18-20", 0) \
  CLASS(ztPropertyTypeMap,      ztMap,                  96, 35, 10, "4",               "", "",         0) \
  CLASS(ztAvlTree,              ztSequenceContainer,    80, 32, 10, "4,5,10,23",       "", "",         0) \
  CLASS(ztProperty,             ztBaseClass,           184, 20, 12, "4,5,10",          "", "",         0) \
  CLASS(ztPropertyMap,          ztMap,                  96, 35, 10, "4",               "", "",         0) \
  CLASS(ztObject,               ztBaseClass,            40, 32, 10, "1,2,4,5,10",      "", "23",       0) \
  CLASS(ztString,               ztBaseClass,            24, 21, 11, "4-12",            "", "",         5) \
  CLASS(ztCharArray,            ztArray,                80, 42, 10, "4",               "", "",         4) \
  CLASS(ztIntPropertyType,      ztPropertyType,         16, 21, 10, "16-20",           "", "",         0) \
  CLASS(ztMapItem,              ztAvlTreeItem,          56, 16, 10, "4",               "", "",         0) \
  CLASS(ztCharPropertyType,     ztPropertyType,         16, 21, 10, "16-20",           "", "",         0) \
  CLASS(ztCharPtrPropertyType,  ztPropertyType,         16, 21, 10, "16-20",           "", "",         0) \
  CLASS(ztBoolPropertyType,     ztPropertyType,         16, 21, 10, "16-20",           "", "",         0) \
  CLASS(ztFloatPropertyType,    ztPropertyType,         16, 21, 10, "16-20",           "", "",         0) \
  CLASS(ztVoidPtrPropertyType,  ztPropertyType,         16, 21, 10, "16-20",           "", "",         0) \
  CLASS(ztStringPropertyType,   ztPropertyType,         16, 21, 10, "16-20",           "", "",         0) \
  CLASS(ztIntTag,               ztTagAttribute,         88, 21, 10, "4,18,19",         "", "",        52) \
  CLASS(ztMap,                  ztAssociativeContainer, 96, 35, 10, "4,5,10,16-18,21-23", "", "",      0) \
  CLASS(ztStringArray,          ztArray,                80, 42, 10, "4",               "", "",         4) \
  CLASS(ztMapIterator,          ztAvlIterator,         552, 22, 10, "18-21",           "", "",         0) \
  CLASS(ztPtrStack,             ztStack,                72, 31, 10, "4",               "", "",         0) \
  CLASS(ztTagAttribute,         ztBaseClass,            80, 21, 10, "4-6,10-12",       "", "",   refused) \
  CLASS(ztPtrArray,             ztArray,                80, 42, 10, "4",               "", "",         4) \
  CLASS(ztIntArray,             ztArray,                80, 42, 10, "4",               "", "",         4) \
  CLASS(ztFloatArray,           ztArray,                80, 42, 10, "4",               "", "",         4) \
  CLASS(ztRoot,                 ztObject,              152, 48, 10, "4-6,10-12,25",    "", "23,46,47", 88) \
  CLASS(ztRootPtrList,          ztList,                 88, 40, 10, "4",               "", "",         0) \
  CLASS(ztSequenceContainer,    ztContainer,            64, 27, 10, "4,10,16-19",      "23", "",       0) \
  CLASS(ztBaseClass,            ztBaseClass,            16, 16, 12, "",                "7-9", "",      0) \
  CLASS(ztPtrList,              ztList,                 88, 40, 10, "4",               "", "",         0) \
  CLASS(ztIntList,              ztList,                 88, 40, 10, "4",               "", "",         0) \
  CLASS(ztStringList,           ztList,                 88, 40, 10, "4",               "", "",         0) \
  CLASS(ztBaseView,             ztObject,               40, 32, 10, "4,10",            "", "23",       0) \
  CLASS(ztSignal,               ztBaseClass,            40, 16, 10, "4-6,10",          "", "",         0) \
  CLASS(ztSignalMap,            ztMap,                  96, 35, 10, "4",               "", "",         0) \
  CLASS(ztContainerItem,        ztBaseClass,            24, 16, 10, "4",               "", "",         0) \
  CLASS(ztHashTable,            ztAssociativeContainer, 104, 33, 10, "4,5,10,16-18",   "23", "",       0) \
  CLASS(ztBaseModel,            ztObject,               40, 32, 10, "4,10",            "", "23",       0) \
  CLASS(ztPropertyPtrArray,     ztArray,                80, 42, 10, "4",               "", "",         4) \
  CLASS(ztStdAllocator,         ztAllocator,            16, 20, 10, "16-18",           "19", "",       0) \
  CLASS(ztFloatTag,             ztTagAttribute,         96, 21, 10, "4-6,10,18,19",    "", "",        56) \
  CLASS(ztDeque,                ztSequenceContainer,    72, 34, 10, "4,5,10,21-24,26", "", "",         0) \
  CLASS(ztContainer,            ztBaseClass,            48, 24, 10, "4,5",             "16-19,23", "", 0) \
  CLASS(ztAssociativeContainer, ztContainer,            88, 29, 10, "4,10,19",         "16-18,23", "", 0) \
  CLASS(ztListItem,             ztContainerItem,        40, 16, 10, "4",               "", "",         0) \
  CLASS(ztTextFile,             ztFile,                536, 39, 14, "26-37",           "", "",         0) \
  CLASS(ztList,                 ztSequenceContainer,    88, 40, 10, "4-6,10,23",       "", "",         0) \
  CLASS(ztStack,                ztSequenceContainer,    72, 31, 10, "4,5,10,21-24,26", "", "",         0) \
  CLASS(ztFile,                 ztBaseClass,           536, 39, 14, "4-6,10",          "", "",         0) \
  CLASS(ztAvlTreeItem,          ztContainerItem,        48, 16, 10, "4",               "", "",         0) \
  CLASS(ztSlot,                 ztBaseClass,            40, 16, 10, "4-6,10",          "", "",         0) \
  CLASS(ztSlotMap,              ztMap,                  96, 35, 10, "4,18",            "", "",         0) \
  CLASS(ztArray,                ztSequenceContainer,    80, 42, 10, "4-6,10-12,23",    "", "",         4) \
  CLASS(ztQueue,                ztSequenceContainer,    72, 32, 10, "4,5,10,21-24,26", "", "",         0) \
  CLASS(ztLink,                 ztBaseClass,            32, 16, 10, "4,5,11,12",       "", "",         4) \
  CLASS(ztLinkArray,            ztArray,                80, 42, 10, "4",               "", "",         4) \
  CLASS(ztIterator,             ztBaseClass,            16, 22, 10, "",                "16-21", "",    0) \
  CLASS(ztPtrQueue,             ztQueue,                72, 32, 10, "4",               "", "",         0) \
  CLASS(ztTag,                  ztRoot,                160, 64, 10, "4-6,10-12",       "", "23,46,47,59", 88) \
  CLASS(ztAllocator,            ztBaseClass,            16, 20, 10, "",                "16-19", "",    0)
/* clang-format on */

#endif
