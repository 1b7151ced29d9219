#include <VynToolMessages.h>

#include "Texts.h"

const vyn::VynMessage vynMessages[] = {
    {eUsage, "Usage: texttool [GROUP/NAME=VALUE...] DOCUMENT..."},
    {eCantRead, "%1 can't be read"},
    {eSummary, "%1: %2 paragraphs, %3 lines"},
    {eFixed, "%1: fixed in %2, line %3"},
    {eUnknownOption, "%1: there is no such option"},
    {eCantSave, "%1 can't be saved"},
    {eTooDeep, "%1 is included too deep"},
    {eFilterNotStarted, "The filter \"%1\" can't be started: %2"},
    {eFilterTooSlow, "The filter \"%1\" was stopped after %2 s"},
    {eFilterFailed, "The filter \"%1\" failed with %2"},
    {},
};
