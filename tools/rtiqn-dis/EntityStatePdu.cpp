#include "EntityStatePdu.h"

#include <cstdio>
#include <cstring>

#include "Time.h"

namespace RtiqnDis {

using namespace OrynRti;

namespace {

/// Puts fields one behind the other, in network order.
class FieldWriter {
public:
    explicit FieldWriter(EntityStateBytes& bytes) : bytes_(bytes) {}

    void u8(std::uint8_t value) { bytes_.at(at_++) = static_cast<char>(value); }
    void u16(std::uint16_t value) {
        u8(static_cast<std::uint8_t>(value >> 8));
        u8(static_cast<std::uint8_t>(value));
    }
    void u32(std::uint32_t value) {
        u16(static_cast<std::uint16_t>(value >> 16));
        u16(static_cast<std::uint16_t>(value));
    }
    void f32(double value) {
        const float narrow = static_cast<float>(value);
        std::uint32_t bits;
        std::memcpy(&bits, &narrow, sizeof bits);
        u32(bits);
    }
    void f64(double value) {
        std::uint64_t bits;
        std::memcpy(&bits, &value, sizeof bits);
        u32(static_cast<std::uint32_t>(bits >> 32));
        u32(static_cast<std::uint32_t>(bits));
    }
    void f32(const Vector& values) {
        for (const double value : values)
            f32(value);
    }
    void f64(const Vector& values) {
        for (const double value : values)
            f64(value);
    }
    void skip(std::size_t count) { at_ += count; }

private:
    EntityStateBytes& bytes_;
    std::size_t at_ = 0;
};

void writeHeader(FieldWriter& out, const EntityIdentity& identity, double time_s) {
    constexpr std::uint8_t entityState = 1, entityInformation = 1, constructive = 3;
    out.u8(identity.version);
    out.u8(identity.exercise);
    out.u8(entityState);
    out.u8(entityInformation);
    out.u32(DtNetTimeStamp(time_s, DtTimeStampAbsolute));
    out.u16(theEntityStateSize_bytes);
    out.u8(identity.version > 6 ? constructive << 1 : 0);  // the status of version 7
    out.skip(1);
}

/// A platform (1) on the surface (3) of Germany (78), a non-combatant ship (61).
void writeType(FieldWriter& out) {
    for (const std::uint8_t field : {1, 3})
        out.u8(field);
    out.u16(78);
    for (const std::uint8_t field : {61, 0, 0, 0})
        out.u8(field);
}

/// With DRM(RVW) a receiver keeps both the acceleration and the turning going.
void writeDeadReckoning(FieldWriter& out, const EntityMotion& motion) {
    constexpr std::uint8_t drmRvw = 4;
    out.u8(drmRvw);
    out.skip(15);  // no other parameters
    out.f32(motion.acceleration_mps2);
    out.f32(motion.angularVelocity_rps);
}

void writeMarking(FieldWriter& out, std::uint16_t entity) {
    constexpr std::uint8_t ascii = 1;
    char marking[12] = "";
    std::snprintf(marking, sizeof marking, "SHIP %05u", static_cast<unsigned int>(entity));
    out.u8(ascii);
    for (std::size_t i = 0; i < 11; ++i)
        out.u8(static_cast<std::uint8_t>(marking[i]));
}

}  // namespace

/// The layout of IEEE 1278.1-2012, 7.2.2, which is that of version 6, too:
///
///     0   header            28  alternative type (8)      88   dead reckoning (40)
///     12  entity id (6)     36  velocity (3 floats)       128  marking (12)
///     18  force             48  location (3 doubles)      140  capabilities (4)
///     19  parameter count   72  orientation (3 floats)
///     20  entity type (8)   84  appearance (4)
EntityStateBytes entityStatePdu(const EntityIdentity& identity, const EntityMotion& motion,
                                double time_s) {
    constexpr std::uint8_t neutral = 3;
    EntityStateBytes bytes{};
    FieldWriter out(bytes);
    writeHeader(out, identity, time_s);
    out.u16(identity.site);
    out.u16(identity.application);
    out.u16(identity.entity);
    out.u8(neutral);
    out.u8(0);  // no variable parameters
    writeType(out);
    writeType(out);
    out.f32(motion.velocity_mps);
    out.f64(motion.location_m);
    out.f32(motion.orientation_rad);
    out.u32(0);  // appearance: intact and active
    writeDeadReckoning(out, motion);
    writeMarking(out, identity.entity);
    out.u32(0);  // capabilities: none
    return bytes;
}

}  // namespace RtiqnDis
