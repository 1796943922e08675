<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE" sourcelanguage="en">
<context>
    <name>Alert</name>
    <message>
        <source>OK</source>
        <translation>OK</translation>
    </message>
</context>
<context>
    <name>DialogButtons</name>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
</context>
<context>
    <name>FolderBrowser</name>
    <message>
        <source>Enclosing folder</source>
        <translation>Übergeordneter Ordner</translation>
    </message>
    <message>
        <source>Home folder</source>
        <translation>Persönlicher Ordner</translation>
    </message>
</context>
<context>
    <name>FolderRow</name>
    <message>
        <source>Folder</source>
        <translation>Ordner</translation>
    </message>
    <message>
        <source>File</source>
        <translation>Datei</translation>
    </message>
</context>
<context>
    <name>Formatters</name>
    <message>
        <source>%1 KB</source>
        <translation>%1 KB</translation>
    </message>
    <message>
        <source>%1 MB</source>
        <translation>%1 MB</translation>
    </message>
    <message>
        <source>%1 GB</source>
        <translation>%1 GB</translation>
    </message>
    <message>
        <source>%1 TB</source>
        <translation>%1 TB</translation>
    </message>
    <message>
        <source>%1 PB</source>
        <translation>%1 PB</translation>
    </message>
    <message>
        <source>%1 EB</source>
        <translation>%1 EB</translation>
    </message>
    <message>
        <source>Zero KB</source>
        <translation>Null KB</translation>
    </message>
    <message>
        <source>%1 byte</source>
        <translation>%1 Byte</translation>
    </message>
    <message>
        <source>%1 bytes</source>
        <translation>%1 Byte</translation>
    </message>
</context>
<context>
    <name>InputMonitoringToggleView</name>
    <message>
        <source>Input Monitor</source>
        <translation>Mithören</translation>
    </message>
</context>
<context>
    <name>LevelMeterView</name>
    <message>
        <source>Input level</source>
        <translation>Eingangspegel</translation>
    </message>
</context>
<context>
    <name>LibraryNotice</name>
    <message>
        <source>Loading loops...</source>
        <translation>Loops werden geladen …</translation>
    </message>
    <message>
        <source>No Saved Loops</source>
        <translation>Keine gespeicherten Loops</translation>
    </message>
    <message>
        <source>Record and save your first loop to get started</source>
        <translation>Nimm deinen ersten Loop auf und speichere ihn</translation>
    </message>
</context>
<context>
    <name>LoopContextMenu</name>
    <message>
        <source>Load</source>
        <translation>Laden</translation>
    </message>
    <message>
        <source>Stop Preview</source>
        <translation>Vorhören beenden</translation>
    </message>
    <message>
        <source>Preview</source>
        <translation>Vorhören</translation>
    </message>
    <message>
        <source>Rename</source>
        <translation>Umbenennen</translation>
    </message>
    <message>
        <source>Export</source>
        <translation>Exportieren</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Löschen</translation>
    </message>
</context>
<context>
    <name>LoopDropArea</name>
    <message>
        <source>Drop files to import them into the library</source>
        <translation>Dateien hier ablegen, um sie in die Bibliothek zu importieren</translation>
    </message>
