import com.dravmoor.zem.APIError;
import com.dravmoor.zem.EElementKind;
import com.dravmoor.zem.IModelElement;
import com.dravmoor.zem.JavaModelElement;

/** A tour of the bridge between Java and a native model: java -Djava.library.path=DIR -cp JavaTour.jar JavaTour */
public class JavaTour {
    /** The element of the native model with this name; an APIError when there is none. */
    private static native IModelElement findElement(String name);

    /** What the native model has to say about an element, be it native or written in Java. */
    private static native String describe(IModelElement element);

    public static void main(String[] args) {
        System.loadLibrary("JavaTour");

        IModelElement order = findElement("Order");
        show("same wrapper when asked twice", order == findElement("Order"), true);
        show("its name, read through the wrapper", order.getName(), "Order");
        show("the native element in native code", describe(order), "CLASS Order");

        IModelElement basket = new JavaModelElement("Basket", EElementKind.DIAGRAM);
        show("a Java element in native code", describe(basket), "DIAGRAM Basket");

        try {
            findElement("Invoice");
            show("an unknown element", "no error", "APIError");
        } catch (APIError error) {
            show("an unknown element", error.getMessage(), "The model has no element Invoice");
        }
    }

    /** Prints what was seen; ends with 1 where it isn't what the tour promises. */
    private static void show(String what, Object seen, Object promised) {
        System.out.println(what + ": " + seen);
        if (!seen.equals(promised)) {
            System.err.println("promised was: " + promised);
            System.exit(1);
        }
    }
}
