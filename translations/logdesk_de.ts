<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de" sourcelanguage="en">
<context>
    <name>zuLogging::Application</name>
    <message>
        <source>Can&apos;t execute LogDesk. Please check if the log service is running. (%1)</source>
        <translation>LogDesk kann nicht gestartet werden. Bitte prüfen Sie, ob der Log-Dienst läuft. (%1)</translation>
    </message>
</context>
<context>
    <name>zuLogging::FilterDialog</name>
    <message>
        <source>Info (info)</source>
        <translation>Info (info)</translation>
    </message>
    <message>
        <source>Warning (warn)</source>
        <translation>Warnung (warn)</translation>
    </message>
    <message>
        <source>Error (err)</source>
        <translation>Fehler (err)</translation>
    </message>
    <message>
        <source>Fatal (fatal)</source>
        <translation>Fatal (fatal)</translation>
    </message>
    <message>
        <source>Debug (debug)</source>
        <translation>Debug (debug)</translation>
    </message>
    <message>
        <source>Trace (trace)</source>
        <translation>Trace (trace)</translation>
    </message>
    <message>
        <source>Case Sensitive</source>
        <translation>Groß-/Kleinschreibung beachten</translation>
    </message>
    <message>
        <source>Select all</source>
        <translation>Alle auswählen</translation>
    </message>
    <message>
        <source>Filter</source>
        <translation>Filter</translation>
    </message>
    <message>
        <source>Enter adds it to the include filter</source>
        <translation>Eingabetaste fügt ihn zum Einschlussfilter hinzu</translation>
    </message>
    <message>
        <source>Add Filter:</source>
        <translation>Neuer Filter:</translation>
    </message>
    <message>
        <source>Include Filter</source>
        <translation>Einschlussfilter</translation>
    </message>
    <message>
        <source>Exclude Filter</source>
        <translation>Ausschlussfilter</translation>
    </message>
    <message>
        <source>Clear</source>
        <translation>Leeren</translation>
    </message>
    <message>
        <source>Save</source>
        <translation>Speichern</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Schließen</translation>
    </message>
    <message>
        <source>Add</source>
        <translation>Anfügen</translation>
    </message>
    <message>
        <source>Remove</source>
        <translation>Entfernen</translation>
    </message>
    <message>
        <source>Filter Log Levels</source>
        <translation>Log-Stufen filtern</translation>
    </message>
    <message>
        <source>%1: %2</source>
        <comment>a button and its group</comment>
        <translation>%1: %2</translation>
    </message>
</context>
<context>
    <name>zuLogging::FindDialog</name>
    <message>
        <source>Up</source>
        <translation>Aufwärts</translation>
    </message>
    <message>
        <source>Down</source>
        <translation>Abwärts</translation>
    </message>
    <message>
        <source>Match case</source>
        <translation>Groß-/Kleinschreibung beachten</translation>
    </message>
    <message>
        <source>Find</source>
        <translation>Suchen</translation>
    </message>
    <message>
        <source>Find what:</source>
        <translation>Suchen nach:</translation>
    </message>
    <message>
        <source>Direction</source>
        <translation>Richtung</translation>
    </message>
    <message>
        <source>Search Mode</source>
        <translation>Suchmodus</translation>
    </message>
    <message>
        <source>Find next (F3)</source>
        <translation>Weitersuchen (F3)</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Schließen</translation>
    </message>
</context>
<context>
    <name>zuLogging::GoToDialog</name>
    <message>
        <source>Go To...</source>
        <translation>Gehe zu...</translation>
    </message>
    <message>
        <source>Go to line:</source>
        <translation>Gehe zu Zeile:</translation>
    </message>
    <message>
        <source>Go</source>
        <translation>Los</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Schließen</translation>
    </message>
