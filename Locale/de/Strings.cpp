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
    table->Add(17, "'%1' ist hier unerwartet: erwartet wird %2");
    table->Add(18, "Text hinter einem Wert: '%1'");
    table->Add(19, "Text vor der ersten Überschrift wird übergangen");
    table->Add(20, "Der Überschrift fehlt ihr ']'");
    table->Add(21, "Dem Text fehlt das schließende Anführungszeichen");
    table->Add(22, "Der Liste der Attribute fehlt ihr ')'");
    table->Add(23, "Die Liste der Attribute hat nicht die Form (Name=Wert, Name=Wert)");
    table->Add(24, "Der Wert '%1' hat keinen Text");
    table->Add(25, "Die Zahl %1 wird als %2 gelesen");
    table->Add(26, "Ein NUL-Byte beendet den Text hier");
    table->Add(27, "Die Marke einer anderen Kodierung: %1");
    table->Add(28, "Der Wert '%1' stand schon in Zeile %2");
    table->Add(29, "Der Abschnitt '%1' stand schon in Zeile %2");
    table->Add(30, "Der Name hat %1 Bytes: mehr als 255 haben keine Adresse");
    table->Add(31, "Der Text von '%1' kann nicht gespeichert werden: er hat ein Anführungszeichen");
    table->Add(32, "Unbekannter Abschnitt '%1'");
    table->Add(33, "Unbekannte Option '%1'");
    table->Add(34, "'%1' muss eine ganze Zahl sein, nicht '%2'");
    table->Add(35, "'%1' muss true oder false sein, nicht '%2'");
    table->Add(36, "'%1' hat den Text, der darunter liegt");
    table->Add(37, "'%1' ist in %2, Zeile %3 festgelegt: dieser Wert zählt nicht");
    table->Add(38, "'%1': \"fixed\" bewirkt hier nichts");
    table->Add(39, "Der Stil '%1' basiert auf '%2', den es nicht gibt");
    table->Add(40, "Der Stil '%1' basiert auf sich selbst, über '%2'");
    table->Add(41, "'%1' ist kein Eintrag der Form Name:Ziel");
    table->Add(42, "Der URN-Name '%1' ist vorgegeben: der Eintrag wird abgewiesen");
    table->Add(43, "Der URN-Name '%1' stand schon in Zeile %2: der Eintrag wird abgewiesen");
    table->Add(44, "Das Ziel von '%1' ist kein Verzeichnis mit absolutem Pfad: '%2'");
    table->Add(45, "Ein Speichern wurde unterbrochen: Der Text ist der von '%1'");
    table->Add(46, "eine Überschrift");
    table->Add(47, "ein Name zwischen '[', '/' und ']'");
    table->Add(48, "ein Wert, eine Überschrift oder das Ende");
    table->Add(49, "'='");
    table->Add(50, ": meinten Sie '%1'?");
}
