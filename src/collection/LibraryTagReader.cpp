#include "LibraryTagReader.h"

#include <memory>

#include "AudioFile.h"
#include "NativeFileName.h"
#include "TagLibrary.h"

void setStatus(IndexedFile& file, const struct stat& status) {
    file.size = status.st_size;
    // Nanoseconds, so that a retag within the same second shows.
    file.modified = qint64(status.st_mtim.tv_sec) * 1000000000 + status.st_mtim.tv_nsec;
}

bool readLibraryTags(const QString& absolutePath, IndexedFile& file) {
    const TagLibrary* library = TagLibrary::shared();
    if (!library) {
        struct stat status {};
        if (::stat(NativeFileName::encode(absolutePath).constData(), &status) != 0) {
            return false;
        }
        setStatus(file, status);
        return true;
    }
    const LibraryFileTags tags = library->readLibraryFile(absolutePath);
    if (!tags.exists) {
        return false;
    }
    setStatus(file, tags.status);
    file.title = tags.fields.title;
    file.album = tags.fields.album;
    file.artist = tags.fields.artist;
    file.albumArtist = tags.fields.albumArtist;
    file.trackNumber = tags.fields.trackNumber;
    std::optional<double> length = tags.exactLength;
    if (tags.mpegWithoutLength) {
        // An MP3 without a Xing header states no length at all, and TagLib's
        // guess from the bit rate can be off by a factor for a variable one:
        // the decoder counts its frames, as for the tracks of the music
        // folder. Other formats keep TagLib's length, close enough to spare
        // each file a decoder.
        if (const std::shared_ptr<AudioFile> audio = AudioFile::openForReading(absolutePath)) {
            length = audio->durationSeconds();
        }
    }
    if (!length) {
        length = tags.estimatedLength;
    }
    if (length) {
        file.duration = *length;
    }
    return true;
}
