#include <VynToolMessages.h>

const vyn::VynMessage vynMessages[] = {{1, "von %2 Zeilen %1"}, {}};
