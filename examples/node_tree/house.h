/**
 * @file house.h
 * A house: a tree of floors and rooms, and links to the rooms that lead outside.
 */
#ifndef NODE_TREE_HOUSE_H
#define NODE_TREE_HOUSE_H

#include "room.h"

/** A house; all NULL, there is none. */
typedef struct House {
  ztRoot *root;       /**< the tree; owned */
  ztLinkArray *exits; /**< links to rooms of the tree; owned */
} House;

/** Builds a small house. @return 1 or 0; the house is to be cleared in either case */
int32_t houseBuild(House *house);

/** Prints every node below the one before it that it belongs to, then the exits. */
void housePrint(const House *house);

/** Writes the links and the tree to an open file, binary or text. @return 1 or 0 */
int32_t houseStore(const House *house, void *file);

/** Reads both back and points the links at the rooms that were read.
 *  @return 1 or 0; the house is to be cleared in either case */
int32_t houseLoad(House *house, void *file);

/** Releases what the house owns. */
void houseClear(House *house);

#endif
