#include "JNIUtilities.h"

#include <dlfcn.h>
#include <pthread.h>

#include <array>
#include <cstdarg>
#include <mutex>

#include "CountingObject.h"
#include "TestSupport.h"

namespace vyn::test {

using namespace jniutils;

const char* const kElement = "com/dravmoor/zem/IModelElement";
const char* const kElementImpl = "com/dravmoor/zem/IModelElementImpl";
const char* const kJavaElement = "com/dravmoor/zem/JavaModelElement";
const char* const kWrapper = "com/dravmoor/zem/CppObjectWrapper";
const char* const kError = "com/dravmoor/zem/APIError";

// The one virtual machine of the process. What it prints is kept: the checks of -Xcheck:jni have to be
// silent. Its functions are altered in the thread that started it: the look-up of one name fails, as that of an
// unknown name does, and the weak reference that was deleted last is kept.
struct VirtualMachine : ::testing::Environment {
    void SetUp() override {
        ASSERT_EQ(dlopen("libjvm.so", RTLD_NOW | RTLD_NOLOAD), nullptr) << "the library brings no machine";
        void* library = dlopen(VYN_JVM, RTLD_NOW);
        const auto create = reinterpret_cast<decltype(&JNI_CreateJavaVM)>(dlsym(library, "JNI_CreateJavaVM"));
        JavaVMOption options[] = {
            {const_cast<char*>("-Djava.class.path=" VYN_CLASS_PATH), nullptr},
            {const_cast<char*>("-Xcheck:jni"), nullptr},
            {const_cast<char*>("-Xrs"), nullptr},
            {const_cast<char*>("-Xmx64m"), nullptr},
            {const_cast<char*>("vfprintf"), reinterpret_cast<void*>(&VirtualMachine::Print)},
        };
        JavaVMInitArgs args = {JNI_VERSION_1_8, std::size(options), options, JNI_FALSE};
        void* created = nullptr;
        ASSERT_EQ(create(&machine, &created, &args), JNI_OK) << TakeOutput();
        env = static_cast<JNIEnv*>(created);
        real = env->functions;
        altered = *real;
        altered.FindClass = [](JNIEnv* e, const char* name) { return real->FindClass(e, Seen(name)); };
        altered.GetMethodID = [](JNIEnv* e, jclass c, const char* name, const char* signature) {
            return real->GetMethodID(e, c, Seen(name), signature);
        };
        altered.GetFieldID = [](JNIEnv* e, jclass c, const char* name, const char* signature) {
            return real->GetFieldID(e, c, Seen(name), signature);
        };
        altered.DeleteWeakGlobalRef = [](JNIEnv* e, jweak reference) {
            real->DeleteWeakGlobalRef(e, deleted = reference);
        };
        env->functions = &altered;
    }

    static std::string TakeOutput() {
        const std::lock_guard<std::mutex> lock(outputMutex);
        return std::exchange(output, std::string());
    }

    static inline JavaVM* machine = nullptr;
    static inline JNIEnv* env = nullptr;
    static inline const char* missing = "";
    static inline jweak deleted = nullptr;

private:
    static const char* Seen(const char* name) { return strcmp(name, missing) == 0 ? "missing" : name; }

    static jint JNICALL Print(FILE*, const char* format, va_list args) {
        char text[1024];
        const int length = vsnprintf(text, sizeof text, format, args);
        const std::lock_guard<std::mutex> lock(outputMutex);
        output += text;
        return length;
    }

    static inline const JNINativeInterface_* real = nullptr;
    static inline JNINativeInterface_ altered;
    static inline std::mutex outputMutex;
    static inline std::string output;
};

const auto* const environment = ::testing::AddGlobalTestEnvironment(new VirtualMachine);

struct CountingCreator : ICppWrapperObjectCreator {
    k4::IUnknown* CreateCppWrapperObject(const std::string& name, JNIEnv*, jobject object) override {
        m_strCalls += name + " ";
        EXPECT_NE(object, nullptr);
        return m_object.Canonical();
    }

    CountingObject m_object;
    std::string m_strCalls;
};

struct Bridge : ::testing::Test {
    void SetUp() override {
        ASSERT_NE(env, nullptr) << "no virtual machine";
        ASSERT_EQ(env->PushLocalFrame(32), 0);
    }
    void TearDown() override {
        EXPECT_EQ(TakeException(), "");
        env->PopLocalFrame(nullptr);
        EXPECT_EQ(VirtualMachine::TakeOutput(), "");
        EXPECT_EQ(m_object.m_nReferences, 1);
    }

