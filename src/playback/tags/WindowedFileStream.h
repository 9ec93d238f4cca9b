#pragma once

#include <sys/stat.h>

#include <QByteArray>
#include <QString>
#include <array>
#include <memory>

#include <taglib/tiostream.h>

// A read-only file for TagLib that answers its many small seeks and reads
// (headers, page after page, the tail for trailing tags) from two cached
// windows: TagLib's own stream costs several system calls for each of them,
// and asks the file's length with three more before every read.
class WindowedFileStream final : public TagLib::IOStream {
public:
    explicit WindowedFileStream(const QString& path);
    ~WindowedFileStream() override;
    WindowedFileStream(const WindowedFileStream&) = delete;
    WindowedFileStream& operator=(const WindowedFileStream&) = delete;

    // The status of the file as it was opened.
    const struct stat& status() const { return m_status; }

    TagLib::FileName name() const override { return m_name.constData(); }
    bool readOnly() const override { return true; }
    bool isOpen() const override { return m_fd >= 0; }
    long tell() const override { return m_position; }
    long length() override { return m_length; }
    void seek(long offset, Position from) override;
    TagLib::ByteVector readBlock(unsigned long length) override;

    // Never written: the stream is read-only.
    void writeBlock(const TagLib::ByteVector&) override {}
    void insert(const TagLib::ByteVector&, unsigned long, unsigned long) override {}
    void removeBlock(unsigned long, unsigned long) override {}
    void truncate(long) override {}

private:
    static constexpr long kWindowSize = 16 * 1024;
    static constexpr long kPage = 4096;

    struct Window {
        long start = -1;
        long size = 0;
        unsigned useCount = 0;
        std::unique_ptr<char[]> bytes;  // left unfilled: pread fills what is used
    };

    // The window that holds [position, position + count), loaded into the one
    // used least lately when neither does.
    const Window& windowAt(long position, long count);

    QByteArray m_name;
    int m_fd = -1;
    struct stat m_status {};
    long m_length = 0;
    long m_position = 0;
    unsigned m_uses = 0;
    std::array<Window, 2> m_windows;
};
