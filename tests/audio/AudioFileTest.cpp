#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QRandomGenerator>
#include <cmath>
#include <cstdio>

#include "AudioDecoder.h"
#include "AudioDecoderModule.h"
#include "AudioFile.h"
#include "AudioFixtures.h"
#include "Mp3InfoTag.h"
#include "TestSupport.h"
#include "Track.h"

namespace {

constexpr FixtureFormat kAllFormats[] = {
    FixtureFormat::wav,     FixtureFormat::aiff,        FixtureFormat::flac,
    FixtureFormat::mp3,     FixtureFormat::mp3NoHeader, FixtureFormat::m4aAac,
    FixtureFormat::m4aAlac, FixtureFormat::oggVorbis,   FixtureFormat::opus};

int rateFor(FixtureFormat format) {
    return format == FixtureFormat::opus ? 48000 : 44100;
}

// A stereo fixture of `frames` frames in the test's own home: the frame
// pattern where the format keeps it, a sine elsewhere.
QString makeFixture(FixtureFormat format, qint64 frames, int channels = 2,
                    const QString& name = "fixture") {
    AudioFixture fixture;
    fixture.format = format;
    fixture.frames = frames;
    fixture.sampleRate = rateFor(format);
    fixture.channels = channels;
    fixture.signal =
        isLossless(format) ? FixtureSignal::framePattern() : FixtureSignal::sine(441.0, 0.5);
    const QString path = testHome() + "/" + name + fixtureExtension(format);
    const QString error = writeAudioFixture(path, fixture);
    EXPECT_TRUE(error.isEmpty()) << error.toStdString();
    return path;
}

// `size` bytes of noise, the same for the same seed.
QByteArray randomBytes(qsizetype size, quint32 seed) {
    QRandomGenerator generator(seed);
    QByteArray bytes(size, Qt::Uninitialized);
    for (char& byte : bytes) {
        byte = char(generator.bounded(256));
    }
    return bytes;
}

// `bytes` with `count` bytes at random places overwritten at random.
QByteArray mangled(QByteArray bytes, int count, QRandomGenerator& generator) {
    for (int i = 0; i < count; ++i) {
        bytes[generator.bounded(int(bytes.size()))] = char(generator.bounded(256));
    }
    return bytes;
}

// Everything a reader yields from where it stands, in chunks of an odd size
// so that chunk and packet edges rarely meet.
std::vector<float> readToEnd(AudioFileReader& reader, int channels, qint64 limit = -1) {
    std::vector<float> all;
    std::vector<float> chunk(777 * channels);
    for (;;) {
        qint64 want = 777;
        if (limit >= 0) {
            want = std::min<qint64>(want, limit - qint64(all.size()) / channels);
        }
        if (want == 0) {
            break;
        }
        const qint64 got = reader.read(chunk.data(), want);
        EXPECT_GE(got, 0);
        if (got <= 0) {
            break;
        }
        all.insert(all.end(), chunk.begin(), chunk.begin() + got * channels);
        if (got < want) {
            EXPECT_EQ(reader.read(chunk.data(), 1), 0) << "a short read is the end";
            break;
        }
    }
    return all;
}

// Largest difference between `actual` and the reference from `firstFrame` on.
float maxDifference(const std::vector<float>& actual, const DecodedAudio& reference,
                    qint64 firstFrame) {
    float worst = 0.0f;
    const size_t offset = size_t(firstFrame) * reference.channels;
    for (size_t i = 0; i < actual.size(); ++i) {
        const float expected = offset + i < reference.samples.size()
                                   ? reference.samples[offset + i]
                                   : std::numeric_limits<float>::infinity();
        worst = std::max(worst, std::abs(actual[i] - expected));
    }
    return worst;
}

// How close a decode that started after a jump comes to the one that ran from
// the start: the same where the decoder's memory is short; AAC's noise
// substitution draws from a generator whose state a jump resets, and Opus
// carries energy and pitch state a long way.
float seekTolerance(FixtureFormat format) {
    return format == FixtureFormat::m4aAac || format == FixtureFormat::opus ? 1e-3f : 0.0f;
}

class EveryFormat : public testing::TestWithParam<FixtureFormat> {};

std::string formatName(const testing::TestParamInfo<FixtureFormat>& info) {
    return fixtureName(info.param);
}

}  // namespace