</context>
<context>
    <name>zuLogging::InsertConfigDialog</name>
    <message>
        <source>OK</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>Configuration</source>
        <translation>Konfiguration</translation>
    </message>
    <message>
        <source>Insert comment</source>
        <translation>Kommentar einfügen</translation>
    </message>
    <message>
        <source>Modify comment</source>
        <translation>Kommentar ändern</translation>
    </message>
    <message>
        <source>Insert parameters</source>
        <translation>Parameter einfügen</translation>
    </message>
    <message>
        <source>Modify parameters</source>
        <translation>Parameter ändern</translation>
    </message>
    <message>
        <source>Insert attributes</source>
        <translation>Attribute einfügen</translation>
    </message>
    <message>
        <source>Modify attributes</source>
        <translation>Attribute ändern</translation>
    </message>
    <message>
        <source>Insert </source>
        <translation>Einfügen </translation>
    </message>
    <message>
        <source>Modify </source>
        <translation>Ändern </translation>
    </message>
    <message>
        <source>Value</source>
        <translation>Wert</translation>
    </message>
    <message>
        <source>Module</source>
        <translation>Modul</translation>
    </message>
    <message>
        <source>Level</source>
        <translation>Stufe</translation>
    </message>
    <message>
        <source>Comment</source>
        <translation>Kommentar</translation>
    </message>
</context>
<context>
    <name>zuLogging::LoadedFilesToolbar</name>
    <message>
        <source>Log Message Info Toolbar</source>
        <translation>Log-Informationsleiste</translation>
    </message>
    <message>
        <source>Files: </source>
        <translation>Dateien: </translation>
    </message>
    <message>
        <source>Files</source>
        <translation>Dateien</translation>
    </message>
</context>
<context>
    <name>zuLogging::LogConfigData</name>
    <message>
        <source>Failed to load the configuration file and modules (%1)</source>
        <translation>Die Konfiguration und die Module konnten nicht geladen werden (%1)</translation>
    </message>
    <message>
        <source>Failed to load the configuration from file &apos;%1&apos;</source>
        <translation>Die Konfiguration konnte nicht aus der Datei &quot;%1&quot; geladen werden</translation>
    </message>
    <message>
        <source>Failed to save the configuration file (%1)</source>
        <translation>Die Konfiguration konnte nicht gespeichert werden (%1)</translation>
    </message>
</context>
<context>
    <name>zuLogging::LogConfigView</name>
    <message>
        <source>Configuration</source>
        <translation>Konfiguration</translation>
    </message>
    <message>
        <source>Log Config Toolbar</source>
        <translation>Log-Konfigurationsleiste</translation>
    </message>
    <message>
        <source>Dock / Undock</source>
        <translation>Andocken / Abdocken</translation>
    </message>
    <message>
        <source>Dock / undock the acquisition window</source>
        <translation>Das Erfassungsfenster andocken / abdocken</translation>
    </message>
    <message>
        <source>Reread the configuration</source>
        <translation>Die Konfiguration neu einlesen</translation>
    </message>
    <message>
        <source>Modify parameters</source>
        <translation>Parameter ändern</translation>
    </message>
    <message>
        <source>Insert...</source>
        <translation>Einfügen...</translation>
    </message>
    <message>
        <source>Delete...</source>
        <translation>Löschen...</translation>
    </message>
    <message>
        <source>Save the configuration</source>
        <translation>Die Konfiguration speichern</translation>
    </message>
    <message>
        <source>Dock / Undock the configuration window</source>
        <translation>Das Konfigurationsfenster andocken / abdocken</translation>
    </message>
    <message>
        <source>Maximize / Minimize the configuration window</source>
        <translation>Das Konfigurationsfenster maximieren / minimieren</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Schließen</translation>
    </message>
    <message>
        <source>Modify...</source>
        <translation>Ändern...</translation>
    </message>
    <message>
        <source>Please select a configuration.</source>
        <translation>Bitte wählen Sie eine Konfiguration aus.</translation>
    </message>
    <message>
        <source>Insert</source>
        <translation>Einfügen</translation>
    </message>
    <message>
        <source>Do you want to insert specializations?</source>
        <translation>Möchten Sie Spezialisierungen einfügen?</translation>
    </message>
    <message>
        <source>Do you want to insert an additional specialization (+)?</source>
        <translation>Möchten Sie eine weitere Spezialisierung (+) einfügen?</translation>
    </message>
    <message>
        <source>Do you want to insert an additional attribute (+)?</source>
        <translation>Möchten Sie ein weiteres Attribut (+) einfügen?</translation>
    </message>
    <message>
        <source>Modify</source>
        <translation>Ändern</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Löschen</translation>
    </message>
    <message>
        <source>The default log level cannot be deleted.</source>
        <translation>Die Standard-Log-Stufe kann nicht gelöscht werden.</translation>
    </message>
    <message>
        <source>Save</source>
        <translation>Speichern</translation>
    </message>
    <message>
        <source>Configuration saved successfully.</source>
        <translation>Die Konfiguration wurde gespeichert.</translation>
    </message>
    <message>
        <source>Please restart the application, which should be logged.</source>
        <translation>Bitte starten Sie die Anwendung neu, deren Meldungen aufgezeichnet werden sollen.</translation>
    </message>
    <message>
        <source>Update</source>
        <translation>Aktualisieren</translation>
    </message>
    <message>
        <source>Unsaved Properties</source>
        <translation>Ungespeicherte Eigenschaften</translation>
    </message>
    <message>
        <source>There are unsaved properties. Do you want to save the changes?</source>
        <translation>Es gibt ungespeicherte Eigenschaften. Möchten Sie die Änderungen speichern?</translation>
    </message>
    <message>
        <source>Continue</source>
        <translation>Fortfahren</translation>
    </message>
