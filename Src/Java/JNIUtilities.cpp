#include "JNIUtilities.h"

#include <cstdarg>
#include <cstdint>
#include <cstring>
#include <list>
#include <map>

#include "RhuOs.h"
#include "Text/InitOrder_p.h"
#include "VynErrOut.h"

namespace jniutils {

namespace {

const char* const kPackage = "com/dravmoor/zem/";
const char* const kWrapperClass = "com/dravmoor/zem/CppObjectWrapper";
const char* const kErrorClass = "com/dravmoor/zem/APIError";
const char* const kConstructor = "<init>";

struct MapWrapperJavaObjects {
    MapWrapperJavaObjects() { m_mutex.init(false); }

    // The key is the canonical pointer, the value a weak global reference. Neither holds its object.
    std::map<k4::IUnknown*, jobject> m_map;
    rhu::os::Mutex m_mutex;
};

struct MapCppWrapperObjectCreators {
    std::map<std::string, ICppWrapperObjectCreator*> m_map;
};

VYN_INIT(VYN_INIT_JAVA_WRAPPERS) MapWrapperJavaObjects mapWrapperJavaObjects;
VYN_INIT(VYN_INIT_JAVA_CREATORS) MapCppWrapperObjectCreators mapCppWrapperObjectCreators;

// A local reference that ends with its scope: a thread that was attached from outside has no Java frame whose
// return would end it.
class LocalClass {
public:
    LocalClass(JNIEnv* env, jclass reference) : m_pEnv(env), m_class(reference) {}
    LocalClass(const LocalClass&) = delete;
    LocalClass& operator=(const LocalClass&) = delete;
    ~LocalClass() { m_pEnv->DeleteLocalRef(m_class); }
    operator jclass() const { return m_class; }

private:
    JNIEnv* m_pEnv;
    jclass m_class;
};

jlong ToAddress(k4::IUnknown* object) {
    return static_cast<jlong>(reinterpret_cast<std::uintptr_t>(object));
}

k4::IUnknown* ReadAddress(JNIEnv* env, jobject wrapper) {
    const LocalClass wrapperClass(env, env->GetObjectClass(wrapper));
    if (!wrapperClass) {
        return nullptr;
    }
    const jfieldID address = env->GetFieldID(wrapperClass, "address", "J");
    if (!address) {
        return nullptr;
    }
    return reinterpret_cast<k4::IUnknown*>(static_cast<std::uintptr_t>(env->GetLongField(wrapper, address)));
}

}  // namespace

std::string GetString(JNIEnv* env, jstring text) {
    const char* bytes = text ? env->GetStringUTFChars(text, nullptr) : nullptr;
    if (!bytes) {
        return std::string();
    }
    std::string result(bytes);
    env->ReleaseStringUTFChars(text, bytes);
    return result;
}

std::string GetNarrowString(JNIEnv* env, jstring text) {
    return GetString(env, text);
}

jstring GetString(JNIEnv* env, const std::string& text) {
    return env->NewStringUTF(text.c_str());
}

int ConvertEnumToInt(JNIEnv* env, jobject object) {
    if (!object) {
        return 0;
    }
    const LocalClass enumClass(env, env->FindClass("java/lang/Enum"));
    if (!enumClass) {
        return 0;
    }
    const jmethodID ordinal = env->GetMethodID(enumClass, "ordinal", "()I");
    if (!ordinal) {
        return 0;
    }
    const jint value = env->CallIntMethod(object, ordinal);
    // JNI wants it asked after each call, though this one throws nothing.
    return env->ExceptionCheck() ? 0 : value;
}

jobject CreateNewJavaObject(JNIEnv* env, const char* className, const char* signature, ...) {
    const LocalClass newClass(env, env->FindClass(className));
    if (!newClass) {
        return nullptr;
    }
    const jmethodID constructor = env->GetMethodID(newClass, kConstructor, signature);
    if (!constructor) {
        return nullptr;
    }
    va_list args;
    va_start(args, signature);
    const jobject object = env->NewObjectV(newClass, constructor, args);
    va_end(args);
    return object;
}

jobject CreateNewWrappingJavaObject(JNIEnv* env, const char* className, k4::IUnknown* object) {
    if (!object) {
        return nullptr;
    }
    k4::Ptr<k4::IUnknown> canonical;
    object->QueryInterface(k4::IUnknown::guid_, canonical.Address());
    if (!canonical) {
        return nullptr;
    }
    // Look-up and creation are one step: two threads never make two wrappers of an object.
    rhu::os::auto_lock lock(mapWrapperJavaObjects.m_mutex);
    auto& wrappers = mapWrapperJavaObjects.m_map;
    const auto found = wrappers.find(canonical.get());
    if (found != wrappers.end()) {
        const jobject stored = found->second;
        if (!stored || !env->IsSameObject(stored, nullptr)) {
            return stored;
        }
        // The collector took the wrapper.
        env->DeleteWeakGlobalRef(stored);
        wrappers.erase(found);
    }
    const jobject wrapper = CreateNewJavaObject(env, className, "(J)V", ToAddress(canonical.get()));
    // With an exception pending, no reference may be made.
    wrappers[canonical.get()] = wrapper ? env->NewWeakGlobalRef(wrapper) : nullptr;
    return wrapper;
}

jobject CreateNewWrappingJavaObject(JNIEnv* env, k4::IUnknown* object) {
    if (!object) {
        return nullptr;
    }
    k4::Ptr<k4::IObjectInfo> info;
    object->QueryInterface(k4::IObjectInfo::guid_, info.Address());
    if (!info) {
        return nullptr;
    }
    std::list<std::string> names;
    info->GetInterfaceNames(names);
    if (names.empty()) {
        return nullptr;
    }
    const std::string className = kPackage + names.front() + "Impl";
    return CreateNewWrappingJavaObject(env, className.c_str(), object);
}

void UnregisterJavaObject(JNIEnv* env, jobject object) {
    using namespace vyn;
    rhu::os::auto_lock lock(mapWrapperJavaObjects.m_mutex);
    const k4::Ptr<k4::IUnknown> canonical(GetInterfacePtr<k4::IUnknown>(env, object, nullptr));
    auto& wrappers = mapWrapperJavaObjects.m_map;
    const auto found = wrappers.find(canonical.get());
    if (found == wrappers.end()) {
        vynerr << IntErr << "Attempt to unregister non-existing Java object!" << endl << flush;
        return;
    }
    const jobject stored = found->second;
    wrappers.erase(found);
    env->DeleteWeakGlobalRef(stored);
}

k4::IUnknown* GetIUnknownFromJavaObject(JNIEnv* env, jobject object, const char* interfaceName) {
    if (!object) {
        return nullptr;
    }
    if (IsInstanceOf(env, object, kWrapperClass)) {
        return ReadAddress(env, object);
    }
    // With the exception of a failed look-up pending, no further class may be looked up.
    if (!interfaceName || env->ExceptionCheck()) {
        return nullptr;
    }
    return CreateNewWrappingCppObject(env, object, interfaceName);
}

k4::IUnknown* CreateNewWrappingCppObject(JNIEnv* env, jobject object, const char* interfaceName) {
    if (!object) {
        return nullptr;
    }
    if (!IsInstanceOf(env, object, interfaceName)) {
        k4::ThrowAPIError(std::string("Java object does not implement the expected interface ") + interfaceName);
    }
    const char* slash = strrchr(interfaceName, '/');
    const std::string shortName = slash ? slash + 1 : interfaceName;
    const auto& creators = mapCppWrapperObjectCreators.m_map;
    const auto found = creators.find(shortName);
    if (found == creators.end()) {
        k4::ThrowAPIError(std::string("Unable to pass Java object as interface ") + interfaceName);
    }
    return found->second ? found->second->CreateCppWrapperObject(shortName, env, object) : nullptr;
}

void RegisterCppWrapperObjectCreator(const char* name, ICppWrapperObjectCreator* creator) {
    mapCppWrapperObjectCreators.m_map[name] = creator;
}

void UnregisterCppWrapperObjectCreator(const char* name) {
    mapCppWrapperObjectCreators.m_map.erase(name);
}

bool IsInstanceOf(JNIEnv* env, jobject object, const char* className) {
    const LocalClass wanted(env, env->FindClass(className));
    return wanted && env->IsInstanceOf(object, wanted);
}

void ThrowJavaAPIErrorException(JNIEnv* env, const std::string& message) {
    if (const jthrowable pending = env->ExceptionOccurred()) {
        env->ExceptionClear();
        env->DeleteLocalRef(pending);
    }
    const LocalClass errorClass(env, env->FindClass(kErrorClass));
    if (errorClass) {
        env->ThrowNew(errorClass, message.c_str());
    }
}

}  // namespace jniutils
