#pragma once

/// \file
/// Options: the tables in which a tool declares them, the manager that finds their values through a stack of
/// option files, and the files with their incremental save. Nothing here locks: a manager, its tree and its
/// files belong to one thread. Processes that save one file at once wait for each other.

#include "VynOptionFile.h"
#include "VynOptionKey.h"
#include "VynOptionManager.h"
#include "VynOptionTables.h"
