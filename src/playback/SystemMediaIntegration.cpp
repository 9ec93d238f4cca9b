#include "SystemMediaIntegration.h"

#include "DeviceAudioOutput.h"
#include "Log.h"
#include "MprisService.h"
#include "PlaybackManager.h"

void setupAudioSession() {
    if (!DeviceAudioOutput::setStreamRole(QByteArrayLiteral("music"))) {
        systemLog(QStringLiteral("Setting category to AVAudioSessionCategoryPlayback failed."));
    }
}

std::shared_ptr<MprisService> setupRemoteCommands() {
    return setupRemoteCommands(PlaybackManager::shared(), QDBusConnection::sessionBus());
}

std::shared_ptr<MprisService> setupRemoteCommands(PlaybackManager& manager,
                                                  QDBusConnection connection) {
    auto service = std::make_shared<MprisService>(manager);
    if (!service->registerOn(connection)) {
        return nullptr;
    }
    manager.setNowPlayingPublisher(service);
    return service;
}
