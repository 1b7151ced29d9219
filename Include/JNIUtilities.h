#pragma once

/// \file
/// Passes objects between the object runtime `k4` and Java, for the native methods of the tools: one Java
/// wrapper for each native object, the native pointer of a Java object, texts, enums and API errors. Any
/// thread may call it with its own `JNIEnv*`; only the creators are registered and unregistered while no
/// other thread converts objects. The constructor of a wrapper class, and the native object while it is
/// unregistered, run under the lock of all wrappers: they must not come back to CreateNewWrappingJavaObject
/// or UnregisterJavaObject. Who includes this header needs `jni.h`, which a JDK has: in CMake by `find_package(JNI)`
/// and `JNI_INCLUDE_DIRS`, else by `-I` for the folders `include` and `include/linux` of the JDK.
///
/// Where a class, a constructor or a field isn't found, the result is null, 0 or false and the Java exception
/// stays pending.
///
/// A wrapper is tied to its native object by an address and by nothing else: it holds no reference to the
/// native object, and the library holds only a weak one to the wrapper. So the glue of the tool has two
/// duties:
///  - it keeps the native object alive as long as its wrapper lives, by a reference that the glue itself adds
///    and releases;
///  - it calls UnregisterJavaObject when the wrapper goes away and before the native object does, as in a
///    finalizer of the wrapper class.

#include <jni.h>

#include <string>

#include "ZemAPICommon.h"

/// The functions for the native methods of the tools.
namespace jniutils {

/// \brief Makes native objects that stand for Java implementations of one interface.
///
/// A tool implements it and registers it under the name of the interface.
class VYN_API ICppWrapperObjectCreator {
public:
    /// \param name the interface without its package.
    /// \param object the Java implementation; a reference that ends with the native method that runs.
    /// \return a native object or null. The bridge hands it on as it is and releases no reference that comes
    /// with it.
    virtual k4::IUnknown* CreateCppWrapperObject(const std::string& name, JNIEnv* env, jobject object) = 0;
    virtual ~ICppWrapperObjectCreator() = default;
};

/// \param text null gives the empty text.
/// \return the text in the modified UTF-8 of the virtual machine; empty when it is out of memory, with the
/// exception pending.
VYN_API std::string GetString(JNIEnv* env, jstring text);
/// The same as GetString.
VYN_API std::string GetNarrowString(JNIEnv* env, jstring text);
/// \param text modified UTF-8, up to its first NUL.
/// \return a local reference; null when the virtual machine is out of memory.
VYN_API jstring GetString(JNIEnv* env, const std::string& text);

/// \param object an enum constant. Null gives 0.
/// \return its ordinal; 0 if a look-up fails, too.
VYN_API int ConvertEnumToInt(JNIEnv* env, jobject object);

/// Calls the constructor with \p signature on the arguments that follow.
/// \param className with "/" between its components.
/// \return a local reference; null when the class or the constructor isn't found or the constructor throws.
VYN_API jobject CreateNewJavaObject(JNIEnv* env, const char* className, const char* signature, ...);

/// Gives a native object its one Java wrapper, whichever of its interfaces \p object is. No reference to the
/// native object is left behind.
///
/// The wrapper that is registered for the object is returned whatever its class is, as long as the collector
/// didn't take it. What is returned then is the stored weak reference itself: it isn't deleted by the caller, ends
/// with UnregisterJavaObject or the next call for the object, and refers to nothing once the collector takes the
/// wrapper. Glue that keeps no other reference makes a local one first, and asks again for a wrapper that was taken
/// in between:
/// \code
/// jobject wrapper = env->NewLocalRef(CreateNewWrappingJavaObject(env, className, object));
/// if (!wrapper && !env->ExceptionCheck()) {
///     wrapper = CreateNewWrappingJavaObject(env, className, object);
/// }
/// \endcode
///
/// Otherwise the wrapper is made by the constructor of \p className with the signature "(J)V", which takes
/// the canonical pointer, and registered. When that fails, null is registered in its place: later calls for
/// the object return null, with no exception, until it is unregistered.
///
/// \param className with "/" between its components, not null.
/// \param object null gives null.
/// \return a new local reference if the wrapper was made, else the stored weak reference or null.
VYN_API jobject CreateNewWrappingJavaObject(JNIEnv* env, const char* className, k4::IUnknown* object);
/// The same with the class "com/dravmoor/zem/" + the first name of the object's k4::IObjectInfo + "Impl". An
/// object without that interface or without names gives null.
VYN_API jobject CreateNewWrappingJavaObject(JNIEnv* env, k4::IUnknown* object);

/// Ends the registration of the wrapper of a native object, and the weak references that were handed out with
/// it. What isn't registered or has no native pointer is reported on `vynerr`.
/// \param object a com.dravmoor.zem.CppObjectWrapper with the address of a living native object.
VYN_API void UnregisterJavaObject(JNIEnv* env, jobject object);

/// Reads the address of a com.dravmoor.zem.CppObjectWrapper. Any other object goes to
/// CreateNewWrappingCppObject if there is an \p interfaceName.
/// \param object null gives null. A weak reference is allowed as long as its object wasn't collected.
/// \param interfaceName may be null.
/// \return the native pointer of a wrapper, with no new reference; what the creator returned; or null, also when an
/// exception is pending.
/// \throws const char* as CreateNewWrappingCppObject does.
VYN_API k4::IUnknown* GetIUnknownFromJavaObject(JNIEnv* env, jobject object, const char* interfaceName);

/// The interface `T` of what GetIUnknownFromJavaObject gives.
/// \return a pointer with one reference for the caller, or null.
/// \throws const char* as CreateNewWrappingCppObject does.
template <class T>
T* GetInterfacePtr(JNIEnv* env, jobject object, const char* interfaceName) {
    void* found = nullptr;
    if (k4::IUnknown* unknown = GetIUnknownFromJavaObject(env, object, interfaceName)) {
        unknown->QueryInterface(T::guid_, &found);
    }
    return static_cast<T*>(found);
}

/// Makes a native object for a Java implementation of an interface, by the creator that is registered under
/// the last component of the name.
/// \param interfaceName with "/" between its components, not null.
/// \param object null gives null.
/// \return what the creator returned; null if the registered creator is null.
/// \throws const char* by k4::ThrowAPIError when the object doesn't implement the interface or no creator is
/// registered. It must not pass into the virtual machine: catch it and call ThrowJavaAPIErrorException.
VYN_API k4::IUnknown* CreateNewWrappingCppObject(JNIEnv* env, jobject object, const char* interfaceName);

/// Registers a creator in place of the one that had the name.
/// \param name an interface without its package: with a "/" in it, it is never found. Not null.
/// \param creator stays with the caller and outlives its registration. May be null.
VYN_API void RegisterCppWrapperObjectCreator(const char* name, ICppWrapperObjectCreator* creator);
/// \param name may be unknown. Not null.
VYN_API void UnregisterCppWrapperObjectCreator(const char* name);

/// \param className with "/" between its components.
/// \return true for a null object, as JNI has it; false when the class isn't found.
VYN_API bool IsInstanceOf(JNIEnv* env, jobject object, const char* className);

/// Raises com.dravmoor.zem.APIError in place of an exception that is pending. If that class isn't found, the
/// exception of the look-up is pending afterwards.
/// \param message modified UTF-8, up to its first NUL.
VYN_API void ThrowJavaAPIErrorException(JNIEnv* env, const std::string& message);

}  // namespace jniutils
