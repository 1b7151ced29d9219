#include "ZemGlobalMode.h"

namespace vyn::gmode {

namespace {

EZemGlobalMode mode_ = EZemGlobalMode();

}  // namespace

void SetZemGlobalMode(EZemGlobalMode mode) {
    mode_ = mode;
}

EZemGlobalMode GetZemGlobalMode() {
    return mode_;
}

}  // namespace vyn::gmode
