<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en_US">
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
        <translation>Cancel</translation>
    </message>
    <message id="continue">
        <source>Continue</source>
        <translation>Continue</translation>
    </message>
    <message id="done">
        <source>Done</source>
        <translation>Done</translation>
    </message>
    <message id="back">
        <source>Back</source>
        <translation>Back</translation>
    </message>
    <message id="close">
        <source>Close</source>
        <translation>Close</translation>
    </message>
    <message id="text_field">
        <source>Text field</source>
        <translation>Text field</translation>
    </message>
    <message id="error_unknown">
        <source>Something went wrong.</source>
        <translation>Something went wrong.</translation>
    </message>
    <message id="error_unkown">
        <source>An unknown error occurred.</source>
        <translation>An unknown error occurred.</translation>
    </message>
    <message id="message_please_wait">
        <source>Please wait…</source>
        <translation>Please wait…</translation>
    </message>
    <message id="placeholder_not_built">
        <source>This screen is on its way.</source>
        <translation>This screen is on its way.</translation>
    </message>
    <message id="tutorial_continue">
        <source>Continue</source>
        <translation>Continue</translation>
    </message>
    <message id="tutorial_1_title">
        <source>Your music, your sound</source>
        <translation>Your music, your sound</translation>
    </message>
    <message id="tutorial_1_content">
        <source>Shape every track with a five-band equalizer, presets, a deep bass effect and a volume boost.</source>
        <translation>Shape every track with a five-band equalizer, presets, a deep bass effect and a volume boost.</translation>
    </message>
    <message id="tutorial_2_title">
        <source>Bring in your songs</source>
        <translation>Bring in your songs</translation>
    </message>
    <message id="tutorial_2_content">
        <source>Upload from any browser on your Wi-Fi, download from Dropbox, or pick files from this device.</source>
        <translation>Upload from any browser on your Wi-Fi, download from Dropbox, or pick files from this device.</translation>
    </message>
    <message id="tutorial_title">
        <source>Welcome to Corvantis</source>
        <translation>Welcome to Corvantis</translation>
    </message>
    <message id="tutorial_description">
        <source>Add music through the upload page, Dropbox or your files, then tune it with the equalizer and bass boost on the player.</source>
        <translation>Add music through the upload page, Dropbox or your files, then tune it with the equalizer and bass boost on the player.</translation>
    </message>
    <message id="not_playing">
        <source>Not playing</source>
        <translation>Not playing</translation>
    </message>
    <message id="bass_boost_effect">
        <source>Bass boost</source>
        <translation>Bass boost</translation>
    </message>
    <message id="bass_boost_effect_message">
        <source>Turn the bass up for fuller low notes. Loud settings can distort on small speakers.</source>
        <translation>Turn the bass up for fuller low notes. Loud settings can distort on small speakers.</translation>
    </message>
    <message id="playlist_name">
        <source>Playlist name</source>
        <translation>Playlist name</translation>
    </message>
    <message id="new_playlist">
        <source>New playlist</source>
        <translation>New playlist</translation>
    </message>
    <message id="choose_playlist">
        <source>Add to playlist</source>
        <translation>Add to playlist</translation>
    </message>
    <message id="media_library">
        <source>Music library</source>
        <translation>Music library</translation>
    </message>
    <message id="clouds">
        <source>My music</source>
        <translation>My music</translation>
    </message>
    <message id="tracks">
        <source>Tracks</source>
        <translation>Tracks</translation>
    </message>
    <message id="Artists">
        <source>Artists</source>
        <translation>Artists</translation>
    </message>
    <message id="artists">
        <source>Artists</source>
        <translation>Artists</translation>
    </message>
    <message id="Albums">
        <source>Albums</source>
        <translation>Albums</translation>
    </message>
    <message id="albums">
        <source>Albums</source>
        <translation>Albums</translation>
    </message>
    <message id="playlists">
        <source>Playlists</source>
        <translation>Playlists</translation>
    </message>
    <message id="player_close">
        <source>Close player</source>
        <translation>Close player</translation>
    </message>
    <message id="player_save_preset">
        <source>Save preset</source>
        <translation>Save preset</translation>
    </message>
    <message id="player_play">
        <source>Play</source>
        <translation>Play</translation>
    </message>
    <message id="player_pause">
        <source>Pause</source>
        <translation>Pause</translation>
    </message>
    <message id="player_next">
        <source>Next track</source>
        <translation>Next track</translation>
    </message>
    <message id="player_previous">
        <source>Previous track</source>
        <translation>Previous track</translation>
    </message>
    <message id="player_shuffle">
        <source>Shuffle</source>
        <translation>Shuffle</translation>
    </message>
    <message id="player_repeat">
        <source>Repeat</source>
        <translation>Repeat</translation>
    </message>
    <message id="player_position">
        <source>Position</source>
        <translation>Position</translation>
    </message>
    <message id="player_system_volume">
        <source>Volume</source>
        <translation>Volume</translation>
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
        <translation>No preset</translation>
    </message>
    <message id="player_equalizer">
        <source>Equalizer</source>
        <translation>Equalizer</translation>
    </message>
    <message id="player_volume_boost">
        <source>Boost</source>
        <translation>Boost</translation>
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
        <translation>Album art</translation>
    </message>
    <message id="player_bass_level">
        <source>Bass level</source>
        <translation>Bass level</translation>
    </message>
    <message id="player_boost_level">
        <source>Boost level</source>
        <translation>Boost level</translation>
    </message>
    <message id="menu">
        <source>Menu</source>
        <translation>Menu</translation>
    </message>
    <message id="close_menu">
        <source>Close menu</source>
        <translation>Close menu</translation>
    </message>
    <message id="now_playing">
        <source>Now playing</source>
        <translation>Now playing</translation>
    </message>
    <message id="add_music">
        <source>Add music</source>
        <translation>Add music</translation>
    </message>
    <message id="link_library_title">
        <source>Link your music library</source>
        <translation>Link your music library</translation>
    </message>
    <message id="link_library_description">
        <source>Play the songs and playlists of your music folder right here. Corvantis only reads them and never changes a file.</source>
        <translation>Play the songs and playlists of your music folder right here. Corvantis only reads them and never changes a file.</translation>
    </message>
    <message id="link_library_button">
        <source>Link library</source>
        <translation>Link library</translation>
    </message>
    <message id="library_consent_title">
        <source>Allow Corvantis to read your music folder?</source>
        <translation>Allow Corvantis to read your music folder?</translation>
    </message>
    <message id="library_consent_message">
        <source>Your songs and playlists are shown in the library tab. Nothing is changed or sent anywhere.</source>
        <translation>Your songs and playlists are shown in the library tab. Nothing is changed or sent anywhere.</translation>
    </message>
    <message id="library_consent_allow">
        <source>Allow</source>
        <translation>Allow</translation>
    </message>
    <message id="library_consent_refuse">
        <source>Don&#x27;t Allow</source>
        <translation>Don&#x27;t Allow</translation>
    </message>
    <message id="library_access_title">
        <source>Music library access is off</source>
        <translation>Music library access is off</translation>
    </message>
    <message id="library_access_keep">
        <source>Keep off</source>
        <translation>Keep off</translation>
    </message>
    <message id="menu_feedback">
        <source>Send feedback</source>
        <translation>Send feedback</translation>
    </message>
    <message id="menu_rate">
        <source>Rate Corvantis</source>
        <translation>Rate Corvantis</translation>
    </message>
    <message id="menu_privacy">
        <source>Privacy policy</source>
        <translation>Privacy policy</translation>
    </message>
    <message id="menu_terms">
        <source>Terms of use</source>
        <translation>Terms of use</translation>
    </message>
    <message id="menu_tutorial">
        <source>How it works</source>
        <translation>How it works</translation>
    </message>
    <message id="menu_sign_out">
        <source>Sign out of the cloud</source>
        <translation>Sign out of the cloud</translation>
    </message>
    <message id="search">
        <source>Search</source>
        <translation>Search</translation>
    </message>
    <message id="clear_search">
        <source>Clear search</source>
        <translation>Clear search</translation>
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
        <translation>Default</translation>
    </message>
    <message id="play">
        <source>Play</source>
        <translation>Play</translation>
    </message>
    <message id="add_tracks">
        <source>Add</source>
        <translation>Add</translation>
    </message>
    <message id="rename_playlist">
        <source>Rename</source>
        <translation>Rename</translation>
    </message>
    <message id="add_to_playlist">
        <source>Add to playlist</source>
        <translation>Add to playlist</translation>
    </message>
    <message id="delete">
        <source>Delete</source>
        <translation>Delete</translation>
    </message>
    <message id="edit_playlist">
        <source>Edit playlist</source>
        <translation>Edit playlist</translation>
    </message>
    <message id="create_playlist">
        <source>New playlist</source>
        <translation>New playlist</translation>
    </message>
    <message id="download_title">
        <source>Add music</source>
        <translation>Add music</translation>
    </message>
    <message id="download_subtitle">
        <source>Bring songs in from your cloud, this computer or another device on your Wi-Fi.</source>
        <translation>Bring songs in from your cloud, this computer or another device on your Wi-Fi.</translation>
    </message>
    <message id="download_dropbox">
        <source>Dropbox</source>
        <translation>Dropbox</translation>
    </message>
    <message id="download_dropbox_detail">
        <source>Browse your folders and download music.</source>
        <translation>Browse your folders and download music.</translation>
    </message>
    <message id="download_files">
        <source>Files on this computer</source>
        <translation>Files on this computer</translation>
    </message>
    <message id="download_files_detail">
        <source>Pick one or more audio files to copy in.</source>
        <translation>Pick one or more audio files to copy in.</translation>
    </message>
    <message id="download_wifi">
        <source>Wi-Fi upload</source>
        <translation>Wi-Fi upload</translation>
    </message>
    <message id="download_wifi_detail">
        <source>Send files from a browser on the same network.</source>
        <translation>Send files from a browser on the same network.</translation>
    </message>
    <message id="download_audio_files">
        <source>Audio files</source>
        <translation>Audio files</translation>
    </message>
    <message id="download_dropbox_not_configured">
        <source>Dropbox sign-in is not set up on this computer.</source>
        <translation>Dropbox sign-in is not set up on this computer.</translation>
    </message>
    <message id="download_importing_progress">
        <source>Importing %1 of %2…</source>
        <translation>Importing %1 of %2…</translation>
    </message>
    <message id="wifi_title">
        <source>Upload over Wi-Fi</source>
        <translation>Upload over Wi-Fi</translation>
    </message>
    <message id="wifi_instructions">
        <source>On a computer in the same network, open this address in a browser and drop your music files there.</source>
        <translation>On a computer in the same network, open this address in a browser and drop your music files there.</translation>
    </message>
    <message id="wifi_qr_code">
        <source>QR code of the upload address</source>
        <translation>QR code of the upload address</translation>
    </message>
    <message id="wifi_keep_open">
        <source>Keep this screen open until the uploads are done. The computer stays awake meanwhile.</source>
        <translation>Keep this screen open until the uploads are done. The computer stays awake meanwhile.</translation>
    </message>
    <message id="wifi_inhibit_reason">
        <source>Receiving music over Wi-Fi</source>
        <translation>Receiving music over Wi-Fi</translation>
    </message>
    <message id="dropbox_title">
        <source>Dropbox</source>
        <translation>Dropbox</translation>
    </message>
    <message id="dropbox_download_all">
        <source>Download all</source>
        <translation>Download all</translation>
    </message>
    <message id="file_download">
        <source>Download %1</source>
        <translation>Download %1</translation>
    </message>
    <message id="file_will_download">
        <source>Starting download of %1</source>
        <translation>Starting download of %1</translation>
    </message>
    <message id="file_cancel_download">
        <source>Cancel download of %1</source>
        <translation>Cancel download of %1</translation>
    </message>
    <message id="file_downloaded">
        <source>%1 downloaded</source>
        <translation>%1 downloaded</translation>
    </message>
    <message id="dropbox_download_failed">
        <source>%1 could not be downloaded.</source>
        <translation>%1 could not be downloaded.</translation>
    </message>
</context>
</TS>
