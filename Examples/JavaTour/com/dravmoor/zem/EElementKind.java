package com.dravmoor.zem;

/** What an element of a model is. */
public enum EElementKind {
    PACKAGE,
    CLASS,
    DIAGRAM
}
