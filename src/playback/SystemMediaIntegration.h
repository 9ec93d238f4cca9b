#pragma once

#include <QDBusConnection>
#include <memory>

class MprisService;
class PlaybackManager;

// Launch-time set-up that ties playback to the desktop, called in this order
// before any window is made.

// Tells the sound server that the output stream plays music, so that its
// policies (ducking, routing, volume per role) treat it as such. A failure is
// logged and the default role is used.
void setupAudioSession();

// Makes the shared PlaybackManager (and with it the audio graph and the
// restored equalizer state) and hands its remote command handlers to the
// desktop's media controls on the session bus. Returns the service, or null
// when there is no session bus; playback works either way.
std::shared_ptr<MprisService> setupRemoteCommands();
// The same for a given manager and bus.
std::shared_ptr<MprisService> setupRemoteCommands(PlaybackManager& manager,
                                                  QDBusConnection connection);
