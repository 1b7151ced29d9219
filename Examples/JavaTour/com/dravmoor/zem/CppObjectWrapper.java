package com.dravmoor.zem;

/** Base of every Java object that stands for a native one. */
public class CppObjectWrapper {
    /** The canonical pointer of the native object; all that ties the two. */
    protected final long address;

    public CppObjectWrapper(long address) {
        this.address = address;
    }
}