</context>
<context>
    <name>LoopError</name>
    <message>
        <source>Failed to save loop: </source>
        <translation>Der Loop konnte nicht gespeichert werden: </translation>
    </message>
    <message>
        <source>Failed to load loop: </source>
        <translation>Der Loop konnte nicht geladen werden: </translation>
    </message>
    <message>
        <source>No audio recorded to save</source>
        <translation>Es gibt keine Aufnahme zu speichern</translation>
    </message>
    <message>
        <source>Loop file not found</source>
        <translation>Die Datei des Loops wurde nicht gefunden</translation>
    </message>
    <message>
        <source>A loop with this name already exists</source>
        <translation>Es gibt schon einen Loop mit diesem Namen</translation>
    </message>
    <message>
        <source>Loop library is corrupted and needs to be rebuilt</source>
        <translation>Die Loop-Bibliothek ist beschädigt und muss neu aufgebaut werden</translation>
    </message>
    <message>
        <source>Invalid or corrupted audio file</source>
        <translation>Ungültige oder beschädigte Audiodatei</translation>
    </message>
    <message>
        <source>Insufficient disk space to save loop</source>
        <translation>Zu wenig Speicherplatz, um den Loop zu speichern</translation>
    </message>
    <message>
        <source>Failed to save library metadata: </source>
        <translation>Die Daten der Bibliothek konnten nicht gespeichert werden: </translation>
    </message>
    <message>
        <source>Loop name cannot be empty</source>
        <translation>Der Name des Loops darf nicht leer sein</translation>
    </message>
    <message>
        <source>A loop cannot be copied onto itself</source>
        <translation>Ein Loop kann nicht auf sich selbst kopiert werden</translation>
    </message>
    <message>
        <source>There is a folder of that name</source>
        <translation>Es gibt einen Ordner mit diesem Namen</translation>
    </message>
    <message>
        <source>Failed to delete file: </source>
        <translation>Die Datei konnte nicht gelöscht werden: </translation>
    </message>
</context>
<context>
    <name>LoopExport</name>
    <message>
        <source>Exporting...</source>
        <translation>Export läuft …</translation>
    </message>
</context>
<context>
    <name>LoopImportView</name>
    <message>
        <source>Cancel Import</source>
        <translation>Import abbrechen</translation>
    </message>
</context>
<context>
    <name>LoopLibraryHeader</name>
    <message>
        <source>Loop Library</source>
        <translation>Loop-Bibliothek</translation>
    </message>
    <message>
        <source>Done</source>
        <translation>Fertig</translation>
    </message>
    <message>
        <source>Search loops...</source>
        <translation>Loops suchen …</translation>
    </message>
    <message>
        <source>Sort</source>
        <translation>Sortierung</translation>
    </message>
    <message>
        <source>Refresh</source>
        <translation>Aktualisieren</translation>
    </message>
</context>
<context>
    <name>LoopLibraryView</name>
    <message>
        <source>Loop Library</source>
        <translation>Loop-Bibliothek</translation>
    </message>
    <message>
        <source>Waiting for the disk...</source>
        <translation>Warten auf die Festplatte …</translation>
    </message>
    <message>
        <source>Failed to export loop: %1</source>
        <translation>Der Loop konnte nicht exportiert werden: %1</translation>
    </message>
    <message>
        <source>Delete Loop</source>
        <translation>Loop löschen</translation>
    </message>
    <message>
        <source>Are you sure you want to delete &apos;%1&apos;? This action cannot be undone.</source>
        <translation>Soll „%1“ wirklich gelöscht werden? Das kann nicht rückgängig gemacht werden.</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Löschen</translation>
    </message>
    <message>
        <source>Error</source>
        <translation>Fehler</translation>
    </message>
    <message>
        <source>Import</source>
        <translation>Importieren</translation>
    </message>
</context>
<context>
    <name>LoopListView</name>
    <message>
        <source>Saved loops</source>
        <translation>Gespeicherte Loops</translation>
    </message>
</context>
<context>
    <name>LoopRowActions</name>
    <message>
        <source>Stop preview</source>
        <translation>Vorhören beenden</translation>
    </message>
    <message>
        <source>Preview loop</source>
        <translation>Loop vorhören</translation>
    </message>
    <message>
        <source>Export loop</source>
        <translation>Loop exportieren</translation>
    </message>
    <message>
        <source>Rename loop</source>
        <translation>Loop umbenennen</translation>
    </message>
    <message>
        <source>Delete loop</source>
        <translation>Loop löschen</translation>
    </message>
    <message>
        <source>Load</source>
        <translation>Laden</translation>
    </message>
</context>
<context>
    <name>LoopRowView</name>
    <message>
        <source>previewing</source>
        <translation>wird vorgehört</translation>
    </message>
</context>
<context>
    <name>MIDIDeviceList</name>
    <message>
        <source>Available Devices:</source>
        <translation>Verfügbare Geräte:</translation>
    </message>
    <message>
        <source>Refresh</source>
        <translation>Aktualisieren</translation>
    </message>
