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
</context>
</TS>
