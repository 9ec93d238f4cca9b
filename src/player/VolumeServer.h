#pragma once

// The sound server's volume control, which lives in a module of its own
// (libcorvantis-system-volume.so) loaded when the player screen is first made:
// the server's client library pulls in a dozen more (sound files, codecs,
// its own event loop) that a start would otherwise map before the window can
// draw.
class VolumeServer {
public:
    // From the client library's own thread, each time the default sink's
    // volume is learnt or the server goes: `volume` 0 is silent, 1 the sink's
    // full volume.
    using Report = void (*)(void* context, bool available, double volume);

    virtual ~VolumeServer() = default;

    // Sets the default sink's volume, 0 to 1; ignored until a sink is known.
    virtual void setVolume(double volume) = 0;
};

// The one symbol the module exports: a connection to `server` (the client
// library's form, "unix:/path"; nullptr for the user's own server) that
// reports through `report` with `context` until it is deleted. Its name
// carries the interface's generation, so a module left from an older build is
// refused.
using VolumeServerEntry = VolumeServer* (*)(const char* server, VolumeServer::Report report,
                                            void* context);
inline constexpr char kVolumeServerEntry[] = "corvantisVolumeServer1";
