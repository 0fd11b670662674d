"""What the descriptions of the library's classes do not tell: which results mean failure, what a pointer leads to, and
which methods Python does not call by their names, because they work on memory or pointers to functions that nothing
describes, or because the engine calls them itself."""

from __future__ import annotations

MEMORY = "it works on memory that the description does not describe"
ITEMS = "it works on the items of a container: use the container as a sequence or a mapping"
POLICY = "give the kinds of the elements when the container is made: ztArray(element=int)"
ENGINE = "the engine calls it itself"
PROPERTIES = "use the attribute of the property, zt.add_property() and zt.properties()"
SIGNALS = "use zt.connect(), zt.emit() and zt.signals()"
ITERATION = "iterate over the container"
TAGS = "use tag.attributes, whose values are the series of the tag"

#: Methods that are refused, with the reason; those of a class whose other methods are all refused are under "*".
REFUSED: dict[str, dict[str, str]] = {
    "ztBaseClass": {
        "Allocator": MEMORY, "classInstanceCreate": ENGINE, "classInstanceDestroy": ENGINE,
        "create": ENGINE + ": make another object", "destroy": ENGINE + ": use release()",
    },
    "ztAllocator": {"*": MEMORY},
    "ztContainer": {
        "newItem": ITEMS, "copyItem": ITEMS, "deleteItem": ITEMS, "setItemConstructor": ITEMS, "setItemManager": ITEMS,
        "setCompareFunction": POLICY,
    },
    "ztSequenceContainer": {"setElementSize": POLICY, "setElementConstructor": POLICY},
    "ztAssociativeContainer": {"*": POLICY},
    "ztArray": {"pushBackUnique": "it takes a function in C", "getData": MEMORY, "search": "it takes a function in C"},
    "ztList": {"insertPrev": ITEMS, "insertNext": ITEMS, "removeItem": ITEMS, "getItemAt": ITEMS},
    "ztAvlTree": {"findAll": ITEMS},
    "ztMap": {"findAll": ITEMS},
    "ztIterator": {"*": ITERATION},
    "ztObject": {
        "addSignal": SIGNALS, "addSlot": SIGNALS, "connect": SIGNALS, "connectionExist": SIGNALS, "destroyed": ENGINE,
        "addProperty": "use zt.prop() in a subclass", "initProperties": ENGINE, "setProperty": PROPERTIES,
        "getProperty": PROPERTIES, "getProperties": PROPERTIES, "getStaticProperties": PROPERTIES,
        "getDynamicProperties": PROPERTIES,
    },
    "ztProperty": {"*": PROPERTIES},
    "ztPropertyType": {"*": PROPERTIES},
    "ztTagAttribute": {"*": TAGS},
    "ztTag": {"attrChanged": ENGINE, "*": TAGS},
}
#: Methods that classes in Python may change, though Python does not call them by their names.
CHANGED_ONLY = frozenset({("ztTag", "attrChanged")})

#: Classes of which Python makes no objects: parts of others, which need them.
NOT_MADE = {
    "ztAllocator": MEMORY, "ztStdAllocator": MEMORY, "ztIterator": ITERATION, "ztAvlIterator": ITERATION,
    "ztMapIterator": ITERATION, "ztContainerItem": ITEMS, "ztListItem": ITEMS, "ztAvlTreeItem": ITEMS,
    "ztMapItem": ITEMS, "ztHashTableItem": ITEMS, "ztProperty": PROPERTIES, "ztPropertyType": PROPERTIES,
    "ztSignal": SIGNALS, "ztSlot": SIGNALS, "ztSignalMap": SIGNALS, "ztSlotMap": SIGNALS, "ztPropertyMap": PROPERTIES,
    "ztPropertyTypeMap": PROPERTIES, "ztPropertyPtrArray": PROPERTIES, "ztContainer": "it is abstract",
    "ztSequenceContainer": "it is abstract", "ztAssociativeContainer": "it is abstract",
    "ztRootPtrList": "use the children of a node", "ztTagAttribute": TAGS, "ztIntTag": TAGS, "ztFloatTag": TAGS,
}

#: Methods whose result 0 (or, in NOT_ZERO, anything else) is a failure.
FAILS: dict[str, frozenset[str]] = {
    "ztBaseClass": frozenset({"assign", "read", "write"}),
    "ztArray": frozenset({"setSize", "resize"}),
    "ztHashTable": frozenset({"setSize"}),
    "ztRoot": frozenset({"setParent"}),
    "ztFile": frozenset({"open", "writeInt", "writeLong", "writeFloat", "writeChar", "writeString"}),
}
NOT_ZERO: dict[str, frozenset[str]] = {
    "ztFile": frozenset({"goToBegin", "goToEnd", "goTo", "goToAbs", "flush"}),
}

#: What an untyped pointer leads to: an object of that class; "taken" by the call; "same" as the method's class.
OBJECTS: dict[str, dict[str, str]] = {
    "ztBaseClass.assign": {"other": "same"},
    "ztBaseClass.isEqual": {"other": "same"},
    "ztBaseClass.isLess": {"other": "same"},
    "ztBaseClass.isMajor": {"other": "same"},
    "ztRoot.setParent": {"parent": "ztRoot"},
    "ztRoot.addChild": {"child": "taken ztRoot"},
    "ztRoot.deleteChild": {"child": "ztRoot"},
    "ztString.cat": {"other": "ztString"},
}

#: What an untyped result leads to: "object", one of ztObject that is not released; "done", nothing but success.
RESULTS = {
    "ztObject.getSender": "object", "ztRoot.getParent": "object", "ztRoot.findChildById": "object",
    "ztRoot.getChildAt": "object", "ztString.set": "done", "ztString.cat": "done",
}


def refusal(klass: str, method: str) -> str | None:
    """Why a method of the library is refused; None if it is not."""
    refused = REFUSED.get(klass, {})
    return refused.get(method) or refused.get("*")
