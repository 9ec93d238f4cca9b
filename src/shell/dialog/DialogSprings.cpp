#include "DialogSprings.h"

#include "SpringCurve.h"

QList<qreal> DialogSprings::entry(double duration) const {
    return SpringCurve::entry(duration).bezierCurve();
}

QList<qreal> DialogSprings::snapBack() const {
    return SpringCurve::snapBack().bezierCurve();
}

double DialogSprings::snapBackDuration() const {
    return SpringCurve::snapBack().duration();
}
