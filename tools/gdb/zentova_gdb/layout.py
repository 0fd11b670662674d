"""The offsets of fields, in bytes. They are part of the engine's interface and never change; tests/gdb compares them
with those that the compiler gives."""

OFFSETS = {
    "ztArray": {"count": 64, "data": 72},
    "ztAssociativeContainer": {
        "keyByPointer": 44, "valueByPointer": 48, "keySize": 52, "valueSize": 56, "keyConstructor": 64,
        "valueConstructor": 72},
    "ztAvlTree": {"root": 64, "count": 72},
    "ztAvlTreeItem": {"left": 32, "right": 40},
    "ztBaseClass": {"klass": 0, "refCount": 8},
    "ztClass": {
        "parent": 0, "version": 8, "instanceSize": 12, "name": 16, "initialised": 24, "spare": 28, "classTable": 32,
        "methodTable": 40},
    "ztClassDescription": {
        "klass": 0, "name": 32, "version": 40, "instanceSize": 48, "slotCount": 52, "form": 54, "fieldsText": 152,
        "methodsText": 160},
    "ztClassEntry": {"name": 0, "ctor": 104, "prototype": 120, "next": 128},
    "ztContainer": {"itemManager": 24},
    "ztContainerItem": {"data": 16},
    "ztDeque": {"inner": 64},
    "ztFile": {"stream": 16, "fileName": 24},
    "ztHashTable": {"count": 88, "buckets": 96},
    "ztHashTableItem": {"next": 24, "value": 32},
    "ztLink": {"target": 16, "targetId": 24},
    "ztList": {"head": 64, "tail": 72, "count": 80},
    "ztListItem": {"prev": 24, "next": 32},
    "ztMap": {"tree": 88},
    "ztMapItem": {"value": 48},
    "ztObject": {"signals": 16, "dynamicProperties": 24, "sender": 32},
    "ztProperty": {"name": 16, "type": 24, "getter": 32, "setter": 40, "valuePointer": 168, "valueSize": 176},
    "ztRoot": {"children": 40, "name": 48, "uid": 128, "parent": 136},
    "ztSequenceContainer": {"byPointer": 44, "elementSize": 48, "elementConstructor": 56},
    "ztSignal": {"name": 16, "slots": 24, "argumentCount": 32, "blocked": 36},
    "ztSlot": {"name": 16, "receiver": 24, "function": 32},
    "ztString": {"buffer": 16},
    "ztTag": {"attributes": 152},
    "ztTagAttribute": {"name": 24, "values": 72},
}

# Slots of tables that have a meaning here.
CTOR_SLOT = 1
STATIC_PROPERTIES_SLOT = 16
DESTROYED_SLOT = 22

# Objects of exactly these classes may share a block of memory; its distance stands behind the reference count, and
# the number of objects in it at its beginning.
PARTS = {"ztString", "ztCharArray", "ztAvlTree", "ztMapItem", "ztSlot", "ztSignal", "ztSlotMap", "ztSignalMap",
         "ztPropertyMap"}
PART_DISTANCE = 12
FURTHEST_PART = 1024
MOST_PARTS = 64

# What an entry of the registry has behind its public fields: the entry that was registered after it.
ENTRY_NEWER = 136
