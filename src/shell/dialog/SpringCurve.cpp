#include "SpringCurve.h"

#include <QLoggingCategory>
#include <QPointF>
#include <cmath>

namespace {

Q_LOGGING_CATEGORY(lcSpring, "corvantis.dialog")

// What may be left of the swing when the duration is over.
constexpr double kSettled = 1e-3;

}  // namespace

SpringCurve::SpringCurve(double duration, double damping, double initialVelocity)
    : m_duration(duration), m_damping(damping), m_velocity(initialVelocity) {
    if (!std::isfinite(m_duration) || m_duration <= 0) {
        qCWarning(lcSpring) << "spring duration" << duration << "is not positive; using 0.2 s";
        m_duration = 0.2;
    }
    if (!std::isfinite(m_damping) || m_damping <= 0 || m_damping > 1) {
        qCWarning(lcSpring) << "spring damping" << damping << "is outside (0, 1]; using 1";
        m_damping = 1;
    }
    if (!std::isfinite(m_velocity)) {
        qCWarning(lcSpring) << "spring velocity" << initialVelocity << "is not finite; using 0";
        m_velocity = 0;
    }
    m_velocity *= m_duration;

    // The stiffness that brings the envelope of the swing down to kSettled at
    // the end. The envelope's amplitude itself depends on the stiffness, so
    // this is a fixed point; the logarithm makes it converge in a few steps.
    m_omega = std::log(1 / kSettled) / m_damping;
    for (int i = 0; i < 24; ++i) {
        double amplitude = 1;
        if (m_damping < 1) {
            m_dampedOmega = m_omega * std::sqrt(1 - m_damping * m_damping);
            m_sine = (m_velocity - m_damping * m_omega) / m_dampedOmega;
            amplitude = std::hypot(1.0, m_sine);
        } else {
            amplitude = 1 + std::abs(m_velocity - m_omega);
        }
        m_omega = std::log(amplitude / kSettled) / m_damping;
    }
    if (m_damping < 1) {
        m_dampedOmega = m_omega * std::sqrt(1 - m_damping * m_damping);
        m_sine = (m_velocity - m_damping * m_omega) / m_dampedOmega;
    }
}

SpringCurve SpringCurve::entry(double duration) {
    return SpringCurve(duration, 1.0, 6.0);
}

SpringCurve SpringCurve::snapBack() {
    return SpringCurve(0.35, 0.5, 2.0);
}

double SpringCurve::offset(double t) const {
    if (m_damping < 1) {
        return std::exp(-m_damping * m_omega * t) *
               (-std::cos(m_dampedOmega * t) + m_sine * std::sin(m_dampedOmega * t));
    }
    return (-1 + (m_velocity - m_omega) * t) * std::exp(-m_omega * t);
}

double SpringCurve::progress(double t) const {
    if (!(t > 0)) {
        return 0;
    }
    if (t >= 1) {
        return 1;
    }
    return 1 + offset(t);
}
