#include "AudioDecoderModule.h"

#include <QLoggingCategory>
#include <mutex>

#include "AudioDecoder.h"
#include "LazyModule.h"

namespace {

Q_LOGGING_CATEGORY(lcDecoderModule, "corvantis.audio.decode", QtInfoMsg)

}  // namespace

namespace AudioDecoderModule {

QString path() {
    return LazyModule::path(QStringLiteral(CORVANTIS_AUDIO_DECODER_MODULE));
}

const AudioDecoder* load(const QString& path, QString* error) {
    const auto entry =
        reinterpret_cast<AudioDecoderEntry>(LazyModule::resolve(path, kAudioDecoderEntry, error));
    return entry ? entry() : nullptr;
}

const AudioDecoder* shared(QString* error) {
    static std::once_flag once;
    static const AudioDecoder* decoder = nullptr;
    static QString failure;
    std::call_once(once, [] {
        decoder = load(path(), &failure);
        if (!decoder) {
            failure = QStringLiteral("The audio decoder cannot be loaded: %1").arg(failure);
            qCWarning(lcDecoderModule).noquote() << failure;
        }
    });
    if (!decoder && error) {
        *error = failure;
    }
    return decoder;
}

}  // namespace AudioDecoderModule
