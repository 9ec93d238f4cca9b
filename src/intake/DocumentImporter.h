#pragma once

#include <QList>
#include <QString>
#include <QUrl>
#include <functional>

// Shows a titled message with one "OK" button. The GUI stacks these as alerts,
// each new one over the last; the command line prints them.
class MessagePresenter {
public:
    virtual ~MessagePresenter() = default;
    virtual void presentMessage(const QString& title, const QString& message) = 0;
};

// Copies picked files into the music folder. A taken name is replaced, not
// renamed; each failure is told at once, then one "Import Result" message with
// the counts, in every case. Files are streamed, never held whole in memory.
// An old file stays until its successor is written whole: a source that cannot
// be read (missing, a directory, a FIFO) leaves it alone, and a source that is
// that very file (picked from the music folder) is counted and left as it is.
// `onFileHandled` hears how many files are through, for a progress display;
// it and the presenter run on the calling thread, which may be a worker's.
void importDocuments(const QList<QUrl>& urls, MessagePresenter& presenter,
                     const std::function<void(int handled, int total)>& onFileHandled = {});

// The picker was closed without a choice: one log line, nothing else.
void documentPickerWasCancelled();