</context>
<context>
    <name>MIDIDeviceSection</name>
    <message>
        <source>MIDI Device</source>
        <translation>MIDI-Gerät</translation>
    </message>
    <message>
        <source>Connected</source>
        <translation>Verbunden</translation>
    </message>
    <message>
        <source>Disconnected</source>
        <translation>Nicht verbunden</translation>
    </message>
    <message>
        <source>Device: %1</source>
        <translation>Gerät: %1</translation>
    </message>
    <message>
        <source>No MIDI devices found</source>
        <translation>Keine MIDI-Geräte gefunden</translation>
    </message>
</context>
<context>
    <name>MIDIMappingRow</name>
    <message>
        <source>Triggered</source>
        <translation>Ausgelöst</translation>
    </message>
    <message>
        <source>Listening for %1</source>
        <translation>%1: wartet auf eine Note</translation>
    </message>
    <message>
        <source>Learn %1</source>
        <translation>%1: Note lernen</translation>
    </message>
    <message>
        <source>Learn</source>
        <translation>Lernen</translation>
    </message>
    <message>
        <source>Listening...</source>
        <translation>Wartet …</translation>
    </message>
</context>
<context>
    <name>MIDIMappingSection</name>
    <message>
        <source>Note Mappings</source>
        <translation>Notenzuordnung</translation>
    </message>
    <message>
        <source>Stop Learning</source>
        <translation>Lernen beenden</translation>
    </message>
</context>
<context>
    <name>MIDISettingsView</name>
    <message>
        <source>MIDI Settings</source>
        <translation>MIDI-Einstellungen</translation>
    </message>
    <message>
        <source>Save</source>
        <translation>Speichern</translation>
    </message>
    <message>
        <source>Reset to Defaults</source>
        <translation>Auf Standard zurücksetzen</translation>
    </message>
    <message>
        <source>Reset MIDI Configuration</source>
        <translation>MIDI-Einstellungen zurücksetzen</translation>
    </message>
    <message>
        <source>This will reset all MIDI note mappings to their default values.</source>
        <translation>Dadurch werden alle MIDI-Noten auf ihre Standardwerte zurückgesetzt.</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>Reset</source>
        <translation>Zurücksetzen</translation>
    </message>
</context>
<context>
    <name>MetadataDisplayView</name>
    <message>
        <source>Duration:</source>
        <translation>Dauer:</translation>
    </message>
    <message>
        <source>Size:</source>
        <translation>Größe:</translation>
    </message>
</context>
<context>
    <name>NativeSavePanel</name>
    <message>
        <source>Export Loop</source>
        <translation>Loop exportieren</translation>
    </message>
    <message>
        <source>Audio files</source>
        <translation>Audiodateien</translation>
    </message>
    <message>
        <source>All files</source>
        <translation>Alle Dateien</translation>
    </message>
</context>
<context>
    <name>NewFolderView</name>
    <message>
        <source>New Folder</source>
        <translation>Neuer Ordner</translation>
    </message>
    <message>
        <source>Enter folder name</source>
        <translation>Name des Ordners</translation>
    </message>
    <message>
        <source>Create</source>
        <translation>Anlegen</translation>
    </message>
</context>
<context>
    <name>PlainButton</name>
    <message>
        <source>unavailable</source>
        <translation>nicht verfügbar</translation>
    </message>
</context>
<context>
    <name>PreviewVolume</name>
    <message>
        <source>Preview volume</source>
        <translation>Lautstärke beim Vorhören</translation>
    </message>
    <message>
        <source>Preview</source>
        <translation>Vorhören</translation>
    </message>
</context>
<context>
    <name>RenameLoopView</name>
    <message>
        <source>Rename Loop</source>
        <translation>Loop umbenennen</translation>
    </message>
    <message>
        <source>New Name:</source>
        <translation>Neuer Name:</translation>
    </message>
    <message>
        <source>Enter new name</source>
        <translation>Neuen Namen eingeben</translation>
    </message>
    <message>
        <source>Rename</source>
        <translation>Umbenennen</translation>
    </message>
