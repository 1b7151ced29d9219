#include <VynToolMessages.h>

#include "Texts.h"

const vyn::VynMessage vynMessages[] = {
    {eUsage, "Aufruf: texttool [GRUPPE/NAME=WERT...] DOKUMENT..."},
    {eCantRead, "%1 ist nicht lesbar"},
    {eSummary, "%1: %3 Zeilen in %2 Absätzen"},
    {eFixed, "%1: in %2, Zeile %3, festgelegt"},
    {eUnknownOption, "%1: eine solche Option gibt es nicht"},
    {eCantSave, "%1 lässt sich nicht speichern"},
    {eTooDeep, "%1 ist zu tief verschachtelt"},
    {eFilterNotStarted, "Der Filter \"%1\" lässt sich nicht starten: %2"},
    {eFilterTooSlow, "Der Filter \"%1\" wurde nach %2 s beendet"},
    {eFilterFailed, "Der Filter \"%1\" ist mit %2 gescheitert"},
    {},
};
