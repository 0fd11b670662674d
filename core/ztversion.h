/**
 * @file ztversion.h
 * The version of these headers. The first lines of the log have the version of the loaded library.
 */
#ifndef ZT_CORE_ZTVERSION_H
#define ZT_CORE_ZTVERSION_H

/** Incremented by a change that breaks programs built before. */
#define ZT_VERSION_MAJOR 1
/** Incremented by an addition. */
#define ZT_VERSION_MINOR 0
/** Incremented by every other release. */
#define ZT_VERSION_PATCH 10

/** The version as one number for comparisons: two decimal digits each for minor and patch. */
#define ZT_VERSION_NUMBER (ZT_VERSION_MAJOR * 10000 + ZT_VERSION_MINOR * 100 + ZT_VERSION_PATCH)

/** The version as a text: "major.minor.patch". */
#define ZT_VERSION                  \
  ZT_VERSION_TEXT(ZT_VERSION_MAJOR) \
  "." ZT_VERSION_TEXT(ZT_VERSION_MINOR) "." ZT_VERSION_TEXT(ZT_VERSION_PATCH)
/** The text of a number after macro expansion. */
#define ZT_VERSION_TEXT(number) ZT_VERSION_TEXT_(number)
/** The second step of ZT_VERSION_TEXT(). */
#define ZT_VERSION_TEXT_(number) #number

#endif
