<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de" sourcelanguage="en">
<context>
    <name>ControlWindow</name>
    <message>
        <source>Simulated device</source>
        <translation>Simuliertes Gerät</translation>
    </message>
    <message>
        <source>Phone call</source>
        <translation>Telefonat</translation>
    </message>
    <message>
        <source>Service</source>
        <translation>Dienst</translation>
    </message>
    <message>
        <source>Next request</source>
        <translation>Nächste Anfrage</translation>
    </message>
    <message>
        <source>Start</source>
        <comment>call</comment>
        <translation>Beginnen</translation>
    </message>
    <message>
        <source>A phone call takes the audio focus</source>
        <translation>Ein Telefonat nimmt den Audiofokus</translation>
    </message>
    <message>
        <source>A phone call has the audio focus.</source>
        <translation>Ein Telefonat hat den Audiofokus.</translation>
    </message>
    <message>
        <source>End</source>
        <comment>call</comment>
        <translation>Beenden</translation>
    </message>
    <message>
        <source>The phone call ends</source>
        <translation>Das Telefonat endet</translation>
    </message>
    <message>
        <source>The phone call is over.</source>
        <translation>Das Telefonat ist vorbei.</translation>
    </message>
    <message>
        <source>Stop</source>
        <comment>service</comment>
        <translation>Stopp</translation>
    </message>
    <message>
        <source>The service leaves the bus</source>
        <translation>Der Dienst verlässt den Bus</translation>
    </message>
    <message>
        <source>The service has left the bus.</source>
        <translation>Der Dienst hat den Bus verlassen.</translation>
    </message>
    <message>
        <source>Start</source>
        <comment>service</comment>
        <translation>Start</translation>
    </message>
    <message>
        <source>The service returns to the bus</source>
        <translation>Der Dienst kehrt auf den Bus zurück</translation>
    </message>
    <message>
        <source>Restart</source>
        <translation>Neustart</translation>
    </message>
    <message>
        <source>The service loses all sessions, as in a crash</source>
        <translation>Der Dienst verliert alle Sitzungen, wie bei einem Absturz</translation>
    </message>
    <message>
        <source>The service comes back in 2 seconds, without sessions.</source>
        <translation>Der Dienst kommt in 2 Sekunden zurück, ohne Sitzungen.</translation>
    </message>
    <message>
        <source>Delay</source>
        <translation>Verzögern</translation>
    </message>
    <message>
        <source>The next request is answered 3 seconds late</source>
        <translation>Die nächste Anfrage wird 3 Sekunden später beantwortet</translation>
    </message>
    <message>
        <source>The next request will be answered 3 seconds late.</source>
        <translation>Die nächste Anfrage wird 3 Sekunden später beantwortet.</translation>
    </message>
    <message>
        <source>Refuse</source>
        <translation>Ablehnen</translation>
    </message>
    <message>
        <source>The next request is refused</source>
        <translation>Die nächste Anfrage wird abgelehnt</translation>
    </message>
    <message>
        <source>The next request will be refused.</source>
        <translation>Die nächste Anfrage wird abgelehnt.</translation>
    </message>
    <message>
        <source>The device offers “%1”.</source>
        <translation>Das Gerät bietet „%1“ an.</translation>
    </message>
    <message>
        <source>The device no longer offers “%1”.</source>
        <translation>Das Gerät bietet „%1“ nicht mehr an.</translation>
    </message>
    <message>
        <source>“%1” was pressed.</source>
        <translation>„%1“ wurde gedrückt.</translation>
    </message>
    <message>
        <source>Not done: %1</source>
        <translation>Nicht ausgeführt: %1</translation>
    </message>
    <message>
        <source>This window goes on when kiv-audio-simulator runs on the same bus.</source>
        <translation>Es geht weiter, sobald kiv-audio-simulator auf demselben Bus läuft.</translation>
    </message>
    <message>
        <source>Choose what is to happen at the device.</source>
        <translation>Was soll am Gerät geschehen?</translation>
    </message>
    <message>
        <source>The service is on the bus.</source>
        <translation>Der Dienst ist auf dem Bus.</translation>
    </message>
    <message>
        <source>Service running</source>
        <translation>Dienst läuft</translation>
    </message>
    <message>
        <source>Service stopped</source>
        <translation>Dienst gestoppt</translation>
    </message>
    <message>
        <source>No simulator</source>
        <translation>Kein Simulator</translation>
    </message>
</context>
<context>
    <name>ModeRows</name>
    <message>
        <source>%1, current mode</source>
        <translation>%1, aktueller Modus</translation>
    </message>
</context>
<context>
    <name>ModesBox</name>
    <message>
        <source>Press</source>
        <translation>Drücken</translation>
    </message>
    <message>
        <source>Press the selected mode</source>
        <translation>Den gewählten Modus drücken</translation>
    </message>
    <message>
        <source>Remove</source>
        <translation>Entfernen</translation>
    </message>
    <message>
        <source>Remove the selected mode</source>
        <translation>Den gewählten Modus entfernen</translation>
    </message>
    <message>
        <source>Add</source>
        <translation>Hinzufügen</translation>
    </message>
    <message>
        <source>Add a mode of this name</source>
        <translation>Einen Modus dieses Namens hinzufügen</translation>
    </message>
    <message>
        <source>Modes of the device</source>
        <translation>Modi des Geräts</translation>
    </message>
    <message>
        <source>Name of a new mode</source>
        <translation>Name eines neuen Modus</translation>
    </message>
    <message>
        <source>New mode</source>
        <translation>Neuer Modus</translation>
    </message>
    <message>
        <source>Modes</source>
        <translation>Modi</translation>
    </message>
</context>
</TS>
