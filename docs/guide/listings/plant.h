#ifndef PLANT_H
#define PLANT_H

#include "limitgauge.h"
#include "pump.h"

/* Makes a node of a class below a parent, which owns it from then on; without parent it is the caller's. */
void *addNode(void *parent, ztCtor ctor, const char *name, int32_t uid);

/* A plant with a basin, a gauge and a pump; the caller releases it. */
ztRoot *newPlant(void);

/* The plant that was saved in a file; the caller releases it. NULL on failure. */
ztRoot *openPlant(const char *path);

/* The pump of a plant, with its link to a gauge. */
Pump *pumpOf(const ztRoot *plant);

/* Prints a node and all below it. */
void printTree(const ztRoot *node, int depth);

#endif
