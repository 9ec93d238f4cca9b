#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>

class QQmlEngine;
class QJSEngine;

// For start-up measurements: with CORVANTIS_REPORT_FIRST_FRAME set, the first
// frame that shows a screen is reported once on standard output as
// "first frame <ns>", the time on the system's monotonic clock, so that a
// launcher can tell how long the window took from the moment it started us.
// The first frame that draws a list's row is reported the same way, once, as
// "first row <ns>".
class FirstFrameReport : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(bool requested READ isRequested CONSTANT)

public:
    static FirstFrameReport* create(QQmlEngine*, QJSEngine*);

    bool isRequested() const { return m_requested; }
    Q_INVOKABLE void frameShown();
    // A list has rows now; the next frame shown is the first with a row.
    Q_INVOKABLE void rowShown();

private:
    explicit FirstFrameReport(QObject* parent = nullptr);

    bool m_requested = false;
    bool m_reported = false;
    bool m_rowPending = false;
    bool m_rowReported = false;
};
