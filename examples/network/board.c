#include "board.h"

#include "station.h"

#include <string.h>

static int32_t boardCreate(void *object) {
  Board *board = (Board *)object;
  board->stations = 0;
  board->values = 0;
  board->warnings = 0;
  return ztBaseView_table()->create(object);
}

static void boardMethods(BoardMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, boardCreate);
}

ZT_DEFINE_CLASS(Board, ztBaseView, boardMethods)

static int32_t follow(Board *board, void *object, const char *signalName, ztSlotFunction slot) {
  return ztObject_of(object)->connect(ztOOP_classOf(object), object, signalName, board, signalName, slot, 1);
}

/* The sender is the station, the argument the attribute whose value was set last. */
static void boardValueChanged(void *receiver, void *attribute) {
  Board *board = (Board *)receiver;
  const Station *station = (const Station *)Board_of(board)->getSender(board);
  ++board->values;
  if (attribute != Station_of(station)->getByHandle(station, &station->temperature)) return;
  const int32_t last = Station_of(station)->getNumValues(station, &station->temperature) - 1;
  double temperature = 0;
  Station_of(station)->getValue(station, &station->temperature, last, &temperature);
  if (temperature < 0) ++board->warnings;
}

static void boardStationAdded(void *receiver, void *station) {
  const ztSlotFunction changed = {.object1 = boardValueChanged};
  ++((Board *)receiver)->stations;
  follow((Board *)receiver, station, "valueChanged", changed);
}

int32_t boardFollow(Board *board, ztRoot *network) {
  const ztSlotFunction added = {.object1 = boardStationAdded};
  return follow(board, network, "childAdded", added);
}
