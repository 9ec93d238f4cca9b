#include "WindowedFileStream.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <climits>

#include "NativeFileName.h"

WindowedFileStream::WindowedFileStream(const QString& path) : m_name(NativeFileName::encode(path)) {
    m_fd = ::open(m_name.constData(), O_RDONLY | O_CLOEXEC);
    if (m_fd >= 0 && (::fstat(m_fd, &m_status) != 0 || !S_ISREG(m_status.st_mode))) {
        ::close(m_fd);
        m_fd = -1;
    }
    m_length = m_fd >= 0 ? m_status.st_size : 0;
}

WindowedFileStream::~WindowedFileStream() {
    if (m_fd >= 0) {
        ::close(m_fd);
    }
}

void WindowedFileStream::seek(long offset, Position from) {
    const long base = from == Beginning ? 0 : (from == Current ? m_position : m_length);
    long target = 0;
    // Like fseek: a position before the start is refused, one past the
    // end is kept and reads nothing.
    if (!__builtin_add_overflow(base, offset, &target) && target >= 0) {
        m_position = target;
    }
}

TagLib::ByteVector WindowedFileStream::readBlock(unsigned long length) {
    if (m_fd < 0 || length == 0 || m_position >= m_length) {
        return {};
    }
    const auto wanted = static_cast<unsigned int>(
        std::min<unsigned long>({length, static_cast<unsigned long>(m_length - m_position),
                                 static_cast<unsigned long>(UINT_MAX)}));
    if (wanted > kWindowSize / 2) {
        TagLib::ByteVector block(wanted, '\0');
        const ssize_t got = ::pread(m_fd, block.data(), wanted, m_position);
        block.resize(got > 0 ? static_cast<unsigned int>(got) : 0);
        m_position += block.size();
        return block;
    }
    const Window& window = windowAt(m_position, wanted);
    const long offset = m_position - window.start;
    const auto available =
        static_cast<unsigned int>(std::max(0L, std::min<long>(wanted, window.size - offset)));
    TagLib::ByteVector block(window.bytes.get() + offset, available);
    m_position += available;
    return block;
}

const WindowedFileStream::Window& WindowedFileStream::windowAt(long position, long count) {
    ++m_uses;
    for (Window& window : m_windows) {
        if (window.start >= 0 && position >= window.start &&
            position + count <= window.start + window.size) {
            window.useCount = m_uses;
            return window;
        }
    }
    Window& window = m_windows[0].useCount <= m_windows[1].useCount ? m_windows[0] : m_windows[1];
    if (!window.bytes) {
        window.bytes = std::make_unique_for_overwrite<char[]>(kWindowSize);
    }
    window.start = position - position % kPage;
    if (position + count > window.start + kWindowSize) {
        window.start = position;
    }
    const ssize_t got = ::pread(m_fd, window.bytes.get(), kWindowSize, window.start);
    window.size = std::max<long>(got, 0);
    window.useCount = m_uses;
    return window;
}
