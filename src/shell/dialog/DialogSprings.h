#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>

// The dialog card's two springs for QML, read point by point off a linear
// clock. They are not handed over as `easing.bezierCurve` lists: with
// curves of this many segments, Qt's bezier-spline easing was seen to corrupt
// the heap in optimised builds.
class DialogSprings : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(double snapBackDuration READ snapBackDuration CONSTANT)

public:
    using QObject::QObject;

    // `t` is a fraction of the duration. The entry runs for the dialog's own
    // animation duration, which shapes its curve: the initial velocity
    // counts per second.
    Q_INVOKABLE double entryAt(double duration, double t) const;
    Q_INVOKABLE double snapBackAt(double t) const;
    double snapBackDuration() const;
};
