// The native side of the tour: a model with two elements, and the native methods of the Java classes.

#include <atomic>
#include <string>

#include "JNIUtilities.h"

namespace {

const char* const kElementClass = "com/dravmoor/zem/IModelElement";

// The interface that native code sees, whatever an element is written in.
class IModelElement : public k4::IUnknown {
public:
    virtual std::string GetName(JNIEnv* env) = 0;
    virtual int GetKind(JNIEnv* env) = 0;

    static constexpr k4::GUID guid_ = {0x0B2A51C7, 0x3D52, 0x4E0A, {0x9C, 0x11, 0x52, 0x7E, 0x90, 0x46, 0xD1, 0x3B}};

protected:
    ~IModelElement() = default;
};

// What all elements share. An element starts without a reference and ends with its last one.
class Element : public IModelElement, public k4::IObjectInfo {
public:
    virtual ~Element() = default;

    void QueryInterface(const k4::GUID& guid, void** out) override {
        *out = nullptr;
        if (guid == IModelElement::guid_) {
            *out = static_cast<IModelElement*>(this);
        } else if (guid == k4::IUnknown::guid_) {
            *out = static_cast<k4::IUnknown*>(static_cast<IModelElement*>(this));
        } else if (guid == k4::IObjectInfo::guid_) {
            *out = static_cast<k4::IObjectInfo*>(this);
        }
        if (*out) {
            AddRef();
        }
    }
    unsigned long AddRef() override { return ++m_nReferences; }
    unsigned long Release() override {
        const unsigned long left = --m_nReferences;
        if (left == 0) {
            delete this;
        }
        return left;
    }
    // The wrapper class is named after the first one: com.dravmoor.zem.IModelElementImpl.
    void GetInterfaceNames(std::list<std::string>& names) override { names.push_back("IModelElement"); }

private:
    std::atomic<unsigned long> m_nReferences{0};
};

class NativeElement : public Element {
public:
    NativeElement(const char* name, int kind) : m_strName(name), m_nKind(kind) {}

    std::string GetName(JNIEnv*) override { return m_strName; }
    int GetKind(JNIEnv*) override { return m_nKind; }

private:
    std::string m_strName;
    int m_nKind;
};

// A Java implementation of the interface, for the length of one native method.
class JavaElement : public Element {
public:
    explicit JavaElement(jobject object) : m_object(object) {}

    std::string GetName(JNIEnv* env) override {
        return jniutils::GetString(env, static_cast<jstring>(Call(env, "getName", "()Ljava/lang/String;")));
    }
    int GetKind(JNIEnv* env) override {
        return jniutils::ConvertEnumToInt(env, Call(env, "getKind", "()Lcom/dravmoor/zem/EElementKind;"));
    }

private:
    jobject Call(JNIEnv* env, const char* method, const char* signature) {
        const jmethodID id = env->GetMethodID(env->GetObjectClass(m_object), method, signature);
        const jobject result = id ? env->CallObjectMethod(m_object, id) : nullptr;
        if (env->ExceptionCheck()) {
            k4::ThrowAPIError(std::string("A Java element failed in ") + method);
        }
        return result;
    }

    jobject m_object;
};

class JavaElementCreator : public jniutils::ICppWrapperObjectCreator {
public:
    // No reference is counted yet: the one of the caller comes from GetInterfacePtr.
    k4::IUnknown* CreateCppWrapperObject(const std::string&, JNIEnv*, jobject object) override {
        return static_cast<IModelElement*>(new JavaElement(object));
    }
};

// The model holds its elements as long as the library is loaded, so no wrapper outlives its element.
class Model {
public:
    Model() {
        jniutils::RegisterCppWrapperObjectCreator("IModelElement", &m_creator);
        m_order->AddRef();
        m_catalogue->AddRef();
    }
    Model(const Model&) = delete;
    Model& operator=(const Model&) = delete;
    ~Model() {
        jniutils::UnregisterCppWrapperObjectCreator("IModelElement");
        m_order->Release();
        m_catalogue->Release();
    }

    IModelElement* Find(JNIEnv* env, const std::string& name) const {
        for (IModelElement* element : {m_order, m_catalogue}) {
            if (element->GetName(env) == name) {
                return element;
            }
        }
        k4::ThrowAPIError("The model has no element " + name);
    }

private:
    JavaElementCreator m_creator;
    IModelElement* m_order = new NativeElement("Order", 1);
    IModelElement* m_catalogue = new NativeElement("Catalogue", 0);
};

Model model;

// The wrapper of an element that the model holds. One that the collector takes meanwhile is made anew.
jobject WrapperOf(JNIEnv* env, k4::IUnknown* element) {
    const jobject wrapper = env->NewLocalRef(jniutils::CreateNewWrappingJavaObject(env, element));
    const bool taken = !wrapper && !env->ExceptionCheck();
    return taken ? jniutils::CreateNewWrappingJavaObject(env, element) : wrapper;
}

k4::Ptr<IModelElement> ToElement(JNIEnv* env, jobject object) {
    k4::Ptr<IModelElement> element(jniutils::GetInterfacePtr<IModelElement>(env, object, kElementClass));
    if (!element) {
        k4::ThrowAPIError("No model element was passed");
    }
    return element;
}

// Runs the body of a native method. An API error becomes a Java exception: none may pass into the machine.
template <class Body>
auto Guarded(JNIEnv* env, const Body& body) -> decltype(body()) {
    try {
        return body();
    } catch (const char* error) {
        jniutils::ThrowJavaAPIErrorException(env, k4::GetAPIErrorMessage(error));
        return {};
    }
}

}  // namespace

extern "C" {

JNIEXPORT jobject JNICALL Java_JavaTour_findElement(JNIEnv* env, jclass, jstring name) {
    return Guarded(env, [&] { return WrapperOf(env, model.Find(env, jniutils::GetString(env, name))); });
}

JNIEXPORT jstring JNICALL Java_JavaTour_describe(JNIEnv* env, jclass, jobject object) {
    return Guarded(env, [&] {
        static const char* const kinds[] = {"PACKAGE ", "CLASS ", "DIAGRAM "};
        const auto element = ToElement(env, object);
        return jniutils::GetString(env, kinds[element->GetKind(env)] + element->GetName(env));
    });
}

JNIEXPORT jstring JNICALL Java_com_dravmoor_zem_IModelElementImpl_getName(JNIEnv* env, jobject self) {
    return Guarded(env, [&] { return jniutils::GetString(env, ToElement(env, self)->GetName(env)); });
}

JNIEXPORT jint JNICALL Java_com_dravmoor_zem_IModelElementImpl_kindNumber(JNIEnv* env, jobject self) {
    return Guarded(env, [&] { return jint{ToElement(env, self)->GetKind(env)}; });
}

}  // extern "C"
