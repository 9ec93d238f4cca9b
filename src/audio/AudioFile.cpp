#include "AudioFile.h"

#include "AudioDecoder.h"
#include "AudioDecoderModule.h"

AudioFile::AudioFile(std::unique_ptr<Properties> properties, std::unique_ptr<ProbedFile> probed)
    : m_properties(std::move(properties)), m_probed(std::move(probed)) {}

AudioFile::~AudioFile() = default;

std::shared_ptr<AudioFile> AudioFile::openForReading(const QString& path, QString* error,
                                                     OpenFailure* failure) {
    const AudioDecoder* decoder = AudioDecoderModule::shared(error);
    if (!decoder) {
        // Nothing wrong with the file: another start may well load it.
        if (failure) {
            *failure = OpenFailure::system;
        }
        return nullptr;
    }
    auto properties = std::make_unique<Properties>();
    std::unique_ptr<ProbedFile> probed = decoder->probe(path, *properties, error, failure);
    if (!probed) {
        return nullptr;
    }
    return std::shared_ptr<AudioFile>(new AudioFile(std::move(properties), std::move(probed)));
}

QString AudioFile::path() const {
    return m_properties->path;
}

qint64 AudioFile::length() const {
    return m_properties->length;
}

double AudioFile::sampleRate() const {
    return m_properties->sampleRate;
}

int AudioFile::channelCount() const {
    return m_properties->channels;
}

double AudioFile::durationSeconds() const {
    return double(m_properties->length) / m_properties->sampleRate;
}

std::unique_ptr<AudioFileReader> AudioFile::createReader(QString* error) const {
    std::unique_ptr<ProbedFile> probed;
    {
        const std::lock_guard lock(m_probedMutex);
        probed = std::move(m_probed);
    }
    // An open file means the decoder was loaded.
    return AudioDecoderModule::shared()->createReader(*m_properties, std::move(probed), error);
}
