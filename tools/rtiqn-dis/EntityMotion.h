#ifndef RTIQN_DIS_ENTITY_MOTION_H
#define RTIQN_DIS_ENTITY_MOTION_H

#include <array>

namespace RtiqnDis {

using Vector = std::array<double, 3>;

/// Where an entity is and how it moves, in the terms of an Entity State PDU.
struct EntityMotion {
    Vector location_m;           ///< geocentric: WGS 84, from the centre of the Earth
    Vector velocity_mps;         ///< geocentric
    Vector acceleration_mps2;    ///< geocentric
    Vector orientation_rad;      ///< psi, theta, phi
    Vector angularVelocity_rps;  ///< around the body's axes: forward, right, down
};

/// Entity number `index` (from 0) after `time_s`: ships that go round and round in circles of 1 to
/// 3 km at 5 to 15 m/s, each around a place of its own on the sea.
EntityMotion motionOf(unsigned int index, double time_s);

}  // namespace RtiqnDis

#endif
