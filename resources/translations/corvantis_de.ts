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
    <message id="player_close">
        <source>Close player</source>
        <translation>Player schließen</translation>
    </message>
    <message id="player_save_preset">
        <source>Save preset</source>
        <translation>Preset speichern</translation>
    </message>
    <message id="player_play">
        <source>Play</source>
        <translation>Abspielen</translation>
    </message>
    <message id="player_pause">
        <source>Pause</source>
        <translation>Pause</translation>
    </message>
    <message id="player_next">
        <source>Next track</source>
        <translation>Nächster Titel</translation>
    </message>
    <message id="player_previous">
        <source>Previous track</source>
        <translation>Vorheriger Titel</translation>
    </message>
    <message id="player_shuffle">
        <source>Shuffle</source>
        <translation>Zufallswiedergabe</translation>
    </message>
    <message id="player_repeat">
        <source>Repeat</source>
        <translation>Wiederholen</translation>
    </message>
    <message id="player_position">
        <source>Position</source>
        <translation>Position</translation>
    </message>
    <message id="player_system_volume">
        <source>Volume</source>
        <translation>Lautstärke</translation>
    </message>
    <message id="player_bass_boost">
        <source>Bass</source>
        <translation>Bass</translation>
    </message>
    <message id="player_presets">
        <source>Presets</source>
        <translation>Presets</translation>
    </message>
    <message id="player_no_preset">
        <source>No preset</source>
        <translation>Keine Voreinstellung</translation>
    </message>
    <message id="player_equalizer">
        <source>Equalizer</source>
        <translation>Equalizer</translation>
    </message>
    <message id="player_volume_boost">
        <source>Boost</source>
        <translation>Verstärkung</translation>
    </message>
    <message id="player_hertz">
        <source>%1 Hz</source>
        <translation>%1 Hz</translation>
    </message>
    <message id="player_kilohertz">
        <source>%1 kHz</source>
        <translation>%1 kHz</translation>
    </message>
    <message id="player_album_art">
        <source>Album art</source>
        <translation>Albumcover</translation>
    </message>
    <message id="player_bass_level">
        <source>Bass level</source>
        <translation>Basspegel</translation>
    </message>
    <message id="player_boost_level">
        <source>Boost level</source>
        <translation>Verstärkungspegel</translation>
    </message>
    <message id="menu">
        <source>Menu</source>
        <translation>Menü</translation>
    </message>
    <message id="close_menu">
        <source>Close menu</source>
        <translation>Menü schließen</translation>
    </message>
    <message id="now_playing">
        <source>Now playing</source>
        <translation>Läuft gerade</translation>
    </message>
    <message id="add_music">
        <source>Add music</source>
        <translation>Musik hinzufügen</translation>
    </message>
    <message id="link_library_title">
        <source>Link your music library</source>
        <translation>Musikbibliothek verbinden</translation>
    </message>
    <message id="link_library_description">
        <source>Play the songs and playlists of your music folder right here. Corvantis only reads them and never changes a file.</source>
        <translation>Spiele die Titel und Playlists deines Musikordners direkt hier ab. Corvantis liest sie nur und ändert keine Datei.</translation>
    </message>
    <message id="link_library_button">
        <source>Link library</source>
        <translation>Bibliothek verbinden</translation>
    </message>
    <message id="library_consent_title">
        <source>Allow Corvantis to read your music folder?</source>
        <translation>Darf Corvantis deinen Musikordner lesen?</translation>
    </message>
    <message id="library_consent_message">
        <source>Your songs and playlists are shown in the library tab. Nothing is changed or sent anywhere.</source>
        <translation>Deine Titel und Playlists erscheinen im Bibliothek-Tab. Nichts wird verändert oder irgendwohin gesendet.</translation>
    </message>
    <message id="library_consent_allow">
        <source>Allow</source>
        <translation>Erlauben</translation>
    </message>
    <message id="library_consent_refuse">
        <source>Don&#x27;t Allow</source>
        <translation>Nicht erlauben</translation>
    </message>
    <message id="library_access_title">
        <source>Music library access is off</source>
        <translation>Zugriff auf die Musikbibliothek ist aus</translation>
    </message>
    <message id="library_access_keep">
        <source>Keep off</source>
        <translation>Aus lassen</translation>
    </message>
    <message id="menu_feedback">
        <source>Send feedback</source>
        <translation>Feedback senden</translation>
    </message>
    <message id="menu_rate">
        <source>Rate Corvantis</source>
        <translation>Corvantis bewerten</translation>
    </message>
    <message id="menu_privacy">
        <source>Privacy policy</source>
        <translation>Datenschutz</translation>
    </message>
    <message id="menu_terms">
        <source>Terms of use</source>
        <translation>Nutzungsbedingungen</translation>
    </message>
    <message id="menu_tutorial">
        <source>How it works</source>
        <translation>So funktioniert es</translation>
    </message>
    <message id="menu_sign_out">
        <source>Sign out of the cloud</source>
        <translation>Von der Cloud abmelden</translation>
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