    // The text of the pending exception, which is cleared; "" when there is none.
    std::string TakeException() {
        const jthrowable pending = env->ExceptionOccurred();
        if (!pending) {
            return "";
        }
        env->ExceptionClear();
        return GetString(env, static_cast<jstring>(Call(pending, "toString", "()Ljava/lang/String;")));
    }
    jobject Call(jobject object, const char* name, const char* signature) {
        const jmethodID method = env->GetMethodID(env->GetObjectClass(object), name, signature);
        const jobject result = env->CallObjectMethod(object, method);
        EXPECT_FALSE(env->ExceptionCheck()) << name;
        return result;
    }
    jobject Kind(const char* name) {
        const jclass kinds = env->FindClass("com/dravmoor/zem/EElementKind");
        return env->GetStaticObjectField(kinds, env->GetStaticFieldID(kinds, name, "Lcom/dravmoor/zem/EElementKind;"));
    }
    jobject NewJavaElement(const std::string& name = "orders") {
        return CreateNewJavaObject(env, kJavaElement, "(Ljava/lang/String;Lcom/dravmoor/zem/EElementKind;)V",
                                   GetString(env, name), Kind("DIAGRAM"));
    }
    // A Java object with the address, which isn't registered.
    jobject NewKey(k4::IUnknown* object) {
        return CreateNewJavaObject(env, kWrapper, "(J)V", reinterpret_cast<jlong>(object));
    }
    // Unregisters and gives what was reported.
    std::string Unregister(jobject object) {
        return ErrorOutputOf([&] { UnregisterJavaObject(env, object); });
    }
    // The text of the API error that the call throws; "" when it throws none.
    std::string ErrorOfWrapping(jobject object, const char* interfaceName) {
        try {
            CreateNewWrappingCppObject(env, object, interfaceName);
            return "";
        } catch (const char* error) {
            return k4::GetAPIErrorMessage(error);
        }
    }

    JNIEnv* env = VirtualMachine::env;
    CountingObject m_object;
    CountingCreator m_creator;
};

const char* const kNotRegistered = "Internal error: Attempt to unregister non-existing Java object!\n";

TEST_F(Bridge, PassesTextsAndObjects) {
    // An umlaut, a NUL, a character of two code units.
    const std::string text = "\xC3\xB6\xC0\x80\xED\xA0\xBD\xED\xB8\x80";
    const jobject element = NewJavaElement(text);
    const jstring name = static_cast<jstring>(Call(element, "getName", "()Ljava/lang/String;"));
    EXPECT_EQ(env->GetStringLength(name), 4);
    EXPECT_EQ(GetString(env, name), text);
    EXPECT_EQ(GetNarrowString(env, name), text);
    EXPECT_EQ(GetString(env, jstring{nullptr}), "");
    EXPECT_EQ(ConvertEnumToInt(env, nullptr), 0);
    const jobject kind = Call(element, "getKind", "()Lcom/dravmoor/zem/EElementKind;");
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(ConvertEnumToInt(env, kind), 2) << "with more calls than references fit";
    }
}

TEST_F(Bridge, LeavesTheExceptionOfAFailedLookUp) {
    RegisterCppWrapperObjectCreator("IModelElement", &m_creator);
    const jobject kind = Kind("CLASS");
    const jobject key = NewKey(m_object.Canonical());
    const jstring noNumber = GetString(env, "x");
    const Rows<const char*, const char*, std::function<bool()>> rows = {
        {"java/lang/Enum", "NoClassDefFoundError", [&] { return ConvertEnumToInt(env, kind) == 0; }},
        {"ordinal", "NoSuchMethodError", [&] { return ConvertEnumToInt(env, kind) == 0; }},
        {kWrapper, "NoClassDefFoundError", [&] { return !GetIUnknownFromJavaObject(env, key, kElement); }},
        {"address", "NoSuchFieldError", [&] { return !GetIUnknownFromJavaObject(env, key, kElement); }},
        {kElement, "NoClassDefFoundError", [&] { return !CreateNewJavaObject(env, kElement, "()V"); }},
        {"<init>", "NoSuchMethodError", [&] { return !CreateNewJavaObject(env, kJavaElement, "()V"); }},
        {"none", "NumberFormatException",
         [&] { return !CreateNewJavaObject(env, "java/lang/Integer", "(Ljava/lang/String;)V", noNumber); }},
        {kError, "NoClassDefFoundError", [&] { return ThrowJavaAPIErrorException(env, "lost"), true; }},
    };
    for (const auto& [lookUp, exception, isEmpty] : rows) {
        VirtualMachine::missing = lookUp;
        EXPECT_TRUE(isEmpty()) << lookUp;
        VirtualMachine::missing = "";
        EXPECT_NE(TakeException().find(exception), std::string::npos) << lookUp;
    }
    EXPECT_EQ(m_creator.m_strCalls, "") << "a failed look-up isn't taken for a Java implementation";
    UnregisterCppWrapperObjectCreator("IModelElement");
}

