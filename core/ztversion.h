/**
 * @file ztversion.h
 * The version of these headers. That of the library which a program runs with stands in the first lines of
 * the log.
 */
#ifndef ZT_CORE_ZTVERSION_H
#define ZT_CORE_ZTVERSION_H

/** Raised by a change that programs built before cannot run with. */
#define ZT_VERSION_MAJOR 1
/** Raised by an addition. */
#define ZT_VERSION_MINOR 0
/** Raised by every other release. */
#define ZT_VERSION_PATCH 10

/** The version as one number to compare with: two decimal digits each for minor and patch. */
#define ZT_VERSION_NUMBER (ZT_VERSION_MAJOR * 10000 + ZT_VERSION_MINOR * 100 + ZT_VERSION_PATCH)

/** The version as a text: major, minor and patch, with points between them. */
#define ZT_VERSION                  \
  ZT_VERSION_TEXT(ZT_VERSION_MAJOR) \
  "." ZT_VERSION_TEXT(ZT_VERSION_MINOR) "." ZT_VERSION_TEXT(ZT_VERSION_PATCH)
/** The text of a number, its macro expanded. */
#define ZT_VERSION_TEXT(number) ZT_VERSION_TEXT_(number)
/** The second step of ZT_VERSION_TEXT(). */
#define ZT_VERSION_TEXT_(number) #number

#endif