</context>
<context>
    <name>zuLogging::LogFileReader</name>
    <message>
        <source>It is not a text file.</source>
        <translation>Es ist keine Textdatei.</translation>
    </message>
    <message>
        <source>It is a folder.</source>
        <translation>Es ist ein Ordner.</translation>
    </message>
    <message>
        <source>It is not a regular file.</source>
        <translation>Es ist keine gewöhnliche Datei.</translation>
    </message>
    <message>
        <source>There is not enough memory for it.</source>
        <translation>Der Speicher reicht dafür nicht aus.</translation>
    </message>
</context>
<context>
    <name>zuLogging::LogMessageToolbar</name>
    <message>
        <source>Log Message Toolbar</source>
        <translation>Log-Meldungsleiste</translation>
    </message>
    <message>
        <source>Logging</source>
        <translation>Logging</translation>
    </message>
    <message>
        <source>Start logging</source>
        <translation>Logging starten</translation>
    </message>
    <message>
        <source>Stop logging</source>
        <translation>Logging beenden</translation>
    </message>
    <message>
        <source>Filter</source>
        <translation>Filter</translation>
    </message>
    <message>
        <source>Enable / disable filtering</source>
        <translation>Filter ein- / ausschalten</translation>
    </message>
    <message>
        <source>ZU Log Service: </source>
        <translation>ZU-Log-Dienst: </translation>
    </message>
    <message>
        <source>ZU Log Service</source>
        <translation>ZU-Log-Dienst</translation>
    </message>
    <message>
        <source>Refresh</source>
        <translation>Aktualisieren</translation>
    </message>
    <message>
        <source>Number of log messages: </source>
        <translation>Log-Meldungen: </translation>
    </message>
    <message>
        <source>Number of log messages</source>
        <translation>Anzahl der Log-Meldungen</translation>
    </message>
    <message>
        <source>, Filtered: </source>
        <translation>, gefiltert: </translation>
    </message>
    <message>
        <source>Filtered</source>
        <translation>Gefiltert</translation>
    </message>
    <message>
        <source>, Queued: </source>
        <translation>, wartend: </translation>
    </message>
    <message>
        <source>Queued</source>
        <translation>Wartend</translation>
    </message>
    <message>
        <source>Clear the log window</source>
        <translation>Das Log-Fenster leeren</translation>
    </message>
    <message>
        <source>Save log as JSON...</source>
        <translation>Log als JSON speichern...</translation>
    </message>
    <message>
        <source>Save the complete log to JSON file</source>
        <translation>Das gesamte Log in einer JSON-Datei speichern</translation>
    </message>
    <message>
        <source>Copy current log view</source>
        <translation>Aktuelle Log-Ansicht kopieren</translation>
    </message>
    <message>
        <source>Copy the current log view to clipboard (inclusive filter)</source>
        <translation>Die aktuelle Log-Ansicht in die Zwischenablage kopieren (mit Filter)</translation>
    </message>
    <message>
        <source>Save current log view...</source>
        <translation>Aktuelle Log-Ansicht speichern...</translation>
    </message>
    <message>
        <source>Save the current log view to text file (inclusive filter)</source>
        <translation>Die aktuelle Log-Ansicht in einer Textdatei speichern (mit Filter)</translation>
    </message>
    <message>
        <source>Running</source>
        <translation>Läuft</translation>
    </message>
    <message>
        <source>Stopped</source>
        <translation>Gestoppt</translation>
    </message>
