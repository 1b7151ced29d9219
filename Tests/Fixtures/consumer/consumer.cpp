#include <VynErrOut.h>
#include <VynOption.h>
#include <VynToolMessages.h>

int main() {
    static const vyn::COption options[] = {{"Wrap", 1, "true", 0, 0}};
    static const vyn::COptionSet set = {"Editor", options, 1, nullptr};
    static const vyn::CCategory editor = {"Editor", nullptr, 0, &set};
    vyn::COptionManager manager;
    manager.AddCategory(&editor);
    vyn::VynToolMessages messages("consumer", vynMessages);
    vyn::vynout << (vyn::SFmt(messages.GetHandle(), 1) << 5L << 7L) << "; " << messages.GetText(2) << vyn::endl;
    return manager.GetBoolValue("Editor", "Wrap") ? 0 : 1;
}
