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
    <message id="download_title">
        <source>Add music</source>
        <translation>Musik hinzufügen</translation>
    </message>
    <message id="download_subtitle">
        <source>Bring songs in from your cloud, this computer or another device on your Wi-Fi.</source>
        <translation>Hole Songs aus deiner Cloud, von diesem Computer oder von einem anderen Gerät in deinem WLAN.</translation>
    </message>
    <message id="download_dropbox">
        <source>Dropbox</source>
        <translation>Dropbox</translation>
    </message>
    <message id="download_dropbox_detail">
        <source>Browse your folders and download music.</source>
        <translation>Durchsuche deine Ordner und lade Musik herunter.</translation>
    </message>
    <message id="download_files">
        <source>Files on this computer</source>
        <translation>Dateien auf diesem Computer</translation>
    </message>
    <message id="download_files_detail">
        <source>Pick one or more audio files to copy in.</source>
        <translation>Wähle eine oder mehrere Audiodateien zum Kopieren aus.</translation>
    </message>
    <message id="download_wifi">
        <source>Wi-Fi upload</source>
        <translation>WLAN-Upload</translation>
    </message>
    <message id="download_wifi_detail">
        <source>Send files from a browser on the same network.</source>
        <translation>Sende Dateien aus einem Browser im selben Netzwerk.</translation>
    </message>
    <message id="download_audio_files">
        <source>Audio files</source>
        <translation>Audiodateien</translation>
    </message>
    <message id="download_dropbox_not_configured">
        <source>Dropbox sign-in is not set up on this computer.</source>
        <translation>Die Dropbox-Anmeldung ist auf diesem Computer nicht eingerichtet.</translation>
    </message>
    <message id="download_importing_progress">
        <source>Importing %1 of %2…</source>
        <translation>Importiere %1 von %2…</translation>
    </message>
    <message id="wifi_title">
        <source>Upload over Wi-Fi</source>
        <translation>Upload über WLAN</translation>
    </message>
    <message id="wifi_instructions">
        <source>On a computer in the same network, open this address in a browser and drop your music files there.</source>
        <translation>Öffne auf einem Computer im selben Netzwerk diese Adresse in einem Browser und lege deine Musikdateien dort ab.</translation>
    </message>
    <message id="wifi_qr_code">
        <source>QR code of the upload address</source>
        <translation>QR-Code der Upload-Adresse</translation>
    </message>
    <message id="wifi_keep_open">
        <source>Keep this screen open until the uploads are done. The computer stays awake meanwhile.</source>
        <translation>Lass diese Seite offen, bis die Uploads fertig sind. Der Computer bleibt so lange wach.</translation>
    </message>
    <message id="wifi_inhibit_reason">
        <source>Receiving music over Wi-Fi</source>
        <translation>Empfange Musik über WLAN</translation>
    </message>
    <message id="dropbox_title">
        <source>Dropbox</source>
        <translation>Dropbox</translation>
    </message>
    <message id="dropbox_download_all">
        <source>Download all</source>
        <translation>Alle herunterladen</translation>
    </message>
    <message id="file_download">
        <source>Download %1</source>
        <translation>%1 herunterladen</translation>
    </message>
    <message id="file_will_download">
        <source>Starting download of %1</source>
        <translation>Download von %1 startet</translation>
    </message>
    <message id="file_cancel_download">
        <source>Cancel download of %1</source>
        <translation>Download von %1 abbrechen</translation>
    </message>
    <message id="file_downloaded">
        <source>%1 downloaded</source>
        <translation>%1 heruntergeladen</translation>
    </message>
    <message id="dropbox_download_failed">
        <source>%1 could not be downloaded.</source>
        <translation>%1 konnte nicht heruntergeladen werden.</translation>
    </message>
</context>
</TS>