TEST_F(Bridge, GivesAnObjectOneWrapperThroughAllItsInterfaces) {
    const jobject wrapper = CreateNewWrappingJavaObject(env, m_object.ThroughOtherInterface());
    ASSERT_NE(wrapper, nullptr);
    EXPECT_TRUE(IsInstanceOf(env, wrapper, kElementImpl));
    EXPECT_FALSE(IsInstanceOf(env, wrapper, kJavaElement));
    EXPECT_EQ(env->GetObjectRefType(wrapper), JNILocalRefType);
    EXPECT_EQ(GetIUnknownFromJavaObject(env, wrapper, nullptr), m_object.Canonical());

    const jobject stored = CreateNewWrappingJavaObject(env, m_object.Canonical());
    EXPECT_EQ(env->GetObjectRefType(stored), JNIWeakGlobalRefType);
    EXPECT_TRUE(env->IsSameObject(stored, wrapper));
    EXPECT_EQ(CreateNewWrappingJavaObject(env, "no/such/Class", m_object.ThroughOtherInterface()), stored)
        << "the class counts only where the wrapper is made";

    // Any object with the address stands for the entry, whose weak reference ends with it.
    EXPECT_EQ(Unregister(NewKey(m_object.Canonical())), "");
    EXPECT_EQ(VirtualMachine::deleted, stored);
    EXPECT_EQ(Unregister(wrapper), kNotRegistered) << "there was one entry";
}

TEST_F(Bridge, WrapsNothingWithoutPointerNameOrClassWhoseNullStaysUntilItIsUnregistered) {
    EXPECT_EQ(CreateNewWrappingJavaObject(env, nullptr), nullptr);
    EXPECT_EQ(CreateNewWrappingJavaObject(env, kElementImpl, nullptr), nullptr);
    CountingObject refusing, withoutInfo, nameless;
    refusing.m_bRefusesAll = true;
    withoutInfo.m_bHasInfo = false;
    nameless.m_listNames.clear();
    for (CountingObject* object : {&refusing, &withoutInfo, &nameless}) {
        EXPECT_EQ(CreateNewWrappingJavaObject(env, object->Canonical()), nullptr);
        EXPECT_EQ(Unregister(NewKey(object->Canonical())), kNotRegistered);
        EXPECT_EQ(object->m_nReferences, 1);
    }
    EXPECT_EQ(CreateNewWrappingJavaObject(env, kElementImpl, refusing.Canonical()), nullptr);
    EXPECT_EQ(Unregister(nullptr), kNotRegistered);
    EXPECT_EQ(Unregister(NewJavaElement()), kNotRegistered);

    m_object.m_listNames = {"IFoo"};
    EXPECT_EQ(CreateNewWrappingJavaObject(env, m_object.Canonical()), nullptr);
    EXPECT_EQ(TakeException(), "java.lang.NoClassDefFoundError: com/dravmoor/zem/IFooImpl");
    EXPECT_EQ(CreateNewWrappingJavaObject(env, kElementImpl, m_object.Canonical()), nullptr);
    EXPECT_EQ(TakeException(), "");
    EXPECT_EQ(Unregister(NewKey(m_object.Canonical())), "");
}

TEST_F(Bridge, ReadsTheNativePointerOfAWrapperOnly) {
    const jobject key = NewKey(m_object.Canonical());
    EXPECT_EQ(GetIUnknownFromJavaObject(env, nullptr, kElement), nullptr);
    EXPECT_EQ(GetIUnknownFromJavaObject(env, key, kElement), m_object.Canonical());
    EXPECT_EQ(GetInterfacePtr<IModelElement>(env, key, nullptr), static_cast<IModelElement*>(&m_object));
    m_object.m_bHasInfo = false;
    EXPECT_EQ(GetInterfacePtr<k4::IObjectInfo>(env, key, nullptr), nullptr);
    EXPECT_EQ(m_object.Release(), 1u);
    EXPECT_EQ(GetInterfacePtr<IModelElement>(env, NewJavaElement(), nullptr), nullptr);
}

