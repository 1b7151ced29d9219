// Reads any text as an identifier: what was read comes back from its text form.

#include "Fuzz.h"
#include "VynGuid.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    k4::GUID guid, again;
    const bool sound = k4::GUID::FromString(vyn::fuzz::Text(data, size), guid);
    vyn::fuzz::Require(sound || guid == k4::GUID{}, "not the null identifier");
    std::string text;
    guid.ToString(text);
    vyn::fuzz::Require(text.size() == 36 && k4::GUID::FromString(text, again) && again == guid,
                       "the text form doesn't read back");
    return 0;
}
