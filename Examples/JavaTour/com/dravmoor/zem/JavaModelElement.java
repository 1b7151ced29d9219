package com.dravmoor.zem;

/** A model element that is written in Java. */
public class JavaModelElement implements IModelElement {
    private final String name;
    private final EElementKind kind;

    public JavaModelElement(String name, EElementKind kind) {
        this.name = name;
        this.kind = kind;
    }

    @Override
    public String getName() {
        return name;
    }

    @Override
    public EElementKind getKind() {
        return kind;
    }
}