TEST_F(Bridge, WrapsAJavaImplementationByTheCreatorOfItsInterface) {
    const jobject element = NewJavaElement();
    RegisterCppWrapperObjectCreator("IModelElement", &m_creator);
    EXPECT_EQ(GetIUnknownFromJavaObject(env, element, kElement), m_creator.m_object.Canonical());
    EXPECT_EQ(GetInterfacePtr<IModelElement>(env, element, kElement), static_cast<IModelElement*>(&m_creator.m_object));
    EXPECT_EQ(m_creator.m_object.m_nReferences, 2);
    EXPECT_EQ(m_creator.m_strCalls, "IModelElement IModelElement ");

    UnregisterCppWrapperObjectCreator("IModelElement");
    UnregisterCppWrapperObjectCreator("IModelElement");

    const jobject bare = CreateNewJavaObject(env, "Bare", "()V");
    RegisterCppWrapperObjectCreator("Bare", nullptr);
    EXPECT_EQ(CreateNewWrappingCppObject(env, bare, "Bare"), nullptr);
    RegisterCppWrapperObjectCreator("Bare", &m_creator);
    EXPECT_EQ(CreateNewWrappingCppObject(env, bare, "Bare"), m_creator.m_object.Canonical());
    EXPECT_EQ(CreateNewWrappingCppObject(env, nullptr, "Bare"), nullptr);
    UnregisterCppWrapperObjectCreator("Bare");
}

TEST_F(Bridge, ThrowsWhatCannotBeWrapped) {
    RegisterCppWrapperObjectCreator(kElement, &m_creator);
    const jobject element = NewJavaElement();
    EXPECT_EQ(ErrorOfWrapping(element, kElement),
              "Unable to pass Java object as interface com/dravmoor/zem/IModelElement")
        << "a name with a package is never found";
    EXPECT_EQ(ErrorOfWrapping(element, "no/such/IClass"),
              "Java object does not implement the expected interface no/such/IClass");
    EXPECT_EQ(TakeException(), "java.lang.NoClassDefFoundError: no/such/IClass");
    EXPECT_TRUE(IsInstanceOf(env, nullptr, kWrapper));
    EXPECT_FALSE(IsInstanceOf(env, nullptr, "no/such/Class"));
    ThrowJavaAPIErrorException(env, "in place of the pending exception");
    EXPECT_EQ(TakeException(), "com.dravmoor.zem.APIError: in place of the pending exception");
    UnregisterCppWrapperObjectCreator(kElement);
}

TEST_F(Bridge, MakesAWrapperAnewThatTheCollectorTook) {
    env->DeleteLocalRef(CreateNewWrappingJavaObject(env, m_object.Canonical()));
    const jweak stored = static_cast<jweak>(CreateNewWrappingJavaObject(env, m_object.Canonical()));
    const jclass system = env->FindClass("java/lang/System");
    const jmethodID collect = env->GetStaticMethodID(system, "gc", "()V");
    for (int i = 0; i < 100 && !env->IsSameObject(stored, nullptr); ++i) {
        env->CallStaticVoidMethod(system, collect);
        ASSERT_FALSE(env->ExceptionCheck());
    }
    const jobject next = CreateNewWrappingJavaObject(env, m_object.Canonical());
    EXPECT_EQ(env->GetObjectRefType(next), JNILocalRefType);
    EXPECT_EQ(VirtualMachine::deleted, stored);
    EXPECT_EQ(GetIUnknownFromJavaObject(env, next, nullptr), m_object.Canonical());
    EXPECT_TRUE(env->IsSameObject(CreateNewWrappingJavaObject(env, m_object.Canonical()), next));
    EXPECT_EQ(Unregister(next), "");
}

TEST_F(Bridge, MakesOneWrapperForFourThreadsAtOnce) {
    const int rounds = 1000;
    static std::array<CountingObject, rounds> objects;  // no other object gets the address of an entry
    pthread_barrier_t barrier;
    pthread_barrier_init(&barrier, nullptr, 4);
    std::atomic<int> makers{0};
    const auto run = [&] {
        void* attached = nullptr;
        ASSERT_EQ(VirtualMachine::machine->AttachCurrentThread(&attached, nullptr), JNI_OK);
        JNIEnv* own = static_cast<JNIEnv*>(attached);
        // A wrapper lives until all threads are through. Nothing but the wrappers may stay behind.
        own->PushLocalFrame(rounds);
        for (CountingObject& object : objects) {
            pthread_barrier_wait(&barrier);
            const jobject wrapper = CreateNewWrappingJavaObject(own, kElementImpl, object.Canonical());
            makers += own->GetObjectRefType(wrapper) == JNILocalRefType ? 1 : 0;
        }
        pthread_barrier_wait(&barrier);
        VirtualMachine::machine->DetachCurrentThread();
    };
    std::thread threads[] = {std::thread(run), std::thread(run), std::thread(run), std::thread(run)};
    for (std::thread& thread : threads) {
        thread.join();
    }
    pthread_barrier_destroy(&barrier);
    EXPECT_EQ(makers, rounds);
    EXPECT_EQ(objects[0].m_nReferences, 1);
}

}  // namespace vyn::test