</context>
<context>
    <name>zuLogging::LogMessageView</name>
    <message>
        <source>Ready</source>
        <translation>Bereit</translation>
    </message>
    <message>
        <source>Log messages</source>
        <translation>Log-Meldungen</translation>
    </message>
    <message>
        <source>Start Logging</source>
        <translation>Logging starten</translation>
    </message>
    <message>
        <source>Configuration has been changed, but not saved. The logging will be continued with previous configuration.

Do you want to continue?</source>
        <translation>Die Konfiguration wurde geändert, aber nicht gespeichert. Das Logging wird mit der bisherigen Konfiguration fortgesetzt.

Möchten Sie fortfahren?</translation>
    </message>
    <message>
        <source>Logging started...</source>
        <translation>Logging gestartet...</translation>
    </message>
    <message>
        <source>Failed to start the logging (%1)</source>
        <translation>Das Logging konnte nicht gestartet werden (%1)</translation>
    </message>
    <message>
        <source>Logging stopped. Waiting for queue...</source>
        <translation>Logging beendet. Warten auf die Warteschlange...</translation>
    </message>
    <message>
        <source>Search</source>
        <translation>Suchen</translation>
    </message>
    <message>
        <source>Can&apos;t find the text:
&quot;%1&quot;</source>
        <translation>Der Text wurde nicht gefunden:
&quot;%1&quot;</translation>
    </message>
    <message>
        <source>Timestamp</source>
        <translation>Zeitstempel</translation>
    </message>
    <message>
        <source>For using the time reference the time display format will be changed.</source>
        <translation>Für den Zeitbezug wird das Zeitformat umgestellt.</translation>
    </message>
    <message>
        <source>Log Messages</source>
        <translation>Log-Meldungen</translation>
    </message>
    <message>
        <source>The maximum number of log messages (%1) is lower than the current number of log messages (%2).
Do you want to truncate the log messages and keep the latest?</source>
        <translation>Die maximale Anzahl der Log-Meldungen (%1) ist kleiner als die aktuelle Anzahl (%2).
Möchten Sie die ältesten Meldungen entfernen und die neuesten behalten?</translation>
    </message>
    <message>
        <source>Save log file</source>
        <translation>Log-Datei speichern</translation>
    </message>
    <message>
        <source>Text files (*.log)</source>
        <translation>Textdateien (*.log)</translation>
    </message>
    <message>
        <source>Save to JSON</source>
        <translation>Als JSON speichern</translation>
    </message>
    <message>
        <source>Please stop the logging before saving to JSON file.</source>
        <translation>Bitte beenden Sie das Logging, bevor Sie in eine JSON-Datei speichern.</translation>
    </message>
    <message>
        <source>JSON files (*.json)</source>
        <translation>JSON-Dateien (*.json)</translation>
    </message>
    <message>
        <source>Load from JSON</source>
        <translation>Aus JSON laden</translation>
    </message>
    <message>
        <source>Please stop the logging before loading the JSON file.</source>
        <translation>Bitte beenden Sie das Logging, bevor Sie die JSON-Datei laden.</translation>
    </message>
    <message>
        <source>Do you want to clear the current logging?</source>
        <translation>Möchten Sie das aktuelle Log leeren?</translation>
    </message>
    <message>
        <source>Open log file</source>
        <translation>Log-Datei öffnen</translation>
    </message>
    <message>
        <source>Failed to read file &apos;%1&apos;. Please check if it is a valid JSON file.</source>
        <translation>Die Datei &quot;%1&quot; konnte nicht gelesen werden. Bitte prüfen Sie, ob es eine gültige JSON-Datei ist.</translation>
    </message>
    <message>
        <source>Please stop the logging before opening a log file.</source>
        <translation>Bitte beenden Sie das Logging, bevor Sie eine Log-Datei öffnen.</translation>
    </message>
    <message>
        <source>Stop Logging</source>
        <translation>Logging beenden</translation>
    </message>
    <message>
        <source>Failed to stop the logging (%1)</source>
        <translation>Das Logging konnte nicht beendet werden (%1)</translation>
    </message>
