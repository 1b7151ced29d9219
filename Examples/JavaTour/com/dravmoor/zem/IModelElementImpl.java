package com.dravmoor.zem;

/** The wrapper of a native model element. */
public class IModelElementImpl extends CppObjectWrapper implements IModelElement {
    public IModelElementImpl(long address) {
        super(address);
    }

    @Override
    public native String getName();

    @Override
    public EElementKind getKind() {
        return EElementKind.values()[kindNumber()];
    }

    private native int kindNumber();
}
