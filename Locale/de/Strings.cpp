/// \file
/// The messages of the library in German. Numbers and placeholders are those of the English messages; %s
/// stand in the same order, while %1 and so on may change places.

#include "VynRes.h"

extern "C" VYN_API void InitializeLibResources(vyn::HINSTANCE handle) {
    auto* table = new vyn::SStringTable(handle);
    table->Add(1, "%s: beim Schreiben von %s");
    table->Add(2, "%s: beim Lesen von %s");
    table->Add(3, "Lesen aus dem Eingabestrom während der Übertragung nach %s fehlgeschlagen.");
    table->Add(4, "Interner Fehler im Eingabestrom während der Übertragung nach %s festgestellt.");
    table->Add(5, "Fehler: %s beim Lesen aus der Datei: %s.");
    table->Add(6, "Schreiben in den Ausgabestrom während der Übertragung von %s fehlgeschlagen.");
    table->Add(7, "Interner Fehler im Ausgabestrom während der Übertragung von %s festgestellt.");
    table->Add(8, "Meine Projekte");
    table->Add(9, "'%s' konnte nicht zum Schreiben geöffnet werden.");
    table->Add(10, "'%s' konnte nicht zum Lesen geöffnet werden.");
    table->Add(11, "URN '%s': Zielort nicht gefunden: '%s'.");
    table->Add(12, "URN '%s': Der Zielort muss ein absoluter Pfad sein: '%s'.");
    table->Add(13,
               "Der URN-Name '%s' wurde nicht gefunden. Bitte definieren Sie ihn unter "
               "ZEM->Options->General->URNMap.");
    table->Add(14,
               "Der URN-Name '%s' ist bereits als '%s' definiert. Bitte prüfen Sie die Umgebungsvariable "
               "ZEM_URN_MAP_FILE und ZEM->Options->General->URNMap.");
    table->Add(15, "URN '%1': Zielort nicht gefunden: '%2'. Fehler: '%3'.");
    table->Add(16, "Der Filter '%1' ist ungültig.\n%2");
}
