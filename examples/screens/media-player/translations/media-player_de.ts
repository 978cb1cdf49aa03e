<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE" sourcelanguage="en">
<context>
    <name>PlayerWindow</name>
    <message>
        <source>Position</source>
        <translation>Position</translation>
    </message>
    <message>
        <source>Open an audio file</source>
        <translation>Audiodatei öffnen</translation>
    </message>
    <message>
        <source>Evening melody</source>
        <translation>Abendmelodie</translation>
    </message>
    <message>
        <source>Made by this program</source>
        <translation>Von diesem Programm erzeugt</translation>
    </message>
    <message>
        <source>%1 – Media player</source>
        <translation>%1 – Medienspieler</translation>
    </message>
    <message>
        <source>Pause</source>
        <translation>Pause</translation>
    </message>
    <message>
        <source>Play</source>
        <translation>Abspielen</translation>
    </message>
    <message>
        <source>Stop</source>
        <translation>Anhalten</translation>
    </message>
    <message>
        <source>Open…</source>
        <translation>Öffnen …</translation>
    </message>
</context>
<context>
    <name>StatusText</name>
    <message>
        <source>The audio service is not available.</source>
        <translation>Der Audiodienst ist nicht da.</translation>
    </message>
    <message>
        <source>The player waits for it.</source>
        <translation>Der Spieler wartet auf ihn.</translation>
    </message>
    <message>
        <source>The audio service has gone.</source>
        <translation>Der Audiodienst ist verschwunden.</translation>
    </message>
    <message>
        <source>The player waits until it is back.</source>
        <translation>Der Spieler wartet, bis er wieder da ist.</translation>
    </message>
    <message>
        <source>Signing in to the audio service.</source>
        <translation>Anmeldung beim Audiodienst.</translation>
    </message>
    <message>
        <source>It has not answered yet.</source>
        <translation>Er hat noch nicht geantwortet.</translation>
    </message>
    <message>
        <source>The audio service refuses this player.</source>
        <translation>Der Audiodienst lehnt diesen Spieler ab.</translation>
    </message>
    <message>
        <source>It will be asked again.</source>
        <translation>Er wird wieder gefragt.</translation>
    </message>
    <message>
        <source>Ready.</source>
        <translation>Bereit.</translation>
    </message>
    <message>
        <source>Press play, or open a file.</source>
        <translation>„Abspielen“ drücken oder Datei öffnen.</translation>
    </message>
    <message>
        <source>The audio service is back.</source>
        <translation>Der Audiodienst ist wieder da.</translation>
    </message>
    <message>
        <source>Press play to go on.</source>
        <translation>„Abspielen“ setzt die Wiedergabe fort.</translation>
    </message>
    <message>
        <source>The audio service has ended playback.</source>
        <translation>Der Audiodienst hat die Wiedergabe beendet.</translation>
    </message>
    <message>
        <source>Press play to ask for the focus again.</source>
        <translation>„Abspielen“ fragt noch einmal danach.</translation>
    </message>
    <message>
        <source>Stopped by you.</source>
        <translation>Von Ihnen angehalten.</translation>
    </message>
    <message>
        <source>Others may use the loudspeakers now.</source>
        <translation>Die Lautsprecher sind frei für andere.</translation>
    </message>
    <message>
        <source>This was the end.</source>
        <translation>Das war das Ende.</translation>
    </message>
    <message>
        <source>Press play to hear it again.</source>
        <translation>„Abspielen“ beginnt von vorn.</translation>
    </message>
    <message>
        <source>Playback has failed.</source>
        <translation>Die Wiedergabe ist gescheitert.</translation>
    </message>
    <message>
        <source>Press play to try again.</source>
        <translation>„Abspielen“ versucht es noch einmal.</translation>
    </message>
    <message>
        <source>Waiting for the focus.</source>
        <translation>Warten auf den Fokus.</translation>
    </message>
    <message>
        <source>Playback begins when it is granted.</source>
        <translation>Die Wiedergabe beginnt, wenn er erteilt ist.</translation>
    </message>
    <message>
        <source>Paused by you.</source>
        <translation>Von Ihnen pausiert.</translation>
    </message>
    <message>
        <source>The focus has been asked for.</source>
        <translation>Der Fokus ist angefordert.</translation>
    </message>
    <message>
        <source>Playing.</source>
        <translation>Wiedergabe läuft.</translation>
    </message>
    <message>
        <source>This player has the focus.</source>
        <translation>Dieser Spieler hat den Fokus.</translation>
    </message>
    <message>
        <source>Playing in silence.</source>
        <translation>Wiedergabe läuft, aber stumm.</translation>
    </message>
    <message>
        <source>No audio device: the player keeps the time in silence.</source>
        <translation>Kein Audiogerät: Der Spieler zählt die Zeit in Stille weiter.</translation>
    </message>
    <message>
        <source>The focus stays with this player.</source>
        <translation>Der Fokus bleibt bei diesem Spieler.</translation>
    </message>
    <message>
        <source>Interrupted.</source>
        <translation>Unterbrochen.</translation>
    </message>
    <message>
        <source>Playback goes on by itself.</source>
        <translation>Die Wiedergabe geht von selbst weiter.</translation>
    </message>
    <message>
        <source>Interrupted, and paused by you.</source>
        <translation>Unterbrochen und von Ihnen pausiert.</translation>
    </message>
    <message>
        <source>Playback does not go on by itself.</source>
        <translation>Es geht nicht von selbst weiter.</translation>
    </message>
    <message>
        <source>The focus was refused.</source>
        <translation>Der Fokus wurde verweigert.</translation>
    </message>
    <message>
        <source>Another program has taken over.</source>
        <translation>Ein anderes Programm hat übernommen.</translation>
    </message>
    <message>
        <source>“%1” is not there.</source>
        <translation>„%1“ gibt es nicht.</translation>
    </message>
    <message>
        <source>“%1” is a folder, not an audio file.</source>
        <translation>„%1“ ist ein Ordner, keine Audiodatei.</translation>
    </message>
    <message>
        <source>You may not read “%1”.</source>
        <translation>Sie dürfen „%1“ nicht lesen.</translation>
    </message>
    <message>
        <source>“%1”: decoders are missing (GStreamer&apos;s plug-ins).</source>
        <translation>„%1“: Es fehlen Decoder (Plug-ins von GStreamer).</translation>
    </message>
    <message>
        <source>“%1” holds no sound that can be decoded.</source>
        <translation>„%1“ enthält keinen Ton, der sich decodieren lässt.</translation>
    </message>
    <message>
        <source>The audio device does not play “%1”.</source>
        <translation>Das Audiogerät spielt „%1“ nicht.</translation>
    </message>
</context>
</TS>
