/**
 * @file network.h
 * A network of stations: a node whose children are Station objects.
 */
#ifndef NETWORK_NETWORK_H
#define NETWORK_NETWORK_H

#include "zentova.h"

/** Adds the readings of a data file to a network, and a station for each name that is new.
 *  @return 1, or 0 after a message on standard error */
int32_t networkRead(ztRoot *network, const char *dataPath);

/**
 * Writes the network to a file.
 * @param file  a closed ztFile, or an object of another file class for another form
 * @return 1, or 0 after a message on standard error
 */
int32_t networkStore(const ztRoot *network, ztFile *file, const char *path);

/**
 * Reads a network.
 * @param file  of the class that the network was stored with
 * @return the network, the caller's to release; NULL after a message on standard error
 */
ztRoot *networkLoad(ztFile *file, const char *path);

/** @return 1 when both networks have the same stations with the same values, else 0 */
int32_t networkIsSame(const ztRoot *network, const ztRoot *other);

/** Prints a line about each station. */
void networkPrint(const ztRoot *network);

#endif
