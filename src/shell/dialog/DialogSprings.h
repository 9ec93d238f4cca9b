#pragma once

#include <QtQml/qqmlregistration.h>
#include <QList>
#include <QObject>

// The dialog card's two springs for QML animations, as lists for
// `easing.bezierCurve` with `easing.type: Easing.BezierSpline`.
class DialogSprings : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(double snapBackDuration READ snapBackDuration CONSTANT)

public:
    using QObject::QObject;

    // The entry runs for the dialog's own animation duration, which shapes
    // its curve: the initial velocity counts per second.
    Q_INVOKABLE QList<qreal> entry(double duration) const;
    Q_INVOKABLE QList<qreal> snapBack() const;
    // The same curves read point by point, `t` a fraction of the duration,
    // for a view that drives the motion itself from a linear clock.
    Q_INVOKABLE double entryAt(double duration, double t) const;
    Q_INVOKABLE double snapBackAt(double t) const;
    double snapBackDuration() const;
};
