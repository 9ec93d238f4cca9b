#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>

class QQmlEngine;
class QJSEngine;

// For start-up measurements: with CORVANTIS_REPORT_FIRST_FRAME set, the first
// frame that shows a screen is reported once on standard output as
// "first frame <ns>", the time on the system's monotonic clock, so that a
// launcher can tell how long the window took from the moment it started us.
class FirstFrameReport : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(bool requested READ isRequested CONSTANT)

public:
    static FirstFrameReport* create(QQmlEngine*, QJSEngine*);

    bool isRequested() const { return m_requested; }
    Q_INVOKABLE void frameShown();

private:
    explicit FirstFrameReport(QObject* parent = nullptr);

    bool m_requested = false;
    bool m_reported = false;
};