</context>
<context>
    <name>zuLogging::LogStatusLabels</name>
    <message>
        <source>Only the last %1 rows can be shown</source>
        <translation>Nur die letzten %1 Zeilen können angezeigt werden</translation>
    </message>
    <message>
        <source>The table holds no more. The others come into view when it is sorted the other way round, or filtered.</source>
        <translation>Mehr fasst die Tabelle nicht. Die übrigen werden sichtbar, wenn sie umgekehrt sortiert oder gefiltert wird.</translation>
    </message>
    <message>
        <source>Messages lost: %1</source>
        <translation>Verlorene Meldungen: %1</translation>
    </message>
</context>
<context>
    <name>zuLogging::LogTableMenu</name>
    <message>
        <source>Filter...</source>
        <translation>Filter...</translation>
    </message>
    <message>
        <source>Set filtering options</source>
        <translation>Filteroptionen festlegen</translation>
    </message>
    <message>
        <source>Save log view...</source>
        <translation>Log-Ansicht speichern...</translation>
    </message>
    <message>
        <source>Save the current log view to text file (inclusive filter)</source>
        <translation>Die aktuelle Log-Ansicht in einer Textdatei speichern (mit Filter)</translation>
    </message>
    <message>
        <source>Clear log</source>
        <translation>Log leeren</translation>
    </message>
    <message>
        <source>Clear the log window</source>
        <translation>Das Log-Fenster leeren</translation>
    </message>
    <message>
        <source>Copy all</source>
        <translation>Alles kopieren</translation>
    </message>
    <message>
        <source>Copy current log view to clipboard</source>
        <translation>Die aktuelle Log-Ansicht in die Zwischenablage kopieren</translation>
    </message>
    <message>
        <source>Copy</source>
        <translation>Kopieren</translation>
    </message>
    <message>
        <source>Copy selection to clipboard</source>
        <translation>Die Auswahl in die Zwischenablage kopieren</translation>
    </message>
    <message>
        <source>Set Time Reference (toggle)</source>
        <translation>Zeitbezug setzen (umschalten)</translation>
    </message>
    <message>
        <source>Time Display Format</source>
        <translation>Zeitformat</translation>
    </message>
</context>
<context>
    <name>zuLogging::LogTableModel</name>
    <message>
        <source>There is not enough memory for it.</source>
        <translation>Der Speicher reicht dafür nicht aus.</translation>
    </message>
</context>
<context>
    <name>zuLogging::LostMessages</name>
    <message>
        <source>Lost: </source>
        <translation>Verloren: </translation>
    </message>
    <message>
        <source>%1 lost on the way in: the socket&apos;s buffer was full</source>
        <translation>%1 auf dem Weg hierher verloren: der Puffer des Sockets war voll</translation>
    </message>
    <message>
        <source>%1 missing in the senders&apos; numbers</source>
        <translation>%1 fehlend in der Zählung der Absender</translation>
    </message>
    <message>
        <source>(The same messages can be in both: the larger count is taken.)</source>
        <translation>(Dieselben Meldungen können in beiden enthalten sein: Die größere Zahl gilt.)</translation>
    </message>
    <message>
        <source>%1 dropped: the window&apos;s queue was full</source>
        <translation>%1 verworfen: die Warteschlange des Fensters war voll</translation>
    </message>
    <message>
        <source>%1 unreadable</source>
        <translation>%1 nicht lesbar</translation>
    </message>
    <message>
        <source>%1 refused as malformed</source>
        <translation>%1 als fehlerhaft abgewiesen</translation>
    </message>
    <message>
        <source>%1 other datagrams refused, not counted: no messages</source>
        <translation>%1 andere Datagramme abgewiesen, nicht mitgezählt: keine Meldungen</translation>
    </message>
