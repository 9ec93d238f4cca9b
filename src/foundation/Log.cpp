#include "Log.h"

#include <cstdio>
#include <mutex>
#include <vector>

namespace {

std::mutex& logMutex() {
    static std::mutex mutex;
    return mutex;
}

std::vector<LogCapture*>& captures() {
    static std::vector<LogCapture*> list;
    return list;
}

}  // namespace

void systemLog(const QString& line) {
    const QByteArray bytes = line.toUtf8();
    std::lock_guard lock(logMutex());
    // One write per line keeps lines whole when several threads log at once.
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stderr);
    std::fputc('\n', stderr);
    std::fflush(stderr);
    for (LogCapture* capture : captures()) {
        capture->append(line);
    }
}

LogCapture::LogCapture() {
    std::lock_guard lock(logMutex());
    captures().push_back(this);
}

LogCapture::~LogCapture() {
    std::lock_guard lock(logMutex());
    std::erase(captures(), this);
}

void LogCapture::append(const QString& line) {
    m_lines.append(line);
}

QStringList LogCapture::lines() const {
    std::lock_guard lock(logMutex());
    return m_lines;
}

bool LogCapture::contains(const QString& line) const {
    return count(line) > 0;
}

int LogCapture::count(const QString& line) const {
    std::lock_guard lock(logMutex());
    return static_cast<int>(m_lines.count(line));
}

void LogCapture::clear() {
    std::lock_guard lock(logMutex());
    m_lines.clear();
}
