#include <VynToolMessages.h>

const vyn::VynMessage vynMessages[] = {{1, "%1 of %2 lines"}, {2, "only in English: %s"}, {}};
