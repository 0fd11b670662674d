#include <zentova.h>

#include <assert.h>
#include <stdio.h>
#include <string.h>

#define Sluice_FIELDS \
  ztObject_FIELDS     \
  int32_t opening;
#define Sluice_METHODS ztObject_METHODS
ZT_DECLARE_CLASS(Sluice)

static int32_t sluiceCreate(void *object) {
  ((Sluice *)object)->opening = 0;
  return ztObject_table()->create(object);
}

static int32_t sluiceOpening(const void *object) {
  return ((const Sluice *)object)->opening;
}

static void sluiceSetOpening(void *object, int32_t opening) {
  ((Sluice *)object)->opening = opening;
}

// begin declare
static int32_t sluiceProperties(ztClass *klass) {
  return Sluice_table()->addProperty(klass, "opening", "ztInt", ZT_GETTER(getInt, sluiceOpening),
                                     ZT_SETTER(setInt, sluiceSetOpening), NULL, "openingChanged");
}
// end declare

static void sluiceMethods(SluiceMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, sluiceCreate);
  ZT_OVERRIDE_METHOD(methods, initProperties, sluiceProperties);
}

ZT_DEFINE_CLASS(Sluice, ztObject, sluiceMethods)

static int calls;
static const void *lastSender;

static void count(void *receiver) {
  (void)receiver;
  ++calls;
}

static void announced(Sluice *sluice, ztObject *desk) {
  // begin announced
  ztObject_connect(sluice, "openingChanged", desk, ZT_SLOT(count), 1); /* the name given to addProperty */
  ztObject_setInt(sluice, "opening", 30);
  assert(calls == 0); /* announces nothing */

  ztObject_onChange(sluice, "opening", desk, ZT_SLOT(count));
  ztObject_setInt(sluice, "opening", 40);
  assert(calls == 1);
  // end announced
  // begin disconnect
  assert(ztObject_disconnect(sluice, "change->opening", desk, ZT_SLOT(count)));
  // end disconnect
  calls = 0;
}

static void block(Sluice *sluice, ztObject *desk) {
  ztObject_connect(sluice, "moved", desk, ZT_SLOT(count), 0);
  // begin block
  ztObject_blockSignal(sluice, "moved", 1);
  ztObject_emit(sluice, "moved", 0);
  assert(calls == 0);
  ztObject_blockSignal(sluice, "moved", 0);
  // end block
}

static void readAndWrite(Sluice *sluice) {
  // begin by_name
  int32_t opening = 0;
  assert(ztObject_setInt(sluice, "opening", 50));
  assert(ztObject_getInt(sluice, "opening", &opening) && opening == 50);
  assert(!ztObject_setFloat(sluice, "opening", 5.5)); /* another type: a line in the log */
  assert(!ztObject_setInt(sluice, "openin", 5));      /* no such property: the same */
  // end by_name
}

static void dynamic(Sluice *sluice) {
  // begin dynamic
  const char *text = NULL;
  ztObject_addText(sluice, "keeper", "Ann"); /* of this object only */
  ztObject_setText(sluice, "keeper", "Bea");
  assert(ztObject_getText(sluice, "keeper", &text) && strcmp(text, "Bea") == 0);
  // end dynamic
}

static void list(Sluice *sluice) {
  // begin list
  ztPropertyPtrArray *properties = ztPropertyPtrArray_new();
  Sluice_of(sluice)->getProperties(sluice, properties);
  for (int32_t i = 0; i < ztPropertyPtrArray_of(properties)->getSize(properties); ++i) {
    const ztProperty *property = ztPropertyPtrArray_of(properties)->getAt(properties, i);
    printf("%s: %s\n", ztString_of(property->name)->get(property->name),
           ztProperty_of(property)->getType(property));
  }
  // end list
  assert(ztPropertyPtrArray_of(properties)->getSize(properties) == 3); /* refCount, too */
  ztPropertyPtrArray_of(properties)->unRef(properties);
}

// begin several
static void showMoved(void *receiver, intptr_t number, double speed, const char *keeper) {
  (void)receiver;
  printf("sluice %d, %.1f cm/s, %s\n", (int)number, speed, keeper);
}

static void emitSeveral(void *sluice, void *desk) {
  ztObject_connect(sluice, "opened", desk, ZT_SLOT(showMoved), 3);
  const ztArgument arguments[] = {ZT_INT(3), ZT_FLOAT(2.5), ZT_POINTER("Ann")};
  assert(ztObject_emitArgs(sluice, "opened", arguments, 3));
}
// end several

// begin sender
static void noteSender(void *receiver) {
  lastSender = ztObject_of(receiver)->getSender(receiver);
}
// end sender

static void sender(Sluice *sluice, ztObject *desk) {
  // begin sent
  ztObject_connect(sluice, "closed", desk, ZT_SLOT(noteSender), 0);
  ztObject_emit(sluice, "closed", 0);
  assert(lastSender == sluice);
  // end sent
}

int main(void) {
  Sluice *sluice = Sluice_new();
  ztObject *desk = ztObject_new();
  announced(sluice, desk);
  block(sluice, desk);
  readAndWrite(sluice);
  dynamic(sluice);
  list(sluice);
  emitSeveral(sluice, desk);
  sender(sluice, desk);
  ztObject_of(desk)->unRef(desk);
  Sluice_of(sluice)->unRef(sluice);
  return 0;
}
