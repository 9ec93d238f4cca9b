#include "DialogSprings.h"

#include "SpringCurve.h"

double DialogSprings::snapBackDuration() const {
    return SpringCurve::snapBack().duration();
}

double DialogSprings::entryAt(double duration, double t) const {
    return SpringCurve::entry(duration).progress(t);
}

double DialogSprings::snapBackAt(double t) const {
    return SpringCurve::snapBack().progress(t);
}
