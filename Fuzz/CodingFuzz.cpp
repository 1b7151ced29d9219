// Decodes any text as percent coding and as base64, and codes any bytes: what was coded reads back.

#include "Fuzz.h"
#include "VynHttp.h"

using vyn::fuzz::Require;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text = vyn::fuzz::Text(data, size);
    const vyn::UTF8String bytes(text);

    vyn::UTF8String decoded;
    vyn::DecodeURL(text, decoded);
    vyn::DecodeAgentURL(text, decoded);
    vyn::base64_decode(text);

    std::string coded;
    vyn::EncodeURL(bytes, coded);
    decoded.clear();
    vyn::DecodeURL(coded, decoded);
    Require(decoded == bytes, "the percent coding doesn't read back");

    coded.clear();
    vyn::EncodeAgentURL(bytes, coded);
    decoded.clear();
    vyn::DecodeAgentURL(coded, decoded);
    Require(decoded == bytes, "the coding of a parameter doesn't read back");

    Require(vyn::base64_decode(vyn::base64_encode(data, static_cast<unsigned>(size))) == text,
            "base64 doesn't read back");
    return 0;
}
