/**
 * @file room.h
 * Room: a node that carries the area of a room and stores it behind its record.
 */
#ifndef NODE_TREE_ROOM_H
#define NODE_TREE_ROOM_H

#include "zentova.h"

/** Fields of Room. */
#define Room_FIELDS \
  ztRoot_FIELDS     \
  double area; /* in square metres */

/** The methods of ztRoot. */
#define Room_METHODS ztRoot_METHODS

ZT_DECLARE_CLASS(Room)

#endif
