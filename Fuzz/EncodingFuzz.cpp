// Guesses the encoding of any bytes and converts them: what was converted stays as it is in further conversions.

#include <vector>

#include "Fuzz.h"
#include "VynEncoding.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text = vyn::fuzz::Text(data, size);
    if (size > 0) {
        const std::vector<char> exact(data, data + size);  // without a NUL behind it
        vyn::DetectEncoding(exact.data(), static_cast<unsigned>(size)).GetEncodingName();
    }
    vyn::IsUTF8(text.c_str());

    std::wstring wide, again;
    std::string narrow;
    vyn::getUTF16or32StringFromUTF8(wide, text.c_str());
    vyn::getUTF8StringFromUTF16or32(narrow, wide.c_str());
    vyn::getUTF16or32StringFromUTF8(again, narrow.c_str());
    vyn::fuzz::Require(again == wide, "UTF-8 made from wide text doesn't read back");

    std::wstring any(size / sizeof(wchar_t), L' ');
    for (size_t i = 0; i < any.size() * sizeof(wchar_t); ++i) {
        reinterpret_cast<char*>(&any[0])[i] = static_cast<char>(data[i]);
    }
    vyn::getUTF8StringFromUTF16or32(narrow, any.c_str());

    const vyn::ANSIString system{vyn::UTF8String(text)};
    const vyn::ANSIString fromWide{vyn::WString(any.c_str())};
    vyn::WString(vyn::ANSIString(text)).size();
    vyn::UTF8String(system).size();
    return 0;
}
