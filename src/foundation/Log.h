#pragma once

#include <QString>
#include <QStringList>

// The system's own log lines: fixed words, one per line, on standard error.
// Diagnostics go through QLoggingCategory instead; this is only for the lines
// the product promises. Never call it from the audio render thread.
void systemLog(const QString& line);

// Collects every systemLog line written while it lives, on any thread, so that
// a test can assert on the exact words. Lines still go to standard error.
class LogCapture {
public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    QStringList lines() const;
    bool contains(const QString& line) const;
    int count(const QString& line) const;
    void clear();

private:
    friend void systemLog(const QString& line);
    void append(const QString& line);

    mutable QStringList m_lines;
};
