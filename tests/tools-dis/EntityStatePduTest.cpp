#include <cmath>
#include <cstring>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "EntityStatePdu.h"
#include "PduHeader.h"

namespace RtiqnDis {
namespace {

double distance(const Vector& left, const Vector& right) {
    return std::hypot(left[0] - right[0], left[1] - right[1], left[2] - right[2]);
}

double length(const Vector& vector) {
    return distance(vector, {0, 0, 0});
}

Vector difference(const Vector& later, const Vector& earlier, double time_s) {
    return {(later[0] - earlier[0]) / time_s, (later[1] - earlier[1]) / time_s,
            (later[2] - earlier[2]) / time_s};
}

TEST(EntityMotion, MovesAsItsVelocityAndAccelerationSay) {
    constexpr double step_s = 0.01;
    for (const unsigned int index : {0U, 1U, 57U, 9999U}) {
        const EntityMotion before = motionOf(index, 1000 - step_s);
        const EntityMotion now = motionOf(index, 1000);
        const EntityMotion after = motionOf(index, 1000 + step_s);
        EXPECT_LT(
            distance(difference(after.location_m, before.location_m, 2 * step_s), now.velocity_mps),
            1e-5);
        EXPECT_LT(distance(difference(after.velocity_mps, before.velocity_mps, 2 * step_s),
                           now.acceleration_mps2),
                  1e-5);
        EXPECT_NEAR(length(now.acceleration_mps2),
                    length(now.velocity_mps) * now.angularVelocity_rps[2], 1e-9);
        EXPECT_NEAR(length(now.location_m), 6.37e6, 2e4);
    }
}

/// The bow points where the ship goes, and down is towards the Earth.
TEST(EntityMotion, FacesWhereItGoes) {
    for (const unsigned int index : {0U, 3U, 250U}) {
        const EntityMotion motion = motionOf(index, 77);
        const auto [psi, theta, phi] = motion.orientation_rad;
        const Vector bow{std::cos(psi) * std::cos(theta), std::sin(psi) * std::cos(theta),
                         -std::sin(theta)};
        const Vector course{motion.velocity_mps[0] / length(motion.velocity_mps),
                            motion.velocity_mps[1] / length(motion.velocity_mps),
                            motion.velocity_mps[2] / length(motion.velocity_mps)};
        EXPECT_LT(distance(bow, course), 1e-9);
        const Vector down{
            std::cos(psi) * std::sin(theta) * std::cos(phi) + std::sin(psi) * std::sin(phi),
            std::sin(psi) * std::sin(theta) * std::cos(phi) - std::cos(psi) * std::sin(phi),
            std::cos(theta) * std::cos(phi)};
        const double towardsCentre =
            -(down[0] * motion.location_m[0] + down[1] * motion.location_m[1] +
              down[2] * motion.location_m[2]) /
            length(motion.location_m);
        EXPECT_GT(towardsCentre, 0.9999);
    }
}

std::uint32_t bitsOf(float value) {
    std::uint32_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

TEST(EntityStatePdu, LiesInTheMessageAsTheStandardSays) {
    EntityIdentity identity;
    identity.version = 7;
    identity.exercise = 9;
    identity.site = 0x1234;
    identity.entity = 65535;
    const EntityMotion motion = motionOf(5, 3);
    const EntityStateBytes pdu = entityStatePdu(identity, motion, 3600 * 5 + 900);
    const ByteView bytes(reinterpret_cast<const std::uint8_t*>(pdu.data()), pdu.size());
    const PduHeader header = PduHeader::read(bytes);
    EXPECT_EQ(header.version, 7);
    EXPECT_EQ(header.exercise, 9);
    EXPECT_EQ(header.kind, 1);
    EXPECT_EQ(header.length_bytes, 144);
    EXPECT_FALSE(header.announcesAttribute());
    EXPECT_EQ(bytes.u32(4), 0x40000001U);  // a quarter of the hour, absolute
    EXPECT_EQ(bytes.u16(12), 0x1234);
    EXPECT_EQ(bytes.u16(16), 65535);
    EXPECT_EQ(bytes.u8(20), 1);
    EXPECT_EQ(bytes.u32(36), bitsOf(static_cast<float>(motion.velocity_mps[0])));
    std::uint64_t z;
    std::memcpy(&z, &motion.location_m[2], sizeof z);
    EXPECT_EQ(bytes.u32(64), z >> 32);
    EXPECT_EQ(bytes.u32(68), z & 0xFFFFFFFF);
    EXPECT_EQ(bytes.u32(80), bitsOf(static_cast<float>(motion.orientation_rad[2])));
    EXPECT_EQ(bytes.u8(88), 4);
    EXPECT_EQ(bytes.u32(124), bitsOf(static_cast<float>(motion.angularVelocity_rps[2])));
    EXPECT_EQ(std::string(pdu.data() + 129, 10), "SHIP 65535");

    identity.version = 6;
    const EntityStateBytes older = entityStatePdu(identity, motion, 0);
    EXPECT_EQ(older[0], 6);
    EXPECT_EQ(older[10], 0);
}

}  // namespace
}  // namespace RtiqnDis
