/**
 * @file board.h
 * Board, a view that follows a network: it counts the stations that join and the values that change.
 */
#ifndef NETWORK_BOARD_H
#define NETWORK_BOARD_H

#include "zentova.h"

/** Fields of Board. */
#define Board_FIELDS                            \
  ztBaseView_FIELDS                             \
  int32_t stations; /* nodes that were added */ \
  int32_t values;   /* values that were set */  \
  int32_t warnings; /* of these, temperatures below 0 */

/** Board adds no methods. */
#define Board_METHODS ztBaseView_METHODS

/** A view of a network. */
ZT_DECLARE_CLASS(Board)

/** Has the board follow a network, and every station that is added to it from now on.
 *  @return 1, or 0 when memory is exhausted */
int32_t boardFollow(Board *board, ztRoot *network);

#endif
