#include "EntityMotion.h"

#include <cmath>

namespace RtiqnDis {

namespace {

/// WGS 84.
constexpr double theSemiMajorAxis_m = 6378137.0;
constexpr double theEccentricitySquared = 6.69437999014e-3;

constexpr double theRadiansPerDegree = 3.14159265358979323846 / 180;

/// The directions of north, east and up at a place, and the place itself, geocentric.
struct Place {
    Vector location;
    Vector north;
    Vector east;
    Vector up;
};

Place placeAt(double latitude_rad, double longitude_rad) {
    const double sinLat = std::sin(latitude_rad), cosLat = std::cos(latitude_rad);
    const double sinLon = std::sin(longitude_rad), cosLon = std::cos(longitude_rad);
    const double normal =
        theSemiMajorAxis_m / std::sqrt(1 - theEccentricitySquared * sinLat * sinLat);
    return {{normal * cosLat * cosLon, normal * cosLat * sinLon,
             normal * (1 - theEccentricitySquared) * sinLat},
            {-sinLat * cosLon, -sinLat * sinLon, cosLat},
            {-sinLon, cosLon, 0},
            {cosLat * cosLon, cosLat * sinLon, sinLat}};
}

Vector sum(double a, const Vector& left, double b, const Vector& right) {
    return {a * left[0] + b * right[0], a * left[1] + b * right[1], a * left[2] + b * right[2]};
}

/// The Euler angles of IEEE 1278.1: turns around z, then y, then x that bring the geocentric axes
/// onto those of the body.
Vector eulerAngles(const Vector& forward, const Vector& right, const Vector& down) {
    return {std::atan2(forward[1], forward[0]), std::asin(-forward[2]),
            std::atan2(right[2], down[2])};
}

}  // namespace

/// The circle lies in the plane that touches the ellipsoid at its centre: at 3 km a ship is less
/// than a metre above the water.
EntityMotion motionOf(unsigned int index, double time_s) {
    const unsigned int row = index / 100, column = index % 100;
    const Place centre = placeAt((54.5 + 0.07 * (row % 400)) * theRadiansPerDegree,
                                 (3.0 + 0.12 * column) * theRadiansPerDegree);
    const double speed_mps = 5 + index % 11;
    const double radius_m = 1000 + 200 * (index % 11);
    const double rate_rps = speed_mps / radius_m;
    const double bearing = std::fmod(index + rate_rps * time_s, 360 * theRadiansPerDegree);
    const double sine = std::sin(bearing), cosine = std::cos(bearing);

    // Clockwise, as seen from above: outwards, and forward along the circle.
    const Vector outwards = sum(cosine, centre.north, sine, centre.east);
    const Vector forward = sum(-sine, centre.north, cosine, centre.east);
    const Vector right = sum(-1, outwards, 0, outwards);
    const Vector down = sum(-1, centre.up, 0, centre.up);
    return {sum(1, centre.location, radius_m, outwards),
            sum(speed_mps, forward, 0, forward),
            sum(-speed_mps * rate_rps, outwards, 0, outwards),
            eulerAngles(forward, right, down),
            {0, 0, rate_rps}};
}

}  // namespace RtiqnDis