</context>
<context>
    <name>ReplaceAlert</name>
    <message>
        <source>Replace File</source>
        <translation>Datei ersetzen</translation>
    </message>
    <message>
        <source>&apos;%1&apos; already exists. Do you want to replace it?</source>
        <translation>„%1“ gibt es schon. Soll die Datei ersetzt werden?</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>Replace</source>
        <translation>Ersetzen</translation>
    </message>
</context>
<context>
    <name>SaveLoopView</name>
    <message>
        <source>Please enter a loop name</source>
        <translation>Bitte gib dem Loop einen Namen</translation>
    </message>
    <message>
        <source>Save Loop</source>
        <translation>Loop speichern</translation>
    </message>
    <message>
        <source>Loop Name:</source>
        <translation>Name des Loops:</translation>
    </message>
    <message>
        <source>Enter loop name</source>
        <translation>Namen eingeben</translation>
    </message>
    <message>
        <source>Save</source>
        <translation>Speichern</translation>
    </message>
    <message>
        <source>Saving...</source>
        <translation>Wird gespeichert …</translation>
    </message>
    <message>
        <source>Error</source>
        <translation>Fehler</translation>
    </message>
</context>
<context>
    <name>SavePanel</name>
    <message>
        <source>Export Loop</source>
        <translation>Loop exportieren</translation>
    </message>
    <message>
        <source>Save As:</source>
        <translation>Speichern als:</translation>
    </message>
    <message>
        <source>New Folder</source>
        <translation>Neuer Ordner</translation>
    </message>
    <message>
        <source>Save</source>
        <translation>Speichern</translation>
    </message>
    <message>
        <source>Error</source>
        <translation>Fehler</translation>
    </message>
</context>
<context>
    <name>SearchField</name>
    <message>
        <source>Clear search</source>
        <translation>Suche leeren</translation>
    </message>
</context>
<context>
    <name>SheetHeader</name>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
</context>
<context>
    <name>StatusView</name>
    <message>
        <source>Recording...</source>
        <translation>Aufnahme läuft …</translation>
    </message>
    <message>
        <source>Playing Loop</source>
        <translation>Loop läuft</translation>
    </message>
    <message>
        <source>Paused</source>
        <translation>Angehalten</translation>
    </message>
    <message>
        <source>Press Record</source>
        <translation>Aufnehmen drücken</translation>
    </message>
    <message>
        <source>Waiting for the disk...</source>
        <translation>Warten auf die Festplatte …</translation>
    </message>
</context>
<context>
    <name>TimeView</name>
    <message>
        <source>Time</source>
        <translation>Zeit</translation>
    </message>
</context>
<context>
    <name>ToolbarView</name>
    <message>
        <source>Save</source>
        <translation>Speichern</translation>
    </message>
    <message>
        <source>Save [Ctrl+S]</source>
        <translation>Speichern [Strg+S]</translation>
    </message>
    <message>
        <source>Library</source>
        <translation>Bibliothek</translation>
    </message>
    <message>
        <source>Library [Ctrl+O]</source>
        <translation>Bibliothek [Strg+O]</translation>
    </message>
    <message>
        <source>MIDI Settings</source>
        <translation>MIDI-Einstellungen</translation>
    </message>
    <message>
        <source>Open Folder of Takes</source>
        <translation>Ordner der Aufnahmen öffnen</translation>
    </message>
</context>
<context>
    <name>TransportControlsView</name>
    <message>
        <source>Record</source>
        <translation>Aufnehmen</translation>
    </message>
    <message>
        <source>Record [Return]</source>
        <translation>Aufnehmen [Eingabe]</translation>
    </message>
    <message>
        <source>Play</source>
        <translation>Abspielen</translation>
    </message>
    <message>
        <source>Play [Space]</source>
        <translation>Abspielen [Leertaste]</translation>
    </message>
    <message>
        <source>Stop</source>
        <translation>Stopp</translation>
    </message>
    <message>
        <source>Stop [Space]</source>
        <translation>Stopp [Leertaste]</translation>
    </message>
    <message>
        <source>Clear</source>
        <translation>Leeren</translation>
    </message>
    <message>
        <source>Clear [Cmd+Delete]</source>
        <translation>Leeren [Strg+Entf]</translation>
    </message>
