// Matches a text, behind the first line feed, against a pattern, before it.

#include "Fuzz.h"
#include "VynPattern.h"

using vyn::fuzz::Require;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const auto [pattern, text] = vyn::fuzz::TwoTexts(data, size);
    vyn::SString error;
    const bool valid = vyn::VynGlob::IsGlobValid(pattern.c_str(), error);
    Require(valid == error.IsEmpty(), "the error doesn't fit the result");
    const bool matches = vyn::VynGlob::IsAMatch(pattern.c_str(), text.c_str(), error);
    Require(!matches || (valid && error.IsEmpty()), "a match of a wrong pattern");
    return 0;
}
