// What the examples in the headers leave for the reader to imagine.
using namespace vyn;

extern MList<CError*> list;
extern SVector<SString> v;
extern SString name, message, path, urn, target, reason;
extern HINSTANCE module;
extern SocketServer server;
extern Socket* peer;
extern const CCategory catEditor;
extern CStyleKind kindParagraph, kind;
extern COptionFile* optionFile;
extern k4::IUnknown* object;
#if __has_include(<jni.h>)
using namespace jniutils;
extern JNIEnv* env;
extern const char* className;
#endif