</context>
<context>
    <name>tessivo::LoopExporter</name>
    <message>
        <source>%1 is not a folder of this computer</source>
        <translation>%1 ist kein Ordner dieses Rechners</translation>
    </message>
</context>
<context>
    <name>tessivo::LoopImport</name>
    <message>
        <source>Importing %1</source>
        <translation>%1 wird importiert</translation>
    </message>
    <message>
        <source>Importing %1 of %2: %3</source>
        <translation>%1 von %2 wird importiert: %3</translation>
    </message>
    <message>
        <source>%1 files</source>
        <translation>%1 Dateien</translation>
    </message>
    <message>
        <source>This is not on this computer</source>
        <translation>Das liegt nicht auf diesem Computer</translation>
    </message>
    <message>
        <source>This is a folder</source>
        <translation>Das ist ein Ordner</translation>
    </message>
    <message>
        <source>%1: Of its %2 channels the first two are heard</source>
        <translation>%1: Von den %2 Kanälen sind die ersten beiden zu hören</translation>
    </message>
    <message>
        <source>and %1 more</source>
        <translation>und %1 weitere</translation>
    </message>
</context>
<context>
    <name>tessivo::LoopLibraryViewModel</name>
    <message>
        <source>Newest First</source>
        <translation>Neueste zuerst</translation>
    </message>
    <message>
        <source>Oldest First</source>
        <translation>Älteste zuerst</translation>
    </message>
    <message>
        <source>Name A-Z</source>
        <translation>Name A–Z</translation>
    </message>
    <message>
        <source>Name Z-A</source>
        <translation>Name Z–A</translation>
    </message>
    <message>
        <source>Shortest First</source>
        <translation>Kürzeste zuerst</translation>
    </message>
    <message>
        <source>Longest First</source>
        <translation>Längste zuerst</translation>
    </message>
    <message>
        <source>Failed to preview loop: %1</source>
        <translation>Der Loop konnte nicht vorgehört werden: %1</translation>
    </message>
    <message>
        <source>1 loop</source>
        <translation>1 Loop</translation>
    </message>
    <message numerus="yes">
        <source>%n loops</source>
        <translation>
            <numerusform>%n Loop</numerusform>
            <numerusform>%n Loops</numerusform>
        </translation>
    </message>
    <message>
        <source>Loop name cannot be empty</source>
        <translation>Der Name des Loops darf nicht leer sein</translation>
    </message>
    <message>
        <source>Failed to rename loop: %1</source>
        <translation>Der Loop konnte nicht umbenannt werden: %1</translation>
    </message>
    <message>
        <source>Failed to delete loop: %1</source>
        <translation>Der Loop konnte nicht gelöscht werden: %1</translation>
    </message>
</context>
<context>
    <name>tessivo::LoopNames</name>
    <message>
        <source>Loop %1</source>
        <translation>Loop %1</translation>
    </message>
</context>
<context>
    <name>tessivo::LooperWatch</name>
    <message>
        <source>less than a minute</source>
        <translation>weniger als eine Minute</translation>
    </message>
    <message>
        <source>a minute</source>
        <translation>eine Minute</translation>
    </message>
    <message numerus="yes">
        <source>%n minutes</source>
        <translation>
            <numerusform>%n Minute</numerusform>
            <numerusform>%n Minuten</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>tessivo::NoteMapping</name>
    <message>
        <source>Record</source>
        <translation>Aufnehmen</translation>
    </message>
    <message>
        <source>Play</source>
        <translation>Abspielen</translation>
    </message>
    <message>
        <source>Stop</source>
        <translation>Stopp</translation>
    </message>
    <message>
        <source>Clear</source>
        <translation>Leeren</translation>
    </message>
