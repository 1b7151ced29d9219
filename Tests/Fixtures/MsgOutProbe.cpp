// Writes to vynerr from a global object and to both streams from main. Linked with the library, the object is
// built after the streams; compiled with the sources of the library, its place in the start order lies before
// them, and it is destroyed after them.

#include "Text/InitOrder_p.h"
#include "VynErrOut.h"

namespace vyn {
namespace {

struct Witness {
    Witness() { vynerr << "constructor " << long{-1} << endl << flush; }
    ~Witness() {
        vynerr << "destructor" << endl << flush;
        vynerr << "not flushed";
    }
};

VYN_INIT(VYN_INIT_RESOURCES) Witness witness;

}  // namespace
}  // namespace vyn

int main() {
    vyn::vynerr << vyn::IntErr << "error" << vyn::endl << vyn::flush;
    vyn::vynout << "output" << vyn::endl << vyn::flush;
    vyn::vynout << "output at exit" << vyn::endl;
    vyn::vynerr << "error at exit" << vyn::endl;
    return 0;
}
