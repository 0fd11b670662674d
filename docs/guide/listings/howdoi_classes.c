#include <zentova.h>

#include <assert.h>
#include <stdio.h>
#include <string.h>

// begin compare
#define Valve_FIELDS \
  ztBaseClass_FIELDS \
  int32_t opening;
#define Valve_METHODS ztBaseClass_METHODS
ZT_DECLARE_CLASS(Valve)

static int32_t openingOf(const void *valve) {
  return ((const Valve *)valve)->opening;
}

static int32_t valveIsEqual(const void *valve, const void *other) {
  return openingOf(valve) == openingOf(other);
}

static int32_t valveIsLess(const void *valve, const void *other) {
  return openingOf(valve) < openingOf(other);
}

static int32_t valveIsMajor(const void *valve, const void *other) {
  return openingOf(valve) > openingOf(other);
}

static void valveMethods(ValveMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, isEqual, valveIsEqual);
  ZT_OVERRIDE_METHOD(methods, isLess, valveIsLess);
  ZT_OVERRIDE_METHOD(methods, isMajor, valveIsMajor);
}

ZT_DEFINE_CLASS(Valve, ztBaseClass, valveMethods)
// end compare

static void compare(void) {
  Valve *one = Valve_new(), *two = Valve_new();
  one->opening = 1;
  two->opening = 2;
  // begin compared
  assert(Valve_of(one)->isLess(one, two));
  assert(!Valve_of(one)->isEqual(one, two));
  // end compared
  Valve_of(two)->unRef(two);
  Valve_of(one)->unRef(one);
}

static void doNotCompare(void) {
  // begin without_order
  ztLink *one = ztLink_new(), *other = ztLink_new(); /* a class without an order */
  assert(ztLink_of(one)->isEqual(one, other) != 0);  /* no answer: the handler's text as a number */
  assert(
      strstr(ztOOP_ztVirtualFuncHandler(one), "Trying to call a virtual function member for class: ztLink"));
  // end without_order
  ztLink_of(other)->unRef(other);
  ztLink_of(one)->unRef(one);
}

// begin own
#define Pipe_FIELDS  \
  ztBaseClass_FIELDS \
  ztString *label; /* owned */
#define Pipe_METHODS ztBaseClass_METHODS
ZT_DECLARE_CLASS(Pipe)

static int32_t pipeCreate(void *object) {
  Pipe *pipe = object;
  pipe->label = NULL; /* before what may fail: destroy looks at it in any case */
  if (!ztBaseClass_table()->create(pipe)) return 0;
  pipe->label = ztString_new();
  return pipe->label != NULL;
}

static void pipeDestroy(void *object) {
  Pipe *pipe = object;
  if (pipe->label != NULL) ztString_of(pipe->label)->unRef(pipe->label);
  ztBaseClass_table()->destroy(pipe);
}

static void *pipeClone(const void *object, void *target) {
  Pipe *copy = ztBaseClass_table()->clone(object, target); /* the bytes: both have one label now */
  if (copy == NULL) return NULL;
  const ztString *label = copy->label;
  copy->label = ztString_new();
  if (copy->label != NULL && ztString_of(copy->label)->set(copy->label, ztString_of(label)->get(label)))
    return copy;
  pipeDestroy(copy);
  return NULL;
}

static int32_t pipeAssign(void *object, const void *other) {
  Pipe *pipe = object;
  const ztString *label = ((const Pipe *)other)->label;
  return ztString_of(pipe->label)->set(pipe->label, ztString_of(label)->get(label)) != NULL;
}
// end own

static void pipeMethods(PipeMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, pipeCreate);
  ZT_OVERRIDE_METHOD(methods, destroy, pipeDestroy);
  ZT_OVERRIDE_METHOD(methods, clone, pipeClone);
  ZT_OVERRIDE_METHOD(methods, assign, pipeAssign);
}

ZT_DEFINE_CLASS(Pipe, ztBaseClass, pipeMethods)

static void copy(void) {
  Pipe *pipe = Pipe_new(), *other = Pipe_new();
  ztString_of(pipe->label)->set(pipe->label, "main");
  // begin copy
  void *memory = Pipe_newop(); /* an object whose create has not run */
  Pipe *copy = memory != NULL ? Pipe_of(pipe)->clone(pipe, memory) : NULL;
  if (copy == NULL) ztm_free(memory);

  assert(Pipe_of(other)->assign(other, pipe)); /* copies the contents into an object that exists */
  // end copy
  assert(ztString_of(copy->label)->isEqual(copy->label, pipe->label) && copy->label != pipe->label);
  assert(ztString_of(other->label)->isEqual(other->label, pipe->label));
  Pipe_of(copy)->unRef(copy);
  Pipe_of(other)->unRef(other);
  Pipe_of(pipe)->unRef(pipe);
}

// begin abstract
#define Tank_FIELDS  \
  ztBaseClass_FIELDS \
  double height;
#define Tank_METHODS  \
  ztBaseClass_METHODS \
  double (*volume)(const void *tank);
ZT_DECLARE_CLASS(Tank)

static void tankMethods(TankMethods *methods) {
  ZT_ABSTRACT_METHOD(methods, volume);
}

ZT_DEFINE_CLASS(Tank, ztBaseClass, tankMethods)

#define Box_FIELDS Tank_FIELDS double area;
#define Box_METHODS Tank_METHODS
ZT_DECLARE_CLASS(Box)

static double boxVolume(const void *tank) {
  const Box *box = tank;
  return box->area * box->height;
}

static void boxMethods(BoxMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, volume, boxVolume);
}

ZT_DEFINE_CLASS(Box, Tank, boxMethods)
// end abstract

static void override(void) {
  Box *box = Box_new();
  box->area = 2;
  box->height = 3;
  // begin call
  void *tank = box;                         /* any object of a subclass of Tank */
  assert(Tank_of(tank)->volume(tank) == 6); /* Box's version */
  // end call
  // begin class_of
  assert(strcmp(ztOOP_classNameOf(tank), "Box") == 0);
  assert(ztOOP_isClassOf(tank, "Tank")); /* itself or an ancestor */
  assert(Box_cast(tank) == box);
  assert(Valve_cast(tank) == NULL); /* and a line in the log */
  // end class_of
  Box_of(box)->unRef(box);
}

static void registerClass(void) {
  // begin by_name
  assert(ztNewFromName("Gate") == NULL); /* unknown: and a line in the log */
  ZT_REGISTER_CLASS(Box);                /* once, for instance in main */
  void *box = ztNewFromName("Box");
  assert(Box_cast(box) != NULL);
  // end by_name
  Box_of(box)->unRef(box);
}

static void variable(void) {
  // begin variable
  Box box;
  Box_ctor(&box, 1); /* in your own memory */
  box.area = 2;
  Box_of(&box)->destroy(&box); /* never unRef, which would free the memory */
  // end variable
}

static void describe(void) {
  // begin describe
  ztClassInfo *info = ztOOP_classInfo(ztOOP_findClass("Box"));
  for (int32_t i = 0; info != NULL && i < info->methodCount; ++i) {
    const ztMethodInfo *method = &info->methods[i];
    if (method->definedBy == info->klass) printf("%d %s\n", (int)method->slot, method->declaration);
  }
  ztOOP_freeClassInfo(info);
  // end describe
}

int main(void) {
  compare();
  doNotCompare();
  copy();
  override();
  registerClass();
  variable();
  describe();
  return 0;
}