TEST_P(EveryFormat, LengthIsWhatWasEncodedAndSeeksAreSampleExact) {
    const FixtureFormat format = GetParam();
    constexpr qint64 kFrames = 150'000;
    const QString path = makeFixture(format, kFrames);
    QString error;
    const auto file = AudioFile::openForReading(path, &error);
    ASSERT_NE(file, nullptr) << error.toStdString();
    EXPECT_EQ(file->sampleRate(), rateFor(format));
    EXPECT_EQ(file->channelCount(), 2);
    EXPECT_DOUBLE_EQ(file->durationSeconds(), double(file->length()) / rateFor(format));
    const TrackPtr track = Track::fromFile(QFileInfo(path).fileName(), testHome());
    ASSERT_NE(track, nullptr);
    EXPECT_EQ(track->duration, file->durationSeconds());

    const std::optional<DecodedAudio> reference = referenceDecode(path, &error);
    ASSERT_TRUE(reference) << error.toStdString();
    switch (format) {
        case FixtureFormat::mp3NoHeader:
            // Nothing states the delay or padding: every decoded frame counts,
            // the decoder's 1105 frames of delay and the padding to a whole frame.
            EXPECT_EQ(file->length(), reference->frames());
            EXPECT_GT(file->length(), kFrames);
            EXPECT_LT(file->length(), kFrames + 0.05 * rateFor(format));
            break;
        case FixtureFormat::m4aAac:
            // The encoder's packet durations (which the sample table and
            // edit list repeat) fall a little short of what it was given;
            // the decoder runs on to a whole last frame.
            EXPECT_NEAR(file->length(), kFrames, 1024);
            EXPECT_LT(file->length(), reference->frames());
            break;
        default:
            EXPECT_EQ(file->length(), kFrames);
            EXPECT_EQ(reference->frames(), kFrames);
    }

    const auto reader = file->createReader(&error);
    ASSERT_NE(reader, nullptr) << error.toStdString();
    const std::vector<float> decoded = readToEnd(*reader, 2);
    EXPECT_EQ(qint64(decoded.size()) / 2, file->length());
    EXPECT_EQ(reader->position(), file->length());
    EXPECT_EQ(maxDifference(decoded, *reference, 0), 0.0f);
    if (isLossless(format)) {
        for (qint64 frame : {qint64(0), qint64(1), kFrames / 2, kFrames - 1}) {
            EXPECT_EQ(decoded[frame * 2], patternSample(frame, 0)) << frame;
            EXPECT_EQ(decoded[frame * 2 + 1], patternSample(frame, 1)) << frame;
        }
    }

    const qint64 length = file->length();
    // Packet edges of every format in the set, both sides of each; far jumps
    // back and forth between them so that the container seek is used.
    const qint64 starts[] = {120'000, 1,       1151,   1152,   1153,   90'000,     647,
                             648,     1023,    1024,   1025,   4095,   4096,       4607,
                             4608,    4609,    0,      65'536, 33'333, length - 1, 2,
                             length,  140'000, 70'000, 100'001};
    for (const qint64 start : starts) {
        SCOPED_TRACE(start);
        ASSERT_TRUE(reader->seek(start));
        EXPECT_EQ(reader->position(), start);
        const std::vector<float> segment = readToEnd(*reader, 2, 3000);
        EXPECT_EQ(qint64(segment.size()) / 2, std::min<qint64>(3000, length - start));
        EXPECT_LE(maxDifference(segment, *reference, start), seekTolerance(format));
        if (isLossless(format) && !segment.empty()) {
            EXPECT_EQ(segment[0], patternSample(start, 0));
            EXPECT_EQ(segment[1], patternSample(start, 1));
        }
    }
    EXPECT_FALSE(reader->seek(length + 1));
    EXPECT_FALSE(reader->seek(-1));
}

INSTANTIATE_TEST_SUITE_P(AudioFile, EveryFormat, testing::ValuesIn(kAllFormats), formatName);

TEST(AudioFile, ChannelCountsOrderAndLengthSurvive) {
    for (const FixtureFormat format :
         {FixtureFormat::wav, FixtureFormat::flac, FixtureFormat::m4aAlac, FixtureFormat::oggVorbis,
          FixtureFormat::opus, FixtureFormat::m4aAac}) {
        for (const int channels : {1, 6}) {
            if (format == FixtureFormat::oggVorbis && channels == 6) {
                continue;  // the Vorbis encoder leaks its surround setup
            }
            SCOPED_TRACE(std::string(fixtureName(format)) + " " + std::to_string(channels));
            const QString path =
                makeFixture(format, 5000, channels, QStringLiteral("ch%1").arg(channels));
            const auto file = AudioFile::openForReading(path);
            ASSERT_NE(file, nullptr);
            EXPECT_EQ(file->channelCount(), channels);
            if (format != FixtureFormat::m4aAac) {
                EXPECT_EQ(file->length(), 5000);
            }
            if (!isLossless(format)) {
                continue;
            }
            // Every channel keeps its own values, in its own place.
            const auto reader = file->createReader();
            ASSERT_TRUE(reader->seek(1234));
            const std::vector<float> frames = readToEnd(*reader, channels, 2);
            ASSERT_EQ(frames.size(), size_t(2 * channels));
            for (int c = 0; c < channels; ++c) {
                EXPECT_EQ(frames[c], patternSample(1234, c)) << "channel " << c;
                EXPECT_EQ(frames[channels + c], patternSample(1235, c)) << "channel " << c;
            }
        }
    }
}

TEST(AudioFile, Mp3HeadersOfEveryVersionGiveTheExactLength) {
    // MPEG-2 frames hold 576 samples and put the header elsewhere; mono
    // moves it again.
    for (const auto& [rate, channels] :
         {std::pair{22050, 1}, std::pair{24000, 2}, std::pair{48000, 1}, std::pair{32000, 2}}) {
        SCOPED_TRACE(std::to_string(rate) + " Hz, " + std::to_string(channels));
        const QString path = testHome() + QStringLiteral("/v%1.mp3").arg(rate);
        ASSERT_EQ(writeAudioFixture(
                      path, {FixtureFormat::mp3, 33'333, rate, channels, FixtureSignal::sine(300)}),
                  "");
        const auto file = AudioFile::openForReading(path);
        ASSERT_NE(file, nullptr);
        EXPECT_EQ(file->length(), 33'333);
        EXPECT_EQ(qint64(readToEnd(*file->createReader(), channels).size()) / channels, 33'333);
    }
}

TEST(Mp3InfoTag, ReadsWholeHeadersOnly) {
    const QString path = testHome() + "/tagged.mp3";
    ASSERT_EQ(
        writeAudioFixture(path, {FixtureFormat::mp3, 50'000, 44100, 2, FixtureSignal::sine(500)}),
        "");
    const std::optional<Mp3InfoTag> tag = readMp3InfoTag(path);
    ASSERT_TRUE(tag);
    EXPECT_EQ(tag->samplesPerFrame, 1152);
    ASSERT_TRUE(tag->delay && tag->padding);
    EXPECT_EQ(tag->frames * 1152 - *tag->delay - *tag->padding, 50'000);

    // A VBRI header (from encoders other than LAME) counts frames but states
    // no padding the decoder would take off.
    QByteArray vbri(417, '\0');
    vbri.replace(0, 4, QByteArray::fromHex("fffb9064"));
    vbri.replace(36, 18,
                 QByteArray::fromHex("564252490001024000"
                                     "4b00004000000004d2"));
    const std::optional<Mp3InfoTag> counted = parseMp3InfoTag(vbri);
    ASSERT_TRUE(counted);
    EXPECT_EQ(counted->frames, 1234);
    EXPECT_EQ(counted->samplesPerFrame, 1152);
    EXPECT_FALSE(counted->delay);

    // The same bytes cut short or shifted about never read past their end.
    const QByteArray bytes = readFile(path);
    const qsizetype frameStart = bytes.indexOf("\xFF\xFB");
    ASSERT_GE(frameStart, 0);
    const QByteArray audio = bytes.mid(frameStart);
    EXPECT_TRUE(parseMp3InfoTag(audio.left(1024)));
    for (const qsizetype size : {0, 3, 4, 40, 200, 255}) {
        EXPECT_FALSE(parseMp3InfoTag(audio.left(size))) << size;
    }
    QRandomGenerator generator(3);
    for (int round = 0; round < 200; ++round) {
        // Under the sanitizers this is where a read past the end would show.
        parseMp3InfoTag(mangled(audio.left(generator.bounded(300, 2000)), 8, generator));
    }
}

TEST(AudioFile, FilesThatAreNotAudioFailWithOneLine) {
    const QString home = testHome();
    writeFile(home + "/empty.mp3", {});
    writeFile(home + "/notes.mp3", "Shopping list:\n- milk\n- bread\n");
    QByteArray png("\x89PNG\r\n\x1a\n\0\0\0\rIHDR", 16);
    png.append(QByteArray(2000, '\x42'));
    writeFile(home + "/cover.mp3", png);
    writeFile(home + "/noise.flac", randomBytes(64 * 1024, 7));
    // Cut inside the stream header: nothing playable is left.
    writeFile(home + "/cut.flac",
              readFile(makeFixture(FixtureFormat::flac, 44100, 2, "whole")).left(30));
    QDir().mkpath(home + "/folder.mp3");

    for (const QString name : {"missing.mp3", "empty.mp3", "notes.mp3", "cover.mp3", "noise.flac",
                               "cut.flac", "folder.mp3"}) {
        SCOPED_TRACE(name.toStdString());
        QString error;
        EXPECT_EQ(AudioFile::openForReading(home + "/" + name, &error), nullptr);
        EXPECT_FALSE(error.isEmpty());
        EXPECT_FALSE(error.contains('\n'));
        if (const TrackPtr track = Track::fromFile(name, home)) {
            EXPECT_TRUE(std::isnan(track->duration));
        }
    }
    QString error;
    AudioFile::openForReading(home + "/missing.mp3", &error);
    EXPECT_EQ(error, "No such file or directory");
}

TEST(AudioFile, FilesCutShortEndWhereTheAudioDoes) {
    for (const FixtureFormat format :
         {FixtureFormat::wav, FixtureFormat::flac, FixtureFormat::mp3, FixtureFormat::opus}) {
        SCOPED_TRACE(fixtureName(format));
        const QString path = makeFixture(format, 96'000);
        QFile file(path);
        ASSERT_TRUE(file.resize(file.size() / 2));
        const auto audio = AudioFile::openForReading(path);
        ASSERT_NE(audio, nullptr);
        const auto reader = audio->createReader();
        ASSERT_NE(reader, nullptr);
        // About half comes out, then the end, not an error.
        const qint64 frames = qint64(readToEnd(*reader, 2).size()) / 2;
        EXPECT_GT(frames, 30'000);
        EXPECT_LT(frames, 66'000);
        EXPECT_LE(frames, audio->length());
        EXPECT_TRUE(reader->seek(frames / 2));
        EXPECT_EQ(reader->read(std::vector<float>(200).data(), 100), 100);
    }
}

// Ogg is left out: the demuxer ends the stream at the first page whose
// checksum fails and finds nothing beyond it, seeking included.
TEST(AudioFile, DamageInsideAFileIsPlayedOver) {
    for (const FixtureFormat format :
         {FixtureFormat::mp3NoHeader, FixtureFormat::mp3, FixtureFormat::flac,
          FixtureFormat::m4aAac, FixtureFormat::m4aAlac}) {
        SCOPED_TRACE(fixtureName(format));
        const QString path = makeFixture(format, 88200);
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::ReadWrite));
        // Garbage over a stretch in the middle of the audio.
        file.seek(file.size() / 2);
        file.write(randomBytes(700, 11));
        file.close();
        const auto audio = AudioFile::openForReading(path);
        ASSERT_NE(audio, nullptr);
        const auto reader = audio->createReader();
        const qint64 frames = qint64(readToEnd(*reader, 2).size()) / 2;
        // Packets that no longer decode turn into silence of their length.
        // MP3 frames whose headers the damage took are not packets at all:
        // the stream comes out that much shorter than its header says.
        if (format == FixtureFormat::mp3) {
            EXPECT_GT(frames, audio->length() * 9 / 10);
            EXPECT_LE(frames, audio->length());
        } else {
            EXPECT_EQ(frames, audio->length());
        }
        // And the far side of it can be sought to.
        EXPECT_TRUE(reader->seek(audio->length() * 3 / 4));
        EXPECT_GT(reader->read(std::vector<float>(200).data(), 100), 0);
    }
}

TEST(AudioFile, MangledFilesNeverBreakTheReader) {
    QRandomGenerator generator(5);
    for (const FixtureFormat format : kAllFormats) {
        SCOPED_TRACE(fixtureName(format));
        const QByteArray bytes = readFile(makeFixture(format, 20'000, 2, "intact"));
        for (int round = 0; round < 12; ++round) {
            const QString copy = testHome() + "/mangled" + fixtureExtension(format);
            writeFile(copy, mangled(bytes, 1 + round, generator));
            const auto file = AudioFile::openForReading(copy);
            if (!file) {
                continue;
            }
            const auto reader = file->createReader();
            ASSERT_NE(reader, nullptr);
            const int channels = file->channelCount();
            std::vector<float> buffer(size_t(1000) * channels);
            qint64 total = 0;
            for (qint64 got; (got = reader->read(buffer.data(), 1000)) > 0;) {
                ASSERT_LE(got, 1000);
                total += got;
            }
            EXPECT_LE(total, file->length());
            const qint64 target = generator.bounded(file->length() + 1);
            if (reader->seek(target)) {
                EXPECT_EQ(reader->position(), target);
                EXPECT_LE(reader->read(buffer.data(), 1000), 1000);
            }
        }
    }
}

TEST(AudioFile, ReadersAreIndependentAndOutliveTheirFile) {
    const QString path = makeFixture(FixtureFormat::flac, 20000);
    auto file = AudioFile::openForReading(path);
    ASSERT_NE(file, nullptr);
    auto first = file->createReader();
    auto second = file->createReader();
    file.reset();
    ASSERT_TRUE(first->seek(15000));
    std::vector<float> a(2), b(2);
    ASSERT_EQ(second->read(b.data(), 1), 1);
    ASSERT_EQ(first->read(a.data(), 1), 1);
    EXPECT_EQ(a[0], patternSample(15000, 0));
    EXPECT_EQ(b[0], patternSample(0, 0));
    EXPECT_EQ(first->position(), 15001);
    EXPECT_EQ(second->position(), 1);

    // A file that went away after it was opened still plays from what was
    // opened; a reader that has to open it again fails cleanly.
    auto reopened = AudioFile::openForReading(path);
    ASSERT_TRUE(QFile::remove(path));
    const auto opened = reopened->createReader();
    ASSERT_NE(opened, nullptr);
    EXPECT_EQ(qint64(readToEnd(*opened, 2).size()) / 2, 20000);
    QString error;
    EXPECT_EQ(reopened->createReader(&error), nullptr);
    EXPECT_FALSE(error.isEmpty());
}

TEST(AudioFile, TheFirstReaderDecodesFromTheOpenThatProbedTheFile) {
    const AudioDecoder* decoder = AudioDecoderModule::shared();
    ASSERT_NE(decoder, nullptr);
    // A stream without a stated length is read to its end to count it, so
    // its first reader has to open it again.
    const struct {
        FixtureFormat format;
        quint64 opens;
    } cases[] = {{FixtureFormat::flac, 1},
                 {FixtureFormat::mp3, 1},
                 {FixtureFormat::m4aAac, 1},
                 {FixtureFormat::mp3NoHeader, 2},
                 {FixtureFormat::wav, 1}};
    for (const auto& c : cases) {
        SCOPED_TRACE(fixtureName(c.format));
        const QString path = makeFixture(c.format, 30000);
        QString error;
        const std::optional<DecodedAudio> reference = referenceDecode(path, &error);
        ASSERT_TRUE(reference) << error.toStdString();
        const quint64 before = decoder->filesOpened();
        const auto file = AudioFile::openForReading(path);
        ASSERT_NE(file, nullptr);
        const auto reader = file->createReader();
        ASSERT_NE(reader, nullptr);
        // The probe's reads (the MP3 header among them) leave the demuxer
        // where decoding starts: the very frames of a fresh decode.
        const std::vector<float> decoded = readToEnd(*reader, 2);
        EXPECT_EQ(decoder->filesOpened() - before, c.opens);
        EXPECT_EQ(qint64(decoded.size()) / 2, file->length());
        EXPECT_EQ(maxDifference(decoded, *reference, 0), 0.0f);
    }
}

TEST(AudioFile, AFileReplacedUnderItsNamePlaysAsProbedOrFailsClearly) {
    const QString path = makeFixture(FixtureFormat::flac, 20000);
    const QString other = makeFixture(FixtureFormat::flac, 50000, 1, "other");
    const auto file = AudioFile::openForReading(path);
    ASSERT_NE(file, nullptr);
    ASSERT_EQ(
        std::rename(QFile::encodeName(other).constData(), QFile::encodeName(path).constData()), 0);

    const auto first = file->createReader();
    ASSERT_NE(first, nullptr);
    const std::vector<float> decoded = readToEnd(*first, 2);
    ASSERT_EQ(qint64(decoded.size()) / 2, 20000);
    EXPECT_EQ(decoded[2 * 19999], patternSample(19999, 0));

    // Opened again, the name leads to the mono file: its frames would not
    // fit this file's length and channels.
    QString error;
    EXPECT_EQ(file->createReader(&error), nullptr);
    EXPECT_TRUE(error.contains("replaced")) << error.toStdString();
    // A jump back to the start reopens the file too, and fails the same way.
    EXPECT_FALSE(first->seek(0));
}

TEST(AudioDecoderModule, RefusesWhatIsNotTheModuleWithAReason) {
    const QString text = testHome() + "/notes.so";
    QFile file(text);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("not a library\n");
    file.close();
    for (const QString& path : {testHome() + "/missing.so", text}) {
        QString error;
        EXPECT_EQ(AudioDecoderModule::load(path, &error), nullptr) << path.toStdString();
        EXPECT_TRUE(error.contains(path)) << error.toStdString();
    }

    // The one the build made is what every file goes through.
    QString error;
    const AudioDecoder* decoder = AudioDecoderModule::load(AudioDecoderModule::path(), &error);
    ASSERT_NE(decoder, nullptr) << error.toStdString();
    EXPECT_EQ(decoder, AudioDecoderModule::shared());
}
