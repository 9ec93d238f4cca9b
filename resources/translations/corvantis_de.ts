<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE">
<context>
    <name>corvantis</name>
    <message id="OK">
        <source>OK</source>
        <translation>OK</translation>
    </message>
    <message id="ok">
        <source>OK</source>
        <translation>OK</translation>
    </message>
    <message id="cancel">
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message id="continue">
        <source>Continue</source>
        <translation>Weiter</translation>
    </message>
    <message id="done">
        <source>Done</source>
        <translation>Fertig</translation>
    </message>
    <message id="back">
        <source>Back</source>
        <translation>Zurück</translation>
    </message>
    <message id="close">
        <source>Close</source>
        <translation>Schließen</translation>
    </message>
    <message id="text_field">
        <source>Text field</source>
        <translation>Textfeld</translation>
    </message>
    <message id="error_unknown">
        <source>Something went wrong.</source>
        <translation>Etwas ist schiefgelaufen.</translation>
    </message>
    <message id="error_unkown">
        <source>An unknown error occurred.</source>
        <translation>Ein unbekannter Fehler ist aufgetreten.</translation>
    </message>
    <message id="message_please_wait">
        <source>Please wait…</source>
        <translation>Bitte warten …</translation>
    </message>
    <message id="placeholder_not_built">
        <source>This screen is on its way.</source>
        <translation>Dieser Bildschirm kommt bald.</translation>
    </message>
    <message id="tutorial_continue">
        <source>Continue</source>
        <translation>Weiter</translation>
    </message>
    <message id="tutorial_1_title">
        <source>Your music, your sound</source>
        <translation>Deine Musik, dein Klang</translation>
    </message>
    <message id="tutorial_1_content">
        <source>Shape every track with a five-band equalizer, presets, a deep bass effect and a volume boost.</source>
        <translation>Forme jeden Titel mit einem Fünfband-Equalizer, Voreinstellungen, kräftigem Bass und mehr Lautstärke.</translation>
    </message>
    <message id="tutorial_2_title">
        <source>Bring in your songs</source>
        <translation>Hol deine Songs herein</translation>
    </message>
    <message id="tutorial_2_content">
        <source>Upload from any browser on your Wi-Fi, download from Dropbox, or pick files from this device.</source>
        <translation>Lade sie über einen Browser im WLAN hoch, aus Dropbox herunter oder wähle Dateien auf diesem Gerät.</translation>
    </message>
    <message id="tutorial_title">
        <source>Welcome to Corvantis</source>
        <translation>Willkommen bei Corvantis</translation>
    </message>
    <message id="tutorial_description">
        <source>Add music through the upload page, Dropbox or your files, then tune it with the equalizer and bass boost on the player.</source>
        <translation>Füge Musik über die Upload-Seite, Dropbox oder deine Dateien hinzu und stimme sie dann im Player mit Equalizer und Bass-Boost ab.</translation>
    </message>
    <message id="not_playing">
        <source>Not playing</source>
        <translation>Keine Wiedergabe</translation>
    </message>
    <message id="bass_boost_effect">
        <source>Bass boost</source>
        <translation>Bass-Boost</translation>
    </message>
    <message id="bass_boost_effect_message">
        <source>Turn the bass up for fuller low notes. Loud settings can distort on small speakers.</source>
        <translation>Dreh den Bass auf für vollere Tiefen. Hohe Werte können auf kleinen Lautsprechern verzerren.</translation>
    </message>
    <message id="playlist_name">
        <source>Playlist name</source>
        <translation>Name der Playlist</translation>
    </message>
    <message id="new_playlist">
        <source>New playlist</source>
        <translation>Neue Playlist</translation>
    </message>
    <message id="choose_playlist">
        <source>Add to playlist</source>
        <translation>Zur Playlist hinzufügen</translation>
    </message>
    <message id="media_library">
        <source>Music library</source>
        <translation>Mediathek</translation>
    </message>
    <message id="clouds">
        <source>My music</source>
        <translation>Meine Musik</translation>
    </message>
    <message id="tracks">
        <source>Tracks</source>
        <translation>Titel</translation>
    </message>
    <message id="Artists">
        <source>Artists</source>
        <translation>Künstler</translation>
    </message>
    <message id="artists">
        <source>Artists</source>
        <translation>Künstler</translation>
    </message>
    <message id="Albums">
        <source>Albums</source>
        <translation>Alben</translation>
    </message>
    <message id="albums">
        <source>Albums</source>
        <translation>Alben</translation>
    </message>
    <message id="playlists">
        <source>Playlists</source>
        <translation>Playlists</translation>
    </message>
    <message id="search">
        <source>Search</source>
        <translation>Suchen</translation>
    </message>
    <message id="clear_search">
        <source>Clear search</source>
        <translation>Suche löschen</translation>
    </message>
    <message id="sort_ascending">
        <source>A–Z</source>
        <translation>A–Z</translation>
    </message>
    <message id="sort_descending">
        <source>Z–A</source>
        <translation>Z–A</translation>
    </message>
    <message id="sort_normal">
        <source>Default</source>
        <translation>Standard</translation>
    </message>
    <message id="play">
        <source>Play</source>
        <translation>Abspielen</translation>
    </message>
    <message id="add_tracks">
        <source>Add</source>
        <translation>Hinzufügen</translation>
    </message>
    <message id="rename_playlist">
        <source>Rename</source>
        <translation>Umbenennen</translation>
    </message>
    <message id="add_to_playlist">
        <source>Add to playlist</source>
        <translation>Zur Playlist hinzufügen</translation>
    </message>
    <message id="delete">
        <source>Delete</source>
        <translation>Löschen</translation>
    </message>
    <message id="edit_playlist">
        <source>Edit playlist</source>
        <translation>Playlist bearbeiten</translation>
    </message>
    <message id="create_playlist">
        <source>New playlist</source>
        <translation>Neue Playlist</translation>
    </message>
</context>
</TS>
