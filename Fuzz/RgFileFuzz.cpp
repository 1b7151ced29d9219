// Loads any bytes as a plain Rg file and as an option file, and saves the option file incrementally: the text that a
// save makes has to load, and to stand still from the second save on.

#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "VynOption.h"

namespace {

const vyn::COption optA[] = {{"x", 1, "", 0, 0}, {"y", 2, "1", 0, 0}};
const vyn::COptionSet setA = {"A", optA, 2, nullptr};
const vyn::CCategory catB = {"b", nullptr, 0, &setA};
const vyn::CCategory* const subA[] = {&catB};
const vyn::CCategory catA = {"a", subA, 1, &setA};

void Write(const char* path, const uint8_t* data, size_t size) {
    FILE* file = fopen(path, "w");
    fwrite(data, 1, size, file);
    fclose(file);
}

std::string Read(const char* path) {
    std::string text;
    FILE* file = fopen(path, "r");
    for (int c = fgetc(file); c != EOF; c = fgetc(file)) {
        text += static_cast<char>(c);
    }
    fclose(file);
    return text;
}

void Require(bool condition, const char* what) {
    if (!condition) {
        fprintf(stderr, "%s\n", what);
        abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const std::string path = "/tmp/vynfuzz." + std::to_string(getpid());
    Write(path.c_str(), data, size);
    vyn::CRgFile plain;
    plain.Load(path.c_str());

    vyn::COptionManager manager;
    manager.AddCategory(&catA);
    if (vyn::COptionFile* file = manager.Load(path.c_str())) {
        manager.SetIntValue("a", "y", 5);
        Require(file->Save(nullptr) == 0, "a loaded file can't be saved");
        Require(file->Save(nullptr) == 0, "a saved file doesn't load");
        const std::string second = Read(path.c_str());
        Require(file->Save(nullptr) == 0, "a file saved twice doesn't load");
        Require(Read(path.c_str()) == second, "the text moves at the third save");
    }
    unlink(path.c_str());
    return 0;
}
