// The message catalogue: German texts by id, used as they stand.
#include <lumbasic/LumsException.h>

#include <cstring>

namespace
{
struct LumMessage
{
    int m_nId;
    const char* m_pszText;
};

const LumMessage s_aMessages[] = {
    {10900, "In der Funktion ist ein unerwarteter Fehler aufgetreten."},
    {57005, "Im %d.Parameter wird ein numerischer Typ erwartet. Dort steht jedoch die Zeichenkette \"%s\"."},
    {57006, "Im %d. Parameter wird eine Zeichenkette erwartet. In der Parameterliste steht jedoch ein "
            "numerischer Ausdruck."},
    {57007, "Der %d. Parameter fehlt."},
    {57008, "Beim Verändern des Inhalts der Variablen %s ist ein Fehler aufgetreten."},
    {57009, "Beim Lesen des Inhalts der Variablen %s ist ein Fehler aufgetreten."},
    {57013, "Die Prozedur %s wird aufgerufen, ohne daß diese zuvor mit Declare deklariert wurde."},
    {57014, "Bei der Definition der Prozedur %s wurden zuwenig Parameter angegeben. In der Deklaration der "
            "Prozedur wurden mehr Parameter angegeben. Der Deklarationsstring lautete:\r\n\"%s\""},
    {57015, "Die linke Seite einer Zuweisung ist kein Variablenname, sondern eine numerische Konstante."},
    {57016, "Es wird das Token LBT_EXPRESSION erwartet. Statt dessen wurde der Wert %x gelesen."},
    {57017, "Der Stringvariablen %s kann kein numerischer Wert zugewiesen werden."},
    {57018, "Der numerischen Variablen %s kann kein String zugewiesen werden."},
    {57019, "Bei der Zuweisung zur Variablen %s fehlt der Wert."},
    {57020, "Die Dimension der Dim-Anweisung für %s muß numerisch angegeben werden."},
    {57021, "Bei Dim %s fehlt nach dem Schlüsselwort As die Typangabe."},
    {57022, "Nach der If-Anweisung fehlt die Bedingung."},
    {57023, "Zu der Else-Anweisung fehlt die If-Anweisung."},
    {57024, "In der For-Anweisung fehlt der Endwert der Schleife."},
    {57025, "In der For-Anweisung fehlt der Anfangswert der Schleife."},
    {57026,
     "Falsche Verschachtelung von If und For/While/Do. Verschiedenartige Schleifen oder If-Bedingungen "
     "dürfen nicht verzahnt werden."},
    {57027, "Zu der Next-Anweisung existiert keine For-Anweisung."},
    {57028, "Die Adresse %p ist ungültig."},
    {57029, "Es wurde versucht, Daten aus einem nicht belegten Speicherbereich zu lesen."},
    {57030, "Es wurde versucht, in einem nicht belegten Speicherbereich zu positionieren."},
    {57031, "Der Stapel für zwischengespeicherte Datenpositionen ist leer."},
    {57032,
     "Beim Füllen der Schablone \"%s\"wurde festgestellt, daß der Datentyp des Füllwertes ungültig ist."},
    {57033, "Für einen numerischen Wert wurde eine Stringschablone angegeben."},
    {57034, "End Sub ist zur Beendigung einer Funktionsdefinition unzulässig. Es muß End Function verwendet "
            "werden."},
    {57035, "Der Typ (%x) des Auswertungsknotens ist unbekannt."},
    {57036, "Der Auswertungsbaum ist inkonsistent. Der Zeiger auf den auszuwertenden Knoten ist NULL."},
    {57037, "Das Token %x ist kein gültiges Funktionstoken."},
    {57038, "Der Fehler trat in Zeile %ld der Quelldatei auf."},
    {57039, "Der Variablenname \"%s\" ist länger als %d Zeichen."},
    {57040, "Der Code befindet sich außerhalb aller Subs und Functions! Wahrscheinlich wurde die \"Sub "
            "Main\"-Anweisung vergessen."},
    {57041, "Nach der While-Anweisung fehlt der Ausdruck."},
    {57042, "Nach der Loop While oder Loop Until-Anweisung fehlt der Ausdruck."},
    {57043, "Kein Befehl mit dem Token %x bekannt."},
    {57044, "Der Fehler trat im importierten Makro \"%s\" auf."},

    {57100, "Die Prozedur %s gehört zu einem Programm, das nicht mehr geladen ist."},
    {57101, "Das Programmabbild ist beschädigt: an Position %ld wird außerhalb des Abbilds gelesen."},
    {57102, "Die Datei \"%s\" kann nicht gelesen werden: %s"},
    {57103, "Division durch Null."},
    {57104, "Der Operator %s ist für Zeichenketten nicht definiert."},
    {57105, "Eine Zeichenkette und eine Zahl können mit dem Operator %s nicht verglichen werden."},
    {57106, "Die Schachtelungstiefe von %d verschachtelten Läufen ist überschritten (Rekursion ohne Ende?)."},
    {57107, "Der Ausdruck ist tiefer als %d Ebenen verschachtelt."},
    {57109, "Mehr als %d Prozeduraufrufe sind gleichzeitig offen (Rekursion ohne Ende?)."},
    {57110,
     "Das Programmabbild ist beschädigt: die Anweisung mit dem Token %x springt an eine ungültige Stelle."},
    {57111, "Es sind mehr als %d If- und For-Anweisungen zugleich offen."},
    {57112, "Der Lauf hat die Grenze von %lu Anweisungen erreicht und wurde abgebrochen."},
    {57113, "Der Lauf wurde auf Anforderung abgebrochen."},
    {57114, "Die Werte des Laufs belegen mehr als %lu Bytes; der Lauf wurde abgebrochen."},
    {57115, "Die Datei \"%s\" liegt außerhalb dessen, was der Host dem Programm erlaubt."},
    {57116, "Das Programmabbild ist beschädigt oder keines: an Position %ld steht kein bekannter Befehl."},

    {57120, "Der Methode %s darf im Argument %s nicht der Wert %s uebergeben werden!"},
    {57121, "Das Erweiterungsmodul %s wurde nicht gefunden!"},
    {57122, "In der Methode %s ist ein Fehler in der Behandlung der Liste der Extentionmodule aufgetreten!"},
    {57123, "Dem Extentionmodul \"%s\" wurde kein Basismodul mitgeteilt!"},
    {57124, "Der Parameter <%s> konnte nicht mit dem Wert <%s> versorgt werden!"},
    {57125, "Als Parametername darf kein NULL-Zeiger uebergeben werden!"},
    {57126, "Als Parameterwert darf kein NULL-Zeiger uebergeben werden!"},

    {57127, "%s erwartet %d Parameter; es wurden mehr angegeben."},
    {57128, "Im %d. Parameter von %s wird eine Variable erwartet, in die ein Wert geschrieben werden kann."},
    {57129, "Die Ausnahme lautet: %s"},
    {57130, "\"%s\" ist kein gültiger Name für eine Anweisung oder Funktion."},
    {57131, "Der Name \"%s\" ist ein Wort der Sprache und kann nicht registriert werden."},
    {57132, "Der Name \"%s\" wurde bereits registriert."},
    {57133,
     "Der Name \"%s\" ergibt dasselbe Token %x wie der registrierte Name \"%s\". Bitte einen anderen Namen "
     "wählen."},
    {57134, "Die Eingabe \"%s\" ist keine Zahl."},

    {57200, "Die Datei \"%s\" endet vorzeitig."},
    {57201, "Die Profile-Datei kann nicht gesichert werden.\nDer Pfad ist evtl. nicht vorhanden."},
    {57202, "Die Datei \"%s\" kann nicht geschrieben werden: %s"},
    {57203, "Keine Quelldatei angegeben!"},
    {57204, "Debugging \"%s\""},
    {57205, "Debugging main module \"%s\""},
    {57206, "Debugging sub module \"%s\""},
    {57207, "Quelldatei auswählen"},
    {57208, "LUMOR Basic Quellcode (*.lbd)|*.lbd||"},
    {57209, "LUMOR Basic Debugger"},
    {57210, "Das Debugfenster kann nicht geöffnet werden: %s"},
    {57211, "Kein Variablenname angegeben!"},
    {57212, "Kein Wert angegeben!"},
    {57213, "Ab dieser Zeile folgt keine Zeile mit Code mehr."},
    {57214, "Die Trefferzahl \"%s\" ist keine der Formen N, >=N, >N, ==N oder %N."},
    {57215, "Das Programm hält gerade nicht an."},
    {57216, "Der Ausdruck \"%s\" würde Variablen ändern und wird deshalb nicht ausgewertet."},
    {57217, "Der Lauf wurde im Debugger beendet."},
    {57218, "Die Variable \"%s\" gibt es hier nicht."},
    {57219, "Die Anfrage \"%s\" wird nicht unterstützt."},
    {57220, "Die Anfrage \"%s\" ist fehlerhaft: %s"},
    {57221, "Die Startkonfiguration ist fehlerhaft: %s"},
    {57222, "Es wurde noch kein Programm gestartet."},
    {57223, "Die Bedingung \"%s\" kann nicht ausgewertet werden: %s"},
    {57224, "Fehlgeschlagener Lauf"},
    {57225, "\"%s\" ist kein einzelner Ausdruck."},
};
} // namespace

std::string LoadMessage(int id)
{
    for (const LumMessage& msg : s_aMessages)
        if (msg.m_nId == id)
            return std::string(msg.m_pszText, strnlen(msg.m_pszText, 1023));
    return std::string();
}
