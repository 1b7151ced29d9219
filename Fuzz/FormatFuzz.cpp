// Takes any text as a format that a translator wrote, and formats with arguments that fit every conversion: each is
// the address of a text, and small enough for a width.

#include <sys/mman.h>

#include <algorithm>
#include <cstring>

#include "Fuzz.h"
#include "VynErrOut.h"
#include "VynRes.h"

namespace {

constexpr int kMaxConversions = 16;  // each takes two of the forty arguments at most

// The address is a small number.
char* SmallText() {
    void* const place = reinterpret_cast<void*>(0x10000);
    char* text = static_cast<char*>(
        mmap(place, 4096, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED_NOREPLACE, -1, 0));
    vyn::fuzz::Require(text == place, "the address isn't free");
    return text;
}

// A width of many digits asks for as much memory.
bool HasLongNumber(const std::string& text) {
    int digits = 0;
    return std::any_of(text.begin(), text.end(), [&](char c) {
        digits = c >= '0' && c <= '9' ? digits + 1 : 0;
        return digits > 5;
    });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static char* const word = SmallText();
    static int module;
    const std::string format = vyn::fuzz::Text(data, size);
    const auto conversions =
        std::count(format.begin(), format.end(), '%') + std::count(format.begin(), format.end(), '*');
    if (conversions > kMaxConversions || HasLongNumber(format)) {
        return 0;
    }
    memset(word, 0, 16);
    strcpy(word, "ab");
    const auto handle = reinterpret_cast<vyn::HINSTANCE>(&module);
    vyn::SStringTable table(handle);
    table.Add(1, format.c_str());
    const vyn::VynDllHrscState current(handle);

    vyn::SString text;
#define FIVE(argument) argument, argument, argument, argument, argument
#define FORTY(argument)                                                                                             \
    FIVE(argument), FIVE(argument), FIVE(argument), FIVE(argument), FIVE(argument), FIVE(argument), FIVE(argument), \
        FIVE(argument)
    text.Format(1u, 1.5, 1.5, 1.5, 1.5, 1.5, 1.5, 1.5, 1.5, FORTY(word));
    vyn::fuzz::Require(text.size() == strlen(text.c_str()), "a NUL inside the text");
    text.FormatI18n(1u, word, word, word, word, word, word, word, word, word);

    vyn::SFmt message(handle, 1);
    message << word << 5L << text;
    message.str();
    return 0;
}
