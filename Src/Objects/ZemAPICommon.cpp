#include "ZemAPICommon.h"

namespace k4 {

const GUID IUnknown::guid_ = {0x2F51008E, 0x98A4, 0x4939, {0xA5, 0xBF, 0x65, 0x29, 0xED, 0x63, 0x8D, 0x89}};
const GUID IObjectInfo::guid_ = {0x961926D5, 0x6FC1, 0x4542, {0x90, 0x56, 0xBA, 0x3D, 0x2D, 0x28, 0x03, 0x88}};

void ThrowAPIError(const std::string& message) {
    static std::string lastMessage;
    lastMessage = message;
    throw lastMessage.c_str();
}

const char* GetAPIErrorMessage(const char*& error) {
    return error;
}

}  // namespace k4
