#pragma once

// The progress of a damped spring pulled from 0 to 1, as an easing curve over
// a fixed duration. The spring is stiffened until it has settled, within a
// thousandth of the distance, by the end of the duration; the damping ratio
// gives its character (1 comes in without overshoot, 0.5 swings past once
// visibly) and the initial velocity is counted in whole distances a second.
class SpringCurve {
public:
    SpringCurve(double duration, double damping, double initialVelocity);

    // The card coming up from below the screen, over `duration` seconds.
    static SpringCurve entry(double duration);
    // The card returning home after a slow release.
    static SpringCurve snapBack();

    double duration() const { return m_duration; }

    // Progress at `t`, a fraction of the duration: 0 up to the start, 1 from
    // the end on.
    double progress(double t) const;

private:
    // Offset from the rest point, in fractions of the duration.
    double offset(double t) const;

    double m_duration;
    double m_damping;
    double m_velocity;  // in distances per whole duration
    double m_omega = 0;
    double m_dampedOmega = 0;
    double m_sine = 0;  // weight of the sine term of an underdamped swing
};