</context>
<context>
    <name>zuLogging::MainView</name>
    <message>
        <source>E&amp;xit</source>
        <translation>&amp;Beenden</translation>
    </message>
    <message>
        <source>Exit the application</source>
        <translation>Die Anwendung beenden</translation>
    </message>
    <message>
        <source>Find...</source>
        <translation>Suchen...</translation>
    </message>
    <message>
        <source>Search for a key word</source>
        <translation>Nach einem Stichwort suchen</translation>
    </message>
    <message>
        <source>Go to...</source>
        <translation>Gehe zu...</translation>
    </message>
    <message>
        <source>Go to a specified line number</source>
        <translation>Zu einer bestimmten Zeilennummer gehen</translation>
    </message>
    <message>
        <source>Filter...</source>
        <translation>Filter...</translation>
    </message>
    <message>
        <source>Set filtering options</source>
        <translation>Filteroptionen festlegen</translation>
    </message>
    <message>
        <source>&amp;Logging GUI User Guide</source>
        <translation>Benutzer&amp;handbuch</translation>
    </message>
    <message>
        <source>Open the Logging GUI User Guide</source>
        <translation>Das Benutzerhandbuch öffnen</translation>
    </message>
    <message>
        <source>&amp;About</source>
        <translation>Ü&amp;ber</translation>
    </message>
    <message>
        <source>Show the application&apos;s About box</source>
        <translation>Informationen über die Anwendung anzeigen</translation>
    </message>
    <message>
        <source>Configuration</source>
        <translation>Konfiguration</translation>
    </message>
    <message>
        <source>Show / hide the configuration</source>
        <translation>Die Konfiguration ein- / ausblenden</translation>
    </message>
    <message>
        <source>AutoScroll</source>
        <translation>Automatischer Bildlauf</translation>
    </message>
    <message>
        <source>Enable / disable automatic scrolling during logging</source>
        <translation>Den automatischen Bildlauf während des Loggings ein- / ausschalten</translation>
    </message>
    <message>
        <source>Logging view settings...</source>
        <translation>Einstellungen der Log-Ansicht...</translation>
    </message>
    <message>
        <source>Configure the logging view</source>
        <translation>Die Log-Ansicht einrichten</translation>
    </message>
    <message>
        <source>Preferences...</source>
        <translation>Einstellungen des Dienstes...</translation>
    </message>
    <message>
        <source>Service preferences</source>
        <translation>Einstellungen des Dienstes</translation>
    </message>
    <message>
        <source>Clear log</source>
        <translation>Log leeren</translation>
    </message>
    <message>
        <source>Clear the log window</source>
        <translation>Das Log-Fenster leeren</translation>
    </message>
    <message>
        <source>Save log view...</source>
        <translation>Log-Ansicht speichern...</translation>
    </message>
    <message>
        <source>Save the current log view to text file (inclusive filter)</source>
        <translation>Die aktuelle Log-Ansicht in einer Textdatei speichern (mit Filter)</translation>
    </message>
    <message>
        <source>User Mode</source>
        <translation>Benutzermodus</translation>
    </message>
    <message>
        <source>Expert Mode</source>
        <translation>Expertenmodus</translation>
    </message>
    <message>
        <source>Date and Time</source>
        <translation>Datum und Uhrzeit</translation>
    </message>
    <message>
        <source>Seconds since beginning of logging</source>
        <translation>Sekunden seit Beginn des Loggings</translation>
    </message>
    <message>
        <source>Open config...</source>
        <translation>Konfiguration öffnen...</translation>
    </message>
    <message>
        <source>Open a configuration file</source>
        <translation>Eine Konfigurationsdatei öffnen</translation>
    </message>
    <message>
        <source>Reset config file</source>
        <translation>Konfiguration zurücksetzen</translation>
    </message>
    <message>
        <source>Reset the configuration file</source>
        <translation>Die Konfigurationsdatei zurücksetzen</translation>
    </message>
    <message>
        <source>Replay &amp;&amp; start history</source>
        <translation>Verlauf wiedergeben &amp;&amp; starten</translation>
    </message>
    <message>
        <source>Allows to request replay of recorded log history</source>
        <translation>Den aufgezeichneten Log-Verlauf wiedergeben lassen</translation>
    </message>
    <message>
        <source>Start logging</source>
        <translation>Logging starten</translation>
    </message>
    <message>
        <source>Stop logging</source>
        <translation>Logging beenden</translation>
    </message>
    <message>
        <source>Resize rows</source>
        <translation>Zeilenhöhe anpassen</translation>
    </message>
    <message>
        <source>Resizes the rows to contents</source>
        <translation>Die Höhe der Zeilen an den Inhalt anpassen</translation>
    </message>
    <message>
        <source>Reset view to default</source>
        <translation>Ansicht zurücksetzen</translation>
    </message>
    <message>
        <source>Reset the view to default</source>
        <translation>Die Ansicht auf die Vorgaben zurücksetzen</translation>
    </message>
    <message>
        <source>Save log as JSON...</source>
        <translation>Log als JSON speichern...</translation>
    </message>
    <message>
        <source>Save the complete log to JSON file</source>
        <translation>Das gesamte Log in einer JSON-Datei speichern</translation>
    </message>
    <message>
        <source>Load log from JSON...</source>
        <translation>Log aus JSON laden...</translation>
    </message>
    <message>
        <source>Loads the log from JSON file</source>
        <translation>Das Log aus einer JSON-Datei laden</translation>
    </message>
    <message>
        <source>Copy</source>
        <translation>Kopieren</translation>
    </message>
    <message>
        <source>Copy selection to clipboard</source>
        <translation>Die Auswahl in die Zwischenablage kopieren</translation>
    </message>
    <message>
        <source>Copy all</source>
        <translation>Alles kopieren</translation>
    </message>
    <message>
        <source>Copy current log view to clipboard</source>
        <translation>Die aktuelle Log-Ansicht in die Zwischenablage kopieren</translation>
    </message>
    <message>
        <source>&amp;File</source>
        <translation>&amp;Datei</translation>
    </message>
    <message>
        <source>&amp;Edit</source>
        <translation>&amp;Bearbeiten</translation>
    </message>
    <message>
        <source>&amp;Log</source>
        <translation>&amp;Log</translation>
    </message>
    <message>
        <source>&amp;Search</source>
        <translation>&amp;Suchen</translation>
    </message>
    <message>
        <source>&amp;View</source>
        <translation>&amp;Ansicht</translation>
    </message>
    <message>
        <source>Configuration Mode</source>
        <translation>Konfigurationsmodus</translation>
    </message>
    <message>
        <source>Time Display Format</source>
        <translation>Zeitformat</translation>
    </message>
    <message>
        <source>&amp;Help</source>
        <translation>&amp;Hilfe</translation>
    </message>
    <message>
        <source>About Log Service</source>
        <translation>Über den Log-Dienst</translation>
    </message>
    <message>
        <source>&lt;b&gt;Arvenza ARZ LogDesk&lt;/b&gt;&lt;br&gt;ARZ LogDesk version: 3.1.26&lt;br&gt;Copyright (c) 2026 The LogDesk developers.&lt;br&gt;Free software under the MIT licence.</source>
        <translation>&lt;b&gt;Arvenza ARZ LogDesk&lt;/b&gt;&lt;br&gt;ARZ LogDesk Version: 3.1.26&lt;br&gt;Copyright (c) 2026 The LogDesk developers.&lt;br&gt;Freie Software unter der MIT-Lizenz.</translation>
    </message>
    <message>
        <source>Open Config File</source>
        <translation>Konfigurationsdatei öffnen</translation>
    </message>
    <message>
        <source>Configuration files (*.json)</source>
        <translation>Konfigurationsdateien (*.json)</translation>
    </message>
    <message>
        <source>Open File</source>
        <translation>Datei öffnen</translation>
    </message>
    <message>
        <source>Preferences</source>
        <translation>Einstellungen des Dienstes</translation>
    </message>
    <message>
        <source>For the preferences to take effect, reboot your system.</source>
        <translation>Damit die Einstellungen wirksam werden, starten Sie Ihr System neu.</translation>
    </message>
    <message>
        <source>Start Logging</source>
        <translation>Logging starten</translation>
    </message>
    <message>
        <source>Shutdown</source>
        <translation>Beenden</translation>
    </message>
    <message>
        <source>Configuration has been changed, but not saved.

