<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE" sourcelanguage="en">
<context>
    <name>FocusPane</name>
    <message>
        <source>Audio focus</source>
        <translation>Audiofokus</translation>
    </message>
    <message>
        <source>No events yet</source>
        <translation>Noch keine Ereignisse</translation>
    </message>
    <message>
        <source>Shows who gets or loses the audio focus.</source>
        <translation>Zeigt, wer den Audiofokus bekommt oder verliert.</translation>
    </message>
</context>
<context>
    <name>FocusRow</name>
    <message>
        <source>Has the focus for a while</source>
        <translation>Hat den Fokus für eine Weile</translation>
    </message>
    <message>
        <source>Has the focus now</source>
        <translation>Hat jetzt den Fokus</translation>
    </message>
    <message>
        <source>Is interrupted for a while</source>
        <translation>Ist für eine Weile unterbrochen</translation>
    </message>
    <message>
        <source>Has lost the focus</source>
        <translation>Hat den Fokus verloren</translation>
    </message>
    <message>
        <source>Its focus has changed</source>
        <translation>Der Fokus hat sich geändert</translation>
    </message>
</context>
<context>
    <name>Header</name>
    <message>
        <source>Audio source</source>
        <translation>Audioquelle</translation>
    </message>
    <message>
        <source>Audio source · %1</source>
        <translation>Audioquelle · %1</translation>
    </message>
    <message>
        <source>Day colours</source>
        <translation>Tagfarben</translation>
    </message>
    <message>
        <source>Night colours</source>
        <translation>Nachtfarben</translation>
    </message>
    <message>
        <source>Audio</source>
        <translation>Audio</translation>
    </message>
</context>
<context>
    <name>Main</name>
    <message>
        <source>Audio</source>
        <translation>Audio</translation>
    </message>
</context>
<context>
    <name>ModeGrid</name>
    <message>
        <source>Audio sources</source>
        <translation>Audioquellen</translation>
    </message>
</context>
<context>
    <name>ModeTile</name>
    <message>
        <source>Waits</source>
        <translation>Wartet</translation>
    </message>
    <message>
        <source>On</source>
        <translation>An</translation>
    </message>
</context>
<context>
    <name>ModesPane</name>
    <message>
        <source>No audio sources</source>
        <translation>Keine Audioquellen</translation>
    </message>
    <message>
        <source>Waiting for the audio service</source>
        <translation>Warten auf den Audiodienst</translation>
    </message>
    <message>
        <source>The panel connects by itself as soon as the service is there.</source>
        <translation>Die Verbindung entsteht von selbst, sobald der Dienst da ist.</translation>
    </message>
    <message>
        <source>The audio service does not offer any at the moment.</source>
        <translation>Der Audiodienst bietet zurzeit keine an.</translation>
    </message>
    <message>
        <source>The audio service does not tell them. The panel asks again by itself.</source>
        <translation>Der Audiodienst nennt sie nicht. Er wird von selbst wieder gefragt.</translation>
    </message>
</context>
<context>
    <name>NameText</name>
    <message>
        <source>Unnamed</source>
        <translation>Ohne Namen</translation>
    </message>
</context>
<context>
    <name>PanelMessage</name>
    <message>
        <source>Audio service not available</source>
        <translation>Audiodienst nicht verfügbar</translation>
    </message>
    <message>
        <source>Waiting for %1</source>
        <translation>Warten auf %1</translation>
    </message>
    <message>
        <source>%1 could not be switched on</source>
        <translation>%1 konnte nicht eingeschaltet werden</translation>
    </message>
    <message>
        <source>The panel reconnects by itself.</source>
        <translation>Die Verbindung wird von selbst wiederhergestellt.</translation>
    </message>
    <message>
        <source>It is switched on as soon as it is offered.</source>
        <translation>Die Quelle wird eingeschaltet, sobald es sie gibt.</translation>
    </message>
    <message>
        <source>Please try again, or choose another one.</source>
        <translation>Bitte noch einmal versuchen oder eine andere wählen.</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Schließen</translation>
    </message>
</context>
</TS>
