#pragma once

#include <QString>

#include "Track.h"

// The texts of a track's row.
namespace TrackCell {

// "album - artist".
QString infoText(const Track& track);
// Minutes and seconds, zero-padded ("03:07"); hours too from an hour on
// ("01:00:00"). A length that is no time (not a number, infinite, negative)
// shows as the plain number.
QString durationText(double seconds);

}  // namespace TrackCell
