/** A class without a package, whose name has no "/" in native code. */
public class Bare {
}
