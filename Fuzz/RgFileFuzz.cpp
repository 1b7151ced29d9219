// Loads any bytes as a plain Rg file and as an option file, and saves the option file incrementally: the text that a
// save makes has to load, and to stand still from the second save on. A file that isn't a text is left alone.

#include <cerrno>
#include <cstring>

#include "Fuzz.h"
#include "VynOption.h"

using vyn::fuzz::Require;

namespace {

const vyn::COption optA[] = {{"x", 1, "", 0, 0}, {"y", 2, "1", 0, 0}};
const vyn::COptionSet setA = {"A", optA, 2, nullptr};
const vyn::CCategory catB = {"b", nullptr, 0, &setA};
const vyn::CCategory* const subA[] = {&catB};
const vyn::CCategory catA = {"a", subA, 1, &setA};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const vyn::fuzz::Directory directory;
    static const std::string path = directory / "a.zop";
    vyn::fuzz::WriteFile(path, vyn::fuzz::Text(data, size));
    vyn::CRgFile plain;
    plain.Load(path.c_str());

    vyn::COptionManager manager;
    manager.AddCategory(&catA);
    vyn::COptionFile* file = manager.Load(path.c_str());
    if (!file) {
        return 0;
    }
    manager.SetIntValue("a", "y", 5);
    const int status = file->Save(nullptr);
    if (size > 0 && memchr(data, 0, size)) {
        Require(status == EILSEQ && vyn::fuzz::ReadFile(path) == vyn::fuzz::Text(data, size),
                "a file that isn't a text is replaced");
        return 0;
    }
    Require(status == 0, "a loaded file can't be saved");
    Require(file->Save(nullptr) == 0, "a saved file doesn't load");
    const std::string second = vyn::fuzz::ReadFile(path);
    Require(file->Save(nullptr) == 0, "a file saved twice doesn't load");
    Require(vyn::fuzz::ReadFile(path) == second, "the text moves at the third save");
    return 0;
}
