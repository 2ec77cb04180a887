<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE">
<context>
    <name>DeskAgent</name>
    <message>
        <source>Desk</source>
        <translation>Leitstand</translation>
    </message>
    <message>
        <source>Refresh</source>
        <translation>Aktualisieren</translation>
    </message>
    <message>
        <source>Show publications</source>
        <translation>Publikationen zeigen</translation>
    </message>
    <message>
        <source>Start output</source>
        <translation>Ausgabe starten</translation>
    </message>
    <message>
        <source>Stop output</source>
        <translation>Ausgabe anhalten</translation>
    </message>
    <message>
        <source>Hold job</source>
        <translation>Auftrag zurückhalten</translation>
    </message>
</context>
<context>
    <name>DeskProxy</name>
    <message>
        <source>Arrived</source>
        <translation>Eingang</translation>
    </message>
    <message>
        <source>Balance in cents</source>
        <translation>Saldo in Cent</translation>
    </message>
    <message>
        <source>Bleed in mm</source>
        <translation>Beschnitt in mm</translation>
    </message>
    <message>
        <source>Bytes</source>
        <translation>Bytes</translation>
    </message>
    <message>
        <source>Begin of parts in bytes</source>
        <translation>Anfang der Teile in Bytes</translation>
    </message>
    <message>
        <source>Copies</source>
        <translation>Auflage</translation>
    </message>
    <message>
        <source>Ink coverage in percent</source>
        <translation>Farbdeckung in Prozent</translation>
    </message>
    <message>
        <source>Format</source>
        <translation>Format</translation>
    </message>
    <message>
        <source>Held</source>
        <translation>Zurückgehalten</translation>
    </message>
    <message>
        <source>Number</source>
        <translation>Nummer</translation>
    </message>
    <message>
        <source>Inks</source>
        <translation>Farben</translation>
    </message>
    <message>
        <source>Jobs</source>
        <translation>Aufträge</translation>
    </message>
    <message>
        <source>Key</source>
        <translation>Schlüssel</translation>
    </message>
    <message>
        <source>Keywords</source>
        <translation>Stichwörter</translation>
    </message>
    <message>
        <source>Name</source>
        <translation>Name</translation>
    </message>
    <message>
        <source>Number of the output</source>
        <translation>Nummer der Ausgabe</translation>
    </message>
    <message>
        <source>Page</source>
        <translation>Seite</translation>
    </message>
    <message>
        <source>Pages</source>
        <translation>Seiten</translation>
    </message>
    <message>
        <source>Paper</source>
        <translation>Papier</translation>
    </message>
    <message>
        <source>Priority</source>
        <translation>Priorität</translation>
    </message>
    <message>
        <source>Publication</source>
        <translation>Publikation</translation>
    </message>
    <message>
        <source>Number of the publication</source>
        <translation>Nummer der Publikation</translation>
    </message>
    <message>
        <source>Key of the publication</source>
        <translation>Schlüssel der Publikation</translation>
    </message>
    <message>
        <source>Queue</source>
        <translation>Warteschlange</translation>
    </message>
    <message>
        <source>Sheets of the parts</source>
        <translation>Bogen der Teile</translation>
    </message>
    <message>
        <source>Dots an inch</source>
        <translation>Punkte je Zoll</translation>
    </message>
    <message>
        <source>Rotation in degrees</source>
        <translation>Drehung in Grad</translation>
    </message>
    <message>
        <source>Scale</source>
        <translation>Maßstab</translation>
    </message>
    <message>
        <source>Pages of a section</source>
        <translation>Seiten eines Bogens</translation>
    </message>
    <message>
        <source>Pages a minute</source>
        <translation>Seiten je Minute</translation>
    </message>
    <message>
        <source>Spot colours</source>
        <translation>Sonderfarben</translation>
    </message>
    <message>
        <source>State</source>
        <translation>Zustand</translation>
    </message>
    <message>
        <source>Trim box in mm</source>
        <translation>Endformat in mm</translation>
    </message>
    <message>
        <source>running</source>
        <translation>läuft</translation>
    </message>
    <message>
        <source>stopped</source>
        <translation>angehalten</translation>
    </message>
    <message>
        <source>yes</source>
        <translation>ja</translation>
    </message>
    <message>
        <source>no</source>
        <translation>nein</translation>
    </message>
</context>
<context>
    <name>DeskWindow</name>
    <message>
        <source>Print shop – %1</source>
        <translation>Druckerei – %1</translation>
    </message>
    <message>
        <source>Outputs</source>
        <translation>Ausgaben</translation>
    </message>
    <message>
        <source>Jobs</source>
        <translation>Aufträge</translation>
    </message>
    <message>
        <source>Publications</source>
        <translation>Publikationen</translation>
    </message>
    <message>
        <source>Books</source>
        <translation>Bücher</translation>
    </message>
    <message>
        <source>&amp;Jobs</source>
        <translation>&amp;Aufträge</translation>
    </message>
    <message>
        <source>&amp;Publications</source>
        <translation>&amp;Publikationen</translation>
    </message>
    <message>
        <source>&amp;Books</source>
        <translation>&amp;Bücher</translation>
    </message>
    <message>
        <source>Fields of the record</source>
        <translation>Felder des Datensatzes</translation>
    </message>
    <message>
        <source>Field</source>
        <translation>Feld</translation>
    </message>
    <message>
        <source>Value</source>
        <translation>Wert</translation>
    </message>
    <message>
        <source>&amp;Fields</source>
        <translation>&amp;Felder</translation>
    </message>
    <message>
        <source>&amp;Outputs</source>
        <translation>Aus&amp;gaben</translation>
    </message>
    <message>
        <source>&amp;Desk</source>
        <translation>&amp;Leitstand</translation>
    </message>
    <message>
        <source>Desk</source>
        <translation>Leitstand</translation>
    </message>
    <message>
        <source>&amp;Quit</source>
        <translation>B&amp;eenden</translation>
    </message>
    <message>
        <source>Search</source>
        <translation>Suche</translation>
    </message>
    <message>
        <source>Search names (Ctrl+F)</source>
        <translation>Namen suchen (Strg+F)</translation>
    </message>
    <message>
        <source>Search names</source>
        <translation>Namen suchen</translation>
    </message>
    <message>
        <source>Progress</source>
        <translation>Fortschritt</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>Cancelled</source>
        <translation>Abgebrochen</translation>
    </message>
    <message>
        <source>The store does not answer</source>
        <translation>Der Speicher antwortet nicht</translation>
    </message>
    <message>
        <source>Refreshed</source>
        <translation>Aktualisiert</translation>
    </message>
    <message>
        <source>%1 is running</source>
        <translation>%1 läuft</translation>
    </message>
    <message>
        <source>%1 is stopped</source>
        <translation>%1 ist angehalten</translation>
    </message>
    <message>
        <source>%1 is held</source>
        <translation>%1 ist zurückgehalten</translation>
    </message>
    <message>
        <source>%1 is let go</source>
        <translation>%1 ist freigegeben</translation>
    </message>
    <message>
        <source>sample</source>
        <translation>Beispiel</translation>
    </message>
    <message>
        <source>Nobody answers; waiting for a store</source>
        <translation>Niemand antwortet; es wird auf einen Speicher gewartet</translation>
    </message>
    <message>
        <source>Nobody answers: %1</source>
        <translation>Niemand antwortet: %1</translation>
    </message>
</context>
</TS>