Do you want to continue?</source>
        <translation>Die Konfiguration wurde geändert, aber nicht gespeichert.

Möchten Sie fortfahren?</translation>
    </message>
</context>
<context>
    <name>zuLogging::PreferencesDialog</name>
    <message>
        <source>Service Preferences</source>
        <translation>Aufzeichnung des Dienstes</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>Preferences</source>
        <translation>Einstellungen des Dienstes</translation>
    </message>
    <message>
        <source>Number of record lines</source>
        <translation>Anzahl der Aufzeichnungszeilen</translation>
    </message>
    <message>
        <source>Configuration file &apos;%1&apos; does not exist.</source>
        <translation>Die Konfigurationsdatei &quot;%1&quot; ist nicht vorhanden.</translation>
    </message>
    <message>
        <source>Failed to load the configuration from file &apos;%1&apos;: %2</source>
        <translation>Die Konfiguration konnte nicht aus der Datei &quot;%1&quot; geladen werden: %2</translation>
    </message>
    <message>
        <source>Failed to write the value &apos;%1&apos;: %2</source>
        <translation>Der Wert &quot;%1&quot; konnte nicht geschrieben werden: %2</translation>
    </message>
    <message>
        <source>Failed to write the configuration to file &apos;%1&apos;: %2</source>
        <translation>Die Konfiguration konnte nicht in die Datei &quot;%1&quot; geschrieben werden: %2</translation>
    </message>
