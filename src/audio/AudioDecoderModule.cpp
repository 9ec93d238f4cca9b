#include "AudioDecoderModule.h"

#include <QFileInfo>
#include <QLibrary>
#include <QLoggingCategory>
#include <mutex>

#include "AudioDecoder.h"

namespace {

Q_LOGGING_CATEGORY(lcDecoderModule, "corvantis.audio.decode", QtInfoMsg)

// Where the running program lives, without needing a QCoreApplication.
QString programDirectory() {
    return QFileInfo(QStringLiteral("/proc/self/exe")).canonicalFilePath().section(u'/', 0, -2);
}

}  // namespace

namespace AudioDecoderModule {

QString path() {
    const QString built = QStringLiteral(CORVANTIS_AUDIO_DECODER_MODULE);
    const QString besideProgram = programDirectory() + u'/' + QFileInfo(built).fileName();
    return QFileInfo::exists(besideProgram) ? besideProgram : built;
}

const AudioDecoder* load(const QString& path, QString* error) {
    // The module stays loaded for the life of the process: readers and
    // converters it made may outlive any owner of the library handle.
    QLibrary library(path);
    library.setLoadHints(QLibrary::ResolveAllSymbolsHint);
    const auto entry = reinterpret_cast<AudioDecoderEntry>(library.resolve(kAudioDecoderEntry));
    const AudioDecoder* decoder = entry ? entry() : nullptr;
    if (!decoder && error) {
        *error = library.isLoaded()
                     ? QStringLiteral("%1 is not the audio decoder of this build").arg(path)
                     : library.errorString();
    }
    return decoder;
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