</context>
<context>
    <name>tessivo::Notices</name>
    <message>
        <source>The loop was not saved. Save it again.</source>
        <translation>Der Loop wurde nicht gespeichert. Speichere ihn noch einmal.</translation>
    </message>
    <message>
        <source>The loop could not be loaded.</source>
        <translation>Der Loop konnte nicht geladen werden.</translation>
    </message>
    <message>
        <source>The list of loops could not be written. It is tried again.</source>
        <translation>Die Liste der Loops konnte nicht geschrieben werden. Es wird wieder versucht.</translation>
    </message>
    <message>
        <source>The list of loops was damaged.</source>
        <translation>Die Liste der Loops war beschädigt.</translation>
    </message>
    <message>
        <source>The disk is full. Nothing more is recorded.</source>
        <translation>Die Festplatte ist voll. Es wird nichts mehr aufgenommen.</translation>
    </message>
    <message>
        <source>Part of this take could not be written.</source>
        <translation>Ein Teil dieser Aufnahme konnte nicht geschrieben werden.</translation>
    </message>
    <message>
        <source>No sound server. Start it, then Tessivo again.</source>
        <translation>Kein Soundserver. Starte ihn, dann Tessivo noch einmal.</translation>
    </message>
    <message>
        <source>The loop could not be played.</source>
        <translation>Der Loop konnte nicht abgespielt werden.</translation>
    </message>
    <message>
        <source>No microphone and no speaker were found.</source>
        <translation>Weder Mikrofon noch Lautsprecher gefunden.</translation>
    </message>
    <message>
        <source>No sound arrives: nothing is recorded or heard.</source>
        <translation>Es kommt kein Ton an: Nichts wird aufgenommen oder abgespielt.</translation>
    </message>
    <message>
        <source>A take that was cut off has been kept.</source>
        <translation>Eine abgebrochene Aufnahme ist noch da.</translation>
    </message>
    <message>
        <source>Use It</source>
        <translation>Verwenden</translation>
    </message>
    <message>
        <source>No microphone was found to record from.</source>
        <translation>Kein Mikrofon für die Aufnahme gefunden.</translation>
    </message>
    <message>
        <source>The recording could not be started.</source>
        <translation>Die Aufnahme konnte nicht beginnen.</translation>
    </message>
    <message>
        <source>This take has a gap: some sound was lost.</source>
        <translation>Diese Aufnahme hat eine Lücke: Etwas Ton ging verloren.</translation>
    </message>
    <message>
        <source>Disk almost full: room for %1 of recording.</source>
        <translation>Festplatte fast voll: Platz für %1 Aufnahme.</translation>
    </message>
    <message>
        <source>Controller found: %1</source>
        <translation>Controller gefunden: %1</translation>
    </message>
    <message>
        <source>MIDI Settings</source>
        <translation>MIDI-Einstellungen</translation>
    </message>
    <message>
        <source>The sound was interrupted for a moment.</source>
        <translation>Der Ton war kurz unterbrochen.</translation>
    </message>
    <message>
        <source>Import %1 into the library?</source>
        <translation>%1 in die Bibliothek importieren?</translation>
    </message>
    <message>
        <source>Import</source>
        <translation>Importieren</translation>
    </message>
    <message>
        <source>Imported into the library: %1</source>
        <translation>In die Bibliothek importiert: %1</translation>
    </message>
    <message>
        <source>The folder of takes could not be opened.</source>
        <translation>Der Ordner der Aufnahmen konnte nicht geöffnet werden.</translation>
    </message>
</context>
<context>
    <name>tessivo::SaveLocations</name>
    <message>
        <source>Something of that name is already there</source>
        <translation>Etwas mit diesem Namen gibt es dort schon</translation>
    </message>
</context>
<context>
    <name>tessivo::SimpleLooperViewModel</name>
    <message>
        <source>No microphone</source>
        <translation>Kein Mikrofon</translation>
    </message>
    <message>
        <source>Microphone: %1</source>
        <translation>Mikrofon: %1</translation>
    </message>
    <message>
        <source>No speaker</source>
        <translation>Kein Lautsprecher</translation>
    </message>
    <message>
        <source>Speaker: %1</source>
        <translation>Lautsprecher: %1</translation>
    </message>
</context>
</TS>