</context>
<context>
    <name>zuLogging::RowWork</name>
    <message>
        <source>Filtering</source>
        <translation>Filtern</translation>
    </message>
    <message>
        <source>Filtering was cancelled</source>
        <translation>Das Filtern wurde abgebrochen</translation>
    </message>
    <message>
        <source>Sorting</source>
        <translation>Sortieren</translation>
    </message>
    <message>
        <source>Sorting was cancelled</source>
        <translation>Das Sortieren wurde abgebrochen</translation>
    </message>
    <message>
        <source>Searching</source>
        <translation>Suchen</translation>
    </message>
    <message>
        <source>Searching was cancelled</source>
        <translation>Das Suchen wurde abgebrochen</translation>
    </message>
    <message>
        <source>Truncating</source>
        <translation>Kürzen</translation>
    </message>
    <message>
        <source>Copying</source>
        <translation>Kopieren</translation>
    </message>
    <message>
        <source>Copying was cancelled</source>
        <translation>Das Kopieren wurde abgebrochen</translation>
    </message>
    <message>
        <source>The log is too large for the clipboard.</source>
        <translation>Das Log ist zu groß für die Zwischenablage.</translation>
    </message>
    <message>
        <source>Saving %1</source>
        <translation>%1 wird gespeichert</translation>
    </message>
    <message>
        <source>Saving was cancelled</source>
        <translation>Das Speichern wurde abgebrochen</translation>
    </message>
    <message>
        <source>Loading %1</source>
        <translation>%1 wird geladen</translation>
    </message>
    <message>
        <source>Loading was cancelled</source>
        <translation>Das Laden wurde abgebrochen</translation>
    </message>
    <message>
        <source>Failed to read file &apos;%1&apos;. %2</source>
        <translation>Die Datei &quot;%1&quot; konnte nicht gelesen werden. %2</translation>
    </message>
    <message numerus="yes">
        <source>%n more files could not be read.</source>
        <translation>
            <numerusform>%n weitere Datei konnte nicht gelesen werden.</numerusform>
            <numerusform>%n weitere Dateien konnten nicht gelesen werden.</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>zuLogging::SettingsDialog</name>
    <message>
        <source>LineNumber</source>
        <translation>Zeilennummer</translation>
    </message>
    <message>
        <source>Settings</source>
        <translation>Einstellungen</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>General</source>
        <translation>Allgemein</translation>
    </message>
    <message>
        <source>Maximum log messages</source>
        <translation>Maximale Anzahl der Log-Meldungen</translation>
    </message>
    <message>
        <source>View</source>
        <translation>Ansicht</translation>
    </message>
    <message>
        <source>&lt;b&gt;Parameter&lt;/b&gt;</source>
        <translation>&lt;b&gt;Parameter&lt;/b&gt;</translation>
    </message>
    <message>
        <source>&lt;b&gt;Column&lt;/b&gt;</source>
        <translation>&lt;b&gt;Spalte&lt;/b&gt;</translation>
    </message>
    <message>
        <source>Column of %1</source>
        <translation>Spalte von %1</translation>
    </message>
    <message>
        <source>Duplicate columns are not allowed.</source>
        <translation>Doppelte Spalten sind nicht erlaubt.</translation>
    </message>
</context>
<context>
    <name>zuLogging::TableModel</name>
    <message>
        <source>module</source>
        <translation>Modul</translation>
    </message>
    <message>
        <source>level</source>
        <translation>Stufe</translation>
    </message>
</context>
<context>
    <name>zuLogging::TreeModel</name>
    <message>
        <source>Parameter</source>
        <translation>Parameter</translation>
    </message>
    <message>
        <source>Value</source>
        <translation>Wert</translation>
    </message>
</context>
<context>
    <name>zuLogging::WorkProgress</name>
    <message>
        <source>Progress</source>
        <translation>Fortschritt</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>%1: %2 %</source>
        <translation>%1: %2 %</translation>
    </message>
</context>
</TS>
