// Loads any bytes as a style file, and saves a style into it: the text that a save makes has to load, and to stand
// still from the second save on.

#include "Fuzz.h"
#include "VynStyle.h"

using vyn::fuzz::Require;

namespace {

const vyn::COption optPara[] = {{"Font", 1, "Sans", 0, 0}, {"Size", 2, "10", 0, 0}};

// Styles live until their kind's list is empty.
void DestroyStyles(vyn::CStyleKind& kind) {
    while (void* pos = kind.GetStyleList()->GetHeadPosition()) {
        delete kind.GetStyleList()->GetNext(pos);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const vyn::fuzz::Directory directory;
    static const std::string path = directory / "a.styles";
    vyn::fuzz::WriteFile(path, vyn::fuzz::Text(data, size));

    vyn::CStyleKind kind("Para", optPara, 2);
    auto* body = new vyn::CStyle("Body", &kind, "Doc", 0, nullptr);
    body->SetValue(body->GetMgrCategory()->GetPath(), "Size", "12");
    void* pos = body->GetFirstFilePosition();
    vyn::COptionFile* own = body->GetNextFile(pos);
    int status;
    {
        vyn::CStyleList list(&kind);
        vyn::CStyleFile file(own);
        status = file.Load(path.c_str(), &list);
        for (void* at = list.GetHeadPosition(); at;) {
            vyn::CStyle* style = list.GetNext(at);
            style->SetInitialValues();
            const char* parent = style->GetValue(style->GetMgrCategory()->GetPath(), vyn::CStyle::InheritString);
            style->SetParent(parent ? list.FindStyle(parent) : nullptr);
        }
    }
    if (status == 0) {
        const bool saved = own->SaveAs(path.c_str()) == 0;
        Require(saved || size == 0 || memchr(data, 0, size), "a loaded file can't be saved");
        if (saved) {
            Require(own->SaveAs(path.c_str()) == 0, "a saved file doesn't load");
            const std::string second = vyn::fuzz::ReadFile(path);
            Require(own->SaveAs(path.c_str()) == 0 && vyn::fuzz::ReadFile(path) == second,
                    "the text moves at the third save");
        }
    }
    DestroyStyles(kind);
    return 0;
}
