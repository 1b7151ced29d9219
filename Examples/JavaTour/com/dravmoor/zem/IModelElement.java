package com.dravmoor.zem;

/** An element of a model, native or written in Java. */
public interface IModelElement {
    String getName();

    EElementKind getKind();
}
